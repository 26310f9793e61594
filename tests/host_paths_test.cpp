// The host's path objects (hbn_paths.h) and the path bridging library's collector.
#include <gtest/gtest.h>

#include <string>

#include "kly/host/hbn_paths.h"
#include "kly/host/plb_path_collector.h"

namespace {

using HBN_T_NMT::CGFKPath;
using HBN_T_NMT::CHBNError;
using HBN_T_NMT::CPVKBezierPath;

// The text of the CHBNError that `body` throws, or "" when it throws none.
template <class Body>
std::string ErrorText(Body body) {
  try {
    body();
  } catch (const CHBNError& e) {
    return e.what();
  }
  return "";
}

TEST(BezierPath, KeepsPointsAndTypesInStep) {
  CPVKBezierPath path;
  EXPECT_EQ(path.Count(), 0u);
  path.Append(1.0f, 2.0f, HBN_T_NMT::kPathMove);
  path.Append(3.0f, 4.0f, HBN_T_NMT::kPathLine);
  path.Append(5.0f, 6.0f, HBN_T_NMT::kPathCurve);
  path.Append(1.0f, 2.0f, HBN_T_NMT::kPathClose);
  ASSERT_EQ(path.Count(), 4u);
  const float expected_points[] = {1, 2, 3, 4, 5, 6, 1, 2};
  const int32_t expected_types[] = {0, 1, 2, 3};
  for (int i = 0; i < 8; ++i) EXPECT_EQ(path.Points()[i], expected_points[i]) << i;
  for (int i = 0; i < 4; ++i) EXPECT_EQ(path.Types()[i], expected_types[i]) << i;
  path.Clear();
  EXPECT_EQ(path.Count(), 0u);
}

TEST(BezierPath, AFirstPointThatIsNoMoveHasNoCurrentPoint) {
  CPVKBezierPath path;
  EXPECT_EQ(ErrorText([&] { path.Append(1.0f, 1.0f, HBN_T_NMT::kPathLine); }), "no current point");
  EXPECT_EQ(ErrorText([&] { path.Append(1.0f, 1.0f, HBN_T_NMT::kPathCurve); }), "no current point");
  EXPECT_EQ(ErrorText([&] { path.Append(1.0f, 1.0f, HBN_T_NMT::kPathClose); }), "no current point");
  EXPECT_EQ(path.Count(), 0u);
  // After a move, any type follows.
  path.Append(0.0f, 0.0f, HBN_T_NMT::kPathMove);
  EXPECT_EQ(ErrorText([&] { path.Append(1.0f, 1.0f, HBN_T_NMT::kPathLine); }), "");
  EXPECT_EQ(path.Count(), 2u);
}

TEST(GFKPath, DataQueryGivesACopyOfThePath) {
  CPVKBezierPath source;
  source.Append(1.0f, 2.0f, HBN_T_NMT::kPathMove);
  source.Append(3.0f, 4.0f, HBN_T_NMT::kPathLine);
  source.Append(1.0f, 2.0f, HBN_T_NMT::kPathClose);
  const CGFKPath path(source);
  source.Clear();  // the graphics manager's path is a copy
  const float* points = nullptr;
  const int32_t* types = nullptr;
  int32_t count = 0;
  path.GetData(points, types, count);
  ASSERT_EQ(count, 3);
  EXPECT_EQ(points[2], 3.0f);
  EXPECT_EQ(points[3], 4.0f);
  EXPECT_EQ(types[1], HBN_T_NMT::kPathLine);
  EXPECT_EQ(types[2], HBN_T_NMT::kPathClose);
}

TEST(PathCollector, FlushAppliesTheFactorAndForgetsTheStream) {
  CPVKBezierPath path;
  PLB_PathCollector collector(2.0, path);
  EXPECT_EQ(PLB_PathCollector::Callback(&collector, HBN_T_NMT::kPathMove, 1.0f, -2.0f), 0);
  EXPECT_EQ(PLB_PathCollector::Callback(&collector, HBN_T_NMT::kPathLine, 3.5f, 4.0f), 0);
  EXPECT_EQ(PLB_PathCollector::Callback(&collector, HBN_T_NMT::kPathClose, 1.0f, -2.0f), 0);
  EXPECT_EQ(path.Count(), 0u);  // nothing reaches the path before Flush
  collector.Flush();
  ASSERT_EQ(path.Count(), 3u);
  const float expected[] = {2, -4, 7, 8, 2, -4};
  for (int i = 0; i < 6; ++i) EXPECT_EQ(path.Points()[i], expected[i]) << i;
  EXPECT_EQ(path.Types()[0], HBN_T_NMT::kPathMove);
  EXPECT_EQ(path.Types()[1], HBN_T_NMT::kPathLine);
  EXPECT_EQ(path.Types()[2], HBN_T_NMT::kPathClose);
  collector.Flush();  // the stream was forgotten
  EXPECT_EQ(path.Count(), 3u);
}

TEST(PathCollector, AStreamStartingWithALineHasNoCurrentPoint) {
  CPVKBezierPath path;
  PLB_PathCollector collector(1.0, path);
  EXPECT_EQ(PLB_PathCollector::Callback(&collector, HBN_T_NMT::kPathLine, 1.0f, 1.0f), 0);
  EXPECT_EQ(PLB_PathCollector::Callback(&collector, HBN_T_NMT::kPathLine, 2.0f, 1.0f), 0);
  EXPECT_EQ(ErrorText([&] { collector.Flush(); }), "no current point");
  EXPECT_EQ(path.Count(), 0u);
  // The failed stream is gone: a good one flushes on its own.
  EXPECT_EQ(PLB_PathCollector::Callback(&collector, HBN_T_NMT::kPathMove, 5.0f, 5.0f), 0);
  collector.Flush();
  EXPECT_EQ(path.Count(), 1u);
}

TEST(PathCollector, CallbackWithoutCollectorFails) {
  EXPECT_NE(PLB_PathCollector::Callback(nullptr, HBN_T_NMT::kPathMove, 0.0f, 0.0f), 0);
}

}  // namespace

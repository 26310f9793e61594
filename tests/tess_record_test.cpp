// The engine's records and failure route: TessAlloc's tags, zero fill and live-block count,
// its "out of memory" route; TessFreeRecord; TessFail's texts; the triangle limit.
#include <gtest/gtest.h>

#include <string>
#include <utility>
#include <vector>

#include "kly/host/nut.h"
#include "kly/tess/failure.h"
#include "kly/tess/triangulate.h"
#include "tests/testing/report_capture.h"
#include "tests/testing/tess_runner.h"

namespace {

using kly::testing::ReportCapture;
using kly::testing::ThrownNumber;

// Runs `body` and returns the text of the TriangleFailure it throws, or "" if none.
template <class Body>
std::string FailureText(Body body) {
  try {
    body();
  } catch (const TriangleFailure& failure) {
    return failure.text();
  }
  return "";
}

TEST(TessAllocTest, TagsZeroFillsAndCountsEachBlock) {
  ReportCapture capture;
  std::vector<std::pair<uint32_t, uint32_t>> asked;
  capture.services().allow_allocation = [&](uint32_t bytes, uint32_t tag) {
    asked.emplace_back(bytes, tag);
    return true;
  };
  const int32_t before = gTessLiveBlocks;
  auto* points = static_cast<unsigned char*>(TessAlloc(0, 4096));
  void* segments = TessAlloc(1, 8);
  void* neighbors = TessAlloc(0x1B, 0);
  EXPECT_EQ(gTessLiveBlocks - before, 3);
  ASSERT_NE(points, nullptr);
  ASSERT_NE(neighbors, nullptr);  // a zero-byte block is still a block, not a failure
  for (int i = 0; i < 4096; i++) ASSERT_EQ(points[i], 0) << i;
  // 0x540000 with the site in the low bits.
  const std::vector<std::pair<uint32_t, uint32_t>> expected = {
      {4096, 0x540000}, {8, 0x540001}, {0, 0x54001B}};
  EXPECT_EQ(asked, expected);

  TessFree(points);
  TessFree(segments);
  TessFree(neighbors);
  TessFree(nullptr);
  EXPECT_EQ(gTessLiveBlocks, before);
  EXPECT_TRUE(capture.reports().empty());
}

TEST(TessAllocTest, RefusedAllocationRaisesOutOfMemoryWithoutReport) {
  ReportCapture capture;
  capture.services().allow_allocation = [](uint32_t, uint32_t) { return false; };
  const int32_t before = gTessLiveBlocks;
  EXPECT_EQ(FailureText([] { TessAlloc(2, 16); }), "(triangulate) out of memory");
  EXPECT_EQ(gTessLiveBlocks, before);
  // The failure is thrown, not reported: the engine's caller decides on a message.
  EXPECT_TRUE(capture.reports().empty());
  // A caller outside the engine sees it as a standard exception.
  bool caughtAsStd = false;
  try {
    TessAlloc(0, 1);
  } catch (const std::exception&) {
    caughtAsStd = true;
  }
  EXPECT_TRUE(caughtAsStd);
}

TEST(TessFreeRecordTest, FreesEveryArrayZeroesTheCountsAndKeepsTheLimit) {
  TessRecord record;
  const int32_t before = gTessLiveBlocks;
  record.triangleLimit = 42;
  record.points = static_cast<double*>(TessAlloc(0, 16));
  record.pointAttributes = static_cast<double*>(TessAlloc(0x0F, 8));
  record.pointMarkers = static_cast<int32_t*>(TessAlloc(0x10, 4));
  record.corners = static_cast<int32_t*>(TessAlloc(0x11, 12));
  record.triangleAttributes = static_cast<double*>(TessAlloc(0x12, 8));
  record.triangleAreas = static_cast<double*>(TessAlloc(0, 8));
  record.neighbors = static_cast<int32_t*>(TessAlloc(0x1B, 12));
  record.segments = static_cast<int32_t*>(TessAlloc(1, 8));
  record.segmentMarkers = static_cast<int32_t*>(TessAlloc(0x14, 4));
  record.holes = static_cast<double*>(TessAlloc(2, 16));
  record.regions = static_cast<double*>(TessAlloc(0, 32));
  record.edges = static_cast<int32_t*>(TessAlloc(0x15, 8));
  record.edgeMarkers = static_cast<int32_t*>(TessAlloc(0x16, 4));
  record.normals = static_cast<double*>(TessAlloc(0x1A, 16));
  int32_t count = 0;
  for (int32_t* field : {&record.pointCount, &record.pointAttributeCount, &record.triangleCount,
                         &record.cornerCount, &record.triangleAttributeCount, &record.segmentCount,
                         &record.holeCount, &record.regionCount, &record.edgeCount})
    *field = ++count;
  EXPECT_EQ(gTessLiveBlocks - before, 14);

  TessFreeRecord(&record);
  EXPECT_EQ(gTessLiveBlocks, before);
  EXPECT_TRUE(kly::testing::RecordIsEmpty(record));
  EXPECT_EQ(record.triangleLimit, 42);

  // Idempotent: engine and caller both free the same records on the failure route.
  TessFreeRecord(&record);
  EXPECT_EQ(gTessLiveBlocks, before);
  EXPECT_EQ(record.triangleLimit, 42);
  TessFreeRecord(nullptr);
}

TEST(TessFailTest, TextsCarryThePrefixAndTheNumber) {
  const std::pair<std::string, std::string> cases[] = {
      {FailureText([] { TessFail("Internal error."); }), "(triangulate) Internal error."},
      {FailureText([] { TessFail("Precision error."); }), "(triangulate) Precision error."},
      {FailureText([] { TessFail("Triangle ^L1 has an invalid vertex index.", 17); }),
       "(triangulate) Triangle 17 has an invalid vertex index."},
      {FailureText([] { TessFail("Segment ^L1 has an invalid vertex index.", -3); }),
       "(triangulate) Segment -3 has an invalid vertex index."},
      {FailureText([] { TessFailOutOfMemory(); }), "(triangulate) out of memory"},
      // An absent text argument formats as nothing.
      {FailureText([] { TessFail(nullptr); }), "(triangulate) "},
  };
  for (const auto& [actual, expected] : cases) EXPECT_EQ(actual, expected);
}

TEST(TessFailTest, LongTextsAreCutToTheBuffer) {
  // 256 bytes with the terminator: the prefix's 14 characters and 241 of the text.
  const std::string text(400, 'x');
  const std::string built = FailureText([&] { TessFail(text.c_str()); });
  EXPECT_EQ(built, "(triangulate) " + std::string(241, 'x'));
}

TEST(TessFailTest, FormatterFailureIsThrownAsItsStatus) {
  // A null template is the formatter's bad argument; its status leaves as the int32_t.
  EXPECT_EQ(ThrownNumber([] { TessFail(nullptr, 5); }), NUT_kErrBadArgument);
}

TEST(TriangleFailureTest, KeepsTheTextAndTheBaseWhat) {
  const TriangleFailure failure("(triangulate) Internal error.");
  const TriangleFailure copy = failure;
  EXPECT_EQ(copy.text(), "(triangulate) Internal error.");
  // what() is not overridden: the text is for the engine's handlers, which turn it into 10.
  EXPECT_STREQ(copy.what(), std::exception().what());
}

TEST(TriangleLimitTest, FailsOnlyWhenTheLiveCountExceedsANonZeroLimit) {
  // The test runs before a creation: a limit of n admits n + 1 live triangles.
  const struct {
    int32_t limit, live;
    bool fails;
  } cases[] = {
      {0, 0, false},   {0, 1000000, false},
      {1, 0, false},   {1, 1, false},
      {1, 2, true},    {5, 5, false},
      {5, 6, true},    {-1, 0, true},
      {-1, -1, false}, {INT32_MAX, INT32_MAX, false},
  };
  for (const auto& c : cases) {
    const std::string text = FailureText([&] { TessCheckTriangleLimit(c.limit, c.live); });
    EXPECT_EQ(text, c.fails ? "(triangulate) Max Triangle Count exceeded" : "")
        << c.limit << " " << c.live;
  }
}

}  // namespace

// The package's entry points, its two report routes and the shared failure helpers.
#include <unistd.h>

#include <cstdio>
#include <string>

#include <gtest/gtest.h>
#include <boost/weak_ptr.hpp>

#include "kly/cache/geometry_cache.h"
#include "kly/host/bindings.h"
#include "kly/host/nut.h"
#include "kly/host/ort.h"
#include "kly/mesh/mesh.h"
#include "kly/package/failure.h"
#include "kly/package/package.h"
#include "tests/testing/report_capture.h"

namespace {

using kly::testing::Report;
using kly::testing::ReportCapture;
using kly::testing::ThrownNumber;

const std::string kMismatchPrefix =
    "Plug-in version mismatch detected (did you install over an older version of Veldrin?). "
    "Try uninstalling and re-installing. ";

// What a scenario run in a child process found wrong, one line a finding.
class Findings {
 public:
  template <class Actual, class Expected>
  void Equal(const Actual& actual, const Expected& expected, const char* what) {
    if (actual == expected) return;
    text_ += std::string(what) + ": got " + ::testing::PrintToString(actual) + ", expected " +
             ::testing::PrintToString(expected) + "\n";
  }
  void True(bool condition, const char* what) {
    if (!condition) text_ += std::string(what) + "\n";
  }
  const std::string& text() const { return text_; }

 private:
  std::string text_;
};

// The package's flags (versions checked, bindings started) are process-wide and never
// cleared, so a scenario that meets them runs in a forked child, which starts from this
// process's state. No test calls KLY_Birth or KLY_CheckVersions outside such a child, so each
// child meets the flags as a freshly loaded package does. The child's findings come back on
// its stderr, and its exit code says whether there were any.
template <class Scenario>
void RunAndExit(Scenario scenario) {
  Findings findings;
  scenario(findings);
  std::fputs(findings.text().c_str(), stderr);
  std::fflush(stderr);
  _exit(findings.text().empty() ? 0 : 1);
}

#define EXPECT_IN_FRESH_PACKAGE(...) \
  EXPECT_EXIT(RunAndExit(__VA_ARGS__), ::testing::ExitedWithCode(0), "")

TEST(CheckVersions, FirstCallWithOtherHeaderReportsUnderCallersIdAndChecksSiblings) {
  EXPECT_IN_FRESH_PACKAGE([](Findings& f) {
    ReportCapture capture;
    NUTp_SetThreadLastError(5);
    f.Equal(KLY_CheckVersions(0x123456, 2), 7, "first call, header 2");
    const std::vector<Report> mismatch = {
        {0x123456, 16, kMismatchPrefix + "(KLY package v1 != KLY.h v2)"}};
    f.Equal(capture.reports(), mismatch, "reports after the first call");
    f.Equal(NUTp_GetThreadLastError(), 0, "thread's last error");
    // The first call asked the siblings, so one failing now is not asked again.
    capture.services().version_status[1] = 0x1100;
    f.Equal(KLY_CheckVersions(0x123456, 1), 0, "second call, header 1");
    f.Equal(capture.reports(), mismatch, "reports after the second call");
  });
}

TEST(CheckVersions, SiblingStatusesAreOredOnTheFirstCallOnly) {
  // Statuses of utility, maths, Bezier, path and text outline checks. {1, -1} sums to 0 but
  // ors to -1: the collected status is the or, not the sum, at every step.
  const struct {
    int32_t status[5];
    int32_t first_result;
  } cases[] = {
      {{0, 0, 0, 0, 0}, 0},    {{0x10, 0, 0, 0, 0}, 7}, {{0, 0x20, 0, 0, 0}, 7},
      {{0, 0, 0x30, 0, 0}, 7}, {{0, 0, 0, 0x40, 0}, 7}, {{0, 0, 0, 0, 0x50}, 7},
      {{1, -1, 0, 0, 0}, 7},   {{0, 1, -1, 0, 0}, 7},   {{0, 0, 1, -1, 0}, 7},
      {{0, 0, 0, 1, -1}, 7},
  };
  for (const auto& c : cases) {
    SCOPED_TRACE(::testing::Message() << c.status[0] << " " << c.status[1] << " " << c.status[2]
                                      << " " << c.status[3] << " " << c.status[4]);
    EXPECT_IN_FRESH_PACKAGE([&c](Findings& f) {
      ReportCapture capture;
      for (int i = 0; i < 5; ++i) capture.services().version_status[i] = c.status[i];
      f.Equal(KLY_CheckVersions(0x42, 1), c.first_result, "first call");
      // Asked once a process: a sibling still at fault is not asked again.
      f.Equal(KLY_CheckVersions(0x42, 1), 0, "second call");
      f.True(capture.reports().empty(), "a failing sibling is reported by the package");
    });
  }
}

TEST(CheckVersions, HeaderMismatchIsReportedOnEveryCall) {
  EXPECT_IN_FRESH_PACKAGE([](Findings& f) {
    ReportCapture capture;
    f.Equal(KLY_CheckVersions(1, 1), 0, "good first call");
    f.Equal(KLY_CheckVersions(0x580010, 0), 7, "header 0");
    f.Equal(KLY_CheckVersions(0x123, 3), 7, "header 3");
    const std::vector<Report> expected = {
        {0x580010, 16, kMismatchPrefix + "(KLY package v1 != KLY.h v0)"},
        {0x123, 16, kMismatchPrefix + "(KLY package v1 != KLY.h v3)"}};
    f.Equal(capture.reports(), expected, "reports");
  });
}

TEST(Birth, FailedLookupReturnsItsNumberAndLeavesEverythingUntouched) {
  EXPECT_IN_FRESH_PACKAGE([](Findings& f) {
    ReportCapture capture;
    capture.services().binding_lookup_status = 0x7001;
    f.Equal(KLY_Birth(), 0x5802, "birth");
    f.True(capture.reports().empty(), "a failed birth reported something");
    f.True(!HBN_ClientStarted(), "binding layer started");
    f.True(!KLY_GeometryCache::IsSetUp(), "cache set up");
    // Death after it finds no map and no started bindings.
    f.Equal(KLY_Death(), 0, "death");
    f.True(capture.reports().empty(), "death reported something");
    f.True(!HBN_ClientStarted(), "binding layer started by death");
  });
}

TEST(Birth, StartsBindingsAndCacheAndDeathTearsThemDown) {
  EXPECT_IN_FRESH_PACKAGE([](Findings& f) {
    ReportCapture capture;
    f.Equal(KLY_Birth(), 0, "birth");
    f.True(HBN_ClientStarted(), "binding layer not started");
    f.True(KLY_GeometryCache::IsSetUp(), "cache not set up");

    boost::weak_ptr<KLY_Geometry> held;
    {
      KLY_GeometryCacheKey key(mediabase::utility::Guid(1, 2));
      boost::shared_ptr<KLY_Geometry> mesh(new KLY_Mesh(3, 1));
      held = mesh;
      KLY_GeometryCache::InsertGeometry(key, mesh);
    }
    f.Equal(KLY_Death(), 0, "death");
    f.True(held.expired(), "death kept a cached geometry alive");
    f.True(!KLY_GeometryCache::IsSetUp(), "cache still set up");
    f.True(!HBN_ClientStarted(), "binding layer still started");
    f.Equal(KLY_Death(), 0, "second death");
    f.True(capture.reports().empty(), "the lifecycle reported something");
  });
}

TEST(Birth, FailedBirthAfterAGoodOneStopsTheBindingsAgain) {
  EXPECT_IN_FRESH_PACKAGE([](Findings& f) {
    ReportCapture capture;
    f.Equal(KLY_Birth(), 0, "first birth");
    capture.services().binding_lookup_status = 0x7001;
    // bindings_started stays set from the first birth, so the failure stops the layer.
    f.Equal(KLY_Birth(), 0x5802, "second birth");
    f.True(!HBN_ClientStarted(), "binding layer left running");
    f.True(KLY_GeometryCache::IsSetUp(), "the first birth's cache was lost");
    f.Equal(KLY_Death(), 0, "death");
    f.True(!KLY_GeometryCache::IsSetUp(), "cache still set up");
  });
}

TEST(Error, ReportsKlyAndTheTextThenThrowsTheCallersNumber) {
  // The report id is 0x580000 | report_sub, whatever the thrown number is.
  const struct {
    int32_t code;
    std::string text;
    uint16_t sub;
    uint32_t id;
    std::string report;
  } cases[] = {
      {0x5803, "x", 2, 0x580002, "KLY: x"},
      {0x5803,
       NUT_ZStringToMBString("$$$/VD/KLY/BadContour=Construction of contour failed. Try "
                             "reducing the bevel size."),
       1, 0x580001, "KLY: Construction of contour failed. Try reducing the bevel size."},
      {0x5804, "thin", 3, 0x580003, "KLY: thin"},
      {7, "", 0, 0x580000, "KLY: "},
      {-1, "^1 stays", 0xFFFF, 0x58FFFF, "KLY: ^1 stays"},
  };
  for (const auto& c : cases) {
    SCOPED_TRACE(c.report);
    ReportCapture capture;
    EXPECT_EQ(ThrownNumber([&] { KLY_Error(c.code, c.text.c_str(), c.sub); }), c.code);
    EXPECT_EQ(capture.reports(), (std::vector<Report>{{c.id, 8, c.report}}));
  }
}

TEST(Error, TextLongerThanTheBufferIsCutNotRefused) {
  // The buffer holds 999 characters and the terminator; "KLY: " takes 5 of them, leaving 994
  // for the text. A 995th character ('Z') is the first one cut.
  for (size_t length : {993u, 994u, 995u, 5000u}) {
    SCOPED_TRACE(length);
    const std::string text = std::string(length - 1, 'a') + "Z";
    const std::string kept = ("KLY: " + text).substr(0, 999);
    ReportCapture capture;
    EXPECT_EQ(ThrownNumber([&] { KLY_Error(0x5803, text.c_str(), 2); }), 0x5803);
    KLY_Message(text.c_str());
    ASSERT_EQ(capture.reports().size(), 2u);
    EXPECT_EQ(capture.reports()[0].text, kept);
    EXPECT_EQ(capture.reports()[1].text, kept);
    EXPECT_EQ(capture.reports()[1].text.back() == 'Z', length <= 994);
  }
}

TEST(Message, ReportsUnder0x580001AndNeverThrows) {
  ReportCapture capture;
  EXPECT_NO_THROW(KLY_Message("hello"));
  EXPECT_NO_THROW(KLY_Message(nullptr));
  EXPECT_EQ(capture.reports(),
            (std::vector<Report>{{0x580001, 8, "KLY: hello"}, {0x580001, 8, "KLY: "}}));
}

TEST(FailNormalisation, ReportsTheMathsLibrarysMessageThenThrows4363) {
  const std::string message = NUT_ZLookupLStrCache(ORT_G_zref, 38, 0, 0);
  ASSERT_FALSE(message.empty());
  ReportCapture capture;
  EXPECT_EQ(ThrownNumber([] { KLY_FailNormalisation(); }), 4363);
  EXPECT_EQ(capture.reports(), (std::vector<Report>{{0x110034, 8, message}}));
}

TEST(Normalize, FailsBelowTheSquaredLengthLimitAndLeavesTheVectorAlone) {
  // The limit is on the sum of squares: (0.9e-24)^2 = 8.1e-49 < 1e-48 fails, while
  // (1.1e-24)^2 = 1.21e-48 passes and scales to a unit vector.
  const struct {
    ORT_Vector3T<double> in;
    bool fails;
    ORT_Vector3T<double> out;
  } cases[] = {
      {{3, 4, 0}, false, {0.6, 0.8, 0}},   {{0, 0, -2}, false, {0, 0, -1}},
      {{1.1e-24, 0, 0}, false, {1, 0, 0}}, {{0.9e-24, 0, 0}, true, {0.9e-24, 0, 0}},
      {{0, 0, 0}, true, {0, 0, 0}},
  };
  for (const auto& c : cases) {
    SCOPED_TRACE(c.in.x);
    ReportCapture capture;
    ORT_Vector3T<double> v = c.in;
    EXPECT_EQ(ThrownNumber([&] { KLY_Normalize(v); }), c.fails ? 4363 : 0);
    EXPECT_EQ(capture.reports().size(), c.fails ? 1u : 0u);
    EXPECT_DOUBLE_EQ(v.x, c.out.x);
    EXPECT_DOUBLE_EQ(v.y, c.out.y);
    EXPECT_DOUBLE_EQ(v.z, c.out.z);
  }
}

TEST(FailIndex, ReportsAFailedVerificationThenThrows3) {
  ReportCapture capture;
  EXPECT_EQ(ThrownNumber([] { KLY_FailIndex("invalid text index."); }), 3);
  ASSERT_EQ(capture.reports().size(), 1u);
  EXPECT_EQ(capture.reports()[0].id, NUT_kFailedVerificationId);
  EXPECT_EQ(capture.reports()[0].text, "invalid text index.");
}

}  // namespace

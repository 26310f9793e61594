// The standalone host's texts, maths and seam.
#include <gtest/gtest.h>

#include <cmath>
#include <string>
#include <vector>

#include "kly/host/nut.h"
#include "kly/host/ort.h"
#include "kly/host/services.h"
#include "tests/testing/report_capture.h"

namespace {

std::string Sub(uint32_t capacity, const char* tmpl, NUT_SubArg a1 = {}, NUT_SubArg a2 = {}) {
  std::string buffer(capacity, '#');
  EXPECT_EQ(0, NUT_SubString(&buffer[0], capacity, tmpl, a1, a2));
  return std::string(buffer.c_str());
}

TEST(SubString, ReplacesPlaceholders) {
  struct Case {
    const char* tmpl;
    NUT_SubArg a1, a2;
    const char* expected;
  } cases[] = {
      {"^1: ^2", "KLY", "text", "KLY: text"},
      {"^2^1", "a", "b", "ba"},
      {"(triangulate) ^1", "out of memory", {}, "(triangulate) out of memory"},
      {"Triangle ^L1 has an invalid vertex index.",
       42,
       {},
       "Triangle 42 has an invalid vertex index."},
      {"^L1/^L2", -7, 2147483647, "-7/2147483647"},
      {"no placeholders ^3 ^", "x", "y", "no placeholders ^3 ^"},
      {"absent ^1.", {}, {}, "absent ."},
  };
  for (const Case& c : cases) EXPECT_EQ(c.expected, Sub(100, c.tmpl, c.a1, c.a2)) << c.tmpl;
}

TEST(SubString, CutsAtCapacityAndAlwaysTerminates) {
  // Capacity 6 leaves room for 5 characters and the terminator.
  EXPECT_EQ("KLY: ", Sub(6, "^1: ^2", "KLY", "long text"));
  EXPECT_EQ("", Sub(1, "^1", "KLY"));
  const std::string long_text(2000, 'x');
  EXPECT_EQ(999u, Sub(1000, "^1", long_text.c_str()).size());
}

TEST(SubString, RefusesNoRoomOrNoTemplate) {
  char buffer[4];
  EXPECT_EQ(NUT_kErrBadArgument, NUT_SubString(buffer, 0, "x"));
  EXPECT_EQ(NUT_kErrBadArgument, NUT_SubString(buffer, 4, nullptr));
}

TEST(Texts, MessageKeysResolveToTheirDefaultText) {
  EXPECT_EQ("Construction of contour failed.",
            NUT_ZStringToMBString("$$$/VD/KLY/BadContour=Construction of contour failed."));
  EXPECT_EQ("plain", NUT_ZStringToMBString("plain"));
  EXPECT_EQ("a=b", NUT_ZStringToMBString("key=a=b"));
}

TEST(Texts, MathsStringTableEntry38IsTheZeroVectorMessage) {
  EXPECT_STRNE("", NUT_ZLookupLStrCache(ORT_G_zref, 38, 0, 0));
  EXPECT_STREQ("", NUT_ZLookupLStrCache(ORT_G_zref, 39, 0, 0));
  EXPECT_STREQ("", NUT_ZLookupLStrCache(ORT_G_zref, -1, 0, 0));
}

TEST(Seam, ReportsGoToTheReplacedSinkAndTheOldSinkComesBack) {
  {
    kly::testing::ReportCapture capture;
    NUTp_ReportErrString(0x580001, 8, "hello");
    std::snprintf(NUTp_GetThreadLoggingBuffer(), NUT_kLoggingBufferSize, "%s", "buffered");
    NUTp_ReportError(0x580004, 16);
    EXPECT_EQ(
        (std::vector<kly::testing::Report>{{0x580001, 8, "hello"}, {0x580004, 16, "buffered"}}),
        capture.reports());
  }
  // The default sink is back: replacing the table inside a scope does not leak out of it.
  kly::testing::ReportCapture outer;
  NUTp_ReportErrString(1, 0, "x");
  EXPECT_EQ(1u, outer.reports().size());
}

TEST(Seam, ClockAndAllocationHookAreReplaceable) {
  kly::testing::ReportCapture capture;
  capture.services().seconds_since_boot = [] { return 123.5; };
  double now = 0.0;
  NUT_SecondsSinceBoot(&now);
  EXPECT_EQ(123.5, now);

  capture.services().allow_allocation = [](uint32_t bytes, uint32_t) { return bytes < 100; };
  void* small = NUT_AllocatePtrClear(64, 0x540000, "test");
  ASSERT_NE(nullptr, small);
  for (int i = 0; i < 64; ++i) EXPECT_EQ(0, static_cast<unsigned char*>(small)[i]);
  NUT_FreePtr(small);
  EXPECT_EQ(nullptr, NUT_AllocatePtrClear(100, 0x540000, "test"));
}

TEST(Seam, DefaultClockIsMonotonic) {
  double a = 0.0, b = 0.0;
  NUT_SecondsSinceBoot(&a);
  NUT_SecondsSinceBoot(&b);
  EXPECT_LE(a, b);
}

TEST(Exceptions, TranslateReportsWhatAndGivesANonZeroNumber) {
  kly::testing::ReportCapture capture;
  EXPECT_NE(0, NUT_TranslateAndReportException(std::runtime_error("boom")));
  EXPECT_EQ(NUT_kErrBadAlloc, NUT_TranslateAndReportException(std::bad_alloc()));
  ASSERT_EQ(2u, capture.reports().size());
  EXPECT_EQ("boom", capture.reports()[0].text);
}

// --- maths ---

ORT_Matrix4 Affine(double a00, double a01, double a02, double a10, double a11, double a12,
                   double a20, double a21, double a22, double tx, double ty, double tz) {
  ORT_Matrix4 m = ORT_Identity4();
  const double rows[4][3] = {{a00, a01, a02}, {a10, a11, a12}, {a20, a21, a22}, {tx, ty, tz}};
  for (int i = 0; i < 4; ++i)
    for (int j = 0; j < 3; ++j) m.m[i][j] = rows[i][j];
  return m;
}

TEST(Maths, RowVectorRuleTranslationInRowThree) {
  // x' = x*M00 + y*M10 + z*M20 + M30: a scale by 2 in x then a move by (1, 2, 3).
  const ORT_Matrix4 m = Affine(2, 0, 0, 0, 1, 0, 0, 0, 1, 1, 2, 3);
  const ORT_Vector3T<double> p = ORT_TransformPoint({1, 1, 1}, m);
  EXPECT_EQ((ORT_Vector3T<double>{3, 3, 4}), p);
}

TEST(Maths, ConcatAppliesFirstThenSecond) {
  ORT_Matrix4 scale = Affine(2, 0, 0, 0, 2, 0, 0, 0, 2, 0, 0, 0);
  ORT_Matrix4 move = ORT_Identity4();
  ASSERT_EQ(0, ORT_TranslateMatrix4(1, 0, 0, move));
  ORT_Matrix4 both;
  ASSERT_EQ(0, ORT_ConcatMatrix4(scale, move, both));
  // (1,0,0) scaled to (2,0,0), then moved to (3,0,0).
  EXPECT_EQ(3.0, ORT_TransformPoint({1, 0, 0}, both).x);
  // Aliasing the output with an input is allowed.
  ASSERT_EQ(0, ORT_ConcatMatrix4(scale, move, scale));
  EXPECT_EQ(3.0, ORT_TransformPoint({1, 0, 0}, scale).x);
}

TEST(Maths, InverseUndoesTheMatrixAndSingularFails) {
  const ORT_Matrix4 m = Affine(1, 2, 0, 0, 1, 3, 4, 0, 1, 5, -6, 7);
  ORT_Matrix4 inv;
  ASSERT_EQ(0, ORT_InverseMatrix4(m, inv));
  const ORT_Vector3T<double> p{0.25, -3, 9};
  const ORT_Vector3T<double> back = ORT_TransformPoint(ORT_TransformPoint(p, m), inv);
  EXPECT_NEAR(p.x, back.x, 1e-12);
  EXPECT_NEAR(p.y, back.y, 1e-12);
  EXPECT_NEAR(p.z, back.z, 1e-12);
  const ORT_Matrix4 flat = Affine(1, 0, 0, 0, 1, 0, 0, 0, 0, 0, 0, 0);
  EXPECT_EQ(ORT_kErrSingularMatrix, ORT_InverseMatrix4(flat, inv));
}

TEST(Maths, NormalMatrixKeepsNormalsPerpendicular) {
  // A shear: the plane z = 0 stays, its normal must stay (0, 0, 1) up to scale.
  const ORT_Matrix4 m = Affine(1, 0, 0, 3, 1, 0, 0, 0, 2, 0, 0, 0);
  ORT_Matrix4 nm;
  bool no_inverse = true;
  ORT_CalcNormalMatrix4Quiet(m, nm, &no_inverse);
  EXPECT_FALSE(no_inverse);
  // Row (0,0,1,0) times the normal matrix: third row of the inverse transpose.
  EXPECT_EQ((std::vector<double>{0, 0, 0.5}),
            (std::vector<double>{nm.m[2][0], nm.m[2][1], nm.m[2][2]}));
  ORT_CalcNormalMatrix4Quiet(Affine(0, 0, 0, 0, 1, 0, 0, 0, 1, 0, 0, 0), nm, &no_inverse);
  EXPECT_TRUE(no_inverse);
}

TEST(Maths, EqualWithinEpsilon) {
  ORT_Matrix4 a = ORT_Identity4(), b = ORT_Identity4();
  b.m[3][2] += 1e-7;
  EXPECT_TRUE(ORT_EqualMatrixWithinEpsilon(a, b, 1e-6));
  b.m[3][2] += 1e-5;
  EXPECT_FALSE(ORT_EqualMatrixWithinEpsilon(a, b, 1e-6));
  b = ORT_Identity4();
  b.m[0][0] = std::nan("");
  EXPECT_FALSE(ORT_EqualMatrixWithinEpsilon(a, b, 1e-6));
}

TEST(Maths, PlaneNormalIsRightHandedCrossOfTheFirstThreePoints) {
  // (1,0,0) x (0,1,0) = (0,0,1); the plane z = 2 has d = -2.
  const ORT_Vector3T<double> pts[3] = {{0, 0, 2}, {1, 0, 2}, {0, 1, 2}};
  ORT_PlaneEq plane;
  ASSERT_EQ(0, ORT_GetPlaneEquation(pts, 3, &plane, nullptr));
  EXPECT_EQ((std::vector<double>{0, 0, 1, -2}),
            (std::vector<double>{plane.a, plane.b, plane.c, plane.d}));
  const ORT_Vector3T<double> line[3] = {{0, 0, 0}, {1, 1, 1}, {2, 2, 2}};
  EXPECT_EQ(ORT_kErrDegeneratePlane, ORT_GetPlaneEquation(line, 3, &plane, nullptr));
  EXPECT_EQ(ORT_kErrBadPointCount, ORT_GetPlaneEquation(pts, 2, &plane, nullptr));
}

TEST(Maths, Matrix3EmbedsTheAffine2DMap) {
  ORT_Matrix3 m3;
  ASSERT_EQ(0, ORT_SetIdentityMatrix(m3));
  m3.m[0][0] = 2;  // scale x by 2
  m3.m[2][0] = 5;  // then move x by 5
  m3.m[2][1] = -1;
  ORT_Matrix4 m4;
  ASSERT_EQ(0, ORT_Matrix3ToMatrix4(m3, m4));
  EXPECT_EQ((ORT_Vector3T<double>{7, -1, 3}), ORT_TransformPoint({1, 0, 3}, m4));
}

}  // namespace

// Fonts opened from files: the queries the command line asks, and one report line and a
// non-zero number for every file that cannot be used.
#include "kly/host/font_dict.h"

#include <gtest/gtest.h>

#include <cstdio>
#include <string>

#include "tests/testing/report_capture.h"

namespace {

using HBN_T_NMT::CTPKFontDict;

const char* const kDejaVuSans = "/usr/share/fonts/truetype/dejavu/DejaVuSans.ttf";

std::string WriteTextFile(const std::string& name) {
  const std::string path = ::testing::TempDir() + name;
  std::FILE* file = std::fopen(path.c_str(), "w");
  std::fputs("This is a text file, not a font.\n", file);
  std::fclose(file);
  return path;
}

TEST(FontDict, OpenedFontAnswersItsQueriesAndCopiesShareTheFace) {
  const CTPKFontDict font = CTPKFontDict::FromFile(kDejaVuSans);
  EXPECT_EQ(font.UnitsPerEm(), 2048);
  EXPECT_EQ(font.GlyphCount(), 6253);
  EXPECT_EQ(font.FamilyName(), "DejaVu Sans");
  EXPECT_TRUE(font.Axes().empty());
  const CTPKFontDict copy = font;
  EXPECT_EQ(copy.Face(), font.Face());
}

TEST(FontDict, EmptyFontHasNothing) {
  const CTPKFontDict font;
  EXPECT_TRUE(font.IsEmpty());
  EXPECT_EQ(font.UnitsPerEm(), 0);
  EXPECT_EQ(font.GlyphCount(), 0);
  EXPECT_EQ(font.FamilyName(), "");
  EXPECT_TRUE(font.Axes().empty());
}

TEST(FontDict, UnusableFileIsOneReportLineAndANonZeroNumber) {
  const std::string text = WriteTextFile("not_a_font.ttf");
  struct Case {
    std::string path;
    int32_t face;
    int32_t number;  // FreeType's status: 1 cannot open, 2 unknown format, 6 invalid argument
    std::string report;
  };
  const Case cases[] = {
      {"/nonexistent/font.ttf", 0, 1,
       "Cannot open font file \"/nonexistent/font.ttf\": No such file or directory"},
      {text, 0, 2, "The font file \"" + text + "\" is not a font"},
      {"/", 0, 2, "Cannot open font file \"/\": it is a directory"},
      {kDejaVuSans, 5, 6,
       std::string("The font file \"") + kDejaVuSans + "\" has 1 face; face 5 does not exist"},
      {kDejaVuSans, -1, 6,
       std::string("The font file \"") + kDejaVuSans + "\" has 1 face; face -1 does not exist"},
  };
  for (const Case& c : cases) {
    kly::testing::ReportCapture capture;
    EXPECT_EQ(kly::testing::ThrownNumber([&] { CTPKFontDict::FromFile(c.path, c.face); }), c.number)
        << c.path;
    const std::string line = c.report + " (FreeType error " + std::to_string(c.number) + ")";
    EXPECT_EQ(capture.reports(), (std::vector<kly::testing::Report>{{0x470001, 8, line}}));
  }
  std::remove(text.c_str());
}

}  // namespace

// What `kly` says when it refuses a command line: one exact line on stderr naming the option (or
// the command) and what it expects, exit code 2 for a command line that does not parse and 1
// after, nothing on stdout and no file left in the folder.
#include <gtest/gtest.h>

#include <string>
#include <vector>

#include "tests/testing/cli_runner.h"

namespace {

using kly::testing::CliFixture;
using kly::testing::Joined;
using kly::testing::Outcome;

struct Refusal {
  std::vector<std::string> args;
  std::string line;  // without "kly: " and, for exit code 2, without " (see kly --help)"
  int exit_code;
};

class CliMessagesTest : public CliFixture {
 protected:
  void ExpectRefusals(const std::vector<Refusal>& refusals) {
    for (const Refusal& refusal : refusals) {
      SCOPED_TRACE(Joined(refusal.args));
      const Outcome run = Kly(refusal.args);
      EXPECT_EQ(run.exit_code, refusal.exit_code);
      const std::string tail = refusal.exit_code == 2 ? " (see kly --help)\n" : "\n";
      EXPECT_EQ(run.err, "kly: " + refusal.line + tail);
      EXPECT_EQ(run.out, "");
      EXPECT_EQ(Entries(), std::vector<std::string>{}) << "left behind";
    }
  }
};

const std::string kCommands = "cube, sphere, cylinder, plane, text or svg";
const std::string kCubeSlots = "front, back, left, right, top or bottom";
const std::string kFloats = "from -3.4e+38 to 3.4e+38";

TEST_F(CliMessagesTest, CommandsAreNamedWithTheList) {
  ExpectRefusals({
      {{"foo"}, "'foo' is not a command; expected " + kCommands, 2},
      {{"foo", "-o", "x.glb"}, "'foo' is not a command; expected " + kCommands, 2},
      {{}, "a command is required; expected " + kCommands, 2},
  });
}

TEST_F(CliMessagesTest, VersionComesFromTheProject) {
  const Outcome run = Kly({"--version"});
  EXPECT_EQ(run.exit_code, 0);
  EXPECT_EQ(run.out, std::string("kly ") + KLY_VERSION + "\n");
  EXPECT_EQ(run.err, "");
}

TEST_F(CliMessagesTest, EmptyOrMissingValueGetsOneMessageWhateverTheOption) {
  // "--name=" is read as an empty value, as "--name ''" is, and so is a value missing at the end
  // or before another option: never is the next option taken as the value.
  const std::string empty = "no value; expected ";
  ExpectRefusals({
      {{"cube", "-o", "x.glb", "--divisions"},
       "--divisions: " + empty + "a whole number from 1 to 1000000",
       2},
      {{"cube", "--divisions", "-o", "x.glb"},
       "--divisions: " + empty + "a whole number from 1 to 1000000",
       2},
      {{"cube", "--weld", "--split=1,0,0,0", "-o", "x.glb"},
       "--weld: " + empty + "a number of at least 1e-06",
       2},
      {{"cube", "-o"}, "--output: " + empty + "a path, or - for standard output", 2},
      {{"cube", "--divisions=", "-o", "x.glb"},
       "--divisions: " + empty + "a whole number from 1 to 1000000",
       2},
      {{"cube", "--divisions", "", "-o", "x.glb"},
       "--divisions: " + empty + "a whole number from 1 to 1000000",
       2},
      {{"cube", "--dimensions=", "-o", "x.glb"},
       "--dimensions: " + empty + "3 numbers " + kFloats + ", separated by commas",
       2},
      {{"plane", "--dimensions", "", "-o", "x.glb"},
       "--dimensions: " + empty + "2 numbers " + kFloats + ", separated by commas",
       2},
      {{"cylinder", "--height=", "-o", "x.glb"}, "--height: " + empty + "a number " + kFloats, 2},
      {{"plane", "--curvature=", "-o", "x.glb"}, "--curvature: " + empty + "a number", 2},
      {{"plane", "--curvature-axis=", "-o", "x.glb"}, "--curvature-axis: " + empty + "x or y", 2},
      {{"cube", "--weld=", "-o", "x.glb"}, "--weld: " + empty + "a number of at least 1e-06", 2},
      {{"cube", "--split=", "-o", "x.glb"},
       "--split: " + empty + "4 numbers separated by commas, A, B and C not all zero",
       2},
      {{"cube", "--subdivide=", "-o", "x.glb"},
       "--subdivide: " + empty + "a whole number of rounds from 0 to 12 in all",
       2},
      {{"cube", "-o="}, "--output: " + empty + "a path, or - for standard output", 2},
      {{"cube", "--output="}, "--output: " + empty + "a path, or - for standard output", 2},
      {{"cube", "--format=", "-o", "x.glb"}, "--format: " + empty + "glb, obj, stl or ply", 2},
      {{"cube", "--normals=", "-o", "x.glb"}, "--normals: " + empty + "library, smooth or flat", 2},
      {{"cube", "--crease=", "-o", "x.glb"}, "--crease: " + empty + "a number from 0 to 180", 2},
      {{"cube", "--color=", "-o", "x.glb"},
       "--color: " + empty + "SLOT=#RRGGBB with SLOT one of " + kCubeSlots,
       2},
      {{"cube", "--stats=", "-o", "x.glb"}, "--stats: " + empty + "text or json", 2},
  });
}

TEST_F(CliMessagesTest, NumbersAreJudgedByValueNotBySpelling) {
  ExpectRefusals({
      // -0 is zero, not negative: below the least count of 1, it is too small.
      {{"cube", "--divisions", "-0", "-o", "x.glb"},
       "--divisions: '-0' is too small; expected a whole number from 1 to 1000000",
       2},
      {{"cube", "--divisions", "-3", "-o", "x.glb"},
       "--divisions: '-3' is negative; expected a whole number from 1 to 1000000",
       2},
      {{"cube", "--divisions", "2.5", "-o", "x.glb"},
       "--divisions: '2.5' is not a whole number; expected a whole number from 1 to 1000000",
       2},
      {{"cube", "--divisions", "99999999999999999999", "-o", "x.glb"},
       "--divisions: '99999999999999999999' is too large; expected a whole number from 1 to "
       "1000000",
       2},
      {{"cube", "--dimensions", "1,x,3", "-o", "x.glb"},
       "--dimensions: 'x' is not a number; expected 3 numbers " + kFloats + ", separated by commas",
       2},
      {{"cube", "--dimensions", "1,2", "-o", "x.glb"},
       "--dimensions: '1,2' has 2 numbers; expected 3 numbers " + kFloats + ", separated by commas",
       2},
      {{"cube", "--dimensions", "1,,3", "-o", "x.glb"},
       "--dimensions: '1,,3' has an empty component; expected 3 numbers " + kFloats +
           ", separated by commas",
       2},
      {{"sphere", "--power", "nan,1,1", "-o", "x.glb"},
       "--power: 'nan' is not a number; expected 3 numbers, separated by commas",
       2},
      {{"plane", "--curvature", "1e999", "-o", "x.glb"},
       "--curvature: '1e999' is out of range; expected a number",
       2},
      {{"cylinder", "--radial-divisions", "2", "-o", "x.glb"},
       "--radial-divisions: '2' is too small; expected a whole number from 3 to 100000000",
       2},
      {{"plane", "--curvature-axis", "z", "-o", "x.glb"},
       "--curvature-axis: 'z' is not known; expected x or y",
       2},
      {{"cube", "--split", "0,0,0,1", "-o", "x.glb"},
       "--split: the plane's normal A,B,C is zero; expected 4 numbers separated by commas, A, B "
       "and C not all zero",
       2},
  });
}

TEST_F(CliMessagesTest, SizesMustFitTheFilesFloats) {
  // A 32-bit float holds at most 3.4028235e38; the bound shown, 3.4e38, is itself accepted.
  ExpectRefusals({
      {{"cube", "--dimensions", "1e39,1,1", "-o", "x.glb"},
       "--dimensions: '1e39' is out of range; expected 3 numbers " + kFloats +
           ", separated by commas",
       2},
      {{"sphere", "--radius", "1,1,-3.5e38", "-o", "x.glb"},
       "--radius: '-3.5e38' is out of range; expected 3 numbers " + kFloats +
           ", separated by commas",
       2},
      {{"cylinder", "--height", "1e39", "-o", "x.glb"},
       "--height: '1e39' is out of range; expected a number " + kFloats,
       2},
      {{"cylinder", "--top-radius", "-1e39", "-o", "x.glb"},
       "--top-radius: '-1e39' is out of range; expected a number " + kFloats,
       2},
      {{"cylinder", "--bottom-radius", "1e300", "-o", "x.glb"},
       "--bottom-radius: '1e300' is out of range; expected a number " + kFloats,
       2},
      {{"plane", "--dimensions", "1e39,1", "-o", "x.glb"},
       "--dimensions: '1e39' is out of range; expected 2 numbers " + kFloats +
           ", separated by commas",
       2},
  });
  const Outcome largest =
      Kly({"cube", "--divisions", "1", "--dimensions", "3.4e38,1,1", "-o", "x.stl"});
  EXPECT_EQ(largest.exit_code, 0) << largest.err;
}

TEST_F(CliMessagesTest, WeldBelowTheLibrarysLeastIsRefused) {
  // The library welds with a box of at least 1e-6 whatever it is given.
  const std::string expected = "; expected a number of at least 1e-06";
  ExpectRefusals({
      {{"cube", "--weld", "0", "-o", "x.glb"}, "--weld: '0' is out of range" + expected, 2},
      {{"cube", "--weld", "9.9e-7", "-o", "x.glb"},
       "--weld: '9.9e-7' is out of range" + expected,
       2},
      {{"cube", "--weld", "-1", "-o", "x.glb"}, "--weld: '-1' is out of range" + expected, 2},
  });
  EXPECT_EQ(Kly({"cube", "--weld", "1e-6", "-o", "x.glb"}).exit_code, 0);
}

TEST_F(CliMessagesTest, SubdivisionRoundsAreCappedAtParsing) {
  // A single triangle passes the limit of 50,000,000 after 13 rounds (4^13 = 67,108,864), so no
  // solid can take more than 12.
  const std::string expected = "; expected a whole number of rounds from 0 to 12 in all";
  ExpectRefusals({
      {{"cube", "--subdivide=99999999999999999999", "-o", "x.glb"},
       "--subdivide: '99999999999999999999' is too large" + expected,
       2},
      {{"cube", "--subdivide=100", "-o", "x.glb"}, "--subdivide: '100' is too large" + expected, 2},
      {{"cube", "--subdivide=1000000", "-o", "x.glb"},
       "--subdivide: '1000000' is too large" + expected,
       2},
      {{"cube", "--subdivide=-1", "-o", "x.glb"}, "--subdivide: '-1' is negative" + expected, 2},
      // Occurrences add up: 7 + 6 = 13.
      {{"cube", "--subdivide=7", "--subdivide=6", "-o", "x.glb"},
       "--subdivide: 13 rounds in all are too many" + expected,
       2},
      {{"cube", "--subdivide=12", "--subdivide", "-o", "x.glb"},
       "--subdivide: 13 rounds in all are too many" + expected,
       2},
  });
}

TEST_F(CliMessagesTest, TriangleLimitShowsTheWholeCount) {
  const std::string advice =
      ", more than the limit of 50,000,000; use fewer divisions or "
      "subdivisions";
  ExpectRefusals({
      // 12 * 5000^2 = 300,000,000.
      {{"cube", "--divisions", "5000", "-o", "x.glb"},
       "this cube would have 300,000,000 triangles" + advice,
       1},
      // 12 * 1000^2 * 4^6 = 12,000,000 * 4,096 = 49,152,000,000.
      {{"cube", "--divisions", "1000", "--subdivide=6", "-o", "x.glb"},
       "this cube would have 49,152,000,000 triangles" + advice,
       1},
      // The default cube's 192 triangles, 12 rounds: 192 * 4^12 = 192 * 16,777,216.
      {{"cube", "--subdivide=12", "-o", "x.glb"},
       "this cube would have 3,221,225,472 triangles" + advice,
       1},
      // 10 * 4^10 from the largest sphere, then 3 rounds: 10 * 4^13 = 671,088,640.
      {{"sphere", "--subdivisions", "10", "--subdivide=3", "-o", "x.glb"},
       "this sphere would have 671,088,640 triangles" + advice,
       1},
      // Side 2 * 1e8 * 1e8 plus caps 4 * 1e8, times 4^12: 2.0000000004e16 * 16,777,216, about
      // 3.36e23, past the 10^15 up to which a double counts every unit.
      {{"cylinder", "--radial-divisions", "100000000", "--height-divisions", "100000000",
        "--subdivide=12", "-o", "x.glb"},
       "this cylinder would have about 3.4e+23 triangles" + advice,
       1},
  });
}

TEST_F(CliMessagesTest, OutputAndFormatMustAgree) {
  ExpectRefusals({
      {{"cube", "-o", "x.gltf"},
       "--output: 'x.gltf' has no known extension; expected a path ending in .glb, .obj, .stl or "
       ".ply, or --format",
       2},
      {{"cube", "-o", "."},
       "--output: '.' has no known extension; expected a path ending in .glb, .obj, .stl or "
       ".ply, or --format",
       2},
      {{"cube"}, "--output is required", 2},
      {{"cube", "-o", "-"},
       "--format: missing; expected glb, obj, stl or ply with -o - (standard output)",
       2},
      {{"cube", "-o", "x.glb", "--format", "gltf"},
       "--format: 'gltf' is not known; expected glb, obj, stl or ply",
       2},
      {{"cube", "-o", "-", "--format", "stl", "--split", "1,0,0,0"},
       "--split: writes two files, which cannot share standard output; expected a path with it "
       "instead of -o -",
       2},
      {{"cube", "-o", "x.glb", "--ascii"},
       "--ascii: .glb has no text form; expected an .stl, .ply or .obj output with it",
       2},
      {{"cube", "-o", "x.stl", "--format", "glb", "--ascii"},
       "--ascii: .glb has no text form; expected an .stl, .ply or .obj output with it",
       2},
      {{"cube", "-o", "x.stl", "--crease", "30"},
       "--crease: applies only to smooth normals; expected --normals smooth with it",
       2},
      {{"cube", "-o", "x.stl", "--normals", "smooth", "--crease", "181"},
       "--crease: '181' is out of range; expected a number from 0 to 180",
       2},
      {{"cube", "-o", "x.stl", "--normals", "shiny"},
       "--normals: 'shiny' is not known; expected library, smooth or flat",
       2},
      {{"cube", "-o", "x.stl", "--facet", "--normals", "smooth"},
       "--facet: contradicts --normals smooth; expected one of them, or --normals flat",
       2},
      {{"cube", "-o", "x.stl", "--stats=yaml"},
       "--stats: 'yaml' is not known; expected text or json",
       2},
  });
}

TEST_F(CliMessagesTest, ColoursNameTheCommandsSlots) {
  const auto slots = [](const std::string& list) {
    return "; expected SLOT=#RRGGBB with SLOT " + list;
  };
  ExpectRefusals({
      {{"cube", "--color", "tip=#ff0000", "-o", "x.glb"},
       "--color: 'tip' is not a slot of this solid" + slots("one of " + kCubeSlots),
       2},
      {{"sphere", "--color", "front=#ff0000", "-o", "x.glb"},
       "--color: 'front' is not a slot of this solid" + slots("surface"),
       2},
      {{"cylinder", "--color", "cap=#ff0000", "-o", "x.glb"},
       "--color: 'cap' is not a slot of this solid" + slots("one of side or caps"),
       2},
      {{"plane", "--color", "Sheet=#ff0000", "-o", "x.glb"},
       "--color: 'Sheet' is not a slot of this solid" + slots("sheet"),
       2},
      {{"cube", "--color", "top=#12345", "-o", "x.glb"},
       "--color: '#12345' is not a #RRGGBB colour" + slots("one of " + kCubeSlots),
       2},
      {{"cube", "--color", "top=red", "-o", "x.glb"},
       "--color: 'red' is not a #RRGGBB colour" + slots("one of " + kCubeSlots),
       2},
      {{"cube", "--color", "top=#gg0000", "-o", "x.glb"},
       "--color: '#gg0000' is not a #RRGGBB colour" + slots("one of " + kCubeSlots),
       2},
      {{"cube", "--color", "top", "-o", "x.glb"},
       "--color: 'top' has no '='" + slots("one of " + kCubeSlots),
       2},
  });
}

}  // namespace

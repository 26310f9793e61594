// The engine's switch parser: every letter to its fields, the numbers behind q, a and S, and
// the settling of derived and conflicting fields after the string.
#include <gtest/gtest.h>

#include <climits>
#include <cmath>
#include <functional>
#include <string>

#include "kly/tess/switches.h"
#include "kly/tess/triangulate.h"

namespace {

// Field-by-field comparison with names, so that a failure says which field is wrong.
void ExpectSwitches(const TessSwitches& actual, const TessSwitches& expected,
                    const std::string& text) {
#define KLY_EXPECT_FIELD(name) EXPECT_EQ(actual.name, expected.name) << "\"" << text << "\" " #name
  KLY_EXPECT_FIELD(pslgInput);
  KLY_EXPECT_FIELD(refineInput);
  KLY_EXPECT_FIELD(qualityMesh);
  KLY_EXPECT_FIELD(areaPerTriangle);
  KLY_EXPECT_FIELD(fixedArea);
  KLY_EXPECT_FIELD(userTest);
  KLY_EXPECT_FIELD(regionAttributes);
  KLY_EXPECT_FIELD(convexHullSegments);
  KLY_EXPECT_FIELD(weightMode);
  KLY_EXPECT_FIELD(dropUnused);
  KLY_EXPECT_FIELD(firstIndex);
  KLY_EXPECT_FIELD(writeEdges);
  KLY_EXPECT_FIELD(writeDual);
  KLY_EXPECT_FIELD(writeNeighbors);
  KLY_EXPECT_FIELD(geomview);
  KLY_EXPECT_FIELD(noBoundaryMarkers);
  KLY_EXPECT_FIELD(noSegmentOutput);
  KLY_EXPECT_FIELD(noPointOutput);
  KLY_EXPECT_FIELD(noTriangleOutput);
  KLY_EXPECT_FIELD(noIterationNumber);
  KLY_EXPECT_FIELD(ignoreHoles);
  KLY_EXPECT_FIELD(noExactArithmetic);
  KLY_EXPECT_FIELD(conformingDelaunay);
  KLY_EXPECT_FIELD(incrementalBuild);
  KLY_EXPECT_FIELD(sweepBuild);
  KLY_EXPECT_FIELD(alternatingCuts);
  KLY_EXPECT_FIELD(splitSegments);
  KLY_EXPECT_FIELD(checkResult);
  KLY_EXPECT_FIELD(quiet);
  KLY_EXPECT_FIELD(verbosity);
  KLY_EXPECT_FIELD(useSegments);
  KLY_EXPECT_FIELD(elementOrder);
  KLY_EXPECT_FIELD(noBoundarySplits);
  KLY_EXPECT_FIELD(steinerLimit);
  KLY_EXPECT_FIELD(minAngle);
  KLY_EXPECT_FIELD(maxArea);
#undef KLY_EXPECT_FIELD
  // Derived from minAngle through cos, so compared to a few ulps.
  EXPECT_NEAR(actual.goodAngle, expected.goodAngle, 1e-15) << text;
  EXPECT_NEAR(actual.offCenter, expected.offCenter, 1e-14) << text;
}

TessSwitches Parsed(const char* text) {
  TessSwitches s;
  s.pslgInput = 7;  // proves that parsing starts from the defaults, not from what was there
  ParseSwitches(text, s);
  return s;
}

// The defaults, written out independently of the struct's initialisers.
TessSwitches Defaults() {
  TessSwitches s;
  s.firstIndex = 1;
  s.alternatingCuts = 1;
  s.elementOrder = 1;
  s.steinerLimit = -1;
  s.minAngle = 0.0;
  s.goodAngle = 1.0;  // cos(0)^2
  s.offCenter = 0.0;  // cos(0) is exactly 1, the case without an off-centre
  s.maxArea = -1.0;
  return s;
}

struct Case {
  const char* text;
  std::function<void(TessSwitches&)> expect;
};

TEST(ParseSwitchesTest, EachLetterSetsItsFields) {
  // useSegments follows p, r, the q group (q a u D L) and c; A and a (bounds per triangle) are
  // cleared without p or r; w and W are cleared by p and the q group.
  const Case cases[] = {
      {"", [](TessSwitches&) {}},
      {"-?#+7 ", [](TessSwitches&) {}},
      {"p", [](TessSwitches& s) { s.pslgInput = s.useSegments = 1; }},
      {"r", [](TessSwitches& s) { s.refineInput = s.useSegments = 1; }},
      {"u", [](TessSwitches& s) { s.qualityMesh = s.userTest = s.useSegments = 1; }},
      {"A", [](TessSwitches&) {}},
      {"pA", [](TessSwitches& s) { s.pslgInput = s.useSegments = s.regionAttributes = 1; }},
      {"rA", [](TessSwitches& s) { s.refineInput = s.useSegments = 1; }},
      {"c", [](TessSwitches& s) { s.convexHullSegments = s.useSegments = 1; }},
      {"w", [](TessSwitches& s) { s.weightMode = 1; }},
      {"W", [](TessSwitches& s) { s.weightMode = 2; }},
      {"wW", [](TessSwitches& s) { s.weightMode = 2; }},
      {"pw", [](TessSwitches& s) { s.pslgInput = s.useSegments = 1; }},
      {"Wu", [](TessSwitches& s) { s.qualityMesh = s.userTest = s.useSegments = 1; }},
      {"cw", [](TessSwitches& s) { s.convexHullSegments = s.useSegments = s.weightMode = 1; }},
      {"j", [](TessSwitches& s) { s.dropUnused = 1; }},
      {"z", [](TessSwitches& s) { s.firstIndex = 0; }},
      {"e", [](TessSwitches& s) { s.writeEdges = 1; }},
      {"v", [](TessSwitches& s) { s.writeDual = 1; }},
      {"n", [](TessSwitches& s) { s.writeNeighbors = 1; }},
      {"g", [](TessSwitches& s) { s.geomview = 1; }},
      {"B", [](TessSwitches& s) { s.noBoundaryMarkers = 1; }},
      {"P", [](TessSwitches& s) { s.noSegmentOutput = 1; }},
      {"N", [](TessSwitches& s) { s.noPointOutput = 1; }},
      {"E", [](TessSwitches& s) { s.noTriangleOutput = 1; }},
      {"I", [](TessSwitches&) {}},  // no letter sets noIterationNumber
      {"O", [](TessSwitches& s) { s.ignoreHoles = 1; }},
      {"X", [](TessSwitches& s) { s.noExactArithmetic = 1; }},
      {"D", [](TessSwitches& s) { s.qualityMesh = s.conformingDelaunay = s.useSegments = 1; }},
      {"L", [](TessSwitches& s) { s.qualityMesh = s.conformingDelaunay = s.useSegments = 1; }},
      {"i", [](TessSwitches& s) { s.incrementalBuild = 1; }},
      {"F", [](TessSwitches& s) { s.sweepBuild = 1; }},
      {"l", [](TessSwitches& s) { s.alternatingCuts = 0; }},
      {"s", [](TessSwitches& s) { s.splitSegments = 1; }},
      {"C", [](TessSwitches& s) { s.checkResult = 1; }},
      {"Q", [](TessSwitches& s) { s.quiet = 1; }},
      {"V", [](TessSwitches& s) { s.verbosity = 1; }},
      {"VVV", [](TessSwitches& s) { s.verbosity = 3; }},
      {"Y", [](TessSwitches& s) { s.noBoundarySplits = 1; }},
      {"YY", [](TessSwitches& s) { s.noBoundarySplits = 2; }},
      {"o2", [](TessSwitches& s) { s.elementOrder = 2; }},
      {"o", [](TessSwitches&) {}},
      {"o3", [](TessSwitches&) {}},
      {"pp", [](TessSwitches& s) { s.pslgInput = s.useSegments = 1; }},
      // The library's two strings.
      {"Qpz",
       [](TessSwitches& s) {
         s.quiet = s.pslgInput = s.useSegments = 1;
         s.firstIndex = 0;
       }},
      {"VpDz",
       [](TessSwitches& s) {
         s.verbosity = s.pslgInput = s.qualityMesh = s.conformingDelaunay = s.useSegments = 1;
         s.firstIndex = 0;
       }},
      {"-p -z",
       [](TessSwitches& s) {
         s.pslgInput = s.useSegments = 1;
         s.firstIndex = 0;
       }},
  };
  for (const Case& c : cases) {
    TessSwitches expected = Defaults();
    c.expect(expected);
    ExpectSwitches(Parsed(c.text), expected, c.text);
  }
  ExpectSwitches(Parsed(nullptr), Defaults(), "(null)");
}

TEST(ParseSwitchesTest, NumbersBehindLettersAreRead) {
  // goodAngle is cos^2(minAngle) = (1 + cos 2 minAngle) / 2, and offCenter is
  // 0.475 sqrt((1 + c) / (1 - c)) = 0.475 cot(minAngle / 2); values from those identities.
  const double cos40 = 0.766044443118978;     // cos 40 degrees
  const double cot10 = 5.671281819617709;     // cot 10 degrees
  const double cos65 = 0.42261826174069944;   // cos 65 degrees
  const double cot16p25 = 3.430844573821068;  // cot 16.25 degrees
  auto quality = [](TessSwitches& s, double angle) {
    s.qualityMesh = s.useSegments = 1;
    s.minAngle = angle;
  };
  const Case cases[] = {
      {"q",
       [&](TessSwitches& s) {
         quality(s, 20.0);
         s.goodAngle = (1 + cos40) / 2;
         s.offCenter = 0.475 * cot10;
       }},
      {"q32.5",
       [&](TessSwitches& s) {
         quality(s, 32.5);
         s.goodAngle = (1 + cos65) / 2;
         s.offCenter = 0.475 * cot16p25;
       }},
      // A run of "0" is a number: minAngle 0, and cos 0 = 1 means no off-centre.
      {"q0", [&](TessSwitches& s) { quality(s, 0.0); }},
      // The run stops at the first character that is no digit or point: e is a letter again.
      {"q20e",
       [&](TessSwitches& s) {
         quality(s, 20.0);
         s.goodAngle = (1 + cos40) / 2;
         s.offCenter = 0.475 * cot10;
         s.writeEdges = 1;
       }},
      // The run is "1.2.5"; strtod stops at the second point.
      {"pa1.2.5",
       [&](TessSwitches& s) {
         s.pslgInput = s.qualityMesh = s.useSegments = s.fixedArea = 1;
         s.maxArea = 1.2;
       }},
      {"a0.25",
       [&](TessSwitches& s) {
         s.qualityMesh = s.useSegments = s.fixedArea = 1;
         s.maxArea = 0.25;
       }},
      // a alone asks for bounds per triangle, which only a graph or a refinement can carry.
      {"pa",
       [&](TessSwitches& s) {
         s.pslgInput = s.qualityMesh = s.useSegments = s.areaPerTriangle = 1;
       }},
      {"a", [&](TessSwitches& s) { s.qualityMesh = s.useSegments = 1; }},
      // '-' is no digit: a without a number, then a dash, then an unknown '1'.
      {"pa-1",
       [&](TessSwitches& s) {
         s.pslgInput = s.qualityMesh = s.useSegments = s.areaPerTriangle = 1;
       }},
      {"S", [](TessSwitches& s) { s.steinerLimit = 0; }},
      {"S250", [](TessSwitches& s) { s.steinerLimit = 250; }},
      {"S12p",
       [](TessSwitches& s) {
         s.steinerLimit = 12;
         s.pslgInput = s.useSegments = 1;
       }},
      // Points are not part of S's number.
      {"S1.5", [](TessSwitches& s) { s.steinerLimit = 1; }},
      {"S99999999999", [](TessSwitches& s) { s.steinerLimit = INT32_MAX; }},
  };
  for (const Case& c : cases) {
    TessSwitches expected = Defaults();
    c.expect(expected);
    ExpectSwitches(Parsed(c.text), expected, c.text);
  }
}

TEST(ParseSwitchesTest, NonPositiveMaximumAreaFails) {
  for (const char* text : {"a0", "pa0.0", "a.", "Qpa0z"}) {
    TessSwitches s;
    try {
      ParseSwitches(text, s);
      ADD_FAILURE() << text << " was accepted";
    } catch (const TriangleFailure& failure) {
      EXPECT_EQ(failure.text(), "(triangulate) Maximum area must be greater than zero.") << text;
    }
  }
}

}  // namespace

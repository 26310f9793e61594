// The standalone path offset service (kly/host/offset_path.h), called directly and, as the
// extrusion calls it, through HBN_LookupInterfaceEntry with a PLB_PathCollector.
#include "kly/host/offset_path.h"

#include <ft2build.h>
#include FT_FREETYPE_H
#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <cstdint>
#include <memory>
#include <random>
#include <stdexcept>
#include <vector>

#include "kly/host/glyph_outlines.h"
#include "kly/host/hbn_paths.h"
#include "kly/host/plb_path_collector.h"
#include "kly/host/services.h"

namespace kly {
namespace host {
namespace {

using HBN_T_NMT::CPVKBezierPath;
using HBN_T_NMT::kPathClose;
using HBN_T_NMT::kPathCurve;
using HBN_T_NMT::kPathLine;
using HBN_T_NMT::kPathMove;

constexpr double kPi = 3.14159265358979323846;
// Control arm of a quarter circle of radius 1 drawn as one cubic.
constexpr double kQuarterArm = 0.5522847498307936;
const char* const kDejaVuSans = "/usr/share/fonts/truetype/dejavu/DejaVuSans.ttf";

struct P {
  double x, y;
};
P operator+(P a, P b) {
  return {a.x + b.x, a.y + b.y};
}
P operator-(P a, P b) {
  return {a.x - b.x, a.y - b.y};
}
P operator*(P a, double s) {
  return {a.x * s, a.y * s};
}
double Norm(P a) {
  return std::hypot(a.x, a.y);
}

// Builds a host path the way the extrusion does: a move, cubics (a line as a cubic with its
// controls at the thirds), and the first point again as a close.
class PathBuilder {
 public:
  PathBuilder& Move(P p) {
    path_.Append(static_cast<float>(p.x), static_cast<float>(p.y), kPathMove);
    start_ = current_ = p;
    return *this;
  }
  PathBuilder& Cubic(P c1, P c2, P end) {
    for (P p : {c1, c2, end}) {
      path_.Append(static_cast<float>(p.x), static_cast<float>(p.y), kPathCurve);
    }
    current_ = end;
    return *this;
  }
  PathBuilder& Line(P end) {
    return Cubic(current_ + (end - current_) * (1.0 / 3.0),
                 current_ + (end - current_) * (2.0 / 3.0), end);
  }
  // A line as the host's own line type.
  PathBuilder& PlainLine(P end) {
    path_.Append(static_cast<float>(end.x), static_cast<float>(end.y), kPathLine);
    current_ = end;
    return *this;
  }
  PathBuilder& Close() {
    path_.Append(static_cast<float>(start_.x), static_cast<float>(start_.y), kPathClose);
    return *this;
  }
  PathBuilder& Polygon(const std::vector<P>& points) {
    Move(points[0]);
    for (size_t i = 1; i < points.size(); ++i) Line(points[i]);
    return Line(points[0]).Close();
  }
  // A circle of four cubics, counter-clockwise or clockwise, starting on the +x axis.
  PathBuilder& Circle(P centre, double r, bool counter_clockwise) {
    const double s = counter_clockwise ? 1.0 : -1.0, k = kQuarterArm * r;
    Move(centre + P{r, 0});
    for (int q = 0; q < 4; ++q) {
      const double a0 = s * q * kPi / 2, a1 = s * (q + 1) * kPi / 2;
      const P p0 = centre + P{r * std::cos(a0), r * std::sin(a0)};
      const P p3 = q == 3 ? centre + P{r, 0} : centre + P{r * std::cos(a1), r * std::sin(a1)};
      const P t0{-std::sin(a0) * s, std::cos(a0) * s}, t1{-std::sin(a1) * s, std::cos(a1) * s};
      Cubic(p0 + t0 * k, p3 - t1 * k, p3);
    }
    return Close();
  }
  const CPVKBezierPath& path() const { return path_; }

 private:
  CPVKBezierPath path_;
  P start_{0, 0}, current_{0, 0};
};

// What a service streamed.
struct Stream {
  std::vector<int32_t> types;
  std::vector<float> xy;
  int32_t stop_at = -1;  // return stop_status at this call (0-based)
  int32_t stop_status = 0;
};

int32_t Collect(void* refcon, int32_t type, float x, float y) {
  auto* s = static_cast<Stream*>(refcon);
  if (static_cast<int32_t>(s->types.size()) == s->stop_at) return s->stop_status;
  s->types.push_back(type);
  s->xy.push_back(x);
  s->xy.push_back(y);
  return 0;
}

OffsetPathRequest Request(const CPVKBezierPath& path, double distance, double limit,
                          double tolerance) {
  OffsetPathRequest request;
  request.points = path.Points();
  request.types = path.Types();
  request.count = static_cast<int32_t>(path.Count());
  request.distance = static_cast<float>(distance);
  request.limit = static_cast<float>(limit);
  request.tolerance = static_cast<float>(tolerance);
  return request;
}

int32_t Offset(const CPVKBezierPath& path, double distance, double limit, double tolerance,
               Stream& out) {
  return OffsetPath(Request(path, distance, limit, tolerance), OffsetPathSink{Collect, &out});
}

GFKOffsetPathGetOffsetPathProc Entry() {
  return reinterpret_cast<GFKOffsetPathGetOffsetPathProc>(HBN_LookupInterfaceEntry(
      "GFKOffsetPathInterface", "GetOffsetPath", "GFKOffsetPathGetOffsetPathV4"));
}

// The extrusion's call (as OffsetContour makes it): the looked-up entry, a collector of
// factor 1 on a fresh path, the graphics manager's data query, the option words as it gives
// them; then Flush.
int32_t OffsetThroughEntry(const CPVKBezierPath& source, double distance, double limit,
                           double tolerance, CPVKBezierPath& result) {
  const GFKOffsetPathGetOffsetPathProc entry = Entry();
  if (entry == nullptr) return -1;
  const HBN_T_NMT::CGFKPath path(source);
  const float* points = nullptr;
  const int32_t* types = nullptr;
  int32_t count = 0;
  path.GetData(points, types, count);
  PLB_PathCollector collector(1.0, result);
  const int32_t status = entry(PLB_PathCollector::Callback, 0, &collector, points, types, count, 0,
                               static_cast<float>(distance), 0, 0, static_cast<float>(limit), 1, 0,
                               0, 1, static_cast<float>(tolerance), 0, nullptr, -1.0f);
  if (status == 0) collector.Flush();
  return status;
}

Stream StreamOf(const CPVKBezierPath& path) {
  Stream s;
  s.types.assign(path.Types(), path.Types() + path.Count());
  s.xy.assign(path.Points(), path.Points() + 2 * path.Count());
  return s;
}

// One subpath of a result: its start and its pieces.
struct Piece {
  bool cubic;
  P from, c1, c2, end;
  P At(double t) const {
    if (!cubic) return from + (end - from) * t;
    const double s = 1 - t;
    return from * (s * s * s) + c1 * (3 * s * s * t) + c2 * (3 * s * t * t) + end * (t * t * t);
  }
};
struct Outline {
  P start;
  std::vector<Piece> pieces;
  size_t Lines() const {
    return std::count_if(pieces.begin(), pieces.end(), [](const Piece& p) { return !p.cubic; });
  }
  size_t Cubics() const { return pieces.size() - Lines(); }
  // Points along every piece, `per_piece` a piece, the start of each included.
  std::vector<P> Samples(int per_piece) const {
    std::vector<P> out;
    for (const Piece& piece : pieces) {
      for (int k = 0; k < per_piece; ++k)
        out.push_back(piece.At(static_cast<double>(k) / per_piece));
    }
    return out;
  }
  // Signed area (positive: counter-clockwise), from dense samples.
  double Area() const {
    const std::vector<P> s = Samples(64);
    double twice = 0;
    for (size_t i = 0, j = s.size() - 1; i < s.size(); j = i++)
      twice += s[j].x * s[i].y - s[j].y * s[i].x;
    return twice / 2;
  }
};

// Reads a stream into outlines, failing the test where it breaks the required form: a move,
// lines and curve triples, the last piece ending exactly at the move's point, then a close
// there; every coordinate finite.
std::vector<Outline> Parse(const Stream& s) {
  std::vector<Outline> outlines;
  size_t i = 0;
  const auto point = [&](size_t k) { return P{s.xy[2 * k], s.xy[2 * k + 1]}; };
  for (size_t k = 0; k < 2 * s.types.size(); ++k) {
    EXPECT_TRUE(std::isfinite(s.xy[k])) << "coordinate " << k;
  }
  while (i < s.types.size()) {
    EXPECT_EQ(s.types[i], kPathMove) << "point " << i;
    if (s.types[i] != kPathMove) return outlines;
    Outline outline;
    outline.start = point(i);
    P current = outline.start;
    ++i;
    for (;;) {
      if (i >= s.types.size()) {
        ADD_FAILURE() << "subpath without a close";
        return outlines;
      }
      const int32_t type = s.types[i];
      if (type == kPathLine) {
        outline.pieces.push_back({false, current, {}, {}, point(i)});
        current = point(i);
        ++i;
      } else if (type == kPathCurve) {
        if (i + 2 >= s.types.size() || s.types[i + 1] != kPathCurve ||
            s.types[i + 2] != kPathCurve) {
          ADD_FAILURE() << "curve points not in threes at " << i;
          return outlines;
        }
        outline.pieces.push_back({true, current, point(i), point(i + 1), point(i + 2)});
        current = point(i + 2);
        i += 3;
      } else if (type == kPathClose) {
        EXPECT_EQ(point(i).x, outline.start.x);
        EXPECT_EQ(point(i).y, outline.start.y);
        EXPECT_EQ(current.x, outline.start.x) << "last piece does not end at the start";
        EXPECT_EQ(current.y, outline.start.y) << "last piece does not end at the start";
        ++i;
        break;
      } else {
        ADD_FAILURE() << "type " << type << " at " << i;
        return outlines;
      }
    }
    EXPECT_FALSE(outline.pieces.empty());
    outlines.push_back(outline);
  }
  return outlines;
}

// Distance from `p` to the closed polyline `poly`.
double DistanceTo(const std::vector<P>& poly, P p) {
  double best = 1e300;
  for (size_t i = 0, j = poly.size() - 1; i < poly.size(); j = i++) {
    const P a = poly[j], d = poly[i] - poly[j];
    const double l2 = d.x * d.x + d.y * d.y;
    double t = l2 > 0 ? ((p.x - a.x) * d.x + (p.y - a.y) * d.y) / l2 : 0;
    t = std::clamp(t, 0.0, 1.0);
    best = std::min(best, Norm(a + d * t - p));
  }
  return best;
}

double PolylineLength(const std::vector<P>& poly) {
  double length = 0;
  for (size_t i = 0, j = poly.size() - 1; i < poly.size(); j = i++)
    length += Norm(poly[i] - poly[j]);
  return length;
}

// ---------------------------------------------------------------------------------------------
// Circles and squares

TEST(OffsetPath, CircleGrowsToTheOffsetRadiusInAFewCubics) {
  for (bool ccw : {true, false}) {
    SCOPED_TRACE(ccw ? "counter-clockwise" : "clockwise");
    const P centre{3, -2};
    PathBuilder b;
    b.Circle(centre, 10, ccw);
    Stream out;
    ASSERT_EQ(Offset(b.path(), 0.5, 5.0, 0.2, out), 0);
    const std::vector<Outline> outlines = Parse(out);
    ASSERT_EQ(outlines.size(), 1u);
    const Outline& o = outlines[0];
    // A smooth outline: no corner, no line; four quarter circles take four cubics, and a
    // fit within 0.2 of a radius of 10.5 may merge some of them.
    EXPECT_EQ(o.Lines(), 0u);
    EXPECT_GE(o.Cubics(), 2u);
    EXPECT_LE(o.Cubics(), 5u);
    for (const P& p : o.Samples(32)) EXPECT_NEAR(Norm(p - centre), 10.5, 0.2);
    // The winding stays; the enclosed area grows.
    const double area = o.Area();
    EXPECT_EQ(area > 0, ccw);
    EXPECT_NEAR(std::fabs(area), kPi * 10.5 * 10.5, 2 * kPi * 10.5 * 0.2);
  }
}

TEST(OffsetPath, CircleShrinksWithANegativeDistance) {
  for (bool ccw : {true, false}) {
    const P centre{0, 0};
    PathBuilder b;
    b.Circle(centre, 10, ccw);
    Stream out;
    ASSERT_EQ(Offset(b.path(), -0.5, 5.0, 0.2, out), 0);
    const std::vector<Outline> outlines = Parse(out);
    ASSERT_EQ(outlines.size(), 1u);
    for (const P& p : outlines[0].Samples(32)) EXPECT_NEAR(Norm(p - centre), 9.5, 0.2);
    EXPECT_EQ(outlines[0].Area() > 0, ccw);
  }
}

// The expected corners of a square, in order from the first, as lines.
void ExpectSquare(const Outline& o, const std::vector<P>& corners) {
  ASSERT_EQ(o.pieces.size(), 4u);
  EXPECT_EQ(o.Lines(), 4u);
  // Find the corner the outline starts at, then walk both in step.
  size_t first = 0;
  double best = 1e300;
  for (size_t k = 0; k < 4; ++k) {
    if (Norm(corners[k] - o.start) < best) best = Norm(corners[k] - o.start), first = k;
  }
  for (size_t k = 0; k < 4; ++k) {
    const P expected = corners[(first + k + 1) % 4];
    EXPECT_NEAR(o.pieces[k].end.x, expected.x, 1e-4) << k;
    EXPECT_NEAR(o.pieces[k].end.y, expected.y, 1e-4) << k;
  }
}

TEST(OffsetPath, SquareGrowsToASquareOfFourLinesWithMitredCorners) {
  PathBuilder ccw, cw;
  ccw.Polygon({{0, 0}, {10, 0}, {10, 10}, {0, 10}});
  cw.Polygon({{0, 0}, {0, 10}, {10, 10}, {10, 0}});
  Stream a, b;
  ASSERT_EQ(Offset(ccw.path(), 1.0, 10.0, 0.2, a), 0);
  ASSERT_EQ(Offset(cw.path(), 1.0, 10.0, 0.2, b), 0);
  const std::vector<Outline> grown_ccw = Parse(a), grown_cw = Parse(b);
  ASSERT_EQ(grown_ccw.size(), 1u);
  ASSERT_EQ(grown_cw.size(), 1u);
  ExpectSquare(grown_ccw[0], {{-1, -1}, {11, -1}, {11, 11}, {-1, 11}});
  ExpectSquare(grown_cw[0], {{-1, -1}, {-1, 11}, {11, 11}, {11, -1}});
  EXPECT_NEAR(grown_ccw[0].Area(), 144.0, 1e-3);
  EXPECT_NEAR(grown_cw[0].Area(), -144.0, 1e-3);
}

TEST(OffsetPath, SquareOfHostLinesShrinks) {
  PathBuilder b;
  b.Move({0, 0}).PlainLine({10, 0}).PlainLine({10, 10}).PlainLine({0, 10}).Close();
  Stream out;
  ASSERT_EQ(Offset(b.path(), -1.0, 10.0, 0.2, out), 0);
  const std::vector<Outline> outlines = Parse(out);
  ASSERT_EQ(outlines.size(), 1u);
  ExpectSquare(outlines[0], {{1, 1}, {9, 1}, {9, 9}, {1, 9}});
}

// A spike whose tip turns by 174 degrees: its miter would reach 0.5 / sin(2.86 deg) = 10 from
// the tip. A limit of 5 cuts it off at |distance| from the tip with a short bevel line; a
// limit of 20 keeps it.
TEST(OffsetPath, MiterBeyondTheLimitIsCutOff) {
  PathBuilder b;
  b.Polygon({{0, -1}, {20, 0}, {0, 1}});
  const std::vector<P> triangle = {{0, -1}, {20, 0}, {0, 1}};
  {
    Stream out;
    ASSERT_EQ(Offset(b.path(), 0.5, 5.0, 0.2, out), 0);
    const std::vector<Outline> outlines = Parse(out);
    ASSERT_EQ(outlines.size(), 1u);
    EXPECT_EQ(outlines[0].pieces.size(), 4u);  // three sides and the bevel
    EXPECT_EQ(outlines[0].Lines(), 4u);
    double reach = 0;
    for (const P& p : outlines[0].Samples(4)) {
      reach = std::max(reach, p.x);
      EXPECT_LE(DistanceTo(triangle, p), 5.0 + 1e-4);
    }
    EXPECT_NEAR(reach, 20.5, 0.01);
  }
  {
    Stream out;
    ASSERT_EQ(Offset(b.path(), 0.5, 20.0, 0.2, out), 0);
    const std::vector<Outline> outlines = Parse(out);
    ASSERT_EQ(outlines.size(), 1u);
    EXPECT_EQ(outlines[0].pieces.size(), 3u);
    double reach = 0;
    for (const P& p : outlines[0].Samples(4)) reach = std::max(reach, p.x);
    EXPECT_NEAR(reach, 20 + 0.5 * std::sqrt(401.0), 0.01);  // the miter's tip
  }
}

// ---------------------------------------------------------------------------------------------
// Collapse, holes and several pieces

TEST(OffsetPath, ContourThatCollapsesGivesNothing) {
  PathBuilder square, bar;
  square.Polygon({{0, 0}, {2, 0}, {2, 2}, {0, 2}});
  bar.Polygon({{0, 0}, {10, 0}, {10, 1}, {0, 1}});
  Stream a, b;
  EXPECT_EQ(Offset(square.path(), -1.2, 12.0, 0.2, a), 0);
  EXPECT_EQ(Offset(bar.path(), -0.6, 6.0, 0.2, b), 0);
  EXPECT_TRUE(a.types.empty());
  EXPECT_TRUE(b.types.empty());
}

// A clockwise circle, as a hole is wound after the extrusion normalises it, shrinks with a
// negative distance and stays clockwise.
TEST(OffsetPath, HoleLikeContourShrinksAndKeepsItsWinding) {
  PathBuilder b;
  b.Circle({5, 5}, 10, false);
  CPVKBezierPath result;
  ASSERT_EQ(OffsetThroughEntry(b.path(), -0.5, 5.0, 0.2, result), 0);
  const std::vector<Outline> outlines = Parse(StreamOf(result));
  ASSERT_EQ(outlines.size(), 1u);
  EXPECT_LT(outlines[0].Area(), 0);
  for (const P& p : outlines[0].Samples(32)) EXPECT_NEAR(Norm(p - P{5, 5}), 9.5, 0.2);
}

// Two squares joined by a bar 2 wide: shrinking by 1.5 cuts the bar away and leaves two
// squares, each its own subpath, wound as the input.
TEST(OffsetPath, NeckThatVanishesLeavesTwoSubpaths) {
  PathBuilder b;
  b.Polygon({{0, 0},
             {10, 0},
             {10, 4},
             {20, 4},
             {20, 0},
             {30, 0},
             {30, 10},
             {20, 10},
             {20, 6},
             {10, 6},
             {10, 10},
             {0, 10}});
  Stream out;
  ASSERT_EQ(Offset(b.path(), -1.5, 15.0, 0.2, out), 0);
  std::vector<Outline> outlines = Parse(out);
  ASSERT_EQ(outlines.size(), 2u);
  std::sort(outlines.begin(), outlines.end(),
            [](const Outline& a, const Outline& b) { return a.start.x < b.start.x; });
  ExpectSquare(outlines[0], {{1.5, 1.5}, {8.5, 1.5}, {8.5, 8.5}, {1.5, 8.5}});
  ExpectSquare(outlines[1], {{21.5, 1.5}, {28.5, 1.5}, {28.5, 8.5}, {21.5, 8.5}});
}

TEST(OffsetPath, EachSubpathIsOffsetOnItsOwn) {
  PathBuilder b;
  b.Circle({0, 0}, 5, true).Circle({50, 0}, 5, false);
  Stream out;
  ASSERT_EQ(Offset(b.path(), 1.0, 10.0, 0.2, out), 0);
  const std::vector<Outline> outlines = Parse(out);
  ASSERT_EQ(outlines.size(), 2u);
  for (const P& p : outlines[0].Samples(16)) EXPECT_NEAR(Norm(p - P{0, 0}), 6.0, 0.2);
  for (const P& p : outlines[1].Samples(16)) EXPECT_NEAR(Norm(p - P{50, 0}), 6.0, 0.2);
  EXPECT_GT(outlines[0].Area(), 0);
  EXPECT_LT(outlines[1].Area(), 0);
}

TEST(OffsetPath, ZeroDistanceGivesThePathBack) {
  PathBuilder b;
  b.Circle({1, 2}, 3, true);
  Stream out;
  ASSERT_EQ(Offset(b.path(), 0.0, 0.0, 0.2, out), 0);
  const Stream in = StreamOf(b.path());
  EXPECT_EQ(out.types, in.types);
  EXPECT_EQ(out.xy, in.xy);
}

// ---------------------------------------------------------------------------------------------
// A real glyph, with tight concave corners

// The contours of a DejaVu Sans glyph as the extrusion hands them over: scaled to an em of 100,
// quadratic arcs raised exactly to cubics, lines as cubics.
std::vector<std::vector<P>> GlyphChains(char character) {
  std::vector<std::vector<P>> chains;
  FT_Library library = nullptr;
  if (FT_Init_FreeType(&library) != 0) return chains;
  FT_Face face = nullptr;
  uint32_t glyph = 0;
  if (FT_New_Face(library, kDejaVuSans, 0, &face) == 0) {
    glyph = FT_Get_Char_Index(face, static_cast<FT_ULong>(character));
    FT_Done_Face(face);
  }
  FT_Done_FreeType(library);
  if (glyph == 0) return chains;
  const GlyphOutlines font(kDejaVuSans);
  const double scale = 100.0 / font.UnitsPerEm();
  for (const OutlineContour& contour : font.Contours(static_cast<int32_t>(glyph))) {
    const size_t n = contour.size();
    size_t first = 0;
    while (first < n && contour[first].kind != OutlinePointKind::kOnCurve) ++first;
    if (first == n) continue;  // DejaVu's glyphs used here all have on-curve points
    const auto at = [&](size_t k) {
      const OutlinePoint& q = contour[(first + k) % n];
      return P{q.x * scale, q.y * scale};
    };
    const auto kind = [&](size_t k) { return contour[(first + k) % n].kind; };
    std::vector<P> chain = {at(0)};
    const auto cubic = [&](P c1, P c2, P end) { chain.insert(chain.end(), {c1, c2, end}); };
    size_t k = 1;
    while (k <= n) {
      const P from = chain.back();
      if (kind(k) == OutlinePointKind::kOnCurve || k == n) {
        const P end = at(k);
        cubic(from + (end - from) * (1.0 / 3), from + (end - from) * (2.0 / 3), end);
        ++k;
      } else if (kind(k) == OutlinePointKind::kConic) {
        const P c = at(k);
        const bool implied = k + 1 < n && kind(k + 1) == OutlinePointKind::kConic;
        const P end = implied ? (c + at(k + 1)) * 0.5 : at(k + 1);
        cubic(from + (c - from) * (2.0 / 3), end + (c - end) * (2.0 / 3), end);
        k += implied ? 1 : 2;
      } else {
        cubic(at(k), at(k + 1), at(k + 2));
        k += 3;
      }
    }
    chains.push_back(chain);
  }
  return chains;
}

PathBuilder ChainPath(const std::vector<P>& chain) {
  PathBuilder b;
  b.Move(chain[0]);
  for (size_t k = 1; k + 2 < chain.size(); k += 3) b.Cubic(chain[k], chain[k + 1], chain[k + 2]);
  b.Close();
  return b;
}

std::vector<P> Dense(const std::vector<P>& chain) {
  std::vector<P> out;
  for (size_t k = 0; k + 3 < chain.size(); k += 3) {
    const Piece piece{true, chain[k], chain[k + 1], chain[k + 2], chain[k + 3]};
    for (int i = 0; i < 128; ++i) out.push_back(piece.At(i / 128.0));
  }
  return out;
}

double Area(const std::vector<P>& poly) {
  double twice = 0;
  for (size_t i = 0, j = poly.size() - 1; i < poly.size(); j = i++)
    twice += poly[j].x * poly[i].y - poly[j].y * poly[i].x;
  return twice / 2;
}

TEST(OffsetPath, GlyphOutlineGrowsByItsPerimeterTimesTheDistance) {
  const double tolerance = 0.2;
  for (char character : {'g', '@', 'S', 'k'}) {
    const std::vector<std::vector<P>> chains = GlyphChains(character);
    if (chains.empty()) GTEST_SKIP() << "no " << kDejaVuSans;
    for (double distance : {0.2, 0.5}) {
      const double limit = 10 * distance;
      for (size_t c = 0; c < chains.size(); ++c) {
        SCOPED_TRACE(::testing::Message()
                     << "'" << character << "' contour " << c << " distance " << distance);
        const std::vector<P>& chain = chains[c];
        const std::vector<P> input = Dense(chain);
        CPVKBezierPath result;
        ASSERT_EQ(OffsetThroughEntry(ChainPath(chain).path(), distance, limit, tolerance, result),
                  0);
        const std::vector<Outline> outlines = Parse(StreamOf(result));
        ASSERT_EQ(outlines.size(), 1u);
        const Outline& o = outlines[0];
        // About as many pieces as the input's cubics, never many more.
        const size_t cubics_in = (chain.size() - 1) / 3;
        EXPECT_LE(o.pieces.size(), cubics_in + 2);
        // The enclosed area grows by the perimeter times the distance, give or take the
        // corners' share (a miter adds, a concave corner takes away, each about distance^2).
        const double area_in = Area(input), area_out = o.Area();
        EXPECT_EQ(area_out > 0, area_in > 0);
        const double growth = std::fabs(area_out) - std::fabs(area_in);
        const double expected = PolylineLength(input) * distance;
        EXPECT_NEAR(growth, expected, 0.03 * expected + 20 * distance * distance);
        // Every point of the result lies at the distance from the input, within the tolerance,
        // except on a miter, which stays within the limit of an on-curve point.
        for (const P& p : o.Samples(16)) {
          const double d = DistanceTo(input, p);
          EXPECT_GE(d, distance - tolerance);
          if (d > distance + tolerance) {
            double corner = 1e300;
            for (size_t k = 0; k < chain.size(); k += 3)
              corner = std::min(corner, Norm(chain[k] - p));
            EXPECT_LE(corner, limit + tolerance) << p.x << ", " << p.y;
          }
        }
      }
    }
  }
}

// ---------------------------------------------------------------------------------------------
// Bad input and odd input

TEST(OffsetPath, BadInputGivesANonZeroStatusAndNothing) {
  PathBuilder good;
  good.Polygon({{0, 0}, {10, 0}, {10, 10}, {0, 10}});
  const float nan = std::nanf("");
  struct Case {
    const char* what;
    std::vector<float> xy;
    std::vector<int32_t> types;
    float distance;
  };
  const std::vector<Case> cases = {
      {"NaN coordinate", {0, 0, 10, 0, nan, 10, 0, 0}, {0, 1, 1, 3}, 1},
      {"infinite coordinate", {0, 0, 10, 0, INFINITY, 10, 0, 0}, {0, 1, 1, 3}, 1},
      {"no close", {0, 0, 10, 0, 10, 10, 0, 10}, {0, 1, 1, 1}, 1},
      {"a second move before the close",
       {0, 0, 10, 0, 10, 10, 5, 5, 6, 6, 0, 0},
       {0, 1, 1, 0, 1, 3},
       1},
      {"two points", {0, 0, 0, 0}, {0, 3}, 1},
      {"curve points not in threes", {0, 0, 10, 0, 10, 10, 0, 0}, {0, 2, 2, 3}, 1},
      {"unknown type", {0, 0, 10, 0, 10, 10, 0, 0}, {0, 1, 7, 3}, 1},
      {"no move first", {0, 0, 10, 0, 10, 10, 0, 0}, {1, 1, 1, 3}, 1},
      {"a point after the close", {0, 0, 10, 0, 10, 10, 0, 0, 5, 5}, {0, 1, 1, 3, 1}, 1},
      {"NaN distance", {0, 0, 10, 0, 10, 10, 0, 0}, {0, 1, 1, 3}, nan},
      {"infinite distance", {0, 0, 10, 0, 10, 10, 0, 0}, {0, 1, 1, 3}, INFINITY},
  };
  for (const Case& c : cases) {
    OffsetPathRequest request;
    request.points = c.xy.data();
    request.types = c.types.data();
    request.count = static_cast<int32_t>(c.types.size());
    request.distance = c.distance;
    request.limit = 10;
    request.tolerance = 0.2f;
    Stream out;
    EXPECT_NE(OffsetPath(request, {Collect, &out}), 0) << c.what;
    EXPECT_TRUE(out.types.empty()) << c.what;
  }
  // No arrays, no callback, a NaN limit or tolerance.
  Stream out;
  OffsetPathRequest none;
  none.distance = 1;
  EXPECT_NE(OffsetPath(none, {Collect, &out}), 0);
  EXPECT_EQ(OffsetPath(Request(good.path(), 1, 10, 0.2), {nullptr, nullptr}),
            kOffsetPathErrBadArgument);
  EXPECT_NE(OffsetPath(Request(good.path(), 1, std::nan(""), 0.2), {Collect, &out}), 0);
  EXPECT_NE(OffsetPath(Request(good.path(), 1, 10, std::nan("")), {Collect, &out}), 0);
  EXPECT_TRUE(out.types.empty());
}

TEST(OffsetPath, DistanceTooSmallForTheExtentIsRefused) {
  PathBuilder b;
  b.Polygon({{-1e30, -1e30}, {1e30, -1e30}, {1e30, 1e30}, {-1e30, 1e30}});
  Stream out;
  EXPECT_EQ(Offset(b.path(), 0.5, 5, 0.2, out), kOffsetPathErrRange);
  EXPECT_TRUE(out.types.empty());
}

TEST(OffsetPath, HugeAndTinyOutlinesScaleWithTheirDistance) {
  for (double size : {1e-30, 1e-3, 1e6, 1e30, 3e38}) {
    SCOPED_TRACE(size);
    PathBuilder b;
    b.Polygon({{-size, -size}, {size, -size}, {size, size}, {-size, size}});
    Stream out;
    ASSERT_EQ(Offset(b.path(), 0.05 * size, 0.5 * size, 0.01 * size, out), 0);
    const std::vector<Outline> outlines = Parse(out);
    ASSERT_EQ(outlines.size(), 1u);
    ASSERT_EQ(outlines[0].pieces.size(), 4u);
    EXPECT_EQ(outlines[0].Lines(), 4u);
    for (const Piece& piece : outlines[0].pieces) {
      EXPECT_NEAR(std::fabs(piece.end.x), 1.05 * size, 1e-5 * size);
      EXPECT_NEAR(std::fabs(piece.end.y), 1.05 * size, 1e-5 * size);
    }
  }
  // Grown past the floats' range: refused, nothing streamed.
  PathBuilder b;
  b.Polygon({{-3e38, -3e38}, {3e38, -3e38}, {3e38, 3e38}, {-3e38, 3e38}});
  Stream out;
  EXPECT_EQ(Offset(b.path(), 1e38, 1e39, 1e36, out), kOffsetPathErrRange);
  EXPECT_TRUE(out.types.empty());
}

// Spikes, repeated points, degenerate cubics, self-crossing outlines and random paths: a
// status, and when it is 0 a well-formed finite result.
TEST(OffsetPath, OddOutlinesNeverBreakTheResult) {
  std::vector<PathBuilder> paths(6);
  paths[0].Polygon({{0, 0}, {10, 0}, {10, 10}, {5, 10}, {5, 30}, {5, 10}, {0, 10}});  // spike
  paths[1].Polygon({{0, 0}, {0, 0}, {10, 0}, {10, 0}, {10, 0}, {10, 10}, {0, 10}, {0, 10}});
  paths[2]
      .Move({0, 0})
      .Cubic({0, 0}, {0, 0}, {0, 0})
      .Line({10, 0})
      .Cubic({10, 0}, {10, 0}, {10, 0})
      .Line({5, 8})
      .Line({0, 0})
      .Close();
  paths[3].Polygon({{0, 0}, {10, 10}, {10, 0}, {0, 10}});            // bow tie
  paths[4].Move({0, 0}).Cubic({30, 30}, {-30, 30}, {0, 0}).Close();  // a loop
  paths[5].Polygon({{0, 0}, {10, 0}, {10, 1e-4}, {0, 1e-4}});        // a sliver
  for (size_t i = 0; i < paths.size(); ++i) {
    for (double distance : {-2.0, -0.3, 0.3, 2.0}) {
      SCOPED_TRACE(::testing::Message() << "path " << i << " distance " << distance);
      Stream out;
      const int32_t status = Offset(paths[i].path(), distance, 10 * std::fabs(distance), 0.2, out);
      if (status == 0) {
        Parse(out);
      } else {
        EXPECT_TRUE(out.types.empty());
      }
    }
  }

  std::mt19937 random(12345);
  std::uniform_real_distribution<double> coordinate(-50, 50), unit(0, 1);
  for (int trial = 0; trial < 300; ++trial) {
    SCOPED_TRACE(trial);
    PathBuilder b;
    const P start{coordinate(random), coordinate(random)};
    b.Move(start);
    const int pieces = 1 + static_cast<int>(unit(random) * 12);
    for (int k = 0; k < pieces; ++k) {
      const P end = k + 1 == pieces ? start : P{coordinate(random), coordinate(random)};
      if (unit(random) < 0.3) {
        b.Line(end);
      } else {
        b.Cubic({coordinate(random), coordinate(random)}, {coordinate(random), coordinate(random)},
                end);
      }
    }
    b.Close();
    const double distance = (unit(random) - 0.5) * 6;
    Stream out;
    const int32_t status = Offset(b.path(), distance, unit(random) * 20, 0.01 + unit(random), out);
    if (status == 0) {
      Parse(out);
    } else {
      EXPECT_TRUE(out.types.empty());
    }
  }
}

TEST(OffsetPath, OddTolerancesAndLimitsStillGiveTheOffset) {
  PathBuilder b;
  b.Circle({0, 0}, 10, true);
  for (double tolerance : {0.0, 1e-12, 1e30, static_cast<double>(INFINITY)}) {
    for (double limit : {-1.0, 0.0, 1e30}) {
      SCOPED_TRACE(::testing::Message() << "tolerance " << tolerance << " limit " << limit);
      Stream out;
      ASSERT_EQ(Offset(b.path(), 0.5, limit, tolerance, out), 0);
      const std::vector<Outline> outlines = Parse(out);
      ASSERT_EQ(outlines.size(), 1u);
      // The tolerance used is never coarser than the distance.
      for (const P& p : outlines[0].Samples(16)) EXPECT_NEAR(Norm(p), 10.5, 0.5);
    }
  }
}

// A star of 30,000 points: more than a subpath may have for Clipper.
TEST(OffsetPath, SubpathOfTooManyPointsIsRefused) {
  std::vector<P> star;
  for (int i = 0; i < 30000; ++i) {
    const double a = 2 * kPi * i / 30000, r = i % 2 ? 1000 : 990;
    star.push_back({r * std::cos(a), r * std::sin(a)});
  }
  PathBuilder b;
  b.Move(star[0]);
  for (size_t i = 1; i < star.size(); ++i) b.PlainLine(star[i]);
  b.Close();
  Stream out;
  EXPECT_EQ(Offset(b.path(), 0.5, 5, 0.2, out), kOffsetPathErrTooComplex);
  EXPECT_TRUE(out.types.empty());
}

TEST(OffsetPath, CallbackStatusStopsTheStream) {
  PathBuilder b;
  b.Circle({0, 0}, 10, true);
  Stream out;
  out.stop_at = 2;
  out.stop_status = 99;
  EXPECT_EQ(Offset(b.path(), 0.5, 5, 0.2, out), 99);
  EXPECT_EQ(out.types.size(), 2u);
}

// A callback that offsets another path while it is called (the service keeps buffers a thread).
struct Nested {
  Stream outer, inner;
  const CPVKBezierPath* other = nullptr;
  int32_t inner_status = -1;
};

int32_t CollectAndNest(void* refcon, int32_t type, float x, float y) {
  auto* n = static_cast<Nested*>(refcon);
  if (n->inner_status == -1) {
    n->inner_status = Offset(*n->other, 1.0, 10.0, 0.2, n->inner);
  }
  return Collect(&n->outer, type, x, y);
}

TEST(OffsetPath, CallbackMayCallTheServiceAgain) {
  PathBuilder circle, square;
  circle.Circle({0, 0}, 10, true);
  square.Polygon({{0, 0}, {10, 0}, {10, 10}, {0, 10}});
  Nested n;
  n.other = &square.path();
  ASSERT_EQ(OffsetPath(Request(circle.path(), 0.5, 5, 0.2), {CollectAndNest, &n}), 0);
  EXPECT_EQ(n.inner_status, 0);
  const std::vector<Outline> outer = Parse(n.outer), inner = Parse(n.inner);
  ASSERT_EQ(outer.size(), 1u);
  for (const P& p : outer[0].Samples(16)) EXPECT_NEAR(Norm(p), 10.5, 0.2);
  ASSERT_EQ(inner.size(), 1u);
  ExpectSquare(inner[0], {{-1, -1}, {11, -1}, {11, 11}, {-1, 11}});
}

// ---------------------------------------------------------------------------------------------
// The entry and the seam

TEST(OffsetPathEntry, LookUpFindsOnlyTheOffsetEntry) {
  EXPECT_NE(Entry(), nullptr);
  EXPECT_EQ(HBN_LookupInterfaceEntry("GFKOffsetPathInterface", "GetOffsetPath",
                                     "GFKOffsetPathGetOffsetPathV3"),
            nullptr);
  EXPECT_EQ(HBN_LookupInterfaceEntry("GFKOffsetPathInterface", "GetOptimizedPath",
                                     "GFKOffsetPathGetOffsetPathV4"),
            nullptr);
  EXPECT_EQ(
      HBN_LookupInterfaceEntry("GFKPathInterface", "GetOffsetPath", "GFKOffsetPathGetOffsetPathV4"),
      nullptr);
  EXPECT_EQ(HBN_LookupInterfaceEntry(nullptr, nullptr, nullptr), nullptr);
}

TEST(OffsetPathEntry, DefaultServiceIsTheStandaloneOne) {
  EXPECT_TRUE(static_cast<bool>(DefaultServices().offset_path));
  HostServices without = DefaultServices();
  without.offset_path = nullptr;  // an empty entry falls back to the standalone service
  ScopedServices scope(without);
  PathBuilder b;
  b.Polygon({{0, 0}, {10, 0}, {10, 10}, {0, 10}});
  CPVKBezierPath result;
  ASSERT_EQ(OffsetThroughEntry(b.path(), 1.0, 10.0, 0.2, result), 0);
  const std::vector<Outline> outlines = Parse(StreamOf(result));
  ASSERT_EQ(outlines.size(), 1u);
  ExpectSquare(outlines[0], {{-1, -1}, {11, -1}, {11, 11}, {-1, 11}});
}

TEST(OffsetPathEntry, FailingServiceMakesTheEntryFail) {
  // The entry is looked up before the seam changes, as the extrusion keeps it for the process.
  const GFKOffsetPathGetOffsetPathProc entry = Entry();
  ASSERT_NE(entry, nullptr);
  PathBuilder b;
  b.Circle({0, 0}, 10, true);
  HostServices failing = DefaultServices();
  int calls = 0;
  failing.offset_path = [&](const OffsetPathRequest&, const OffsetPathSink&) {
    ++calls;
    return int32_t{-50};
  };
  {
    ScopedServices scope(failing);
    CPVKBezierPath result;
    EXPECT_EQ(OffsetThroughEntry(b.path(), 0.5, 5, 0.2, result), -50);
    EXPECT_EQ(result.Count(), 0u);
    EXPECT_EQ(calls, 1);
  }
  // The seam restored, the same entry offsets again.
  CPVKBezierPath result;
  EXPECT_EQ(OffsetThroughEntry(b.path(), 0.5, 5, 0.2, result), 0);
  EXPECT_GT(result.Count(), 0u);
}

TEST(OffsetPathEntry, ScriptedServiceReachesTheCollectorUnchanged) {
  HostServices scripted = DefaultServices();
  // What the service was asked (the arrays live only for the call).
  OffsetPathRequest seen;
  int32_t first_type = -1;
  float first_x = 0;
  scripted.offset_path = [&](const OffsetPathRequest& request, const OffsetPathSink& sink) {
    seen = request;
    first_type = request.types[0];
    first_x = request.points[0];
    const float triangle[][2] = {{0, 0}, {4, 0}, {0, 3}, {0, 0}};
    const int32_t types[] = {kPathMove, kPathLine, kPathLine, kPathClose};
    for (int i = 0; i < 4; ++i) {
      if (const int32_t status = sink(types[i], triangle[i][0], triangle[i][1])) return status;
    }
    return int32_t{0};
  };
  ScopedServices scope(scripted);
  PathBuilder b;
  b.Circle({0, 0}, 10, true);
  CPVKBezierPath result;
  ASSERT_EQ(OffsetThroughEntry(b.path(), 0.75, 7.5, 0.25, result), 0);
  // The request carries the entry's arguments.
  EXPECT_EQ(seen.count, static_cast<int32_t>(b.path().Count()));
  EXPECT_EQ(first_type, kPathMove);
  EXPECT_EQ(first_x, 10.0f);
  EXPECT_EQ(seen.distance, 0.75f);
  EXPECT_EQ(seen.limit, 7.5f);
  EXPECT_EQ(seen.tolerance, 0.25f);
  const Stream s = StreamOf(result);
  EXPECT_EQ(s.types, (std::vector<int32_t>{kPathMove, kPathLine, kPathLine, kPathClose}));
  EXPECT_EQ(s.xy, (std::vector<float>{0, 0, 4, 0, 0, 3, 0, 0}));
}

TEST(OffsetPathEntry, ExceptionFromTheServiceStaysInsideTheEntry) {
  PathBuilder b;
  b.Circle({0, 0}, 10, true);
  HostServices throwing = DefaultServices();
  throwing.offset_path = [](const OffsetPathRequest&, const OffsetPathSink&) -> int32_t {
    throw std::runtime_error("service failed");
  };
  {
    ScopedServices scope(throwing);
    CPVKBezierPath result;
    EXPECT_EQ(OffsetThroughEntry(b.path(), 0.5, 5, 0.2, result), kOffsetPathErrException);
  }
  throwing.offset_path = [](const OffsetPathRequest&, const OffsetPathSink&) -> int32_t {
    throw 42;
  };
  {
    ScopedServices scope(throwing);
    CPVKBezierPath result;
    EXPECT_EQ(OffsetThroughEntry(b.path(), 0.5, 5, 0.2, result), kOffsetPathErrException);
  }
}

}  // namespace
}  // namespace host
}  // namespace kly

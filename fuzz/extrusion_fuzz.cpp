// libFuzzer target for the extrusion: bytes become up to 8 contours of up to 64 points (lines
// and cubics, duplicate points, spikes, crossings, huge, tiny and non-finite coordinates,
// malformed codes) and the extrusion's parameters, built through the standalone offset
// service. A build may fail with its number; nothing else may happen: no crash, no other
// exception, no hang, no leak.
//
// Layout of an input (missing bytes read as 0):
//   byte 0: contour count (mod 8, plus 1)
//   extrusion depth, bevel depth, hole bevel depth: each a format byte and its value, see
//     ReadDepth
//   bevel style (mod 7, minus 1: -1 to 5); orientation style (mod 3); a byte whose low bit
//     asks for a second build at another depth
//   face min, face max, bevel min, bevel max granularity: see ReadGranularity
//   then each contour: point count (mod 65), coordinate format (mod 5, see ReadCoordinate),
//     code form (mod 4: 3 takes each code from a byte, else well-formed lines and cubics),
//     then its points, see ContourReader.
#include <algorithm>
#include <cmath>
#include <cstddef>
#include <cstdint>
#include <vector>

#include "fuzz/byte_reader.h"
#include "kly/extrusion/extrusion.h"
#include "kly/host/services.h"

namespace {

using Vec3 = ORT_Vector3T<double>;

// Small integers make duplicates and collinear points common; raw doubles bring NaN,
// infinities, subnormals and huge values; the scaled forms reach both ends of the range.
double ReadCoordinate(ByteReader& reader, int format) {
  switch (format) {
    case 0:
      return static_cast<int8_t>(reader.Byte());
    case 1:
      return reader.Int16() * 0x1.0p20;
    case 2:
      return reader.Raw();
    case 3:
      return static_cast<int8_t>(reader.Byte()) * 0x1.0p-1000;
    default:
      return static_cast<int8_t>(reader.Byte()) * 0x1.0p-20;
  }
}

// Ordinary depths, raw doubles (negative, non-finite, huge), tiny ones about the 1e-6 at
// which a depth counts as none, and negative ones.
double ReadDepth(ByteReader& reader) {
  switch (reader.Byte() % 4) {
    case 0:
      return reader.Byte() / 8.0;
    case 1:
      return reader.Raw();
    case 2:
      return reader.Byte() * 1e-8;
    default:
      return -static_cast<double>(reader.Byte());
  }
}

// Mostly the levels that matter (0 to 11); now and then anything up to 1000.
uint32_t ReadGranularity(ByteReader& reader) {
  const uint8_t b = reader.Byte();
  if (b < 224) return b % 12;
  return static_cast<uint16_t>(reader.Int16()) % 1001;
}

struct Parameters {
  double depth, bevel, holeBevel;
  int32_t style;
  uint32_t orientation;
  bool rebuild;
  uint32_t faceMin, faceMax, bevelMin, bevelMax;
};

Parameters ReadParameters(ByteReader& reader) {
  Parameters p;
  p.depth = ReadDepth(reader);
  p.bevel = ReadDepth(reader);
  p.holeBevel = ReadDepth(reader);
  p.style = reader.Byte() % 7 - 1;
  p.orientation = reader.Byte() % 3;
  p.rebuild = reader.Byte() & 1;
  p.faceMin = ReadGranularity(reader);
  p.faceMax = ReadGranularity(reader);
  p.bevelMin = ReadGranularity(reader);
  p.bevelMax = ReadGranularity(reader);
  return p;
}

// One contour's points: each a new coordinate pair (6 in 8), the previous point again, or an
// earlier point (a spike back to it).
class ContourReader {
 public:
  ContourReader(ByteReader& reader, int format) : reader_(reader), format_(format) {}

  void Append(KLY_Contour& contour, uint32_t code) {
    Vec3 p;
    const uint8_t op = reader_.Byte() % 8;
    if (op == 6 && !points_.empty()) {
      p = points_.back();
    } else if (op == 7 && !points_.empty()) {
      p = points_[reader_.Byte() % points_.size()];
    } else {
      p.x = ReadCoordinate(reader_, format_);
      p.y = ReadCoordinate(reader_, format_);
      p.z = 0.0;
    }
    points_.push_back(p);
    contour.AppendVertexPosition(p);
    contour.AppendVertexCode(code);
    for (double c : {p.x, p.y})
      if (std::isfinite(c)) reach_ = std::max(reach_, std::fabs(c));
  }

  // The largest finite coordinate, in magnitude.
  double Reach() const { return reach_; }

 private:
  ByteReader& reader_;
  int format_;
  std::vector<Vec3> points_;
  double reach_ = 0.0;
};

// What the sampling of a build may cost, from the contours as read.
struct Work {
  uint32_t lines = 0;
  uint32_t curves = 0;  // cubics, and every point of a contour whose codes are raw
  double reach = 0.0;   // the largest finite coordinate
};

KLY_Contour ReadContour(ByteReader& reader, Work& work) {
  const uint32_t count = reader.Byte() % 65;
  ContourReader points(reader, reader.Byte() % 5);
  const bool rawCodes = reader.Byte() % 4 == 3;
  // A raw code is read from the input, anything from 0 to 3; otherwise `formed` stands.
  const auto code = [&](uint32_t formed) -> uint32_t {
    return rawCodes ? reader.Byte() % 4 : formed;
  };
  KLY_Contour contour;
  contour.SetClosed(true);
  uint32_t appended = 0;
  if (count > 0) {
    points.Append(contour, code(KLY_Contour::kCodeStart));
    ++appended;
  }
  while (appended < count) {
    const bool cubic = !rawCodes && (reader.Byte() & 1) && appended + 3 <= count;
    const uint32_t n = cubic ? 3 : 1;
    for (uint32_t k = 0; k < n; ++k)
      points.Append(contour, code(cubic ? KLY_Contour::kCodeCurve : KLY_Contour::kCodeLine));
    appended += n;
    if (cubic || rawCodes)
      ++work.curves;
    else
      ++work.lines;
  }
  ++work.lines;  // the closing line
  work.reach = std::max(work.reach, points.Reach());
  return contour;
}

// The deepest level a curve of extent `extent` is sampled to under (min, max). The first two
// levels are always taken, max is cut to 10 and min wins. The flattening tolerance, 2^-7, is
// absolute, and each level divides a curve's distance from its chords by four: a quarter
// circle of radius r needs about log4(40 r) levels. Straight pieces stop at the floor.
uint32_t DeepestLevel(uint32_t min, uint32_t max, double extent) {
  constexpr double kFloor = 2.0, kCeiling = 64.0;
  double needed = kFloor;
  if (extent > 0.0)  // an infinite extent needs every level there is
    needed = std::min(std::ceil(std::log(64.0 * extent) / std::log(4.0)) + 1.0, kCeiling);
  const uint32_t cap = std::min<uint32_t>(max, 10);
  return std::max(min, std::min(cap, static_cast<uint32_t>(std::max(needed, kFloor))));
}

// A bound on the vertices a build lays: each piece of a contour once a profile band (at most
// three bands), each patch a grid of 2^u + 1 by 2^v + 1 samples at most (side walls take 3
// levels across), and the front face 2^u + 1 points a piece. Minimum levels above 20 are
// refused before anything is laid. Inputs above the bound are skipped so that a run stays
// well under a second: the sampling tolerance is absolute, so default granularities alone
// lay a million vertices a patch once an outline and its bevel are a few thousand units
// across, and a few dozen such patches exhaust memory.
bool WithinBudget(const Parameters& p, const Work& work) {
  constexpr double kMostVertices = 1 << 19;
  if (p.faceMin > 20 || p.bevelMin > 20) return true;
  const double profile = 2.0 * std::fabs(p.bevel) + std::fabs(p.depth);
  const double line = std::ldexp(1.0, DeepestLevel(p.faceMin, p.faceMax, 0.0)) + 1;
  const double curve = std::ldexp(1.0, DeepestLevel(p.faceMin, p.faceMax, 2.0 * work.reach)) + 1;
  const double across =
      std::ldexp(1.0, std::max<uint32_t>(DeepestLevel(p.bevelMin, p.bevelMax, profile), 3)) + 1;
  return (work.lines * line + work.curves * curve) * (3 * across + 1) <= kMostVertices;
}

void Build(const std::vector<KLY_Contour>& contours, const Parameters& p) {
  KLY_Extrusion extrusion;
  extrusion.SetExtrusionDepth(p.depth);
  extrusion.SetBevelDepth(p.bevel);
  extrusion.SetHoleBevelDepth(p.holeBevel);
  extrusion.SetBevelStyle(p.style);
  extrusion.SetOrientationStyle(p.orientation);
  extrusion.SetFaceGranularity(p.faceMin, p.faceMax);
  extrusion.SetBevelGranularity(p.bevelMin, p.bevelMax);
  for (const KLY_Contour& contour : contours) extrusion.PushContour(contour);
  try {
    extrusion.Update();
  } catch (int32_t) {
    // The extrusion's one failure route.
  }
  if (!p.rebuild) return;
  // A second build offsets the rewritten contours once more and appends to the mesh.
  extrusion.SetExtrusionDepth(p.depth + 1.0);
  try {
    extrusion.Update();
  } catch (int32_t) {
  }
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
  ByteReader reader(data, size);
  const uint32_t contourCount = reader.Byte() % 8 + 1;
  const Parameters parameters = ReadParameters(reader);
  std::vector<KLY_Contour> contours;
  Work work;
  for (uint32_t i = 0; i < contourCount; ++i) contours.push_back(ReadContour(reader, work));
  if (!WithinBudget(parameters, work)) return 0;

  // Reports go nowhere: failures are expected, and stderr stays quiet.
  kly::host::HostServices services = kly::host::Services();
  services.report = [](uint32_t, uint32_t, const char*) {};
  const kly::host::ScopedServices quiet(services);
  Build(contours, parameters);
  return 0;
}

// libFuzzer target for the tessellation engine: arbitrary bytes become points, segments and
// hole seeds, triangulated under the library's two switch strings. The engine may fail with
// its number; nothing else may happen, and everything is freed.
//
// Layout of an input (missing bytes read as 0):
//   byte 0: point count (mod 128)   byte 1: segment count (mod 128)
//   byte 2: hole count (mod 8)      byte 3: coordinate format (mod 4), see ReadCoordinate
//   then the points' x, y; then the segments' ends, one byte each, as the byte minus 2 (so
//   that -2, -1 and numbers past the points occur); then the holes' x, y.
#include <cstddef>
#include <cstdint>
#include <cstring>

#include "fuzz/byte_reader.h"
#include "kly/tess/triangulate.h"

namespace {

// Small integers make collinear and cocircular points common; raw doubles bring NaN,
// infinities, subnormals and huge values; the scaled forms test the extremes of the range.
double ReadCoordinate(ByteReader& reader, int format) {
  switch (format) {
    case 0:
      return static_cast<int8_t>(reader.Byte());
    case 1:
      return reader.Int16();
    case 2:
      return reader.Raw();
    default:
      return static_cast<int8_t>(reader.Byte()) * 0x1.0p-1000;
  }
}

void Run(const char* switches, const double* points, int32_t point_count, const int32_t* segments,
         int32_t segment_count, const double* holes, int32_t hole_count) {
  TessRecord in{}, out{};
  try {
    in.points = static_cast<double*>(TessAlloc(0, 2 * point_count * sizeof(double) + 1));
    std::memcpy(in.points, points, 2 * point_count * sizeof(double));
    in.pointCount = point_count;
    in.segments = static_cast<int32_t*>(TessAlloc(1, 2 * segment_count * sizeof(int32_t) + 1));
    std::memcpy(in.segments, segments, 2 * segment_count * sizeof(int32_t));
    in.segmentCount = segment_count;
    in.holes = static_cast<double*>(TessAlloc(2, 2 * hole_count * sizeof(double) + 1));
    std::memcpy(in.holes, holes, 2 * hole_count * sizeof(double));
    in.holeCount = hole_count;
    triangulate(switches, in, out, nullptr);
  } catch (int32_t) {
    // The engine's one failure route; the records are already freed.
  } catch (const TriangleFailure&) {
    // Only TessAlloc, outside the engine, may throw this (when memory runs out).
  }
  TessFreeRecord(&in);
  TessFreeRecord(&out);
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
  ByteReader reader(data, size);
  const int32_t point_count = reader.Byte() % 128;
  const int32_t segment_count = reader.Byte() % 128;
  const int32_t hole_count = reader.Byte() % 8;
  const int format = reader.Byte() % 4;
  double points[2 * 128], holes[2 * 8];
  int32_t segments[2 * 128];
  for (int32_t i = 0; i < 2 * point_count; ++i) points[i] = ReadCoordinate(reader, format);
  for (int32_t i = 0; i < 2 * segment_count; ++i) segments[i] = reader.Byte() - 2;
  for (int32_t i = 0; i < 2 * hole_count; ++i) holes[i] = ReadCoordinate(reader, format);
  for (const char* switches : {"Qpz", "VpDz"})
    Run(switches, points, point_count, segments, segment_count, holes, hole_count);
  return 0;
}

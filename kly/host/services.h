// The one seam of the standalone host: every closed service the library calls reads its
// behaviour from the current HostServices table. Tests and embedding applications replace
// the table (or one entry of it) to capture reports, drive the clock, fail version checks or
// allocations, and to supply their own path offset service.
#pragma once

#include <cstdint>
#include <functional>
#include <memory>
#include <string>
#include <vector>

#include "kly/host/glyph_playback.h"
#include "kly/host/hbn_paths.h"
#include "kly/host/offset_path.h"
#include "kly/host/path_playback.h"
#include "kly/host/text_shaping.h"

namespace kly {
namespace host {

struct HostServices {
  // Receives every report: its id, its flags and its text. Default: one line on stderr.
  std::function<void(uint32_t id, uint32_t flags, const char* text)> report;
  // Seconds since boot. Default: a monotonic clock.
  std::function<double()> seconds_since_boot;
  // Statuses of the five version checks, in the order utility, maths, Bezier, path, text.
  int32_t version_status[5] = {0, 0, 0, 0, 0};
  // Status of PLB_GetHBNAddressProc.
  int32_t binding_lookup_status = 0;
  // Asked before every engine allocation; false makes it fail. Default: always true.
  std::function<bool(uint32_t bytes, uint32_t tag)> allow_allocation;
  // The path offset service behind "GFKOffsetPathInterface" (offset_path.h). Default:
  // kly::host::OffsetPath. Tests use it to make every call fail or to hand back a scripted
  // outline.
  std::function<int32_t(const OffsetPathRequest& request, const OffsetPathSink& sink)> offset_path;
  // The path clean-up behind GFK_ReworkPath (path_rework.h). Default: kly::host::ReworkPath.
  std::function<int32_t(const float* points, const int32_t* types, int32_t count,
                        const OffsetPathSink& sink)>
      rework_path;
  // Glyph playback behind GLF_PlayCharOutlines (glyph_playback.h). Default:
  // kly::host::PlayCharOutlines on FreeType. Tests use it to play a scripted outline for any
  // glyph and to record each call.
  std::function<void(int glyph, const ORT_Matrix3& first, const ORT_Matrix3& second,
                     TYE::GlyphOrientation orientation, const HBN_T_NMT::CTPKFontDict& font,
                     const std::vector<float>& values, GLF_OutlinePlayer& player)>
      play_char_outlines;
  // The path transform behind HBN_T_NMT::CGFKPath::Transform (hbn_paths.h). Default:
  // kly::host::TransformPath.
  std::function<int32_t(const HBN_T_NMT::CGFKPath& path, const float matrix[6],
                        std::unique_ptr<HBN_T_NMT::CGFKPath>& result)>
      transform_path;
  // Path playback behind PLB_PlayOutlines (path_playback.h). Default: kly::host::PlayOutlines.
  std::function<void(const HBN_T_NMT::CGFKPath& path, PLB_OutlinePlayer& player)> play_outlines;
  // Shaping of one line of text (text_shaping.h). Default: kly::host::ShapeWithHarfBuzz. Tests
  // use it to place scripted glyphs.
  std::function<ShapedLine(const ShapingRequest& request)> shape_text;
};

// The table in force. Never empty: unset entries fall back to the defaults.
HostServices& Services();

// The default table: stderr reports, monotonic clock, every check and allocation passing.
HostServices DefaultServices();

// Replaces the table for the lifetime of the object and restores the previous one after.
class ScopedServices {
 public:
  explicit ScopedServices(HostServices replacement);
  ~ScopedServices();
  ScopedServices(const ScopedServices&) = delete;
  ScopedServices& operator=(const ScopedServices&) = delete;

 private:
  HostServices saved_;
};

}  // namespace host
}  // namespace kly

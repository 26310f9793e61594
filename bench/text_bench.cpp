// `kly text` over 1,000 glyphs, in-process through the command's own pipeline: the 94 printable
// ASCII characters ('!' to '~') over and over in lines of 94, DejaVu Sans, the command's
// defaults (em 1, depth 0.2, convex bevel 0.02, granularities 1,10), single-threaded. One
// iteration is the whole run after the options: shaping and layout, the letters (glyph
// playback), KLY_Text::Update (the library's build), the collapse into one mesh, and the export
// and encoding of the .glb into memory. Counters: the triangles and bytes of the .glb, and the
// share of the iteration spent in KLY_Text::Update.
#include <benchmark/benchmark.h>

#include <chrono>
#include <sstream>
#include <string>
#include <vector>

#include "cli/commands/melt_collection.h"
#include "cli/options/extrusion_options.h"
#include "cli/text/text_layout.h"
#include "cli/text/text_letters.h"
#include "cli/writers/export_mesh.h"
#include "cli/writers/mesh_writer.h"
#include "kly/package/package.h"

namespace {

using Clock = std::chrono::steady_clock;
using Seconds = std::chrono::duration<double>;

const char* const kDejaVuSans = "/usr/share/fonts/truetype/dejavu/DejaVuSans.ttf";
constexpr int kGlyphCount = 1000;
constexpr int kLineLength = '~' - '!' + 1;

std::string Workload() {
  std::string text;
  for (int i = 0; i < kGlyphCount; ++i) {
    if (i > 0 && i % kLineLength == 0) text += '\n';
    text += static_cast<char>('!' + i % kLineLength);
  }
  return text;
}

void BM_TextToGlb(benchmark::State& state) {
  KLY_Birth();
  const std::string text = Workload();
  kly::cli::LayoutSettings layout;
  layout.shaping.font = HBN_T_NMT::CTPKFontDict::FromFile(kDejaVuSans);
  const double size = 1.0;
  const double output_per_build = size / kly::cli::kBuildEm;
  const kly::cli::ExtrusionParameters parameters =
      kly::cli::ResolveExtrusion(kly::cli::ExtrusionOptions(), size);
  const kly::cli::WriteOptions write;
  // Named as the command names them: a letter's four slots, letter after letter.
  kly::cli::MeshDescription description;
  description.name = "text";
  for (int i = 0; i < kGlyphCount; ++i) {
    description.slot_names.insert(description.slot_names.end(), {"front", "back", "side", "bevel"});
  }
  double update_seconds = 0.0, total_seconds = 0.0;
  size_t triangles = 0, bytes = 0;
  for (auto _ : state) {
    const Clock::time_point start = Clock::now();
    const std::vector<kly::cli::PlacedGlyph> glyphs = kly::cli::LayOutText(text, layout);
    KLY_Text letters;
    kly::cli::AddLetters(glyphs, layout.shaping.font, {}, letters);
    kly::cli::ApplyExtrusion(parameters, 1.0 / output_per_build, letters);
    const Clock::time_point update = Clock::now();
    letters.Update();
    update_seconds += Seconds(Clock::now() - update).count();
    KLY_Mesh mesh;
    kly::cli::MeltCollection(letters, output_per_build, mesh);
    const kly::cli::ExportMesh exported(mesh, description, write);
    std::ostringstream glb;
    kly::cli::EncodeMesh(exported, write, glb, nullptr, "");
    total_seconds += Seconds(Clock::now() - start).count();
    triangles = exported.TriangleCount();
    bytes = glb.str().size();
    benchmark::DoNotOptimize(bytes);
  }
  state.counters["glyphs"] = kGlyphCount;
  state.counters["triangles"] = static_cast<double>(triangles);
  state.counters["glb_bytes"] = static_cast<double>(bytes);
  state.counters["update_share"] = update_seconds / total_seconds;
  KLY_Death();
}
BENCHMARK(BM_TextToGlb)->Unit(benchmark::kMillisecond)->UseRealTime();

}  // namespace

BENCHMARK_MAIN();

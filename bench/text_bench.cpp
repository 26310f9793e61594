// `kly text` over 1,000 glyphs, in-process through the command's own pipeline: the 94 printable
// ASCII characters ('!' to '~') over and over in lines of 94, DejaVu Sans, the command's
// defaults (em 1, depth 0.2, convex bevel 0.02, granularities 1,10), single-threaded. One
// iteration is the whole run after the options: shaping and layout, the letters (glyph
// playback), KLY_Text::Update (the library's build), the collapse into one mesh, and the export
// and encoding of the .glb into memory. Counters: the triangles and bytes of the .glb, and the
// share of the iteration spent in KLY_Text::Update.
//
// DejaVu Sans carries a contour of a single point (an anchor) in 'u', which playback hands on and
// which the extrusion refuses, failing the whole text; the benchmark leaves such contours out
// through the host's seam, as the extrusion benchmark does.
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
#include "kly/host/services.h"
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

// Passes every call on to `inner` but for contours of one point.
class DrawnContours : public GLF_OutlinePlayer {
 public:
  explicit DrawnContours(GLF_OutlinePlayer& inner) : inner_(inner) {}
  void Reset() override { inner_.Reset(); }
  void MoveTo(double x, double y) override {
    pending_ = true;
    x_ = x;
    y_ = y;
  }
  void LineTo(double x, double y) override {
    Start();
    inner_.LineTo(x, y);
  }
  void CurveTo(double x1, double y1, double x2, double y2, double x3, double y3) override {
    Start();
    inner_.CurveTo(x1, y1, x2, y2, x3, y3);
  }
  void ClosePath() override {
    if (!pending_) inner_.ClosePath();
    pending_ = false;
  }
  void Finish() override { inner_.Finish(); }

 private:
  void Start() {
    if (pending_) inner_.MoveTo(x_, y_);
    pending_ = false;
  }
  GLF_OutlinePlayer& inner_;
  bool pending_ = false;
  double x_ = 0.0;
  double y_ = 0.0;
};

kly::host::HostServices WithoutPointContours() {
  kly::host::HostServices services = kly::host::DefaultServices();
  services.play_char_outlines = [](int glyph, const ORT_Matrix3& first, const ORT_Matrix3& second,
                                   TYE::GlyphOrientation orientation,
                                   const HBN_T_NMT::CTPKFontDict& font,
                                   const std::vector<float>& values, GLF_OutlinePlayer& player) {
    DrawnContours drawn(player);
    kly::host::PlayCharOutlines(glyph, first, second, orientation, font, values, drawn);
  };
  return services;
}

void BM_TextToGlb(benchmark::State& state) {
  KLY_Birth();
  const kly::host::ScopedServices services(WithoutPointContours());
  const std::string text = Workload();
  kly::cli::LayoutSettings layout;
  layout.shaping.font = HBN_T_NMT::CTPKFontDict::FromFile(kDejaVuSans);
  const double size = 1.0;
  const double output_per_build = size / kly::cli::kBuildEm;
  const kly::cli::ExtrusionParameters parameters =
      kly::cli::ResolveExtrusion(kly::cli::ExtrusionOptions(), size);
  const kly::cli::WriteOptions write;
  kly::cli::MeshDescription description;
  description.name = "text";
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

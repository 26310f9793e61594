#include "cli/text/drawn_outlines.h"

#include <utility>

namespace kly {
namespace cli {

namespace {

// Holds each start back until a piece follows it.
class DrawnContours : public GLF_OutlinePlayer {
 public:
  explicit DrawnContours(GLF_OutlinePlayer& inner) : inner_(inner) {}
  void Reset() override {
    start_pending_ = false;
    inner_.Reset();
  }
  void MoveTo(double x, double y) override {
    start_pending_ = true;
    start_x_ = x;
    start_y_ = y;
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
    if (!start_pending_) inner_.ClosePath();
    start_pending_ = false;
  }
  void Finish() override { inner_.Finish(); }

 private:
  void Start() {
    if (start_pending_) inner_.MoveTo(start_x_, start_y_);
    start_pending_ = false;
  }

  GLF_OutlinePlayer& inner_;
  bool start_pending_ = false;
  double start_x_ = 0.0;
  double start_y_ = 0.0;
};

host::HostServices WithDrawnOutlines() {
  host::HostServices services = host::Services();
  services.play_char_outlines = [play = std::move(services.play_char_outlines)](
                                    int glyph, const ORT_Matrix3& first, const ORT_Matrix3& second,
                                    TYE::GlyphOrientation orientation,
                                    const HBN_T_NMT::CTPKFontDict& font,
                                    const std::vector<float>& values, GLF_OutlinePlayer& player) {
    DrawnContours drawn(player);
    play(glyph, first, second, orientation, font, values, drawn);
  };
  return services;
}

}  // namespace

DrawnOutlinesOnly::DrawnOutlinesOnly() : services_(WithDrawnOutlines()) {}

}  // namespace cli
}  // namespace kly

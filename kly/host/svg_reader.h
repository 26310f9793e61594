// Reads an SVG drawing into filled paths for extrusion: one SvgShape per path or basic shape,
// in document order, with every transform, the viewBox and the units already applied.
//
// What is read: path data (every command), rect, circle, ellipse, polygon, and polyline
// (closed, as its fill is); groups, <a>, <switch> (its first child that requires no
// extension), nested <svg>, and <use> of an element, group or <symbol> (the <use>'s transform,
// then its x and y; a <use> inside what it draws is ignored); the transform list; viewBox
// with preserveAspectRatio (every alignment; slice scales but does not clip); lengths in px,
// unitless, mm, cm, in, pt, pc (at 96 per inch), em and ex (at the default 16px font) and % of
// the viewport; fill (#rgb, #rrggbb, rgb(), rgba(), the CSS colour names, currentColor, none),
// fill-rule, display and visibility, from presentation attributes and style="..." (the style
// wins), inherited through groups.
//
// What is not built, with a warning: <line> and point lists of fewer than 3 points (no area);
// shapes without fill (kept, marked by has_fill). Definitions (<defs>, <symbol>, gradients...)
// draw nothing where they stand. Anything unsupported (text, images, gradients and patterns
// as fill (drawn black), strokes, opacity, clip-path, mask, filter, CSS <style> sheets,
// unknown elements, unreadable style values, which keep the inherited one) leaves one warning
// line a kind, counting its repeats. Elements of other XML namespaces (editors' data) are
// skipped quietly.
//
// What fails (SvgError, one line naming the element and its line): text that is not XML, a
// root that is not <svg>, malformed numbers, lengths, path data (with the character, counted
// from 1), transforms and point lists, negative sizes, a non-finite transform, a zero-size
// viewBox, coordinates past single precision, nesting deeper than kMaxSvgDepth, and drawings
// past kMaxSvgPoints points or kMaxSvgElements elements drawn.
#pragma once

#include <cstdint>
#include <stdexcept>
#include <string>
#include <vector>

#include "kly/host/hbn_paths.h"

namespace kly {
namespace host {

// Guards against hostile files: element nesting (with <use> counted), the elements drawn
// once <use> is expanded, and the points of all paths together.
constexpr int kMaxSvgDepth = 256;
constexpr uint32_t kMaxSvgElements = 1000000;
constexpr uint32_t kMaxSvgPoints = 10000000;

struct SvgColor {
  uint8_t r = 0, g = 0, b = 0;
};

struct SvgShape {
  // Moves, lines, cubics and closes; drawing units, y down, every transform and the viewBox
  // already applied. Every subpath ends with a close, open ones included, as a fill closes
  // them.
  HBN_T_NMT::CPVKBezierPath path;
  // fill-rule: evenodd -> 0 (containment), nonzero -> 1 (winding).
  uint32_t orientation_style = 1;
  // False for fill="none": the shape is kept so that callers see it, but it is not to be
  // built, and `warnings` already says so.
  bool has_fill = true;
  SvgColor fill;  // solid fill colour (default black)
  // Index among the <svg> element's child elements of the one the shape comes from: shapes of
  // one top-level <g> share it; each top-level shape has its own.
  int32_t group = 0;
  std::string label;  // "path#id", or "rect" when there is no id, for messages
};

struct SvgDrawing {
  // The viewport in drawing units: the root's width and height, or its viewBox's size when
  // they are missing or percentages, or 0.
  double width = 0, height = 0;
  std::vector<SvgShape> shapes;       // document order
  std::vector<std::string> warnings;  // one line each, naming the unsupported feature and where
};

class SvgError : public std::runtime_error {
 public:
  using std::runtime_error::runtime_error;
};

// Throws SvgError with a one-line message. Messages do not name the file: callers do.
SvgDrawing ReadSvg(const std::string& text);
// As ReadSvg, and also throws SvgError when the file cannot be read, with the system's reason
// ("No such file or directory").
SvgDrawing ReadSvgFile(const std::string& path);

}  // namespace host
}  // namespace kly

#include "cli/runtime/stats_report.h"

#include <charconv>
#include <cstdio>
#include <string>

#include <nlohmann/json.hpp>

namespace kly {
namespace cli {

namespace {

// Keys in the order written here.
using Json = nlohmann::ordered_json;

// The shortest text that reads back as the file's float ("0.1", not 0.100000001).
std::string FloatText(float value) {
  char buffer[32];
  const auto result = std::to_chars(buffer, buffer + sizeof buffer, value);
  return std::string(buffer, result.ptr);
}

// "1 vertex", "2 vertices".
std::string Counted(uint64_t count, const std::string& one, const std::string& many) {
  return std::to_string(count) + " " + (count == 1 ? one : many);
}

void PrintText(const MeshStats& file) {
  const char* name = file.path == "-" ? "standard output" : file.path.c_str();
  std::fprintf(stderr, "kly: %s: %s, %s, %s\n", name,
               Counted(file.vertices, "vertex", "vertices").c_str(),
               Counted(file.triangles, "triangle", "triangles").c_str(),
               Counted(file.materials, "material", "materials").c_str());
  if (file.has_bounds) {
    std::string bounds;
    for (int k = 0; k < 3; ++k) {
      bounds += std::string(k == 0 ? "" : ", ") + "xyz"[k] + " " + FloatText(file.least[k]) +
                " to " + FloatText(file.most[k]);
    }
    std::fprintf(stderr, "kly: %s: bounds %s\n", name, bounds.c_str());
  } else {
    std::fprintf(stderr, "kly: %s: no bounds (no triangles)\n", name);
  }
  std::fprintf(stderr, "kly: %s: %s, %s\n", name,
               Counted(file.open_edges, "open edge", "open edges").c_str(),
               Counted(file.non_manifold_edges, "non-manifold edge", "non-manifold edges").c_str());
}

// A float as JSON shows it shortest: through its shortest text, not its exact double.
Json Point(const std::array<float, 3>& p) {
  Json point = Json::array();
  for (float c : p) point.push_back(std::stod(FloatText(c)));
  return point;
}

Json Entry(const MeshStats& file) {
  Json entry = {{"path", file.path},
                {"vertices", file.vertices},
                {"triangles", file.triangles},
                {"materials", file.materials},
                {"bounds", nullptr},
                {"open_edges", file.open_edges},
                {"non_manifold_edges", file.non_manifold_edges}};
  if (file.has_bounds) entry["bounds"] = {{"min", Point(file.least)}, {"max", Point(file.most)}};
  return entry;
}

}  // namespace

void PrintStats(const std::vector<MeshStats>& files, double seconds, StatsForm form) {
  if (form == StatsForm::kJson) {
    Json report = {{"files", Json::array()}, {"seconds", seconds}};
    for (const MeshStats& file : files) report["files"].push_back(Entry(file));
    std::fprintf(stderr, "%s\n", report.dump().c_str());
    return;
  }
  for (const MeshStats& file : files) PrintText(file);
  std::fprintf(stderr, "kly: done in %.3f s\n", seconds);
}

}  // namespace cli
}  // namespace kly

#include "cli/writers/file_triangles.h"

#include <algorithm>
#include <cmath>
#include <cstdio>
#include <stdexcept>

namespace kly {
namespace cli {

namespace {

// Why a file cannot hold position `p` of vertex `vertex` ("vertex 3 lies at y = -4e+38, ..."),
// or empty when it can.
std::string UnwritablePosition(uint32_t vertex, const ORT_Vector3T<double>& p) {
  const double c[3] = {p.x, p.y, p.z};
  for (int k = 0; k < 3; ++k) {
    if (std::isfinite(FileFloat(c[k]))) continue;
    char text[128];
    std::snprintf(text, sizeof text,
                  std::isnan(c[k]) ? "vertex %u has %c = %g, not a number"
                                   : "vertex %u lies at %c = %g, past the largest 32-bit float "
                                     "(3.4e+38) that files hold",
                  vertex, "xyz"[k], c[k]);
    return text;
  }
  return "";
}

// Rounds and checks every vertex a triangle uses, once.
void RoundVertices(const KLY_Mesh& mesh, const std::string& size_options, FileTriangles& out) {
  const uint32_t vertex_count = mesh.GetNumVertices();
  std::vector<bool> used(vertex_count, false);
  uint32_t t = 0;
  for (auto triangle = mesh.beginTriangles(); triangle != mesh.endTriangles(); ++triangle, ++t) {
    for (uint32_t index : triangle->indices) {
      if (index >= vertex_count) {
        throw std::runtime_error("triangle " + std::to_string(t) + " refers to vertex " +
                                 std::to_string(index) + " of " + std::to_string(vertex_count));
      }
      used[index] = true;
    }
  }
  out.positions.assign(vertex_count, Float3{0, 0, 0});
  out.uvs.assign(vertex_count, Float2{0, 0});
  uint32_t v = 0;
  for (auto vertex = mesh.beginVerts(); vertex != mesh.endVerts(); ++vertex, ++v) {
    if (!used[v]) continue;
    const ORT_Vector3T<double> p = ToFileFrame(vertex->pos);
    const std::string problem = UnwritablePosition(v, p);
    if (!problem.empty()) {
      throw std::runtime_error(problem + "; use smaller " +
                               (size_options.empty() ? std::string("sizes") : size_options));
    }
    out.positions[v] = {FileFloat(p.x), FileFloat(p.y), FileFloat(p.z)};
    out.uvs[v] = {FileFloat(vertex->uv.x), FileFloat(vertex->uv.y)};
    if (!std::isfinite(out.uvs[v][0]) || !std::isfinite(out.uvs[v][1])) {
      throw std::runtime_error("vertex " + std::to_string(v) +
                               " has texture coordinates that are not finite floats");
    }
  }
}

ORT_Vector3T<double> Vector(const Float3& f) {
  return ORT_Vector3T<double>{f[0], f[1], f[2]};
}

}  // namespace

bool UnitFileVector(const ORT_Vector3T<double>& v, Float3& unit) {
  // Scaled first, so that neither tiny nor huge components under- or overflow the length.
  const double scale = std::max({std::fabs(v.x), std::fabs(v.y), std::fabs(v.z)});
  if (!(scale > 0.0) || !std::isfinite(scale)) return false;
  const ORT_Vector3T<double> s{v.x / scale, v.y / scale, v.z / scale};
  const double length = std::sqrt(s.x * s.x + s.y * s.y + s.z * s.z);
  unit = {FileFloat(s.x / length), FileFloat(s.y / length), FileFloat(s.z / length)};
  return true;
}

FileTriangles CollectTriangles(const KLY_Mesh& mesh, const std::string& size_options) {
  FileTriangles out;
  RoundVertices(mesh, size_options, out);
  const uint32_t material_count = mesh.NumMaterials();
  bool unassigned = false;
  out.corners.reserve(mesh.GetNumTriangles());
  out.slots.reserve(mesh.GetNumTriangles());
  out.face_normals.reserve(mesh.GetNumTriangles());
  for (auto triangle = mesh.beginTriangles(); triangle != mesh.endTriangles(); ++triangle) {
    const uint32_t* i = triangle->indices;
    const uint32_t index = static_cast<uint32_t>(out.corners.size());
    out.corners.push_back({i[0], i[2], i[1]});
    Float3 normal;
    if (!UnitFileVector(OutwardCross(out, index), normal)) {
      out.corners.pop_back();
      ++out.dropped;
      continue;
    }
    out.face_normals.push_back(normal);
    const bool in_table = triangle->material_index < material_count;
    unassigned = unassigned || !in_table;
    out.slots.push_back(in_table ? triangle->material_index : material_count);
  }
  out.slot_count = material_count + (unassigned ? 1 : 0);
  return out;
}

ORT_Vector3T<double> OutwardCross(const FileTriangles& triangles, uint32_t triangle) {
  const std::array<uint32_t, 3>& c = triangles.corners[triangle];
  // In doubles from the file's floats: corners that coincide in the file give exactly zero.
  const ORT_Vector3T<double> a = Vector(triangles.positions[c[0]]);
  const ORT_Vector3T<double> u = Vector(triangles.positions[c[1]]) - a;
  const ORT_Vector3T<double> w = Vector(triangles.positions[c[2]]) - a;
  return ORT_Vector3T<double>{u.y * w.z - u.z * w.y, u.z * w.x - u.x * w.z, u.x * w.y - u.y * w.x};
}

}  // namespace cli
}  // namespace kly

// Every file `kly` writes holds finite numbers, unit normals and triangles with an area, also
// where the library's mesh does not: midpoints of a subdivision carry no normals, a cylinder of
// height 0 has walls without area, a flattened sphere has zero normals, a subdivided sphere has
// triangles that collapsed in its weld, a cone's tip collapses the same way. Each solid is built as
// the command line builds it, then written in every format under every normal mode and read back by
// readers that share no code with the writers.
#include <gtest/gtest.h>

#include <cmath>
#include <functional>
#include <sstream>
#include <string>

#include "cli/writers/export_mesh.h"
#include "cli/writers/mesh_writer.h"
#include "kly/solids/cube.h"
#include "kly/solids/cylinder.h"
#include "kly/solids/plane.h"
#include "kly/solids/sphere.h"
#include "tests/testing/mesh_files.h"

namespace kly {
namespace cli {
namespace {

using testing::ReadMesh;
using testing::Vec3;

struct Solid {
  const char* command;
  std::function<void(KLY_Mesh&)> build;
  // What makes the case hard, checked so that the case keeps testing what it claims to.
  bool repairs_library_normals;
  bool drops_triangles;
};

KLY_Cube Cube(uint32_t divisions) {
  KLY_Cube cube;
  cube.SetDivisions(divisions);
  cube.Update();
  return cube;
}

const Solid kSolids[] = {
    {"cube --divisions 1 --subdivide",
     [](KLY_Mesh& mesh) {
       mesh = Cube(1);
       mesh.Subdivide();
     },
     true, false},
    {"sphere --subdivide --subdivide",
     [](KLY_Mesh& mesh) {
       KLY_Sphere sphere;
       sphere.Update();
       sphere.Subdivide();
       sphere.Subdivide();
       mesh = sphere;
     },
     true, true},
    {"sphere --radius 1,1,0",
     [](KLY_Mesh& mesh) {
       KLY_Sphere sphere;
       sphere.SetRadius({1, 1, 0});
       sphere.Update();
       mesh = sphere;
     },
     // Zero normals everywhere; the triangles standing on the rim lose their area.
     true, true},
    {"cylinder --height 0",
     [](KLY_Mesh& mesh) {
       KLY_Cylinder cylinder;
       cylinder.SetHeight(0);
       cylinder.Update();
       mesh = cylinder;
     },
     false, true},
    {"cylinder --top-radius 0 --radial-divisions 32 --subdivide",
     [](KLY_Mesh& mesh) {
       KLY_Cylinder cone;
       cone.SetTopRadius(0);
       cone.SetDivisions(32, 1);
       cone.Update();
       cone.Subdivide();
       mesh = cone;
     },
     // The top rim, 1e-5 across, has points closer than the weld's 1e-6 after subdividing.
     true, true},
    {"plane --curvature 1 --weld 1e-5",
     [](KLY_Mesh& mesh) {
       KLY_Plane plane;
       plane.SetCurvature(1);
       plane.Update();
       plane.Weld(1e-5);
       mesh = plane;
     },
     false, false},
    {"cube --split 0,0,1,0 (front)",
     [](KLY_Mesh& mesh) {
       KLY_Mesh back;
       // The file's z is the library's -z.
       KLY_Mesh::SplitMesh(Cube(4), ORT_PlaneEq{0, 0, -1, 0}, mesh, back);
     },
     false, false},
};

constexpr std::pair<MeshFormat, const char*> kFormats[] = {{MeshFormat::kGlb, ".glb"},
                                                           {MeshFormat::kObj, ".obj"},
                                                           {MeshFormat::kPly, ".ply"},
                                                           {MeshFormat::kStl, ".stl"}};

bool Finite(const Vec3& v) {
  return std::isfinite(v[0]) && std::isfinite(v[1]) && std::isfinite(v[2]);
}

// A float unit vector is 1 to within a few units in the last place.
void ExpectUnit(const Vec3& v, const std::string& what) {
  ASSERT_TRUE(Finite(v)) << what;
  EXPECT_NEAR(std::sqrt(testing::Dot(v, v)), 1.0, 1e-6) << what;
}

void ExpectWritable(const ReadMesh& read, bool stl) {
  for (const Vec3& position : read.positions) ASSERT_TRUE(Finite(position));
  for (const auto& uv : read.uvs) ASSERT_TRUE(std::isfinite(uv[0]) && std::isfinite(uv[1]));
  for (size_t v = 0; v < read.normals.size(); ++v)
    ExpectUnit(read.normals[v], "vertex " + std::to_string(v));
  for (size_t t = 0; t < read.triangles.size(); ++t) {
    for (uint32_t index : read.triangles[t]) ASSERT_LT(index, read.positions.size());
    const Vec3 cross = testing::FileCross(read, t);
    EXPECT_GT(testing::Dot(cross, cross), 0.0) << "triangle " << t << " has no area";
    if (stl) ExpectUnit(read.face_normals[t], "face " + std::to_string(t));
  }
  if (!stl) {
    EXPECT_EQ(read.normals.size(), read.positions.size());
  }
}

TEST(ExportSolids, EveryFileHoldsFiniteNumbersUnitNormalsAndTrianglesWithArea) {
  for (const Solid& solid : kSolids) {
    SCOPED_TRACE(solid.command);
    KLY_Mesh mesh;
    solid.build(mesh);
    const ExportMesh library(mesh, MeshDescription());
    EXPECT_EQ(library.RepairedNormals() > 0, solid.repairs_library_normals);
    EXPECT_EQ(library.DroppedTriangles() > 0, solid.drops_triangles);
    ASSERT_GT(library.TriangleCount(), 0u);
    for (const NormalMode mode : {NormalMode::kLibrary, NormalMode::kSmooth, NormalMode::kFlat}) {
      SCOPED_TRACE("normals " + std::to_string(static_cast<int>(mode)));
      for (const auto& [format, extension] : kFormats) {
        for (const bool ascii : {false, true}) {
          if (ascii && format != MeshFormat::kStl && format != MeshFormat::kPly) continue;
          SCOPED_TRACE(std::string(extension) + (ascii ? " ascii" : ""));
          WriteOptions options;
          options.format = format;
          options.normals = mode;
          options.ascii = ascii;
          std::ostringstream out;
          const WriteSummary summary =
              WriteMeshStreams(mesh, MeshDescription(), options, out, nullptr, "");
          const ReadMesh read = testing::ReadMeshAs(out.str(), extension);
          ASSERT_EQ(read.triangles.size(), summary.triangles);
          ExpectWritable(read, format == MeshFormat::kStl);
        }
      }
    }
  }
}

}  // namespace
}  // namespace cli
}  // namespace kly

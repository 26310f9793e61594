// Builds a cube and a bevelled extrusion through the installed library and checks them.
#include <cstdio>

#include "kly/kly.h"

namespace {

bool CubeAsExpected() {
  KLY_Cube cube;
  cube.SetDivisions(2);
  cube.Update();
  // 6 (n+1)^2 vertices and 12 n^2 triangles at n = 2.
  return cube.GetNumVertices() == 54 && cube.GetNumTriangles() == 48;
}

// A 10 x 10 square, depth 10, chamfer of 1: the back face stands at 10 + 2 * 1 and every one of
// the four materials has triangles. This also links the path offset service (Clipper).
bool ExtrusionAsExpected() {
  KLY_Contour square;
  const double corners[4][2] = {{0, 0}, {10, 0}, {10, 10}, {0, 10}};
  for (int i = 0; i < 4; ++i) {
    square.AppendVertexPosition({corners[i][0], corners[i][1], 0.0});
    square.AppendVertexCode(i == 0 ? KLY_Contour::kCodeStart : KLY_Contour::kCodeLine);
  }
  square.SetClosed(true);
  KLY_Extrusion solid;
  solid.PushContour(square);
  solid.SetExtrusionDepth(10);
  solid.SetBevelStyle(KLY_Extrusion::BevelChamfer);
  solid.SetBevelDepth(1);
  try {
    solid.Update();
  } catch (int32_t) {
    return false;
  }
  bool used[4] = {false, false, false, false};
  for (auto t = solid.beginTriangles(); t != solid.endTriangles(); ++t)
    if (t->material_index < 4) used[t->material_index] = true;
  double deepest = 0.0;
  for (auto v = solid.beginVerts(); v != solid.endVerts(); ++v)
    if (v->pos.z > deepest) deepest = v->pos.z;
  return used[0] && used[1] && used[2] && used[3] && deepest == 12.0;
}

}  // namespace

int main() {
  if (KLY_Birth() != 0) return 1;
  const bool cube = CubeAsExpected();
  const bool extrusion = ExtrusionAsExpected();
  KLY_Death();
  std::printf("kly consumer: %s, %s\n", cube ? "cube as expected" : "unexpected cube",
              extrusion ? "extrusion as expected" : "unexpected extrusion");
  return cube && extrusion ? 0 : 1;
}

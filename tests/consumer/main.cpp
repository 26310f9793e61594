// Builds a cube through the installed library and checks its counts.
#include <cstdio>

#include "kly/kly.h"

int main() {
  if (KLY_Birth() != 0) return 1;
  KLY_Cube cube;
  cube.SetDivisions(2);
  cube.Update();
  // 6 (n+1)^2 vertices and 12 n^2 triangles at n = 2.
  const bool ok = cube.GetNumVertices() == 54 && cube.GetNumTriangles() == 48;
  KLY_Death();
  std::printf("kly consumer: %s\n", ok ? "cube as expected" : "unexpected cube");
  return ok ? 0 : 1;
}

// The mean normal of the faces around a vertex, for the normal stages (corner_normals.h).
#pragma once

#include <cstdint>

#include "cli/writers/file_triangles.h"

namespace kly {
namespace cli {

// The area-weighted mean normal of a set of triangles, gathered one triangle at a time.
class NormalSum {
 public:
  void Add(const FileTriangles& triangles, uint32_t triangle) {
    const ORT_Vector3T<double> cross = OutwardCross(triangles, triangle);
    // The cross product is twice the area long: adding it weights the face by its area.
    sum_ = sum_ + cross;
    const double area = cross.x * cross.x + cross.y * cross.y + cross.z * cross.z;
    if (area > largest_area_) {
      largest_area_ = area;
      largest_ = triangle;
    }
  }
  // Faces in opposite directions may cancel out: the largest face decides then.
  Float3 Normal(const FileTriangles& triangles) const {
    Float3 unit;
    return UnitFileVector(sum_, unit) ? unit : triangles.face_normals[largest_];
  }

 private:
  ORT_Vector3T<double> sum_{0.0, 0.0, 0.0};
  double largest_area_ = -1.0;
  uint32_t largest_ = 0;
};

}  // namespace cli
}  // namespace kly

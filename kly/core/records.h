// The plain records every mesh holds and the renderer reads: vertex, triangle, material and
// render options. Value classes without virtual operations, copied by plain assignment.
#pragma once

#include <cstdint>

#include "kly/host/ort.h"

// Tag of the record constructors that leave the numbers of a record unwritten, for bulk writers
// that write every one of them right after (KLY_Mesh::GrowUnwritten): a default record would
// have them written twice.
struct KLY_Unwritten {};

class KLY_Vertex {
 public:
  KLY_Vertex() : pos{0.0, 0.0, 0.0}, pos_w(0.0), uv{0.0, 0.0}, normal{0.0, 0.0, 0.0} {}
  // `singular` is still false: a bulk writer has nothing to say about it.
  explicit KLY_Vertex(KLY_Unwritten) {}

  void GetPos(ORT_Vector3T<double>& out) const { out = pos; }
  // Also sets the weight to 1.0.
  void SetPos(const ORT_Vector3T<double>& p) {
    pos = p;
    pos_w = 1.0;
  }
  void GetUV(ORT_Vector2T<double>& out) const { out = uv; }
  void SetUV(const ORT_Vector2T<double>& t) { uv = t; }
  void GetNormal(ORT_Vector3T<double>& out) const { out = normal; }
  // Stored as given: no normalisation.
  void SetNormal(const ORT_Vector3T<double>& n) { normal = n; }
  void GetSingular(bool& out) const { out = singular; }
  void SetSingular(bool s) { singular = s; }

  ORT_Vector3T<double> pos;
  // Homogeneous weight: 0.0 until SetPos, 1.0 from every builder but the sphere's. Never read.
  double pos_w;
  ORT_Vector2T<double> uv;
  ORT_Vector3T<double> normal;
  // Travels with the vertex for the consumer; the library decides nothing by it.
  bool singular = false;
};

class KLY_Triangle {
 public:
  // Zeroes the indices only: material index and normal keep what the memory held, since every
  // builder writes them itself and a cleared default would cost a pass over large arrays.
  KLY_Triangle() : indices{0, 0, 0} {}
  explicit KLY_Triangle(KLY_Unwritten) {}
  KLY_Triangle(uint32_t a, uint32_t b, uint32_t c) : indices{a, b, c}, material_index(0) {}

  void SetIndices(uint32_t a, uint32_t b, uint32_t c) {
    indices[0] = a;
    indices[1] = b;
    indices[2] = c;
  }
  void GetIndices(uint32_t& a, uint32_t& b, uint32_t& c) const {
    a = indices[0];
    b = indices[1];
    c = indices[2];
  }
  void GetMaterialIndex(uint32_t& out) const { out = material_index; }
  void SetMaterialIndex(uint32_t m) { material_index = m; }
  void GetNormal(ORT_Vector3T<double>& out) const { out = normal; }
  void SetNormal(const ORT_Vector3T<double>& n) { normal = n; }

  uint32_t indices[3];
  uint32_t material_index;
  ORT_Vector3T<double> normal;
};

// A renderer's material: the library only constructs, copies and stores whole records.
class KLY_Material {
 public:
  KLY_Material() { label[0] = 0; }

  char label[128];
  double values[16] = {0.4,  0.4, 0.4, 1.0, 0.0, 0.2, 0.5, 0.5,
                       10.0, 0.5, 0.5, 1.0, 0.5, 1.0, 0.0, 1.0};
  bool flag = false;
};

// The host renderer's options; stored, copied and forwarded only.
class KLY_RenderOptions {
 public:
  int32_t option_0 = 0;
  int32_t option_1 = 1;
  bool option_2 = true;
  uint64_t option_3 = 0;
  int32_t option_4 = 1;
};

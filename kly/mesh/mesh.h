// The indexed triangle mesh on which the whole library rests: vertices, triangles, a material
// table and the last transform it was written with.
//
// Winding: the face normal of a triangle with corners p0, p1, p2 is the unit vector of
// (p2 - p0) x (p1 - p0). Note the order of the factors: the right-handed cross product
// (p1 - p0) x (p2 - p0) points opposite to the stored normal on every solid.
//
// No index is validated when stored; the library's own builders keep them in range.
#pragma once

#include <cstdint>
#include <vector>

#include "kly/core/geometry.h"

class KLY_Mesh : public KLY_Geometry {
 public:
  // Bytes a vertex and a triangle count for in GetByteSize (the cache's accounting).
  static constexpr uint32_t kVertexByteSize = 80;
  static constexpr uint32_t kTriangleByteSize = 40;

  KLY_Mesh();
  // Vectors of that many default records, type 1; `transform` is left unset.
  KLY_Mesh(uint32_t num_vertices, uint32_t num_triangles);
  KLY_Mesh(const KLY_Mesh&) = default;
  KLY_Mesh& operator=(const KLY_Mesh&) = default;
  // Keeps its arrays as the thread's spare for the next Reserve, when they are larger than the
  // spare and not too large to hold on to.
  virtual ~KLY_Mesh();

  // Array protocol: a mesh is its own single element.
  void Update() override;
  bool HasArray() override { return false; }
  KLY_Geometry* GetArrayElement(uint32_t) override { return this; }
  uint32_t GetNumberOfArrayElements() override { return 1; }
  void CollapseArrayToSingleElement(KLY_Geometry* out) const override;
  uint32_t GetTotalNumberOfPrimitives() override { return GetNumTriangles(); }

  std::vector<KLY_Vertex>::iterator beginVerts() { return vertices.begin(); }
  std::vector<KLY_Vertex>::iterator endVerts() { return vertices.end(); }
  std::vector<KLY_Vertex>::const_iterator beginVerts() const { return vertices.begin(); }
  std::vector<KLY_Vertex>::const_iterator endVerts() const { return vertices.end(); }
  std::vector<KLY_Triangle>::iterator beginTriangles() { return triangles.begin(); }
  std::vector<KLY_Triangle>::iterator endTriangles() { return triangles.end(); }
  std::vector<KLY_Triangle>::const_iterator beginTriangles() const { return triangles.begin(); }
  std::vector<KLY_Triangle>::const_iterator endTriangles() const { return triangles.end(); }
  std::vector<KLY_Material>::iterator beginMaterials() { return materials.begin(); }
  std::vector<KLY_Material>::iterator endMaterials() { return materials.end(); }
  std::vector<KLY_Material>::const_iterator beginMaterials() const { return materials.begin(); }
  std::vector<KLY_Material>::const_iterator endMaterials() const { return materials.end(); }

  uint32_t GetNumVertices() const { return static_cast<uint32_t>(vertices.size()); }
  uint32_t GetNumTriangles() const { return static_cast<uint32_t>(triangles.size()); }
  uint32_t NumMaterials() const { return static_cast<uint32_t>(materials.size()); }
  void GetSize(uint32_t& num_vertices, uint32_t& num_triangles) {
    num_vertices = GetNumVertices();
    num_triangles = GetNumTriangles();
  }
  // Truncates or extends with default records; dirty is not touched.
  void SetSize(uint32_t num_vertices, uint32_t num_triangles);
  // 80 bytes a vertex and 40 a triangle; materials do not count.
  uint32_t GetByteSize() const {
    return kVertexByteSize * GetNumVertices() + kTriangleByteSize * GetNumTriangles();
  }

  // Append a copy; the argument may be an element of the same vector. Inline: builders push
  // millions of records, and a call each cost more than the store.
  void PushVertex(const KLY_Vertex& vertex) { vertices.push_back(vertex); }
  void PushFace(const KLY_Triangle& triangle) { triangles.push_back(triangle); }
  // Room for that many records in all, allocated at once: a builder that counts first then
  // pushes without the arrays ever moving. Never shrinks. Takes the thread's spare arrays (those
  // of a mesh destroyed before) when they are large enough: solids built one after another
  // then reuse the same memory instead of handing it back to the system and faulting it in
  // again every time.
  void Reserve(uint32_t num_vertices, uint32_t num_triangles);
  // Extends to these counts with records whose numbers are left unwritten (KLY_Unwritten), for a
  // builder that writes all of them before anything reads them. Never shrinks.
  void GrowUnwritten(uint32_t num_vertices, uint32_t num_triangles);
  // Empties vertices and triangles and sets dirty; materials, facet and bounds stay.
  void ClearGeometry();

  // Returns the index of the new entry; the argument may be an element of the table.
  uint32_t AddMaterial(const KLY_Material& material);
  // No check of the index.
  void SetMaterial(const KLY_Material& material, uint32_t index) { materials[index] = material; }
  // Does nothing for an index past the end.
  void GetMaterial(uint32_t index, KLY_Material& out) const {
    if (index < materials.size()) out = materials[index];
  }
  void ClearMaterials() { materials.clear(); }

  void GetFacet(bool& out) const { out = facet; }
  void SetFacet(bool value) { facet = value; }

  // Raises std::out_of_range("invalid vector<T> subscript") for an index past the vertices,
  // after writing the outputs before it.
  void GetVerticesForTriangle(const KLY_Triangle& triangle, KLY_Vertex& v0, KLY_Vertex& v1,
                              KLY_Vertex& v2) const;
  void GetTrianglesForMaterial(uint32_t material, std::vector<KLY_Triangle>& out) const;
  // Appends `other`'s vertices and triangles (indices offset); its materials are not looked at.
  void AppendTriangleMesh(const KLY_Mesh& other);
  // `out` gets the triangles of one material with just the vertices they use, and one material
  // entry; material indices stay as they were, and `out` is left dirty.
  void BuildSingleMaterialMesh(uint32_t material, KLY_Mesh& out);

  // Swaps the first and third index of every triangle, then calls Update.
  void FlipPoly();
  // Flips the sign of every vertex normal component (0.0 becomes -0.0).
  void FlipNormals();

  // Merges vertices closer than max(tolerance, 1e-6) per axis through an open-addressed hash
  // table; the first vertex of a cluster wins. Then calls Update.
  void Weld(double tolerance);
  // Splits every triangle in four at its edge midpoints, then welds.
  void Subdivide();

  // Writes the moved mesh to `out` (which may be this mesh) and remembers `matrix` there.
  void Transform(const ORT_Matrix4& matrix, KLY_Mesh* out) const;
  // As Transform for positions only; normals are copied. `out` must not be this mesh.
  void Project(const ORT_Matrix4& matrix, KLY_Mesh& out) const;
  bool DoesMeshTransformEqual(const ORT_Matrix4& matrix);

  // Cuts `mesh` by `plane` into its front (positive) and back sides.
  static void SplitMesh(const KLY_Mesh& mesh, const ORT_PlaneEq& plane, KLY_Mesh& front,
                        KLY_Mesh& back);
  // Cuts `mesh`, placed by `mesh_matrix`, by the plane of `rectangle` placed by
  // `rectangle_matrix`; the outputs lie in the mesh's own space.
  static void SplitMesh(const KLY_Mesh& mesh, const ORT_Matrix4& mesh_matrix,
                        const KLY_Rectangle& rectangle, const ORT_Matrix4& rectangle_matrix,
                        KLY_Mesh& front, KLY_Mesh& back);
  // Whether the boxes of the placed mesh and the placed rectangle overlap.
  static bool DoesMeshOverlapRectangle(const KLY_Mesh& mesh, const ORT_Matrix4& mesh_matrix,
                                       const KLY_Rectangle& rectangle,
                                       ORT_Matrix4 rectangle_matrix);

 protected:
  // Stores the unit face normal of a triangle; 4363 for a degenerate one.
  void ComputeFaceNormal(uint32_t triangle);

 private:
  // Render options, bounds, flags, type, materials, facet and transform; not the geometry.
  void CopyAllButGeometryTo(KLY_Mesh& out) const;
  // Writes this mesh, each vertex moved by `move`, into `out` with fresh bounds and face
  // normals, and remembers `matrix` there.
  template <class MoveVertex>
  void WriteMovedMesh(const ORT_Matrix4& matrix, KLY_Mesh& out, MoveVertex move) const;

 protected:
  std::vector<KLY_Vertex> vertices;
  std::vector<KLY_Triangle> triangles;
  bool facet = false;
  std::vector<KLY_Material> materials;
  ORT_Matrix4 transform;
};

// The face normal of corners p0, p1, p2 by the library's winding: unit (p2 - p0) x (p1 - p0);
// 4363 for a degenerate triangle.
ORT_Vector3T<double> KLY_FaceNormal(const ORT_Vector3T<double>& p0, const ORT_Vector3T<double>& p1,
                                    const ORT_Vector3T<double>& p2);

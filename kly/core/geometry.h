// The abstract base of everything that yields triangles, and the array protocol by which a
// caller walks a geometry without knowing its class.
#pragma once

#include <cstdint>

#include "kly/core/bounds.h"
#include "kly/core/records.h"

// Geometry type numbers, set by each class's constructor.
enum KLY_GeometryType : uint32_t {
  KLY_kTypeMesh = 0,
  KLY_kTypeSizedMesh = 1,
  KLY_kTypeSphere = 2,
  KLY_kTypeCube = 3,
  KLY_kTypeCylinder = 4,
  KLY_kTypeExtrusion = 5,
  KLY_kTypePlane = 6,
  KLY_kTypeLetter = 7,
  KLY_kTypeText = 8,
  KLY_kTypeVectorArt = 9,
  KLY_kTypeVectorArtCollection = 10,
};

class KLY_Geometry {
 public:
  KLY_Geometry() = default;
  KLY_Geometry(const KLY_Geometry&) = default;
  KLY_Geometry& operator=(const KLY_Geometry&) = default;

  // Brings the geometry into line with its parameters: builds if dirty, then recomputes
  // bounds (and face normals of a faceted mesh), then clears dirty. A failure leaves dirty set.
  virtual void Update() = 0;
  virtual void GetRenderOptions(KLY_RenderOptions& out) const { out = render_options; }
  virtual void SetRenderOptions(const KLY_RenderOptions& options) { render_options = options; }
  virtual bool HasArray() = 0;
  virtual KLY_Geometry* GetArrayElement(uint32_t index) = 0;
  virtual uint32_t GetNumberOfArrayElements() = 0;
  // `out` must really be a KLY_Mesh; it receives one mesh with the whole geometry.
  virtual void CollapseArrayToSingleElement(KLY_Geometry* out) const = 0;
  virtual uint32_t GetTotalNumberOfPrimitives() = 0;

  // Does not look at dirty.
  void GetLocalBounds(KLY_Bounds& out) const { out = local_bounds; }
  void GetGeometryType(uint32_t& out) const { out = geometry_type; }
  void SetGeometryType(uint32_t type) { geometry_type = type; }
  bool ClosedTwoManifold() { return closed_two_manifold; }

 protected:
  // No virtual destructor here on purpose: it enters with KLY_Mesh and the collections, so
  // an object is destroyed through its most derived type or a shared_ptr made with it.
  ~KLY_Geometry() = default;

  void SetClosedTwoManifold(bool closed) { closed_two_manifold = closed; }

  KLY_RenderOptions render_options;
  KLY_Bounds local_bounds;
  bool dirty = false;
  uint32_t geometry_type = KLY_kTypeMesh;
  bool closed_two_manifold = false;
};

// KLY: 3D geometry from outlines, parametric solids, mesh operations and a geometry cache.
// The one header for users of the library.
#pragma once

#include "kly/cache/geometry_cache.h"
#include "kly/core/bounds.h"
#include "kly/core/geometry.h"
#include "kly/core/records.h"
#include "kly/curves/contour.h"
#include "kly/curves/cubic_bezier_curve.h"
#include "kly/curves/cubic_bezier_patch.h"
#include "kly/extrusion/extrusion.h"
#include "kly/host/guid.h"
#include "kly/host/ort.h"
#include "kly/host/services.h"
#include "kly/host/spn.h"
#include "kly/mesh/mesh.h"
#include "kly/package/failure.h"
#include "kly/package/package.h"
#include "kly/solids/cube.h"
#include "kly/solids/cylinder.h"
#include "kly/solids/plane.h"
#include "kly/solids/sphere.h"

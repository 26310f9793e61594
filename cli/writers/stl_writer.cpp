#include "cli/writers/stl_writer.h"

#include <cmath>
#include <string>

#include "cli/writers/binary_output.h"

namespace kly {
namespace cli {

namespace {

constexpr size_t kHeaderSize = 80;

// Counter-clockwise corners give the outward normal by the right-hand rule. A degenerate
// triangle gets (0, 0, 0), which STL readers take as "compute it yourself".
ORT_Vector3T<double> OutwardNormal(const ORT_Vector3T<double>& p0, const ORT_Vector3T<double>& p1,
                                   const ORT_Vector3T<double>& p2) {
  const ORT_Vector3T<double> a = p1 - p0;
  const ORT_Vector3T<double> b = p2 - p0;
  ORT_Vector3T<double> n{a.y * b.z - a.z * b.y, a.z * b.x - a.x * b.z, a.x * b.y - a.y * b.x};
  const double length = std::sqrt(n.x * n.x + n.y * n.y + n.z * n.z);
  if (!(length > 0.0) || !std::isfinite(length)) return ORT_Vector3T<double>{0.0, 0.0, 0.0};
  return n * (1.0 / length);
}

}  // namespace

void WriteStl(const ExportMesh& mesh, std::ostream& out) {
  BinaryOutput bytes(out);
  // Not "solid ...": readers take a header that starts so for the text form.
  std::string header = "kly " + mesh.Name() + ": +Y up, +Z toward the viewer";
  header.resize(kHeaderSize, ' ');
  bytes.Text(header);
  bytes.U32(mesh.TriangleCount());
  for (const ExportMesh::Group& group : mesh.Groups()) {
    for (size_t i = 0; i < group.indices.size(); i += 3) {
      const ORT_Vector3T<double> p[3] = {mesh.Position(group.indices[i]),
                                         mesh.Position(group.indices[i + 1]),
                                         mesh.Position(group.indices[i + 2])};
      const ORT_Vector3T<double> n = OutwardNormal(p[0], p[1], p[2]);
      bytes.F32(n.x);
      bytes.F32(n.y);
      bytes.F32(n.z);
      for (const ORT_Vector3T<double>& corner : p) {
        bytes.F32(corner.x);
        bytes.F32(corner.y);
        bytes.F32(corner.z);
      }
      bytes.U16(0);
    }
  }
}

}  // namespace cli
}  // namespace kly

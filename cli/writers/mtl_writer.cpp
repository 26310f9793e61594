#include "cli/writers/mtl_writer.h"

#include <cmath>

#include "cli/writers/text_output.h"

namespace kly {
namespace cli {

namespace {

// OBJ viewers show Kd as it stands, on the display's sRGB scale, where glTF's colour factors
// are linear: Kd gets the colour back as it was given (#RRGGBB / 255).
float ToSrgb(float linear) {
  const double c = linear;
  return FileFloat(c <= 0.0031308 ? 12.92 * c : 1.055 * std::pow(c, 1.0 / 2.4) - 0.055);
}

}  // namespace

void WriteMtl(const ExportMesh& mesh, std::ostream& out) {
  TextOutput text(out);
  text << "# materials of " << mesh.Name() << ", written by kly";
  text.EndLine();
  for (const ExportMesh::Material& material : mesh.Materials()) {
    text.EndLine();
    text << "newmtl " << material.name;
    text.EndLine();
    text << "Kd";
    text.Floats(Float3{ToSrgb(material.rgb[0]), ToSrgb(material.rgb[1]), ToSrgb(material.rgb[2])})
        .EndLine();
    // Matte and opaque, as the .glb's materials: no specular highlight, illumination model 1.
    text << "Ks 0 0 0";
    text.EndLine();
    text << "d 1";
    text.EndLine();
    text << "illum 1";
    text.EndLine();
  }
}

}  // namespace cli
}  // namespace kly

// How a mesh is written: the format, text or binary, which normals, and material colours. The
// command line fills this from its options; the writers read it and nothing else.
#pragma once

#include <string>
#include <vector>

namespace kly {
namespace cli {

enum class MeshFormat { kGlb, kObj, kStl, kPly };

enum class NormalMode {
  kLibrary,  // the library's own vertex normals, repaired where they cannot be written
  kSmooth,   // area-weighted over welded positions, split at creases
  kFlat,     // each triangle's face normal
};

// A colour for one material slot, by the slot's name as `--help` lists it.
struct SlotColor {
  std::string slot;
  float rgb[3];  // linear 0..1, from #RRGGBB
};

struct WriteOptions {
  MeshFormat format = MeshFormat::kGlb;
  // ASCII STL and PLY instead of binary; the other formats ignore it.
  bool ascii = false;
  NormalMode normals = NormalMode::kLibrary;
  // Under kSmooth, faces meeting at more than this keep their own normals along the edge.
  double crease_degrees = 60.0;
  std::vector<SlotColor> colors;
};

}  // namespace cli
}  // namespace kly

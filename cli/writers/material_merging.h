// Which materials a file holds: one for each distinct colour among the material slots that have
// triangles. The library's material records hold a host renderer's values with no meaning in
// the files, so a slot's written material is its colour alone, and slots of the same colour
// share one material (and, in a .glb, one primitive).
#pragma once

#include <cstdint>
#include <string>
#include <vector>

#include "cli/writers/file_numbers.h"
#include "cli/writers/write_options.h"

namespace kly {
namespace cli {

// The colour of a slot that options do not colour: a light grey (linear 0.8).
constexpr Float3 kDefaultColor = {0.8f, 0.8f, 0.8f};

struct WrittenMaterial {
  // The slot's name, or the distinct names of the slots it serves joined by '+' ("front+back";
  // slots of one name in several parts of a mesh name it once). Unique: a later material that
  // would repeat a name gets "_2", "_3" after it.
  std::string name;
  Float3 rgb;  // linear
};

struct MaterialPlan {
  // In the order of their first slots.
  std::vector<WrittenMaterial> materials;
  // The material of each slot; kNoMaterial for a slot without triangles.
  std::vector<uint32_t> of_slot;
};

constexpr uint32_t kNoMaterial = UINT32_MAX;

// `slot_names` and `slot_used` have one entry a slot. A colour names its slot exactly; where a
// slot is named twice, the last colour wins. A slot no colour names takes its entry of
// `own_colors` (the colour its part of the mesh has of itself), or kDefaultColor past them.
MaterialPlan MergeMaterials(const std::vector<std::string>& slot_names,
                            const std::vector<bool>& slot_used,
                            const std::vector<SlotColor>& colors,
                            const std::vector<Float3>& own_colors = {});

}  // namespace cli
}  // namespace kly

#include "cli/writers/material_merging.h"

#include <map>

namespace kly {
namespace cli {

namespace {

Float3 SlotColorOf(const std::string& slot, const std::vector<SlotColor>& colors,
                   const Float3& own_color) {
  Float3 rgb = own_color;
  for (const SlotColor& color : colors) {
    if (color.slot == slot) rgb = {color.rgb[0], color.rgb[1], color.rgb[2]};
  }
  return rgb;
}

// Whether `name`, slot names joined by '+', has `slot` among them.
bool NamesSlot(const std::string& name, const std::string& slot) {
  return ("+" + name + "+").find("+" + slot + "+") != std::string::npos;
}

// Parts of a mesh that name their slots alike (the shapes of a drawing) make materials of
// different colours with one name, and OBJ tells materials by name: the second gets "_2".
void NumberRepeatedNames(std::vector<WrittenMaterial>& materials) {
  std::map<std::string, int> seen;
  for (WrittenMaterial& material : materials) {
    const int count = ++seen[material.name];
    if (count > 1) material.name += "_" + std::to_string(count);
  }
}

}  // namespace

MaterialPlan MergeMaterials(const std::vector<std::string>& slot_names,
                            const std::vector<bool>& slot_used,
                            const std::vector<SlotColor>& colors,
                            const std::vector<Float3>& own_colors) {
  MaterialPlan plan;
  plan.of_slot.assign(slot_names.size(), kNoMaterial);
  for (size_t slot = 0; slot < slot_names.size(); ++slot) {
    if (!slot_used[slot]) continue;
    const Float3 rgb = SlotColorOf(slot_names[slot], colors,
                                   slot < own_colors.size() ? own_colors[slot] : kDefaultColor);
    uint32_t material = 0;
    while (material < plan.materials.size() && plan.materials[material].rgb != rgb) ++material;
    if (material == plan.materials.size()) {
      plan.materials.push_back(WrittenMaterial{slot_names[slot], rgb});
    } else if (!NamesSlot(plan.materials[material].name, slot_names[slot])) {
      plan.materials[material].name += "+" + slot_names[slot];
    }
    plan.of_slot[slot] = material;
  }
  NumberRepeatedNames(plan.materials);
  return plan;
}

}  // namespace cli
}  // namespace kly

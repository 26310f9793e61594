#include "cli/writers/material_merging.h"

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
  return plan;
}

}  // namespace cli
}  // namespace kly

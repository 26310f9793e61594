#include "cli/writers/material_merging.h"

namespace kly {
namespace cli {

namespace {

Float3 SlotColorOf(const std::string& slot, const std::vector<SlotColor>& colors) {
  Float3 rgb = kDefaultColor;
  for (const SlotColor& color : colors) {
    if (color.slot == slot) rgb = {color.rgb[0], color.rgb[1], color.rgb[2]};
  }
  return rgb;
}

}  // namespace

MaterialPlan MergeMaterials(const std::vector<std::string>& slot_names,
                            const std::vector<bool>& slot_used,
                            const std::vector<SlotColor>& colors) {
  MaterialPlan plan;
  plan.of_slot.assign(slot_names.size(), kNoMaterial);
  for (size_t slot = 0; slot < slot_names.size(); ++slot) {
    if (!slot_used[slot]) continue;
    const Float3 rgb = SlotColorOf(slot_names[slot], colors);
    uint32_t material = 0;
    while (material < plan.materials.size() && plan.materials[material].rgb != rgb) ++material;
    if (material == plan.materials.size()) {
      plan.materials.push_back(WrittenMaterial{slot_names[slot], rgb});
    } else {
      plan.materials[material].name += "+" + slot_names[slot];
    }
    plan.of_slot[slot] = material;
  }
  return plan;
}

}  // namespace cli
}  // namespace kly

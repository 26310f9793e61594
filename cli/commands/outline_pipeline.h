// What the commands that extrude outlines (text, svg) do once their collection of elements is
// filled and its parameters set: build every element, melt them into one mesh scaled from the
// units they were built in to the output's, and write it as a solid command writes its solid.
#pragma once

#include "cli/commands/solid_pipeline.h"
#include "kly/core/geometry.h"

namespace kly {
namespace cli {

// `output_per_build` is the size in output units of one unit the collection is built in.
void RunOutlines(KLY_Geometry& collection, double output_per_build, const SolidJob& job,
                 SolidOptions& options);

}  // namespace cli
}  // namespace kly

// A .glb read from the glTF 2.0 container rules alone (header, chunks, accessors), without the
// glTF library the writer uses, so that both cannot share a misreading. Every rule broken is a
// test failure; what could be read comes back as a mesh, each primitive's indices made global.
#pragma once

#include <string>

#include "tests/testing/mesh_files.h"

namespace kly {
namespace testing {

ReadMesh ReadGlbLayout(const std::string& bytes);

}  // namespace testing
}  // namespace kly

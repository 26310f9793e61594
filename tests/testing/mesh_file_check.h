// Checks a mesh file the command line wrote against its format and the promises every file
// keeps: all numbers finite, every normal of unit length, every index in range, counts that
// agree, an .obj's material library beside it. It reads with the test readers, never with the
// writers' code. Every broken rule is a test failure.
#pragma once

#include <cstddef>
#include <filesystem>
#include <string>

namespace kly {
namespace testing {

struct WrittenFile {
  std::string bytes;
  std::string extension;  // ".glb", ".obj", ".stl" or ".ply"
  bool ascii = false;     // STL and PLY written as text
  // Where the file lies, for an .obj's `mtllib`; empty for standard output, which has none.
  std::filesystem::path folder;
};

// The file's triangle count, once checked.
size_t CheckMeshFile(const WrittenFile& file);

}  // namespace testing
}  // namespace kly

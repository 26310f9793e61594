// Where a path given as an output really writes, and whether it may: a symbolic link is
// followed to the file it names, and an existing file must be a regular file its user may write.
#pragma once

#include <string>

#include <sys/types.h>

namespace kly {
namespace cli {

struct WriteTarget {
  // The end of the path's chain of symbolic links (the path itself when it is no link), split
  // into its folder ("out/", or "" for the current folder) and its name.
  std::string path;
  std::string folder;
  std::string name;
  bool exists = false;
  // The permissions of an existing file.
  mode_t mode = 0;
};

// Throws std::runtime_error with the reason when the path cannot be written: a folder, a device
// or other special file, a read-only file, a link chain that does not end, no file name.
WriteTarget FindWriteTarget(const std::string& path);

}  // namespace cli
}  // namespace kly

#include "cli/writers/write_target.h"

#include <cerrno>
#include <cstring>
#include <stdexcept>
#include <vector>

#include <limits.h>
#include <sys/stat.h>
#include <unistd.h>

namespace kly {
namespace cli {

namespace {

// As the system's own limit on links followed in one path (Linux's MAXSYMLINKS).
constexpr int kMostLinks = 40;

std::string FolderOf(const std::string& path) {
  const size_t slash = path.rfind('/');
  return slash == std::string::npos ? "" : path.substr(0, slash + 1);
}

std::string LinkText(const std::string& link) {
  std::vector<char> buffer(PATH_MAX);
  const ssize_t size = readlink(link.c_str(), buffer.data(), buffer.size());
  if (size < 0) throw std::runtime_error(std::strerror(errno));
  return std::string(buffer.data(), static_cast<size_t>(size));
}

// Follows `path` while it is a symbolic link; the end may not exist yet (a dangling link names
// the file to create).
std::string FollowLinks(const std::string& path) {
  std::string current = path;
  for (int links = 0; links <= kMostLinks; ++links) {
    struct stat info;
    if (lstat(current.c_str(), &info) != 0 || !S_ISLNK(info.st_mode)) return current;
    const std::string text = LinkText(current);
    current = !text.empty() && text[0] == '/' ? text : FolderOf(current) + text;
  }
  throw std::runtime_error(std::strerror(ELOOP));
}

// Whether anyone may write the file, and this user in particular. The superuser passes any
// access check, so the permission bits are asked too: a file nobody may write is read-only to
// every user, as other tools treat it.
bool Writable(const std::string& path, const struct stat& info) {
  const mode_t any_write = S_IWUSR | S_IWGRP | S_IWOTH;
  return (info.st_mode & any_write) != 0 && access(path.c_str(), W_OK) == 0;
}

}  // namespace

WriteTarget FindWriteTarget(const std::string& path) {
  WriteTarget target;
  target.path = FollowLinks(path);
  target.folder = FolderOf(target.path);
  target.name = target.path.substr(target.folder.size());
  if (target.name.empty()) throw std::runtime_error("no file name");
  struct stat info;
  if (stat(target.path.c_str(), &info) != 0) return target;
  if (S_ISDIR(info.st_mode)) throw std::runtime_error("it is a folder");
  if (!S_ISREG(info.st_mode)) throw std::runtime_error("it is not a regular file");
  if (!Writable(target.path, info)) throw std::runtime_error("the file is read-only");
  target.exists = true;
  target.mode = info.st_mode & 07777;
  return target;
}

}  // namespace cli
}  // namespace kly

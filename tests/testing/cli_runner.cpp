#include "tests/testing/cli_runner.h"

#include <algorithm>

#include <fcntl.h>
#include <stdlib.h>
#include <sys/resource.h>
#include <sys/wait.h>
#include <unistd.h>

#include "tests/testing/mesh_files.h"

namespace kly {
namespace testing {

namespace fs = std::filesystem;

void CliFixture::SetUp() {
  std::string pattern = (fs::temp_directory_path() / "kly_cli_XXXXXX").string();
  ASSERT_NE(mkdtemp(pattern.data()), nullptr);
  root_ = pattern;
  work_ = root_ / "work";
  fs::create_directory(work_);
}

void CliFixture::TearDown() {
  // A test may leave read-only folders behind; the superuser removes them anyway, anyone else
  // needs the permissions back. Links are left alone (a dangling one has nothing to change).
  std::error_code ignored;
  for (const auto& entry : fs::recursive_directory_iterator(root_, ignored)) {
    if (entry.is_directory(ignored) && !entry.is_symlink(ignored)) {
      fs::permissions(entry.path(), fs::perms::owner_all, fs::perm_options::add, ignored);
    }
  }
  fs::remove_all(root_);
}

pid_t CliFixture::Start(const std::vector<std::string>& args, long file_size_limit) {
  const fs::path out = root_ / "stdout";
  const fs::path err = root_ / "stderr";
  const pid_t child = fork();
  if (child == 0) {
    const int out_fd = open(out.c_str(), O_WRONLY | O_CREAT | O_TRUNC, 0644);
    const int err_fd = open(err.c_str(), O_WRONLY | O_CREAT | O_TRUNC, 0644);
    if (out_fd < 0 || err_fd < 0 || dup2(out_fd, 1) < 0 || dup2(err_fd, 2) < 0 ||
        chdir(work_.c_str()) != 0) {
      _exit(127);
    }
    if (file_size_limit >= 0) {
      const rlimit limit{static_cast<rlim_t>(file_size_limit),
                         static_cast<rlim_t>(file_size_limit)};
      if (setrlimit(RLIMIT_FSIZE, &limit) != 0) _exit(127);
    }
    std::vector<char*> argv;
    argv.push_back(const_cast<char*>(KLY_CLI_PATH));
    for (const std::string& arg : args) argv.push_back(const_cast<char*>(arg.c_str()));
    argv.push_back(nullptr);
    execv(KLY_CLI_PATH, argv.data());
    _exit(127);
  }
  return child;
}

Outcome CliFixture::Finish(pid_t child) {
  int status = 0;
  waitpid(child, &status, 0);
  return Outcome{WIFEXITED(status) ? WEXITSTATUS(status) : 128 + WTERMSIG(status),
                 FileContents((root_ / "stdout").string()),
                 FileContents((root_ / "stderr").string())};
}

std::vector<std::string> CliFixture::Entries() const {
  std::vector<std::string> names;
  for (const auto& entry : fs::directory_iterator(work_)) {
    names.push_back(entry.path().filename().string());
  }
  std::sort(names.begin(), names.end());
  return names;
}

std::string CliFixture::Contents(const std::string& name) const {
  return FileContents((work_ / name).string());
}

std::string Joined(const std::vector<std::string>& args) {
  std::string joined;
  for (const std::string& arg : args) joined += (joined.empty() ? "" : " ") + arg;
  return joined;
}

}  // namespace testing
}  // namespace kly

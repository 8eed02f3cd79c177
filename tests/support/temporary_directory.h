// A directory of a test's own on the real disk, removed with all that is in it.
#pragma once

#include <filesystem>
#include <string>
#include <string_view>
#include <system_error>

#include <stdlib.h>

#include "base/result.h"

namespace quillbox {

// Where tests work that care for what is written and when, not whether a disk keeps it: in memory where that
// can be.
inline std::filesystem::path memoryOrTemporaryDirectory() {
  const std::filesystem::path memory = "/dev/shm";
  return std::filesystem::exists(memory) ? memory : std::filesystem::temp_directory_path();
}

class TemporaryDirectory {
 public:
  explicit TemporaryDirectory(const std::filesystem::path& parent = std::filesystem::temp_directory_path()) {
    std::string pattern = (parent / "quillbox-test-XXXXXX").string();
    if (::mkdtemp(pattern.data()) == nullptr) fatal("no temporary directory in " + parent.string());
    path_ = pattern;
  }
  ~TemporaryDirectory() {
    std::error_code error;
    std::filesystem::remove_all(path_, error);
  }
  TemporaryDirectory(const TemporaryDirectory&) = delete;
  TemporaryDirectory& operator=(const TemporaryDirectory&) = delete;

  const std::filesystem::path& path() const { return path_; }
  std::filesystem::path operator/(std::string_view name) const { return path_ / name; }

 private:
  std::filesystem::path path_;
};

}  // namespace quillbox

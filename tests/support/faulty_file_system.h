// A file system that fails, or stops the program, at a step that the test chooses.
#pragma once

#include <cstdint>
#include <functional>
#include <limits>
#include <memory>
#include <mutex>
#include <optional>
#include <string>
#include <vector>

#include "platform/file_system.h"

namespace quillbox {

// Passes everything on to the file system behind it and counts the steps that change the disk: create, write,
// sync, rename, remove, removeDirectory, makeDirectory, syncDirectory, setModified, setPermissions. The first
// step is 1. Any thread.
//
//   for (int step = 1;; ++step) {
//     MemoryFileSystem disk = sampleStore();
//     FaultyFileSystem files(disk);
//     files.crashAtStep(step);
//     doTheWork(files);
//     if (!files.crashed()) break;   // it needs fewer steps than that
//     restartAndCompare(disk);
//   }
class FaultyFileSystem final : public FileSystem {
 public:
  struct Step {
    std::string operation;  // as named above; "lock" and reads are not steps
    Path path;
    Path to;  // of a rename
  };

  enum class Torn {
    no,   // the step at which the program stops leaves nothing behind
    half  // if it is a write, its first half reached the disk
  };

  explicit FaultyFileSystem(FileSystem& inner) : inner_(inner) {}

  // The step with this number fails with `number` (an errno) and changes nothing, except that a failing write
  // leaves its first half, as a full disk does. Later steps work.
  void failStep(std::uint64_t step, int number);
  // That step and everything after it, reads and locks included, fails with EIO and reaches nothing.
  void crashAtStep(std::uint64_t step, Torn torn = Torn::no);
  // Asked before every step; a number makes the step fail with that errno.
  void failWhen(std::function<std::optional<int>(const Step&)> rule);
  // Called before every step, without any lock held: another program's doings between two of ours.
  void beforeStep(std::function<void(const Step&)> action);
  // Reads fail: asked with "read", "readRange", "info", "list" or "readLink" and the path.
  void failReadsWhen(std::function<std::optional<int>(const Step&)> rule);
  // readRange() gives at most this many bytes a call.
  void setShortReads(std::uint64_t bytes);
  // Counting starts again; the plans above are forgotten, and so is a crash.
  void reset();

  std::uint64_t steps() const;
  bool crashed() const;
  std::vector<Step> trace() const;

  Result<std::string> read(const Path& path, std::uint64_t limit = UINT64_MAX) override;
  Result<std::string> readRange(const Path& path, std::uint64_t offset, std::uint64_t length) override;
  Result<FileInfo> info(const Path& path, FollowLinks follow = FollowLinks::yes) override;
  Result<void> list(const Path& directory,
                    const std::function<bool(std::string_view name, FileKind kind)>& each) override;
  Result<Path> readLink(const Path& path) override;
  Result<std::unique_ptr<WritableFile>> create(const Path& path, CreateMode mode,
                                               std::uint32_t permissions) override;
  Result<void> renameNoReplace(const Path& from, const Path& to) override;
  Result<void> renameReplacing(const Path& from, const Path& to) override;
  Result<void> remove(const Path& path) override;
  Result<void> removeDirectory(const Path& path) override;
  Result<void> makeDirectory(const Path& path, std::uint32_t permissions) override;
  Result<void> syncDirectory(const Path& path) override;
  Result<void> setModified(const Path& path, std::chrono::nanoseconds modified) override;
  Result<void> setPermissions(const Path& path, std::uint32_t permissions) override;
  Result<std::unique_ptr<FileLock>> lock(const Path& path, std::chrono::milliseconds wait) override;

 private:
  class File;
  enum class Fate { go, fail, failHalfWritten };
  struct Verdict {
    Fate fate = Fate::go;
    int number = 0;
  };

  Verdict step(const Step& step);
  Result<void> reading(const Step& step);
  Result<void> change(const Step& step, const std::function<Result<void>()>& act);

  FileSystem& inner_;
  mutable std::mutex mutex_;
  std::uint64_t count_ = 0;
  std::uint64_t failAt_ = 0;
  int failNumber_ = 0;
  std::uint64_t crashAt_ = 0;
  Torn torn_ = Torn::no;
  bool crashed_ = false;
  std::uint64_t shortReads_ = std::numeric_limits<std::uint64_t>::max();
  std::function<std::optional<int>(const Step&)> rule_;
  std::function<std::optional<int>(const Step&)> readRule_;
  std::function<void(const Step&)> before_;
  std::vector<Step> trace_;
};

}  // namespace quillbox

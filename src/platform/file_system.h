// The file system, as small durable steps. Everything that changes the disk passes here, so that tests can
// fail or stop the program after any one step.
#pragma once

#include <chrono>
#include <cstdint>
#include <filesystem>
#include <functional>
#include <memory>
#include <string>
#include <string_view>

#include "base/result.h"

namespace quillbox {

// A path as the host writes it: bytes on Linux, not necessarily UTF-8. Used as a value only;
// std::filesystem's functions that touch the disk are for host/ alone.
using Path = std::filesystem::path;

enum class FileKind { regular, directory, symbolicLink, other };
enum class FollowLinks { no, yes };

struct FileInfo {
  FileKind kind = FileKind::regular;
  std::uint64_t size = 0;                // bytes
  std::chrono::nanoseconds modified{0};  // since 1970-01-01 UTC
  std::uint64_t device = 0;
  std::uint64_t inode = 0;
  std::uint32_t permissions = 0;  // the low twelve mode bits
};

// A file open for writing at its end. Destroying it closes it without an fsync; an error then is lost, so a
// caller who cares calls close().
class WritableFile {
 public:
  virtual ~WritableFile() = default;
  virtual Result<void> write(std::string_view bytes) = 0;  // all of them, or an error
  virtual Result<void> sync() = 0;                         // fsync
  virtual Result<void> close() = 0;                        // once; later calls do nothing
};

// An exclusive advisory lock between processes and threads; given up when destroyed.
class FileLock {
 public:
  virtual ~FileLock() = default;
};

enum class CreateMode {
  exclusive,  // fails with EEXIST
  append,     // makes the file when it is not there
};

// Any thread. An error's number is the errno value (ENOENT, EEXIST, EXDEV, ENOSPC ...) and its message names
// the operation, the path and the reason: "Can’t rename /a/b to /a/c: No space left on device". Every
// function that changes the disk is one step: it happened or it did not.
class FileSystem {
 public:
  virtual ~FileSystem() = default;

  // The whole file. `limit`, in bytes, fails with EFBIG when the file is larger.
  virtual Result<std::string> read(const Path& path, std::uint64_t limit = UINT64_MAX) = 0;
  // Up to `length` bytes from `offset`; shorter at the end of the file.
  virtual Result<std::string> readRange(const Path& path, std::uint64_t offset, std::uint64_t length) = 0;
  virtual Result<FileInfo> info(const Path& path, FollowLinks follow = FollowLinks::yes) = 0;
  // Calls `each` with every name but "." and "..", in no particular order, and the kind where the directory
  // itself tells it (symbolic links not followed); stops early when `each` returns false.
  virtual Result<void> list(const Path& directory,
                            const std::function<bool(std::string_view name, FileKind kind)>& each) = 0;
  // The text of a symbolic link.
  virtual Result<Path> readLink(const Path& path) = 0;

  virtual Result<std::unique_ptr<WritableFile>> create(const Path& path, CreateMode mode,
                                                       std::uint32_t permissions) = 0;
  // Fails with EEXIST when `to` is there, EXDEV across file systems.
  virtual Result<void> renameNoReplace(const Path& from, const Path& to) = 0;
  // The same two with paths as the host writes them, for what is done once for each of many messages: taking
  // a path apart costs as much as the step itself.
  virtual Result<FileInfo> infoAt(const std::string& path, FollowLinks follow) {
    return info(Path(path), follow);
  }
  virtual Result<void> renameNoReplaceAt(const std::string& from, const std::string& to) {
    return renameNoReplace(Path(from), Path(to));
  }
  // Atomically takes the place of `to`. Only for files of our own; never for a message.
  virtual Result<void> renameReplacing(const Path& from, const Path& to) = 0;
  virtual Result<void> remove(const Path& path) = 0;           // a file or a link
  virtual Result<void> removeDirectory(const Path& path) = 0;  // an empty one
  virtual Result<void> makeDirectory(const Path& path,
                                     std::uint32_t permissions) = 0;  // EEXIST when it is there
  virtual Result<void> syncDirectory(const Path& path) = 0;           // fsync of the directory itself
  virtual Result<void> setModified(const Path& path, std::chrono::nanoseconds modified) = 0;
  virtual Result<void> setPermissions(const Path& path, std::uint32_t permissions) = 0;

  // Waits up to `wait` for the lock on `path`, a file that is made when missing and never removed. ETIMEDOUT
  // when someone else kept it that long.
  virtual Result<std::unique_ptr<FileLock>> lock(const Path& path, std::chrono::milliseconds wait) = 0;
};

// Makes `directory` and whatever of its parents is missing, with `permissions`.
Result<void> makeDirectories(FileSystem& files, const Path& directory, std::uint32_t permissions);

// Writes the whole of `bytes` to a sibling of `path` named after `uniqueSuffix`, syncs it, renames it over
// `path` and syncs the directory. After a crash `path` holds the old bytes or the new ones.
Result<void> writeAtomically(FileSystem& files, const Path& path, std::string_view bytes,
                             std::uint32_t permissions, std::string_view uniqueSuffix);

// Moves a file that does not decode out of the way, to the first free of NAME.damaged, NAME.damaged-2 ...
// Returns the new place.
Result<Path> keepDamagedFileAside(FileSystem& files, const Path& path);

}  // namespace quillbox

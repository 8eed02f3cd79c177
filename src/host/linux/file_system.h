// The file system of a Linux host.
#pragma once

#include "platform/file_system.h"

namespace quillbox {

class LinuxFileSystem final : public FileSystem {
 public:
  enum class ExclusiveRename {
    kernel,    // renameat2 with RENAME_NOREPLACE; where a file system does not know it, as below
    reserving  // first takes the name with an empty file or folder of our own, then renames over that
  };

  explicit LinuxFileSystem(ExclusiveRename rename = ExclusiveRename::kernel) : rename_(rename) {}

  // Regular files only: anything else fails (EISDIR, EINVAL) instead of waiting for a writer.
  Result<std::string> read(const Path& path, std::uint64_t limit = UINT64_MAX) override;
  Result<std::string> readRange(const Path& path, std::uint64_t offset, std::uint64_t length) override;
  Result<FileInfo> info(const Path& path, FollowLinks follow = FollowLinks::yes) override;
  Result<FileInfo> infoAt(const std::string& path, FollowLinks follow) override;
  Result<void> list(const Path& directory,
                    const std::function<bool(std::string_view name, FileKind kind)>& each) override;
  Result<Path> readLink(const Path& path) override;
  Result<std::unique_ptr<WritableFile>> create(const Path& path, CreateMode mode,
                                               std::uint32_t permissions) override;
  Result<void> renameNoReplace(const Path& from, const Path& to) override;
  Result<void> renameNoReplaceAt(const std::string& from, const std::string& to) override;
  Result<void> renameReplacing(const Path& from, const Path& to) override;
  Result<void> remove(const Path& path) override;
  Result<void> removeDirectory(const Path& path) override;
  Result<void> makeDirectory(const Path& path, std::uint32_t permissions) override;
  Result<void> syncDirectory(const Path& path) override;
  Result<void> setModified(const Path& path, std::chrono::nanoseconds modified) override;
  Result<void> setPermissions(const Path& path, std::uint32_t permissions) override;
  // flock() on the file; a holder that dies gives its lock up. Waits for the holder's close by inotify.
  Result<std::unique_ptr<FileLock>> lock(const Path& path, std::chrono::milliseconds wait) override;

 private:
  Result<void> renameOverReserved(const Path& from, const Path& to);

  ExclusiveRename rename_;
};

}  // namespace quillbox

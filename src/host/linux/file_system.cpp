#include "host/linux/file_system.h"

#include <algorithm>
#include <cerrno>
#include <cstring>
#include <memory>
#include <utility>

#include <dirent.h>
#include <fcntl.h>
#include <stdio.h>
#include <sys/stat.h>
#include <unistd.h>

#include "host/linux/file_descriptor.h"
#include "host/linux/system_error.h"

namespace quillbox {
namespace {

// O_NONBLOCK keeps a FIFO in the place of a file from holding us; regular files do not care.
constexpr int kReadFlags = O_RDONLY | O_CLOEXEC | O_NOCTTY | O_NONBLOCK;

FileKind kindOf(mode_t mode) {
  if (S_ISREG(mode)) return FileKind::regular;
  if (S_ISDIR(mode)) return FileKind::directory;
  if (S_ISLNK(mode)) return FileKind::symbolicLink;
  return FileKind::other;
}

// Nanoseconds in 64 bits hold 292 years. Times more than half of that away from 1970 (before 1824, after
// 2116) count as that half, so that the difference of any two of them fits too.
std::chrono::nanoseconds timeOf(const timespec& time) {
  constexpr auto furthest = std::chrono::nanoseconds::max() / 2;
  constexpr auto seconds = std::chrono::floor<std::chrono::seconds>(furthest).count() - 1;
  if (time.tv_sec > seconds) return furthest;
  if (time.tv_sec < -seconds) return -furthest;
  return std::chrono::seconds(time.tv_sec) + std::chrono::nanoseconds(time.tv_nsec);
}

FileInfo infoOf(const struct stat& status) {
  FileInfo info;
  info.kind = kindOf(status.st_mode);
  info.size = static_cast<std::uint64_t>(status.st_size);
  info.modified = timeOf(status.st_mtim);
  info.device = status.st_dev;
  info.inode = status.st_ino;
  info.permissions = status.st_mode & 07777U;
  return info;
}

Result<FileDescriptor> openForReading(const Path& path, std::uint64_t* size = nullptr) {
  FileDescriptor file(retrying([&] { return ::open(path.c_str(), kReadFlags); }));
  if (!file) return systemFailure("read", path, errno);
  struct stat status{};
  if (::fstat(file.get(), &status) != 0) return systemFailure("read", path, errno);
  if (S_ISDIR(status.st_mode)) return systemFailure("read", path, EISDIR);
  if (!S_ISREG(status.st_mode)) return systemFailure("read", path, EINVAL);
  if (size != nullptr) *size = static_cast<std::uint64_t>(status.st_size);
  return file;
}

class LinuxFile final : public WritableFile {
 public:
  LinuxFile(FileDescriptor file, Path path) : file_(std::move(file)), path_(std::move(path)) {}

  Result<void> write(std::string_view bytes) override {
    while (!bytes.empty()) {
      const ssize_t count = retrying([&] { return ::write(file_.get(), bytes.data(), bytes.size()); });
      if (count < 0) return systemFailure("write", path_, errno);
      bytes.remove_prefix(static_cast<std::size_t>(count));
    }
    return {};
  }
  Result<void> sync() override {
    if (retrying([&] { return ::fsync(file_.get()); }) != 0) return systemFailure("sync", path_, errno);
    return {};
  }
  Result<void> close() override {
    if (const int number = file_.close(); number != 0) return systemFailure("close", path_, number);
    return {};
  }

 private:
  FileDescriptor file_;
  Path path_;
};

}  // namespace

Result<std::string> LinuxFileSystem::read(const Path& path, std::uint64_t limit) {
  std::uint64_t size = 0;
  const auto file = openForReading(path, &size);
  if (!file) return forward(file);
  if (size > limit) return systemFailure("read", path, EFBIG);
  std::string bytes;
  // One byte more than the size shows the end without another turn; the file may grow meanwhile.
  std::size_t room = static_cast<std::size_t>(size) + 1;
  for (std::size_t filled = 0;;) {
    bytes.resize(filled + room);
    const ssize_t count = retrying([&] { return ::read(file->get(), bytes.data() + filled, room); });
    if (count < 0) return systemFailure("read", path, errno);
    filled += static_cast<std::size_t>(count);
    if (filled > limit) return systemFailure("read", path, EFBIG);
    if (count == 0) {
      bytes.resize(filled);
      return bytes;
    }
    room = std::max<std::size_t>(bytes.size() - filled, 4096);
  }
}

Result<std::string> LinuxFileSystem::readRange(const Path& path, std::uint64_t offset, std::uint64_t length) {
  std::uint64_t size = 0;
  const auto file = openForReading(path, &size);
  if (!file) return forward(file);
  std::string bytes;
  if (offset >= size) return bytes;
  bytes.resize(static_cast<std::size_t>(std::min(length, size - offset)));
  std::size_t filled = 0;
  while (filled < bytes.size()) {
    const ssize_t count = retrying([&] {
      return ::pread(file->get(), bytes.data() + filled, bytes.size() - filled,
                     static_cast<off_t>(offset + filled));
    });
    if (count < 0) return systemFailure("read", path, errno);
    if (count == 0) break;
    filled += static_cast<std::size_t>(count);
  }
  bytes.resize(filled);
  return bytes;
}

Result<FileInfo> LinuxFileSystem::info(const Path& path, FollowLinks follow) {
  return infoAt(path.native(), follow);
}

Result<FileInfo> LinuxFileSystem::infoAt(const std::string& path, FollowLinks follow) {
  struct stat status{};
  if (::fstatat(AT_FDCWD, path.c_str(), &status, follow == FollowLinks::yes ? 0 : AT_SYMLINK_NOFOLLOW) != 0)
    return systemFailure("examine", path, errno);
  return infoOf(status);
}

// Asks for the whole directory at once where it can: renames wait meanwhile, so that no file is seen under
// both of its names or under none. readdir() asks for 32 KB at a time, and files slip through between the
// pieces.
Result<void> LinuxFileSystem::list(const Path& directory,
                                   const std::function<bool(std::string_view, FileKind)>& each) {
  const FileDescriptor open(
      retrying([&] { return ::open(directory.c_str(), O_RDONLY | O_DIRECTORY | O_CLOEXEC | O_NONBLOCK); }));
  if (!open) return systemFailure("list", directory, errno);
  struct stat status{};
  if (::fstat(open.get(), &status) != 0) return systemFailure("list", directory, errno);
  // An entry takes more room here than in the directory, by a factor that depends on the file system.
  constexpr std::size_t least = std::size_t{64} << 10;
  constexpr std::size_t most = std::size_t{64} << 20;
  const auto room = std::clamp(static_cast<std::size_t>(std::max<off_t>(status.st_size, 0)) * 4, least, most);
  const auto buffer = std::make_unique_for_overwrite<char[]>(room);
  while (true) {
    const auto size = retrying([&] { return ::getdents64(open.get(), buffer.get(), room); });
    if (size < 0) return systemFailure("list", directory, errno);
    if (size == 0) return {};
    for (ssize_t at = 0; at < size;) {
      const auto* entry = reinterpret_cast<const dirent64*>(buffer.get() + at);
      at += entry->d_reclen;
      const std::string_view name = entry->d_name;
      if (name == "." || name == "..") continue;
      FileKind kind = FileKind::other;
      if (entry->d_type == DT_UNKNOWN) {
        // Gone already: it is not told of.
        if (::fstatat(open.get(), entry->d_name, &status, AT_SYMLINK_NOFOLLOW) != 0) continue;
        kind = kindOf(status.st_mode);
      } else if (entry->d_type == DT_REG) {
        kind = FileKind::regular;
      } else if (entry->d_type == DT_DIR) {
        kind = FileKind::directory;
      } else if (entry->d_type == DT_LNK) {
        kind = FileKind::symbolicLink;
      }
      if (!each(name, kind)) return {};
    }
  }
}

Result<Path> LinuxFileSystem::readLink(const Path& path) {
  std::string target(256, '\0');
  while (true) {
    const ssize_t count = ::readlink(path.c_str(), target.data(), target.size());
    if (count < 0) return systemFailure("read the link", path, errno);
    if (static_cast<std::size_t>(count) < target.size()) {
      target.resize(static_cast<std::size_t>(count));
      return Path(target);
    }
    target.resize(target.size() * 2);
  }
}

Result<std::unique_ptr<WritableFile>> LinuxFileSystem::create(const Path& path, CreateMode mode,
                                                              std::uint32_t permissions) {
  const int flags = O_WRONLY | O_CREAT | O_APPEND | O_CLOEXEC | O_NOCTTY | O_NONBLOCK |
                    (mode == CreateMode::exclusive ? O_EXCL : 0);
  FileDescriptor file(retrying([&] { return ::open(path.c_str(), flags, permissions); }));
  if (!file) return systemFailure("create", path, errno);
  return std::make_unique<LinuxFile>(std::move(file), path);
}

Result<void> LinuxFileSystem::renameNoReplace(const Path& from, const Path& to) {
  return renameNoReplaceAt(from.native(), to.native());
}

Result<void> LinuxFileSystem::renameNoReplaceAt(const std::string& from, const std::string& to) {
  if (rename_ == ExclusiveRename::reserving) return renameOverReserved(from, to);
  if (::renameat2(AT_FDCWD, from.c_str(), AT_FDCWD, to.c_str(), RENAME_NOREPLACE) == 0) return {};
  // EINVAL: this file system does not know the flag, or a folder would move below itself.
  if (errno == EINVAL || errno == ENOSYS) return renameOverReserved(from, to);
  return systemFailure("rename", from, to, errno);
}

// At every instant the thing stands whole under one of its names, and never under both.
Result<void> LinuxFileSystem::renameOverReserved(const Path& from, const Path& to) {
  struct stat source{};
  if (::lstat(from.c_str(), &source) != 0) return systemFailure("rename", from, to, errno);
  const bool directory = S_ISDIR(source.st_mode);
  if (directory) {
    if (::mkdir(to.c_str(), 0700) != 0) return systemFailure("rename", from, to, errno);
  } else {
    const FileDescriptor reserved(
        retrying([&] { return ::open(to.c_str(), O_WRONLY | O_CREAT | O_EXCL | O_CLOEXEC, 0600); }));
    if (!reserved) return systemFailure("rename", from, to, errno);
  }
  if (::rename(from.c_str(), to.c_str()) == 0) return {};
  const int reason = errno;
  (void)(directory ? ::rmdir(to.c_str()) : ::unlink(to.c_str()));
  return systemFailure("rename", from, to, reason);
}

Result<void> LinuxFileSystem::renameReplacing(const Path& from, const Path& to) {
  if (::rename(from.c_str(), to.c_str()) != 0) return systemFailure("rename", from, to, errno);
  return {};
}

Result<void> LinuxFileSystem::remove(const Path& path) {
  if (::unlink(path.c_str()) != 0) return systemFailure("remove", path, errno);
  return {};
}

Result<void> LinuxFileSystem::removeDirectory(const Path& path) {
  if (::rmdir(path.c_str()) != 0) return systemFailure("remove the folder", path, errno);
  return {};
}

Result<void> LinuxFileSystem::makeDirectory(const Path& path, std::uint32_t permissions) {
  if (::mkdir(path.c_str(), permissions) != 0) return systemFailure("make the folder", path, errno);
  return {};
}

Result<void> LinuxFileSystem::syncDirectory(const Path& path) {
  const FileDescriptor directory(
      retrying([&] { return ::open(path.c_str(), O_RDONLY | O_DIRECTORY | O_CLOEXEC); }));
  if (!directory) return systemFailure("sync the folder", path, errno);
  // EINVAL: this file system keeps its folders in order by itself.
  if (retrying([&] { return ::fsync(directory.get()); }) != 0 && errno != EINVAL)
    return systemFailure("sync the folder", path, errno);
  return {};
}

Result<void> LinuxFileSystem::setModified(const Path& path, std::chrono::nanoseconds modified) {
  const auto seconds = std::chrono::floor<std::chrono::seconds>(modified);
  const timespec times[2] = {
      {0, UTIME_OMIT},
      {static_cast<time_t>(seconds.count()), static_cast<long>((modified - seconds).count())}};
  if (::utimensat(AT_FDCWD, path.c_str(), times, 0) != 0)
    return systemFailure("set the time of", path, errno);
  return {};
}

Result<void> LinuxFileSystem::setPermissions(const Path& path, std::uint32_t permissions) {
  if (::chmod(path.c_str(), permissions) != 0) return systemFailure("set the permissions of", path, errno);
  return {};
}

}  // namespace quillbox

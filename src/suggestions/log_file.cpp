#include "suggestions/log_file.h"

#include <cerrno>
#include <chrono>

#include "base/bytes.h"

namespace quillbox {
namespace {

constexpr std::uint32_t kFilePermissions = 0600;
constexpr std::uint32_t kFolderPermissions = 0700;
constexpr std::chrono::milliseconds kLockWait{10'000};

}  // namespace

Path setUpLogFile(FileSystem& files, const Path& dataFolder, std::string_view name) {
  if (const auto made = makeDirectories(files, dataFolder, kFolderPermissions); !made) {
    fatal("Failed to set up log file URL: " + made.error().message);
  }
  return dataFolder / name;
}

Result<std::unique_ptr<FileLock>> LogFile::lock() {
  Path path = path_;
  path += ".lock";
  return files_.lock(path, kLockWait);
}

Result<std::uint64_t> LogFile::size() {
  const auto info = files_.info(path_);
  if (info) return info->size;
  if (info.error().number == ENOENT) return 0;
  return forward(info);
}

Result<std::string> LogFile::read() {
  auto bytes = files_.read(path_);
  if (!bytes && bytes.error().number == ENOENT) return std::string();
  return bytes;
}

Result<void> LogFile::append(std::string_view bytes) {
  auto file = files_.create(path_, CreateMode::append, kFilePermissions);
  if (!file) return forward(file);
  if (auto written = (*file)->write(bytes); !written) return written;
  return (*file)->close();
}

Result<void> LogFile::appendDurably(std::string_view bytes) {
  const auto before = size();
  if (!before) return forward(before);
  auto file = files_.create(path_, CreateMode::append, kFilePermissions);
  if (!file) return forward(file);
  if (auto written = (*file)->write(bytes); !written) return written;
  if (auto synced = (*file)->sync(); !synced) return synced;
  if (auto closed = (*file)->close(); !closed) return closed;
  return *before == 0 ? files_.syncDirectory(path_.parent_path()) : Result<void>();
}

Result<void> LogFile::appendLines(std::string_view lines) {
  const auto before = size();
  if (!before) return forward(before);
  bool torn = false;
  if (*before > 0) {
    const auto last = files_.readRange(path_, *before - 1, 1);
    if (!last) return forward(last);
    torn = *last != "\n";
  }
  return appendDurably(torn ? "\n" + std::string(lines) : std::string(lines));
}

Result<void> LogFile::replace(std::string_view bytes) {
  const auto random = random_.bytes16();
  const std::string_view raw(reinterpret_cast<const char*>(random.data()), random.size());
  return writeAtomically(files_, path_, bytes, kFilePermissions, toHex(raw));
}

Result<Path> LogFile::keepAside() {
  return keepDamagedFileAside(files_, path_);
}

}  // namespace quillbox

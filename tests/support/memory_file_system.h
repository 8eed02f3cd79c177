// A file system in memory: the whole port, with inodes, times, permissions, links, several devices, and a
// power switch that takes away what was never synced.
#pragma once

#include <condition_variable>
#include <cstdint>
#include <map>
#include <memory>
#include <mutex>
#include <set>
#include <string>
#include <string_view>
#include <vector>

#include "platform/clock.h"
#include "platform/file_system.h"

namespace quillbox {

// Any thread. Paths are absolute; a relative one counts from "/". Permission bits of the owner are obeyed, as
// they would be for anyone but root. Durability: a file's bytes last once the file is synced; changes of
// directories last once any directory was synced after them (an ordered journal).
class MemoryFileSystem final : public FileSystem {
 public:
  // Without a clock every change takes one second, beginning in 2025.
  explicit MemoryFileSystem(const Clock* clock = nullptr);
  ~MemoryFileSystem() override;

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

  // For tests. These make missing parents, ignore permissions, and end the process when they cannot do their
  // work.
  void put(const Path& path, std::string bytes, std::uint32_t permissions = 0600);
  void putDirectory(const Path& path, std::uint32_t permissions = 0700);
  void putLink(const Path& path, const Path& target);
  // An empty directory on a device of its own: renames into and out of it fail with EXDEV.
  void mount(const Path& path);
  // Bytes that all files together may hold; more fails with ENOSPC after as much as fits was written.
  void setCapacity(std::uint64_t bytes);
  // What was not synced is gone: all of it, or the bytes of files only, because the disk happened to keep the
  // directories. Open files write into the void afterwards.
  enum class Lost { everything, bytes };
  void losePower(Lost lost = Lost::everything);
  // Every file and link below `top`, as absolute paths, sorted; directories only with a trailing "/" when
  // empty.
  std::vector<std::string> tree(const Path& top = "/") const;
  // The bytes of a file; ends the process when there is none.
  std::string bytes(const Path& path) const;
  bool exists(const Path& path) const;

 private:
  struct Node;
  struct Place;  // a directory, a name in it, and what stands there
  struct Undo;
  class File;
  class Lock;
  using NodePtr = std::shared_ptr<Node>;

  std::chrono::nanoseconds tick();
  NodePtr makeNode(FileKind kind, std::uint32_t permissions, std::uint64_t device);
  Result<Place> find(const Path& path, FollowLinks follow, std::string_view operation) const;
  void setEntry(const NodePtr& directory, const std::string& name, NodePtr node);
  Result<void> rename(const Path& from, const Path& to, bool replace);
  Result<void> write(Node& node, std::string_view bytes);
  NodePtr force(const Path& path, NodePtr node);
  void collect(const Node& node, const std::string& prefix, std::vector<std::string>& out) const;

  const Clock* clock_;
  mutable std::mutex mutex_;
  std::condition_variable unlocked_;
  std::set<std::string> locked_;
  NodePtr root_;
  std::vector<Undo> journal_;  // how to take back what no directory sync has covered
  std::uint64_t used_ = 0;
  std::uint64_t capacity_ = UINT64_MAX;
  std::uint64_t nextInode_ = 1;
  std::uint64_t nextDevice_ = 1;
  std::int64_t ticks_ = 0;
};

}  // namespace quillbox

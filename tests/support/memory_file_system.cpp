#include "support/memory_file_system.h"

#include <algorithm>
#include <cerrno>
#include <cstring>
#include <utility>

#include <fmt/format.h>

#include "base/text.h"

namespace quillbox {
namespace {

constexpr std::uint32_t kRead = 0400;
constexpr std::uint32_t kWrite = 0200;
constexpr std::uint32_t kSearch = 0100;
constexpr int kMaxLinks = 40;

std::unexpected<Error> failure(std::string_view operation, const Path& path, int number) {
  return fail(number, fmt::format("Can’t {} {}: {}", operation, path.string(), std::strerror(number)));
}

std::vector<std::string> split(const Path& path) {
  auto parts = text::splitNonEmpty(path.native(), '/');
  std::erase(parts, ".");
  return parts;
}

}  // namespace

struct MemoryFileSystem::Node {
  FileKind kind = FileKind::regular;
  std::string data;        // bytes, or the target of a link
  std::size_t synced = 0;  // how many of the bytes survive losePower()
  std::map<std::string, NodePtr> children;
  std::chrono::nanoseconds modified{0};
  std::uint64_t device = 0;
  std::uint64_t inode = 0;
  std::uint32_t permissions = 0;
  bool gone = false;  // belongs to someone whose power was cut
};

struct MemoryFileSystem::Place {
  NodePtr directory;  // null for "/"
  std::string name;
  NodePtr node;  // null when nothing stands there
};

struct MemoryFileSystem::Undo {
  NodePtr directory;
  std::string name;
  NodePtr before;
};

class MemoryFileSystem::File final : public WritableFile {
 public:
  File(MemoryFileSystem& owner, NodePtr node) : owner_(owner), node_(std::move(node)) {}
  Result<void> write(std::string_view bytes) override { return owner_.write(*node_, bytes); }
  Result<void> sync() override {
    const std::lock_guard lock(owner_.mutex_);
    node_->synced = node_->data.size();
    return {};
  }
  Result<void> close() override { return {}; }

 private:
  MemoryFileSystem& owner_;
  NodePtr node_;
};

class MemoryFileSystem::Lock final : public FileLock {
 public:
  Lock(MemoryFileSystem& owner, std::string key) : owner_(owner), key_(std::move(key)) {}
  ~Lock() override {
    const std::lock_guard lock(owner_.mutex_);
    owner_.locked_.erase(key_);
    owner_.unlocked_.notify_all();
  }

 private:
  MemoryFileSystem& owner_;
  std::string key_;
};

MemoryFileSystem::MemoryFileSystem(const Clock* clock) : clock_(clock) {
  root_ = makeNode(FileKind::directory, 0700, nextDevice_++);
}

MemoryFileSystem::~MemoryFileSystem() = default;

std::chrono::nanoseconds MemoryFileSystem::tick() {
  if (clock_ != nullptr) return clock_->now();
  return std::chrono::seconds(1'735'689'600 + ticks_++);
}

MemoryFileSystem::NodePtr MemoryFileSystem::makeNode(FileKind kind, std::uint32_t permissions,
                                                     std::uint64_t device) {
  auto node = std::make_shared<Node>();
  node->kind = kind;
  node->permissions = permissions & 07777U;
  node->device = device;
  node->inode = nextInode_++;
  node->modified = tick();
  return node;
}

Result<MemoryFileSystem::Place> MemoryFileSystem::find(const Path& path, FollowLinks follow,
                                                       std::string_view operation) const {
  if (path.empty()) return failure(operation, path, ENOENT);
  auto parts = split(path);
  std::reverse(parts.begin(), parts.end());  // the next part stands last
  Place place{nullptr, "", root_};
  std::vector<NodePtr> parents;
  int links = 0;
  while (!parts.empty()) {
    const std::string part = std::move(parts.back());
    parts.pop_back();
    if (place.node == nullptr) return failure(operation, path, ENOENT);
    if (place.node->kind != FileKind::directory) return failure(operation, path, ENOTDIR);
    if ((place.node->permissions & kSearch) == 0) return failure(operation, path, EACCES);
    if (part.size() > 255) return failure(operation, path, ENAMETOOLONG);
    if (part == "..") {
      place.node = parents.empty() ? root_ : parents.back();
      if (!parents.empty()) parents.pop_back();
      place.directory = parents.empty() ? nullptr : parents.back();
      continue;
    }
    const auto child = place.node->children.find(part);
    NodePtr next = child == place.node->children.end() ? nullptr : child->second;
    if (next != nullptr && next->kind == FileKind::symbolicLink &&
        (!parts.empty() || follow == FollowLinks::yes)) {
      if (++links > kMaxLinks) return failure(operation, path, ELOOP);
      const Path target = next->data;
      if (target.is_absolute()) {
        parents.clear();
        place = {nullptr, "", root_};
      }
      auto more = split(target);
      parts.insert(parts.end(), more.rbegin(), more.rend());
      continue;
    }
    parents.push_back(place.node);
    place = {place.node, part, next};
  }
  return place;
}

void MemoryFileSystem::setEntry(const NodePtr& directory, const std::string& name, NodePtr node) {
  auto& slot = directory->children[name];
  journal_.push_back({directory, name, slot});
  if (slot != nullptr && slot->kind == FileKind::regular && slot != node) used_ -= slot->data.size();
  directory->modified = tick();
  if (node == nullptr) {
    directory->children.erase(name);
  } else {
    slot = std::move(node);
  }
}

Result<std::string> MemoryFileSystem::read(const Path& path, std::uint64_t limit) {
  const std::lock_guard lock(mutex_);
  auto place = find(path, FollowLinks::yes, "read");
  if (!place) return forward(place);
  if (place->node == nullptr) return failure("read", path, ENOENT);
  if (place->node->kind == FileKind::directory) return failure("read", path, EISDIR);
  if ((place->node->permissions & kRead) == 0) return failure("read", path, EACCES);
  if (place->node->data.size() > limit) return failure("read", path, EFBIG);
  return place->node->data;
}

Result<std::string> MemoryFileSystem::readRange(const Path& path, std::uint64_t offset,
                                                std::uint64_t length) {
  auto all = read(path, UINT64_MAX);
  if (!all || offset >= all->size()) return all ? Result<std::string>("") : all;
  return all->substr(offset, length);
}

Result<FileInfo> MemoryFileSystem::info(const Path& path, FollowLinks follow) {
  const std::lock_guard lock(mutex_);
  auto place = find(path, follow, "examine");
  if (!place) return forward(place);
  if (place->node == nullptr) return failure("examine", path, ENOENT);
  const Node& node = *place->node;
  return FileInfo{node.kind, node.data.size(), node.modified, node.device, node.inode, node.permissions};
}

Result<void> MemoryFileSystem::list(const Path& directory,
                                    const std::function<bool(std::string_view, FileKind)>& each) {
  std::vector<std::pair<std::string, FileKind>> entries;
  {
    const std::lock_guard lock(mutex_);
    auto place = find(directory, FollowLinks::yes, "list");
    if (!place) return forward(place);
    if (place->node == nullptr) return failure("list", directory, ENOENT);
    if (place->node->kind != FileKind::directory) return failure("list", directory, ENOTDIR);
    if ((place->node->permissions & kRead) == 0) return failure("list", directory, EACCES);
    for (const auto& [name, node] : place->node->children) entries.emplace_back(name, node->kind);
  }
  for (const auto& [name, kind] : entries) {
    if (!each(name, kind)) break;
  }
  return {};
}

Result<Path> MemoryFileSystem::readLink(const Path& path) {
  const std::lock_guard lock(mutex_);
  auto place = find(path, FollowLinks::no, "read the link");
  if (!place) return forward(place);
  if (place->node == nullptr) return failure("read the link", path, ENOENT);
  if (place->node->kind != FileKind::symbolicLink) return failure("read the link", path, EINVAL);
  return Path(place->node->data);
}

Result<std::unique_ptr<WritableFile>> MemoryFileSystem::create(const Path& path, CreateMode mode,
                                                               std::uint32_t permissions) {
  const std::lock_guard lock(mutex_);
  auto place = find(path, mode == CreateMode::exclusive ? FollowLinks::no : FollowLinks::yes, "create");
  if (!place) return forward(place);
  if (place->node != nullptr) {
    if (mode == CreateMode::exclusive) return failure("create", path, EEXIST);
    if (place->node->kind == FileKind::directory) return failure("create", path, EISDIR);
    if ((place->node->permissions & kWrite) == 0) return failure("create", path, EACCES);
    return std::make_unique<File>(*this, place->node);
  }
  if ((place->directory->permissions & kWrite) == 0) return failure("create", path, EACCES);
  auto node = makeNode(FileKind::regular, permissions, place->directory->device);
  setEntry(place->directory, place->name, node);
  return std::make_unique<File>(*this, node);
}

Result<void> MemoryFileSystem::write(Node& node, std::string_view bytes) {
  const std::lock_guard lock(mutex_);
  if (node.gone) return {};
  const std::uint64_t room = capacity_ > used_ ? capacity_ - used_ : 0;
  const std::string_view fits = bytes.substr(0, std::min<std::uint64_t>(room, bytes.size()));
  node.data += fits;
  used_ += fits.size();
  node.modified = tick();
  if (fits.size() < bytes.size()) return fail(ENOSPC, "Can’t write: No space left on device");
  return {};
}

Result<void> MemoryFileSystem::rename(const Path& from, const Path& to, bool replace) {
  const std::lock_guard lock(mutex_);
  const std::string operation = fmt::format("rename {} to", from.string());
  auto source = find(from, FollowLinks::no, "rename");
  if (!source) return failure(operation, to, static_cast<int>(source.error().number));
  auto target = find(to, FollowLinks::no, operation);
  if (!target) return forward(target);
  if (source->node == nullptr) return failure(operation, to, ENOENT);
  if (source->directory == nullptr || target->directory == nullptr) return failure(operation, to, EBUSY);
  if (((source->directory->permissions & target->directory->permissions) & kWrite) == 0)
    return failure(operation, to, EACCES);
  if (source->node->device != target->directory->device) return failure(operation, to, EXDEV);
  if (target->node != nullptr) {
    if (!replace) return failure(operation, to, EEXIST);
    if (target->node == source->node) return {};
    const bool directory = source->node->kind == FileKind::directory;
    if (directory != (target->node->kind == FileKind::directory))
      return failure(operation, to, directory ? ENOTDIR : EISDIR);
    if (!target->node->children.empty()) return failure(operation, to, ENOTEMPTY);
  }
  if (source->node->kind == FileKind::directory) {
    Path step = "/";
    for (const auto& part : split(to.parent_path())) {
      step /= part;
      if (const auto above = find(step, FollowLinks::yes, operation); above && above->node == source->node)
        return failure(operation, to, EINVAL);  // below itself
    }
  }
  const NodePtr node = source->node;
  const auto size = node->kind == FileKind::regular ? node->data.size() : 0;
  setEntry(target->directory, target->name, node);
  setEntry(source->directory, source->name, nullptr);
  used_ += size;  // the entry went, the bytes stayed
  return {};
}

Result<void> MemoryFileSystem::renameNoReplace(const Path& from, const Path& to) {
  return rename(from, to, false);
}

Result<void> MemoryFileSystem::renameReplacing(const Path& from, const Path& to) {
  return rename(from, to, true);
}

Result<void> MemoryFileSystem::remove(const Path& path) {
  const std::lock_guard lock(mutex_);
  auto place = find(path, FollowLinks::no, "remove");
  if (!place) return forward(place);
  if (place->node == nullptr) return failure("remove", path, ENOENT);
  if (place->node->kind == FileKind::directory) return failure("remove", path, EISDIR);
  if ((place->directory->permissions & kWrite) == 0) return failure("remove", path, EACCES);
  setEntry(place->directory, place->name, nullptr);
  return {};
}

Result<void> MemoryFileSystem::removeDirectory(const Path& path) {
  const std::lock_guard lock(mutex_);
  auto place = find(path, FollowLinks::no, "remove the folder");
  if (!place) return forward(place);
  if (place->node == nullptr) return failure("remove the folder", path, ENOENT);
  if (place->node->kind != FileKind::directory) return failure("remove the folder", path, ENOTDIR);
  if (place->directory == nullptr) return failure("remove the folder", path, EBUSY);
  if (!place->node->children.empty()) return failure("remove the folder", path, ENOTEMPTY);
  if ((place->directory->permissions & kWrite) == 0) return failure("remove the folder", path, EACCES);
  setEntry(place->directory, place->name, nullptr);
  return {};
}

Result<void> MemoryFileSystem::makeDirectory(const Path& path, std::uint32_t permissions) {
  const std::lock_guard lock(mutex_);
  auto place = find(path, FollowLinks::no, "make the folder");
  if (!place) return forward(place);
  if (place->node != nullptr) return failure("make the folder", path, EEXIST);
  if ((place->directory->permissions & kWrite) == 0) return failure("make the folder", path, EACCES);
  setEntry(place->directory, place->name,
           makeNode(FileKind::directory, permissions, place->directory->device));
  return {};
}

Result<void> MemoryFileSystem::syncDirectory(const Path& path) {
  const std::lock_guard lock(mutex_);
  auto place = find(path, FollowLinks::yes, "sync the folder");
  if (!place) return forward(place);
  if (place->node == nullptr) return failure("sync the folder", path, ENOENT);
  if (place->node->kind != FileKind::directory) return failure("sync the folder", path, ENOTDIR);
  journal_.clear();
  return {};
}

Result<void> MemoryFileSystem::setModified(const Path& path, std::chrono::nanoseconds modified) {
  const std::lock_guard lock(mutex_);
  auto place = find(path, FollowLinks::yes, "set the time of");
  if (!place) return forward(place);
  if (place->node == nullptr) return failure("set the time of", path, ENOENT);
  place->node->modified = modified;
  return {};
}

Result<void> MemoryFileSystem::setPermissions(const Path& path, std::uint32_t permissions) {
  const std::lock_guard lock(mutex_);
  auto place = find(path, FollowLinks::yes, "set the permissions of");
  if (!place) return forward(place);
  if (place->node == nullptr) return failure("set the permissions of", path, ENOENT);
  place->node->permissions = permissions & 07777U;
  return {};
}

Result<std::unique_ptr<FileLock>> MemoryFileSystem::lock(const Path& path, std::chrono::milliseconds wait) {
  if (auto file = create(path, CreateMode::append, 0600); !file)
    return failure("lock", path, static_cast<int>(file.error().number));
  std::unique_lock lock(mutex_);
  const std::string key = path.lexically_normal().string();
  if (!unlocked_.wait_for(lock, wait, [&] { return !locked_.contains(key); }))
    return failure("lock", path, ETIMEDOUT);
  locked_.insert(key);
  return std::make_unique<Lock>(*this, key);
}

MemoryFileSystem::NodePtr MemoryFileSystem::force(const Path& path, NodePtr node) {
  NodePtr at = root_;
  const auto parts = split(path);
  if (parts.empty()) fatal("a test puts something at /");
  for (std::size_t i = 0; i + 1 < parts.size(); ++i) {
    auto& child = at->children[parts[i]];
    if (child == nullptr) child = makeNode(FileKind::directory, 0700, at->device);
    at = child;
  }
  if (at->kind != FileKind::directory) fatal("a test puts something below a file: " + path.string());
  auto& slot = at->children[parts.back()];
  if (slot != nullptr && slot->kind == FileKind::regular) used_ -= slot->data.size();
  node->device = node->device != 0 ? node->device : at->device;
  node->synced = node->data.size();
  if (node->kind == FileKind::regular) used_ += node->data.size();
  slot = node;
  return slot;
}

void MemoryFileSystem::put(const Path& path, std::string bytes, std::uint32_t permissions) {
  const std::lock_guard lock(mutex_);
  auto node = makeNode(FileKind::regular, permissions, 0);
  node->data = std::move(bytes);
  force(path, node);
}

void MemoryFileSystem::putDirectory(const Path& path, std::uint32_t permissions) {
  const std::lock_guard lock(mutex_);
  if (const auto there = find(path, FollowLinks::yes, "find"); there && there->node != nullptr) {
    there->node->permissions = permissions;
    return;
  }
  force(path, makeNode(FileKind::directory, permissions, 0));
}

void MemoryFileSystem::putLink(const Path& path, const Path& target) {
  const std::lock_guard lock(mutex_);
  auto node = makeNode(FileKind::symbolicLink, 0777, 0);
  node->data = target.string();
  force(path, node);
}

void MemoryFileSystem::mount(const Path& path) {
  const std::lock_guard lock(mutex_);
  force(path, makeNode(FileKind::directory, 0700, ++nextDevice_));
}

void MemoryFileSystem::setCapacity(std::uint64_t bytes) {
  const std::lock_guard lock(mutex_);
  capacity_ = bytes;
}

void MemoryFileSystem::losePower(Lost lost) {
  const std::lock_guard lock(mutex_);
  if (lost == Lost::bytes) journal_.clear();
  for (auto undo = journal_.rbegin(); undo != journal_.rend(); ++undo) {
    if (undo->before == nullptr) {
      undo->directory->children.erase(undo->name);
    } else {
      undo->directory->children[undo->name] = undo->before;
    }
  }
  journal_.clear();
  used_ = 0;
  // Whoever has a file open is dead: every node is replaced, and writes to the old ones go nowhere.
  const auto cut = [this](const auto& self, Node& directory) -> void {
    for (auto& [name, child] : directory.children) {
      child->gone = true;
      child = std::make_shared<Node>(*child);
      child->gone = false;
      if (child->kind == FileKind::regular) {
        child->data.resize(std::min(child->synced, child->data.size()));
        used_ += child->data.size();
      }
      self(self, *child);
    }
  };
  cut(cut, *root_);
}

void MemoryFileSystem::collect(const Node& node, const std::string& prefix,
                               std::vector<std::string>& out) const {
  if (node.kind != FileKind::directory) {
    out.push_back(prefix);
  } else if (node.children.empty()) {
    out.push_back(prefix + "/");
  }
  for (const auto& [name, child] : node.children) collect(*child, prefix + "/" + name, out);
}

std::vector<std::string> MemoryFileSystem::tree(const Path& top) const {
  const std::lock_guard lock(mutex_);
  std::vector<std::string> out;
  const auto place = find(top, FollowLinks::yes, "find");
  if (!place || place->node == nullptr) return out;
  const std::string prefix = top == "/" ? "" : top.string();
  for (const auto& [name, child] : place->node->children) collect(*child, prefix + "/" + name, out);
  std::ranges::sort(out);
  return out;
}

std::string MemoryFileSystem::bytes(const Path& path) const {
  const std::lock_guard lock(mutex_);
  const auto place = find(path, FollowLinks::yes, "find");
  if (!place || place->node == nullptr || place->node->kind != FileKind::regular)
    fatal("a test reads a file that is not there: " + path.string());
  return place->node->data;
}

bool MemoryFileSystem::exists(const Path& path) const {
  const std::lock_guard lock(mutex_);
  const auto place = find(path, FollowLinks::no, "find");
  return place && place->node != nullptr;
}

}  // namespace quillbox

#include "mailclient/folder_index.h"

#include <algorithm>
#include <cerrno>
#include <tuple>

#include "mailclient/message_name.h"

namespace quillbox::mailclient {
namespace {

struct Key {
  std::int64_t time;
  std::string_view name;
};

// The order of files(): later first, then by the lasting part of the name, cur before new.
bool isBefore(const MessageFile& a, std::int64_t aTime, const MessageFile& b, std::int64_t bTime) {
  if (aTime != bTime) return aTime > bTime;
  const auto aId = stableId(a.name);
  const auto bId = stableId(b.name);
  return std::tie(aId, a.subfolder, a.name) < std::tie(bId, b.subfolder, b.name);
}

}  // namespace

Result<FolderIndex> FolderIndex::scan(FileSystem& files, const Path& folder) {
  FolderIndex index;
  const auto listOne = [&](const char* part, Subfolder subfolder,
                           std::chrono::nanoseconds& modified) -> Result<void> {
    const Path directory = folder / part;
    const auto info = files.info(directory);
    if (!info) {
      // A folder without new/ can still be read.
      if (subfolder == Subfolder::fresh && info.error().number == ENOENT) return {};
      return forward(info);
    }
    modified = info->modified;
    return files.list(directory, [&](std::string_view name, FileKind kind) {
      if (isMessageFileName(name) && (kind == FileKind::regular || kind == FileKind::symbolicLink)) {
        index.files_.push_back({std::string(name), subfolder});
      }
      return true;
    });
  };
  // new/ first: a message that another reader moves to cur/ meanwhile is then seen twice rather than never.
  if (auto done = listOne("new", Subfolder::fresh, index.newModified_); !done) return forward(done);
  if (auto done = listOne("cur", Subfolder::current, index.curModified_); !done) return forward(done);

  std::vector<std::pair<std::int64_t, MessageFile>> keyed;
  keyed.reserve(index.files_.size());
  for (auto& file : index.files_) {
    const auto time = deliveryTime(file.name);
    keyed.emplace_back(time, std::move(file));
  }
  std::ranges::sort(
      keyed, [](const auto& a, const auto& b) { return isBefore(a.second, a.first, b.second, b.first); });
  index.files_.clear();
  for (auto& [time, file] : keyed) {
    const bool again = !index.files_.empty() && file.subfolder == Subfolder::fresh &&
                       index.files_.back().subfolder == Subfolder::current &&
                       stableId(index.files_.back().name) == stableId(file.name) &&
                       !files.info(file.path(folder), FollowLinks::no);
    if (!again) index.files_.push_back(std::move(file));
  }
  return index;
}

const MessageFile* FolderIndex::find(std::string_view id) const {
  if (const auto changed = changed_.find(std::string(id)); changed != changed_.end()) {
    return changed->second.name.empty() ? nullptr : &changed->second;
  }
  const auto time = deliveryTime(id);
  const auto place = std::ranges::partition_point(files_, [&](const MessageFile& file) {
    const auto other = deliveryTime(file.name);
    return other != time ? other > time : stableId(file.name) < id;
  });
  return place != files_.end() && stableId(place->name) == id ? &*place : nullptr;
}

void FolderIndex::renamed(std::string_view id, MessageFile file) {
  changed_[std::string(id)] = std::move(file);
}

void FolderIndex::removed(std::string_view id) {
  changed_[std::string(id)] = MessageFile{};
}

bool FolderIndex::isCurrent(FileSystem& files, const Path& folder) const {
  const auto same = [&](const char* part, std::chrono::nanoseconds modified) {
    const auto info = files.info(folder / part);
    return info ? info->modified == modified : modified == std::chrono::nanoseconds(0);
  };
  return changed_.empty() && same("cur", curModified_) && same("new", newModified_);
}

}  // namespace quillbox::mailclient

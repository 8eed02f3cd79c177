#include "mailclient/folder_index.h"

#include <algorithm>
#include <cerrno>
#include <functional>
#include <iterator>
#include <tuple>

#include "mailclient/message_name.h"

namespace quillbox::mailclient {
namespace {

constexpr int kListings = 6;
// Coarser than the clocks of file systems are.
constexpr auto kQuietAfter = std::chrono::seconds(2);

// The order of files(): later first, then by the lasting part of the name, cur before new.
bool isBefore(const MessageFile& a, std::int64_t aTime, const MessageFile& b, std::int64_t bTime) {
  if (aTime != bTime) return aTime > bTime;
  const auto aId = stableId(a.name);
  const auto bId = stableId(b.name);
  return std::tie(aId, a.subfolder, a.name) < std::tie(bId, b.subfolder, b.name);
}

}  // namespace

Result<FolderIndex> FolderIndex::scan(FileSystem& files, const Clock& clock, const Path& folder) {
  auto index = list(files, clock, folder);
  if (!index) return index;
  index->arrange(files, folder);
  for (int count = 1; !index->isQuiet_ && count < kListings; ++count) {
    auto again = list(files, clock, folder);
    if (!again) return again;
    if (again->fingerprint_ == index->fingerprint_) break;
    again->arrange(files, folder);
    const bool isMissingSome = again->isMissingAnyOf(*index, files, folder);
    const bool isAlike = !isMissingSome && again->files_.size() == index->files_.size();
    index = std::move(again);
    if (isAlike) break;
  }
  return index;
}

Result<FolderIndex> FolderIndex::list(FileSystem& files, const Clock& clock, const Path& folder) {
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
      if (!isMessageFileName(name)) return true;
      const bool isLink = kind == FileKind::symbolicLink;
      if (isLink) {
        // One that leads nowhere, in circles or to a folder is no message.
        const auto target = files.info(directory / name);
        kind = target ? target->kind : FileKind::other;
      }
      if (kind == FileKind::regular) {
        index.files_.push_back({std::string(name), subfolder, isLink});
        index.fingerprint_ += std::hash<std::string_view>()(name);
      }
      return true;
    });
  };
  const auto now = clock.now();
  // new/ first: a message that another reader moves to cur/ meanwhile is then seen twice rather than never.
  if (auto done = listOne("new", Subfolder::fresh, index.newModified_); !done) return forward(done);
  if (auto done = listOne("cur", Subfolder::current, index.curModified_); !done) return forward(done);
  const auto isOld = [&](std::chrono::nanoseconds modified) {
    return std::chrono::abs(now - modified) > kQuietAfter;
  };
  index.isQuiet_ = isOld(index.curModified_) && isOld(index.newModified_) && index.areTimes(files, folder);
  return index;
}

void FolderIndex::arrange(FileSystem& files, const Path& folder) {
  sort();
  removeFormerNames(files, folder);
}

void FolderIndex::sort() {
  std::vector<std::pair<std::int64_t, MessageFile>> keyed;
  keyed.reserve(files_.size());
  for (auto& file : files_) {
    const auto time = deliveryTime(file.name);
    keyed.emplace_back(time, std::move(file));
  }
  std::ranges::sort(
      keyed, [](const auto& a, const auto& b) { return isBefore(a.second, a.first, b.second, b.first); });
  found_ = 0;
  files_.clear();
  for (auto& [time, file] : keyed) files_.push_back(std::move(file));
}

void FolderIndex::removeFormerNames(FileSystem& files, const Path& folder) {
  const auto isSame = [](const MessageFile& a, const MessageFile& b) {
    return stableId(a.name) == stableId(b.name);
  };
  const auto isThere = [&](const MessageFile& file) {
    return files.info(file.path(folder), FollowLinks::no).has_value();
  };
  const auto first = std::adjacent_find(files_.begin(), files_.end(), isSame);
  if (first == files_.end()) return;
  auto kept = first;  // always before `next`, as the two at `first` are the same
  for (auto next = std::next(first); next != files_.end(); ++next) {
    if (!isSame(*kept, *next)) {
      *++kept = std::move(*next);
    } else if (!isThere(*kept)) {
      // When both are gone the message was renamed again, or removed: who uses this one will see.
      *kept = std::move(*next);
    }
  }
  files_.erase(std::next(kept), files_.end());
}

bool FolderIndex::isMissingAnyOf(const FolderIndex& before, FileSystem& files, const Path& folder) {
  std::vector<MessageFile> missed;
  bool isMissingSome = false;
  for (const auto& file : before.files_) {
    if (find(stableId(file.name)) != nullptr) continue;
    if (files.info(file.path(folder), FollowLinks::no)) {
      missed.push_back(file);
    } else {
      isMissingSome = true;
    }
  }
  if (!missed.empty()) {
    std::ranges::move(missed, std::back_inserter(files_));
    sort();
  }
  return isMissingSome;
}

const MessageFile* FolderIndex::find(std::string_view id) const {
  if (!changed_.empty()) {
    if (const auto changed = changed_.find(id); changed != changed_.end()) return &changed->second;
  }
  const auto place = placeOf(id);
  return !place || (*place < gone_.size() && gone_[*place]) ? nullptr : &files_[*place];
}

std::optional<std::size_t> FolderIndex::placeOf(std::string_view id) const {
  // Messages are mostly asked for in their order.
  const auto isAt = [&](std::size_t place) {
    return place < files_.size() && compareStableId(files_[place].name, id) == 0;
  };
  if (isAt(found_)) return found_;
  if (isAt(found_ + 1)) return ++found_;
  const auto time = deliveryTime(id);
  const auto place = std::ranges::partition_point(files_, [&](const MessageFile& file) {
    const auto other = deliveryTime(file.name);
    return other != time ? other > time : compareStableId(file.name, id) < 0;
  });
  const auto found = static_cast<std::size_t>(place - files_.begin());
  if (!isAt(found)) return std::nullopt;
  return found_ = found;
}

void FolderIndex::renamed(std::string_view id, MessageFile file) {
  isChanged_ = true;
  changed_[std::string(id)] = std::move(file);
}

void FolderIndex::removed(std::string_view id) {
  isChanged_ = true;
  if (const auto changed = changed_.find(id); changed != changed_.end()) changed_.erase(changed);
  const auto place = placeOf(id);
  if (!place) return;
  gone_.resize(files_.size());
  gone_[*place] = true;
}

bool FolderIndex::isCurrent(FileSystem& files, const Path& folder) const {
  return isQuiet_ && !isChanged_ && areTimes(files, folder);
}

bool FolderIndex::areTimes(FileSystem& files, const Path& folder) const {
  const auto same = [&](const char* part, std::chrono::nanoseconds modified) {
    const auto info = files.info(folder / part);
    return info ? info->modified == modified : modified == std::chrono::nanoseconds(0);
  };
  return same("cur", curModified_) && same("new", newModified_);
}

}  // namespace quillbox::mailclient

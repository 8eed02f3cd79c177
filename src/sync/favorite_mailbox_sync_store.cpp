#include "sync/favorite_mailbox_sync_store.h"

#include <algorithm>
#include <optional>
#include <unordered_set>
#include <utility>
#include <variant>

#include <fmt/format.h>

#include "base/text.h"
#include "base/uuid.h"
#include "sync/sync_state_codec.h"

namespace quillbox {
namespace {

// What is written as JSON must read back as the same value.
std::vector<Mailbox> asUtf8(std::vector<Mailbox> list) {
  for (Mailbox& mailbox : list) {
    if (text::isValidUtf8(mailbox.id) && text::isValidUtf8(mailbox.name)) continue;
    mailbox = Mailbox::make(text::toValidUtf8(mailbox.name), text::toValidUtf8(mailbox.path),
                            text::toValidUtf8(mailbox.account));
  }
  return list;
}

bool sameToTheUser(const std::vector<Mailbox>& a, const std::vector<Mailbox>& b) {
  return std::ranges::equal(
      a, b, [](const Mailbox& x, const Mailbox& y) { return x.id == y.id && x.name == y.name; });
}

const std::string* bytesAt(const CloudValues& values, std::string_view key) {
  const auto it = values.find(key);
  const Data* data = it == values.end() ? nullptr : std::get_if<Data>(&it->second);
  return data == nullptr ? nullptr : &data->bytes;
}

}  // namespace

FavoriteMailboxSyncStore::FavoriteMailboxSyncStore(UserDefaults& defaults, FavoriteMailboxCloudStore& cloud,
                                                   RandomSource& random, Log& log)
    : defaults_(defaults), cloud_(cloud), log_(log) {
  const auto known = defaults_.stored(kWriterKey);
  if (const auto* text = known ? std::get_if<std::string>(&*known) : nullptr;
      text != nullptr && !text->empty()) {
    writer_ = *text;
  } else {
    writer_ = uuidFromRandom(random.bytes16());
    if (const auto kept = defaults_.set(kWriterKey, writer_); !kept) {
      writerIsKept_ = false;
      log_.error("Favourites stay on this machine, its id cannot be kept: " + kept.error().message);
    }
  }
  if (auto stored = newStoredState()) {
    state_ = *std::move(stored);
    // On machines that agree, the cloud store holds these very bytes many times over.
    saved_ = seen_.find(kStateKey)->second;
  }
}

// Nothing when these bytes were looked at before or do not hold a valid state.
std::optional<FavoriteMailboxSyncState> FavoriteMailboxSyncStore::newState(std::string_view key,
                                                                           const std::string& bytes) {
  if (bytes == saved_) return std::nullopt;
  auto& seen = seen_[std::string(key)];
  if (bytes == seen) return std::nullopt;
  seen = bytes;
  auto state = decodeSyncState(bytes);
  if (state && state->isValid()) return *std::move(state);
  log_.debug(fmt::format("Favourites passed over at {}: {}", key,
                         state ? "not a valid state of version 2" : state.error().message));
  return std::nullopt;
}

// What another process of this profile, or an earlier run, has stored.
std::optional<FavoriteMailboxSyncState> FavoriteMailboxSyncStore::newStoredState() {
  const auto stored = defaults_.stored(kStateKey);
  const Data* data = stored ? std::get_if<Data>(&*stored) : nullptr;
  return data == nullptr ? std::nullopt : newState(kStateKey, data->bytes);
}

void FavoriteMailboxSyncStore::recordLocalEdit(const std::vector<Mailbox>& newList,
                                               const std::vector<Mailbox>& previousList) {
  auto list = asUtf8(newList);
  const auto previous = asUtf8(previousList);
  if (const auto stored = newStoredState()) list = mergeUnderEdit(*stored, list, previous);
  state_.recordEdit(list, previous, writer_);
}

// Another process of this profile has stored `stored`, and the edit may have been made without seeing that:
// what the user left as it was follows the other process. Returns the edited list as it then is.
std::vector<Mailbox> FavoriteMailboxSyncStore::mergeUnderEdit(const FavoriteMailboxSyncState& stored,
                                                              const std::vector<Mailbox>& newList,
                                                              const std::vector<Mailbox>& previousList) {
  const auto mine = state_;
  state_.merge(stored);
  const std::unordered_set<Mailbox> previous(previousList.begin(), previousList.end());
  std::vector<Mailbox> list;
  for (const Mailbox& mailbox : newList) {
    const auto now = state_.entries.find(mailbox.id);
    const auto before = mine.entries.find(mailbox.id);
    const bool wasChangedElsewhere =
        now != state_.entries.end() && (before == mine.entries.end() || before->second != now->second);
    if (!previous.contains(mailbox) || !wasChangedElsewhere) {
      list.push_back(mailbox);
    } else if (!now->second.removed) {
      list.push_back(now->second.mailbox);
    }
  }
  return list;
}

void FavoriteMailboxSyncStore::loadAndMerge(const std::vector<Mailbox>& localList) {
  if (const auto stored = newStoredState()) state_.merge(*stored);
  state_.seed(asUtf8(localList));
  const CloudValues values = cloud_.readAll();
  for (auto it = values.lower_bound(kChangesPrefix);
       it != values.end() && it->first.starts_with(kChangesPrefix); ++it) {
    const Data* data = std::get_if<Data>(&it->second);
    if (const auto remote = data == nullptr ? std::nullopt : newState(it->first, data->bytes))
      state_.merge(*remote);
  }
  if (const std::string* legacy = bytesAt(values, kLegacyKey)) {
    if (const auto list = decodeSyncedList(*legacy)) state_.seed(*list);
  }
}

void FavoriteMailboxSyncStore::saveLocally() {
  saved_ = encodeSyncState(state_);
  if (const auto stored = defaults_.stored(kStateKey); !stored || *stored != DefaultsValue(Data{saved_})) {
    if (const auto kept = defaults_.set(kStateKey, Data{saved_}); !kept)
      log_.error("Can’t store the state of the synced favourites: " + kept.error().message);
  }
}

void FavoriteMailboxSyncStore::save() {
  saveLocally();
  if (!writerIsKept_) return;

  const CloudValues values = cloud_.readAll();
  bool changed = setInCloud(values, std::string(kChangesPrefix) + writer_, saved_);
  const auto visible = state_.visibleList();
  // All machines write this one key. A list that differs only in what the user does not see stays, or two
  // machines could overwrite each other's for ever.
  const std::string* legacy = bytesAt(values, kLegacyKey);
  const auto there = legacy == nullptr ? std::nullopt : std::optional(decodeSyncedList(*legacy));
  if (!there || !*there || !sameToTheUser(**there, visible))
    changed = setInCloud(values, std::string(kLegacyKey), encodeMailboxes(visible)) || changed;
  if (changed) cloud_.synchronize();
}

bool FavoriteMailboxSyncStore::setInCloud(const CloudValues& there, const std::string& key,
                                          const std::string& bytes) {
  const std::string* old = bytesAt(there, key);
  if (old != nullptr && *old == bytes) return false;
  const auto done = cloud_.set(key, Data{bytes});
  if (!done) log_.error("Can’t hand the favourites to the other machines: " + done.error().message);
  return done.has_value();
}

}  // namespace quillbox

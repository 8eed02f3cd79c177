// Keeps the replicated favourites in two places: the user defaults of this machine, and the cloud store,
// where each machine writes only its own key and reads everyone's.
#pragma once

#include <map>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "base/result.h"
#include "model/mailbox.h"
#include "platform/clock.h"
#include "platform/cloud_store.h"
#include "platform/log.h"
#include "platform/user_defaults.h"
#include "sync/favorite_mailbox_sync_state.h"

namespace quillbox {

// What the store asks of a cloud store. Main queue only.
class FavoriteMailboxCloudStore {
 public:
  virtual ~FavoriteMailboxCloudStore() = default;
  virtual CloudValues readAll() = 0;
  virtual Result<void> set(std::string_view key, const Data& value) = 0;
  virtual void synchronize() = 0;
};

// The host's cloud store seen so.
class HostFavoriteMailboxCloudStore final : public FavoriteMailboxCloudStore {
 public:
  explicit HostFavoriteMailboxCloudStore(CloudStore& store) : store_(store) {}
  CloudValues readAll() override { return store_.readAll(); }
  Result<void> set(std::string_view key, const Data& value) override { return store_.set(key, value); }
  void synchronize() override { store_.synchronize(); }

 private:
  CloudStore& store_;
};

// Main queue only. Nothing here fails towards the caller: states that do not decode or are not valid are
// passed over, writes that fail are tried again by the next save; the log says what happened.
class FavoriteMailboxSyncStore {
 public:
  // User defaults.
  static constexpr std::string_view kWriterKey = "favoriteMailboxSyncWriterV2";
  static constexpr std::string_view kStateKey = "favoriteMailboxSyncStateV2";
  // Cloud store: this prefix and a writer id; and the plain list that older versions read and write.
  static constexpr std::string_view kChangesPrefix = "favoriteMailboxChangesV2.";
  static constexpr std::string_view kLegacyKey = "syncFavoriteMailboxes";

  // Takes over, or makes and keeps, the writer id; takes over the stored state. All references outlive the
  // store.
  FavoriteMailboxSyncStore(UserDefaults& defaults, FavoriteMailboxCloudStore& cloud, RandomSource& random,
                           Log& log);

  const std::string& writer() const { return writer_; }
  const FavoriteMailboxSyncState& state() const { return state_; }
  std::vector<Mailbox> visibleList() const { return state_.visibleList(); }

  // To be saved afterwards.
  void recordLocalEdit(const std::vector<Mailbox>& newList, const std::vector<Mailbox>& previousList);
  // Seeds from `localList`, merges every machine's state, seeds from the legacy list.
  void loadAndMerge(const std::vector<Mailbox>& localList);
  // Writes what differs from what is there; an unchanged state writes nothing.
  void save();
  // The part of save() that stays on this machine.
  void saveLocally();

 private:
  std::optional<FavoriteMailboxSyncState> newState(std::string_view key, const std::string& bytes);
  std::optional<FavoriteMailboxSyncState> newStoredState();
  std::vector<Mailbox> mergeUnderEdit(const FavoriteMailboxSyncState& stored,
                                      const std::vector<Mailbox>& newList,
                                      const std::vector<Mailbox>& previousList);
  bool setInCloud(const CloudValues& there, const std::string& key, const std::string& bytes);

  UserDefaults& defaults_;
  FavoriteMailboxCloudStore& cloud_;
  Log& log_;
  std::string writer_;
  // Without a lasting id every run would leave one more state in the cloud store.
  bool writerIsKept_ = true;
  FavoriteMailboxSyncState state_;
  // The bytes last looked at under each key, and those last saved: what a state once took over it keeps, so
  // that looking at them again can bring nothing new.
  std::map<std::string, std::string, std::less<>> seen_;
  std::string saved_;
};

}  // namespace quillbox

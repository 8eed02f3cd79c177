// The owner of the mailbox list, the query and the selection: what stands behind the main window's list.
#pragma once

#include <cstdint>
#include <functional>
#include <memory>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "automation/mailbox_retrieval.h"
#include "automation/notifications.h"
#include "mailboxes/excluded_mailbox_manager.h"
#include "mailboxes/favorite_mailbox_manager.h"
#include "mailboxes/filter_runner.h"
#include "mailboxes/mailbox_directory.h"
#include "mailboxes/recent_mailbox_manager.h"
#include "mailboxes/throttle.h"
#include "settings/user_settings.h"

namespace quillbox {

enum class ReloadKind {
  normal,  // dropped while a load is under way
  forced   // then starts when that load has ended
};

// Main queue only; one instance. A filter never runs on the main queue, and neither does the indexing of a
// list.
class MailboxManager final : public MailboxDirectory {
 public:
  struct Services {
    UserSettings& settings;
    Dispatch& dispatch;
    NotificationCenter& notifications;
    Log& log;
    AppleScriptHelper& helper;
    ScriptStatus& status;
    MailboxRetrieval& retrieval;
    FavoriteMailboxManager& favorites;
    RecentMailboxManager& recents;
    ExcludedMailboxManager& excluded;
  };

  explicit MailboxManager(const Services& services);
  ~MailboxManager() override;

  // --- published state. The lists share one immutable list; none of them copies a mailbox.
  Observable<MailboxList> allMailboxes;       // as last received
  Observable<MailboxRows> mailboxes;          // without the excluded ones: what the filter starts from
  Observable<MailboxRows> filteredMailboxes;  // the rows
  Observable<std::string> query;              // set by whoever types
  Observable<std::string> debouncedQuery;
  Observable<std::optional<std::string>> selectedMailboxId;
  Observable<std::vector<MailboxSort>> sortOrder;  // setting it stores it
  Observable<bool> showingNewMailboxSheet;
  Observable<bool> showingNewMailboxTopLevelSheet;
  Observable<bool> focusOnSearchField;
  Observable<std::vector<std::string>> searchScope;  // setting it stores it
  Observable<bool> refreshing;
  Observable<bool> isPredicting;
  Observable<std::vector<Mailbox>> suggestedMailboxes;

  // nullptr for none. Must outlive the manager: a run that is under way may still ask it after another one
  // has taken its place.
  void setSuggestions(SuggestionSource* source);

  // --- looking things up
  const MailboxList& everyMailbox() const override { return allMailboxes.get(); }
  const Mailbox* findMailbox(std::string_view id) const override;
  // The selected row, or nullptr.
  const Mailbox* selectedMailbox() const;
  bool isFavorite(std::string_view id) const { return services_.favorites.contains(id); }
  bool isRecent(std::string_view id) const;  // and recents are remembered
  bool isSuggested(std::string_view id) const;
  // The matching rule for one mailbox, under the settings and the query in force.
  bool matchesQuery(const Mailbox* mailbox) const;
  std::uint64_t mailboxesHash() const { return mailboxesHash_; }

  // --- searching without waiting for the pause after typing: sets the query; `done` follows when the rows
  // for it stand, with every list that has arrived before.
  void search(std::string text, std::function<void()> done = {});
  // `done` follows when no list is being taken and no filter runs or waits; at once when that is so now.
  void whenSettled(std::function<void()> done);
  // Sets the result's parts in their fixed order.
  void apply(MailboxFilterResult result);

  // --- the list
  // Starts a retrieval of the variant that the settings name. Fails as MailboxRetrieval::start does. `done`,
  // when the script has ended (the list was delivered before); not called for a request that was dropped or
  // failed.
  QuillboxResult<RetrievalStart> reload(std::string_view reason, ReloadKind kind,
                                        MailboxRetrieval::Completion done = {});
  // Posts "Mailboxes.shouldReloadWithList" with the list that is held.
  void handleMailboxesReload(std::string_view reason, ReloadKind kind);
  void updateTheMailboxList(std::string_view reason);
  // Between these two the number of mailboxes is checked, at once and every minute.
  void applicationDidBecomeActive();
  void applicationDidResignActive();

  // --- the search scope
  // Stores the names of the accounts that are searched.
  void setSearchAccountScope(std::vector<std::string> names);
  // Asks the mail client which accounts of the stored scope it still has, and searches those. The stored
  // scope stays, and so does the one in force when the script fails.
  void readSearchAccountScope();

  // --- actions on the selected mailbox and the lists
  Result<bool> addToFavorites();
  Result<bool> removeFromFavorites();
  Result<bool> removeFromRecents();
  Result<void> clearRecents() { return services_.recents.clear(); }
  void newMailbox() { showingNewMailboxSheet.set(true); }
  void newTopLevelMailbox() { showingNewMailboxTopLevelSheet.set(true); }
  void reloadMailboxes();

 private:
  void observeSettings();
  void observeLists();
  void take(const MailboxReloadPayload& payload);
  void indexLatestList();
  void takeIndex(std::uint64_t request, const Result<IndexAnswer>& answer);
  void publishMailboxes();
  void requestRun();
  void startRun();
  FilterSnapshot snapshot() const;
  FilterOptions options() const;
  void applyRun(MailboxFilterResult result, const std::optional<std::string>& selectedBefore);
  void endPrediction();
  void tellWaiters();
  void checkCount();
  void scheduleCountCheck();
  RetrievalVariant variant() const;

  Services services_;
  SuggestionSource* suggestions_ = nullptr;
  std::shared_ptr<const SearchIndex> index_;
  std::uint64_t mailboxesHash_ = 0;
  MailboxList latestList_;  // received, perhaps not yet indexed
  std::uint64_t indexRequests_ = 0;
  bool isIndexing_ = false;    // the newest request has no answer yet
  bool mustRefilter_ = false;  // although the list may turn out to be the same
  bool runWaits_ = false;      // for its turn on the main queue
  bool isRunning_ = false;
  bool reloadAgain_ = false;
  bool isSettingSearchAccountScope_ = false;
  bool isStoringSortOrder_ = false;
  bool isActive_ = false;
  bool isCounting_ = false;
  std::shared_ptr<DelayedWork> pendingMailboxCountReloadWorkItem_;
  std::vector<std::function<void()>> waiters_;
  std::vector<Subscription> subscriptions_;
  std::shared_ptr<char> alive_ = std::make_shared<char>();
  Throttle<std::string> reloadThrottle_;
  Throttle<std::string> forceReloadThrottle_;
  Throttle<MailboxReloadPayload> listThrottle_;
  Debounce<std::string> queryDebounce_;
  FilterRunner runner_;  // last: waits for its queue before the rest goes
};

}  // namespace quillbox

#include "mailboxes/mailbox_manager.h"

#include <algorithm>
#include <utility>

#include "suggestions/notifications.h"

namespace quillbox {
namespace {

using namespace std::chrono_literals;

constexpr auto kThrottle = 1s;
constexpr auto kPauseAfterTyping = 50ms;
constexpr auto kEndOfPrediction = 100ms;

std::shared_ptr<const SearchIndex> emptyIndex() {
  auto index = SearchIndex::build({}, {}, CaseMode::insensitive);
  if (!index) fatal("an empty mailbox list cannot be indexed");
  return *index;
}

}  // namespace

MailboxManager::MailboxManager(const Services& services)
    : services_(services),
      index_(emptyIndex()),
      reloadThrottle_(services.dispatch, kThrottle, ThrottleEdge::trailing,
                      [this](const std::string& reason) { (void)reload(reason, ReloadKind::normal); }),
      forceReloadThrottle_(services.dispatch, kThrottle, ThrottleEdge::trailing,
                           [this](const std::string& reason) { (void)reload(reason, ReloadKind::forced); }),
      listThrottle_(services.dispatch, kThrottle, ThrottleEdge::leading,
                    [this](const MailboxReloadPayload& payload) { take(payload); }),
      queryDebounce_(services.dispatch, kPauseAfterTyping,
                     [this](const std::string& text) {
                       if (text == debouncedQuery.get()) return requestRun();
                       debouncedQuery.set(text);
                     }),
      runner_(services.dispatch) {
  sortOrder.set(services_.settings.sortData.get());
  searchScope.set(services_.settings.searchScope.get());
  services_.recents.setDirectory(this);

  auto& center = services_.notifications;
  const auto keep = [this](Subscription subscription) { subscriptions_.push_back(std::move(subscription)); };
  keep(center.observe<std::string>(notification::shouldReload,
                                   [this](const std::string& reason) { reloadThrottle_.receive(reason); }));
  keep(center.observe<std::string>(notification::shouldForceReload, [this](const std::string& reason) {
    forceReloadThrottle_.receive(reason);
  }));
  keep(center.observe<MailboxReloadPayload>(notification::shouldReloadWithList,
                                            [this](const MailboxReloadPayload& payload) {
                                              // The list is here, so its load has ended, even where it is
                                              // taken only later.
                                              services_.status.resetLoading();
                                              listThrottle_.receive(payload);
                                            }));
  keep(center.observe<NoObject>(notification::currentExamplesUpdated,
                                [this](const NoObject&) { requestRun(); }));
  keep(services_.status.observeReset([this] {
    if (std::exchange(reloadAgain_, false)) (void)reload("a forced reload that waited", ReloadKind::normal);
  }));
  keep(query.observe([this](const std::string& text) { queryDebounce_.receive(text); }));
  keep(debouncedQuery.observe([this](const std::string&) { startRun(); }));
  observeSettings();
  observeLists();
}

MailboxManager::~MailboxManager() {
  services_.recents.setDirectory(nullptr);
  if (pendingMailboxCountReloadWorkItem_) pendingMailboxCountReloadWorkItem_->cancel();
}

void MailboxManager::observeSettings() {
  auto& settings = services_.settings;
  const auto keep = [this](Subscription subscription) { subscriptions_.push_back(std::move(subscription)); };
  for (auto* setting :
       {&settings.mailboxNameOnly, &settings.favoritesNameOnly, &settings.selectedAccountsOnly,
        &settings.prioritizeAccounts, &settings.rememberRecentMailboxes, &settings.useSmartFilingSuggestions,
        &settings.alwaysShowSmartSuggestionsOnTop}) {
    keep(setting->observe([this](bool) { requestRun(); }));
  }
  keep(settings.caseSensitive.observe([this](bool) { indexLatestList(); }));
  keep(settings.sortData.observe([this](const std::vector<MailboxSort>& sorts) { sortOrder.set(sorts); }));
  keep(sortOrder.observe([this](const std::vector<MailboxSort>& sorts) {
    // Not storable means that it holds until the end of the process; the settings logged why.
    (void)services_.settings.sortData.set(sorts);
    indexLatestList();
  }));
  keep(settings.searchScope.observe([this](const std::vector<std::string>& names) {
    if (!isSettingSearchAccountScope_) setSearchAccountScope(names);
  }));
  keep(searchScope.observe([this](const std::vector<std::string>& names) {
    if (!isSettingSearchAccountScope_) setSearchAccountScope(names);
    requestRun();
  }));
  keep(settings.automaticallyReloadMailboxes.observe([this](bool) {
    if (isActive_) applicationDidBecomeActive();
  }));
}

void MailboxManager::observeLists() {
  const auto keep = [this](Subscription subscription) { subscriptions_.push_back(std::move(subscription)); };
  keep(services_.favorites.mailboxes.observe([this](const std::vector<Mailbox>&) { requestRun(); }));
  keep(services_.recents.mailboxes.observe([this](const std::vector<Mailbox>&) { requestRun(); }));
  keep(services_.excluded.mailboxes.observe([this](const std::vector<Mailbox>&) {
    publishMailboxes();
    requestRun();
  }));
}

void MailboxManager::setSuggestions(SuggestionSource* source) {
  suggestions_ = source;
  requestRun();
}

// --- looking things up

const Mailbox* MailboxManager::findMailbox(std::string_view id) const {
  const auto position = index_->find(id);
  return position ? &index_->mailbox(*position) : nullptr;
}

const Mailbox* MailboxManager::selectedMailbox() const {
  const auto& id = selectedMailboxId.get();
  if (!id) return nullptr;
  if (const auto* known = findMailbox(*id)) return known;
  // A suggested mailbox that the list does not hold.
  const auto& suggested = suggestedMailboxes.get();
  const auto found = std::ranges::find(suggested, *id, &Mailbox::id);
  return found == suggested.end() ? nullptr : &*found;
}

bool MailboxManager::isRecent(std::string_view id) const {
  return services_.settings.rememberRecentMailboxes.get() && services_.recents.contains(id);
}

bool MailboxManager::isSuggested(std::string_view id) const {
  return std::ranges::find(suggestedMailboxes.get(), id, &Mailbox::id) != suggestedMailboxes.get().end();
}

bool MailboxManager::matchesQuery(const Mailbox* mailbox) const {
  const auto mode = services_.settings.caseSensitive.get() ? CaseMode::sensitive : CaseMode::insensitive;
  return MailboxMatcher(debouncedQuery.get(), mode, options(), searchScope.get()).matches(mailbox);
}

// --- taking a list

void MailboxManager::take(const MailboxReloadPayload& payload) {
  services_.log.debug("Reloading mailboxes with a list: " + payload.reason);
  latestList_ = payload.mailboxes;
  mustRefilter_ = mustRefilter_ || payload.force;
  indexLatestList();
}

void MailboxManager::indexLatestList() {
  isIndexing_ = true;
  const auto mode = services_.settings.caseSensitive.get() ? CaseMode::sensitive : CaseMode::insensitive;
  runner_.index(
      {latestList_, sortOrder.get(), mode},
      [this, request = ++indexRequests_](const Result<IndexAnswer>& answer) { takeIndex(request, answer); });
}

void MailboxManager::takeIndex(std::uint64_t request, const Result<IndexAnswer>& answer) {
  // An older list may be ready while a newer one is still at work.
  isIndexing_ = request != indexRequests_;
  if (!isIndexing_) refreshing.set(false);
  if (!answer) {
    services_.log.error("The mailbox list was not taken: " + answer.error().message);
    return tellWaiters();
  }
  mailboxesHash_ = answer->hash;
  if (answer->isNew) {
    const auto before = std::exchange(index_, answer->index);
    if (!isIndexing_) latestList_ = index_->list();
    if (index_->duplicates() > 0) {
      services_.log.debug("Mailboxes whose id was there before: " + std::to_string(index_->duplicates()));
    }
    auto listBefore = allMailboxes.get();
    allMailboxes.set(index_->list());
    publishMailboxes();
    runner_.dispose(std::make_pair(before, std::move(listBefore)));
    mustRefilter_ = true;
  } else if (!isIndexing_) {
    runner_.dispose(std::exchange(latestList_, index_->list()));
  }
  if (std::exchange(mustRefilter_, false)) return startRun();
  tellWaiters();
}

void MailboxManager::publishMailboxes() {
  std::vector<std::uint32_t> hidden;
  for (const auto& mailbox : services_.excluded.mailboxes.get()) {
    if (const auto position = index_->find(mailbox.id)) hidden.push_back(index_->listIndex(*position));
  }
  if (hidden.empty()) return mailboxes.set(MailboxRows(index_->list()));
  std::ranges::sort(hidden);
  MailboxRows::Indices shown;
  shown.reserve(index_->list().size() - hidden.size());
  auto next = hidden.begin();
  for (std::uint32_t i = 0; i < index_->list().size(); ++i) {
    if (next != hidden.end() && *next == i) {
      ++next;
    } else {
      shown.push_back(i);
    }
  }
  mailboxes.set(MailboxRows(index_->list(), std::move(shown)));
}

// --- running the filter

void MailboxManager::search(std::string text, std::function<void()> done) {
  query.set(text);
  queryDebounce_.cancel();
  if (done) waiters_.push_back(std::move(done));
  if (text != debouncedQuery.get()) {
    debouncedQuery.set(std::move(text));
  } else {
    startRun();
  }
  listThrottle_.flush();
}

void MailboxManager::whenSettled(std::function<void()> done) {
  waiters_.push_back(std::move(done));
  listThrottle_.flush();
  tellWaiters();
}

void MailboxManager::tellWaiters() {
  if (isIndexing_ || isRunning_ || runWaits_ || queryDebounce_.isWaiting()) return;
  for (const auto& waiter : std::exchange(waiters_, {})) waiter();
}

void MailboxManager::requestRun() {
  if (std::exchange(runWaits_, true)) return;
  services_.dispatch.main([this, alive = std::weak_ptr<char>(alive_)] {
    if (!alive.expired() && runWaits_) startRun();
  });
}

FilterOptions MailboxManager::options() const {
  const auto& settings = services_.settings;
  return {.mailboxNameOnly = settings.mailboxNameOnly.get(),
          .favoritesNameOnly = settings.favoritesNameOnly.get(),
          .selectedAccountsOnly = settings.selectedAccountsOnly.get(),
          .prioritizeAccounts = settings.prioritizeAccounts.get(),
          .alwaysShowSmartSuggestionsOnTop = settings.alwaysShowSmartSuggestionsOnTop.get()};
}

FilterSnapshot MailboxManager::snapshot() const {
  FilterSnapshot snapshot;
  snapshot.index = index_;
  snapshot.query = debouncedQuery.get();
  snapshot.options = options();
  snapshot.searchScope = searchScope.get();
  snapshot.favorites = services_.favorites.prepare(*index_);
  if (services_.settings.rememberRecentMailboxes.get()) snapshot.recents = services_.recents.prepare(*index_);
  snapshot.excluded = MailboxList(services_.excluded.mailboxes.get());
  snapshot.selectedMailboxId = selectedMailboxId.get();
  return snapshot;
}

void MailboxManager::startRun() {
  runWaits_ = false;
  isRunning_ = true;
  auto* const suggestions = services_.settings.useSmartFilingSuggestions.get() ? suggestions_ : nullptr;
  if (suggestions != nullptr) isPredicting.set(true);
  runner_.run(snapshot(), suggestions,
              [this, selectedBefore = selectedMailboxId.get()](MailboxFilterResult result) {
                isRunning_ = false;
                // It may have taken the place of a run that asked, or have kept one's end from being told.
                result.shouldPostDonePredicting |= isPredicting.get();
                applyRun(std::move(result), selectedBefore);
                tellWaiters();
              });
}

void MailboxManager::applyRun(MailboxFilterResult result, const std::optional<std::string>& selectedBefore) {
  // The user moved the selection while the filter ran: what it decided no longer holds.
  if (selectedMailboxId.get() != selectedBefore) {
    const auto decision =
        decideSelection(result.filteredMailboxes, *index_, selectedMailboxId.get(),
                        result.selectedMailboxOverride ? FirstRow::selected : FirstRow::notSelected);
    result.shouldClearSelection = decision.shouldClearSelection;
    result.selectedMailboxOverride = decision.selectedMailboxOverride;
  }
  apply(std::move(result));
}

void MailboxManager::apply(MailboxFilterResult result) {
  suggestedMailboxes.set(std::move(result.suggestedMailboxes));
  if (result.shouldClearSelection) selectedMailboxId.set(std::nullopt);
  if (result.selectedMailboxOverride) selectedMailboxId.set(std::move(result.selectedMailboxOverride));
  auto before = filteredMailboxes.get();
  filteredMailboxes.set(std::move(result.filteredMailboxes));
  runner_.dispose(std::move(before));
  if (!result.shouldPostDonePredicting) return;
  services_.dispatch.backgroundAfter(
      kEndOfPrediction, [this, dispatch = &services_.dispatch, alive = std::weak_ptr<char>(alive_)] {
        dispatch->main([this, alive] {
          if (!alive.expired()) endPrediction();
        });
      });
}

void MailboxManager::endPrediction() {
  // A run that asked again in the meantime ends by itself.
  if (!isRunning_) isPredicting.set(false);
  services_.notifications.post(notification::donePredictingSuggestions);
}

// --- the search scope

void MailboxManager::setSearchAccountScope(std::vector<std::string> names) {
  isSettingSearchAccountScope_ = true;
  (void)services_.settings.searchScope.set(names);
  searchScope.set(std::move(names));
  isSettingSearchAccountScope_ = false;
}

void MailboxManager::readSearchAccountScope() {
  const auto& stored = services_.settings.searchScope.get();
  if (stored.empty() || services_.helper.readinessError()) return;
  std::string lines;
  for (const auto& name : stored) lines += (lines.empty() ? "" : "\n") + name;
  services_.helper.runAppleScriptHandlerAsync(
      "Scripts/getAccountScope", "getAccountScope", {lines},
      [this, asked = stored, alive = std::weak_ptr<char>(alive_)](const AppleScriptResult& result) {
        if (alive.expired() || services_.settings.searchScope.get() != asked) return;
        if (!result) {
          services_.log.error("The search scope could not be read: " + result.error().message);
          return;
        }
        std::vector<std::string> names;
        for (const auto& item : result->items()) {
          if (auto name = item.textValue()) names.push_back(std::move(*name));
        }
        isSettingSearchAccountScope_ = true;
        searchScope.set(std::move(names));
        isSettingSearchAccountScope_ = false;
      });
}

// --- actions

Result<bool> MailboxManager::addToFavorites() {
  const auto* mailbox = selectedMailbox();
  return mailbox == nullptr ? Result<bool>(false) : services_.favorites.add(*mailbox);
}

Result<bool> MailboxManager::removeFromFavorites() {
  const auto* mailbox = selectedMailbox();
  return mailbox == nullptr ? Result<bool>(false) : services_.favorites.remove(*mailbox);
}

Result<bool> MailboxManager::removeFromRecents() {
  const auto* mailbox = selectedMailbox();
  return mailbox == nullptr ? Result<bool>(false) : services_.recents.remove(*mailbox);
}

}  // namespace quillbox

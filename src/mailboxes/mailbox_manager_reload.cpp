// The manager's side of loading: when a retrieval starts, and the check that notices a changed number.
#include <utility>

#include "mailboxes/mailbox_manager.h"

namespace quillbox {
namespace {

constexpr auto kCountInterval = std::chrono::seconds(60);

}  // namespace

RetrievalVariant MailboxManager::variant() const {
  return services_.settings.useLegacyMailboxRetrieval.get() ? RetrievalVariant::legacy
                                                            : RetrievalVariant::current;
}

QuillboxResult<RetrievalStart> MailboxManager::reload(std::string_view reason, ReloadKind kind,
                                                      MailboxRetrieval::Completion done) {
  services_.log.debug("Reloading mailboxes: " + std::string(reason));
  if (kind == ReloadKind::forced && services_.status.isLoading()) {
    // The list that is being loaded may be older than what the request is about.
    reloadAgain_ = true;
    return RetrievalStart::alreadyLoading;
  }
  auto started = services_.retrieval.start(
      variant(),
      [this, alive = std::weak_ptr<char>(alive_), done = std::move(done)](const AppleScriptResult& result) {
        if (!alive.expired() && !isIndexing_) refreshing.set(false);
        if (done) done(result);
      });
  if (!started) {
    services_.log.error("Mailboxes could not be reloaded: " + started.error().identifier());
  } else if (*started == RetrievalStart::started) {
    refreshing.set(true);
  }
  return started;
}

void MailboxManager::reloadMailboxes() {
  services_.notifications.post(notification::shouldForceReload, "reloadMailboxes");
}

void MailboxManager::handleMailboxesReload(std::string_view reason, ReloadKind kind) {
  services_.notifications.post(notification::shouldReloadWithList,
                               {.mailboxes = allMailboxes.get(),
                                .force = kind == ReloadKind::forced,
                                .reason = "handleMailboxesReload " + std::string(reason)});
}

void MailboxManager::updateTheMailboxList(std::string_view reason) {
  services_.notifications.post(notification::shouldReloadWithList,
                               {.mailboxes = allMailboxes.get(),
                                .force = true,
                                .reason = "updateTheMailboxList: " + std::string(reason)});
}

void MailboxManager::applicationDidBecomeActive() {
  isActive_ = true;
  if (pendingMailboxCountReloadWorkItem_) pendingMailboxCountReloadWorkItem_->cancel();
  pendingMailboxCountReloadWorkItem_.reset();
  if (!services_.settings.automaticallyReloadMailboxes.get()) return;
  checkCount();
  scheduleCountCheck();
}

void MailboxManager::applicationDidResignActive() {
  isActive_ = false;
  if (pendingMailboxCountReloadWorkItem_) pendingMailboxCountReloadWorkItem_->cancel();
  pendingMailboxCountReloadWorkItem_.reset();
}

void MailboxManager::scheduleCountCheck() {
  pendingMailboxCountReloadWorkItem_ =
      services_.dispatch.mainAfter(kCountInterval, [this, alive = std::weak_ptr<char>(alive_)] {
        if (alive.expired() || !isActive_) return;
        isCounting_ = false;  // a script that failed has not said so
        checkCount();
        scheduleCountCheck();
      });
}

void MailboxManager::checkCount() {
  if (isCounting_) return;
  const auto started = services_.retrieval.checkCount(
      // The newest list counts, even while it is still being indexed.
      [this, alive = std::weak_ptr<char>(alive_)] { return alive.expired() ? 0 : latestList_.size(); },
      [this, alive = std::weak_ptr<char>(alive_)](CountDecision decision) {
        if (alive.expired()) return;
        isCounting_ = false;
        if (decision == CountDecision::reload) (void)reload("the number has changed", ReloadKind::normal);
      });
  // While the mail client does not run there is nothing to count.
  isCounting_ = started.has_value();
}

}  // namespace quillbox

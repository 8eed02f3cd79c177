// Files the messages that are selected in the mail client: the one operation behind every way of filing, from
// the call to the bookkeeping.
#pragma once

#include <cstdint>
#include <functional>
#include <optional>

#include "automation/applescript_helper.h"
#include "automation/notifications.h"
#include "automation/quillbox_error.h"
#include "filing/filing_surroundings.h"
#include "model/mailbox.h"
#include "settings/user_settings.h"

namespace quillbox {

enum class FilingAction {
  move,
  copy,
  archive  // moves; messages of web-mail accounts are archived first, whatever their account's mode says
};
enum class KeepOpen { bySetting, yes };

struct TransferRequest {
  std::optional<Mailbox> destination;
  FilingAction action = FilingAction::move;
  KeepOpen keepOpen = KeepOpen::bySetting;
};

// How a transfer ended.
struct TransferOutcome {
  enum class Kind {
    filed,        // the script ended well; `count` messages
    failed,       // `error`, which was posted too; nothing is counted or logged
    alreadyBusy,  // another transfer is under way, so nothing was sent
  };
  Kind kind = Kind::filed;
  std::int32_t count = 0;
  std::optional<AppleScriptError> error;
};

// Main queue only.
class FilingPipeline {
 public:
  struct Services {
    UserSettings& settings;
    AppleScriptHelper& helper;
    Dispatch& dispatch;
    NotificationCenter& notifications;
    const Localizer& localizer;
    Log& log;
    FilingSurroundings& surroundings;
  };
  // Called once, after the bookkeeping, on the main queue; never inside transferSelectedMessages().
  using Completion = std::function<void(const TransferOutcome&)>;

  explicit FilingPipeline(const Services& services) : services_(services) {}

  // Fails with mailNotRunning, then mailboxNotFound, before anything happens; `completion` is not called
  // then. Every later failure is posted as AppleScript.didReceiveErrorNotification.
  QuillboxResult<void> transferSelectedMessages(const TransferRequest& request, Completion completion = {});

  // A transfer's script is running; further transfers are not sent.
  bool isTransferring() const { return running_.has_value(); }
  // The action of the running transfer; the filing script's questions are answered by it.
  std::optional<FilingAction> runningAction() const { return running_; }

  // The number of filed messages that a script's result tells, added to the setting "filedCount": 0 for
  // anything but an integer of at least 1.
  std::int32_t filedCount(const Descriptor& result);
  // The bookkeeping after a transfer: filing log, recents, search text.
  void recordFiling(std::int32_t count, const Mailbox& destination, FilingAction action);

 private:
  void runInlineScript(const Mailbox& destination, FilingAction action, Completion completion);
  void runFilingScript(const Mailbox& destination, FilingAction action, KeepOpen keepOpen,
                       Completion completion);
  void finish(const AppleScriptResult& result, const Mailbox& destination, FilingAction action,
              const Completion& completion);
  // Posts the error and completes later.
  void fail(AppleScriptError error, Completion completion);
  void complete(TransferOutcome outcome, Completion completion);

  Services services_;
  std::optional<FilingAction> running_;
};

}  // namespace quillbox

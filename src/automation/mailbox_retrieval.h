// Starts the scripts that fetch the mailbox list, and the check that notices when it has changed. The list
// itself comes back through the application's own scripting commands while a script runs.
#pragma once

#include <cstdint>
#include <functional>
#include <string_view>

#include "automation/applescript_helper.h"
#include "automation/notifications.h"
#include "automation/script_status.h"

namespace quillbox {

enum class RetrievalVariant { current, legacy };
enum class RetrievalStart {
  started,
  alreadyLoading  // a load reports progress, so the request was dropped
};

// What a count from the mail client means for the list that is held.
enum class CountDecision {
  ignoreSentinel,  // the script failed or timed out
  ignoreInactive,  // this application is not the active one
  ignoreZero,      // no count at all against a known list
  same,            // nothing changed
  ignoreWhileLoading,
  reload
};

struct CountFacts {
  std::int32_t counted = 0;  // what the script answered
  std::size_t held = 0;      // mailboxes in the full list
  bool active = false;       // this application is the active one
  bool loading = false;      // ScriptStatus::isLoading()
};

// The steps in their order, each with its log line.
CountDecision decideOnCount(const CountFacts& facts, Log& log);

// Main queue only.
class MailboxRetrieval {
 public:
  struct Services {
    AppleScriptHelper& helper;
    const ResourceBundle& resources;
    const Workspace& workspace;
    NotificationCenter& notifications;
    ScriptStatus& status;
    Log& log;
  };
  // Called once, on the main queue, after the script ended and its failure, if any, was posted.
  using Completion = std::function<void(const AppleScriptResult&)>;

  explicit MailboxRetrieval(const Services& services) : services_(services) {}

  // Runs the retrieval script. Fails with mailNotRunning, or scriptNotFound with the handler's name; then,
  // and when the request was dropped, `completion` is not called. A script failure is posted as
  // AppleScript.didReceiveErrorNotification and resets the loading state.
  QuillboxResult<RetrievalStart> start(RetrievalVariant variant, Completion completion = {});

  // Counts the mailboxes of the mail client. `heldCount` is asked when the answer is there; `completion` is
  // called once, on the main queue, with what follows from the two numbers, or not at all when the script
  // fails (which is posted). Fails with mailNotRunning.
  QuillboxResult<void> checkCount(std::function<std::size_t()> heldCount,
                                  std::function<void(CountDecision)> completion);

 private:
  Services services_;
};

}  // namespace quillbox

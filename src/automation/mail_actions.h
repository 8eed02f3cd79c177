// What the system does to the mail client beside filing: it shows and makes mailboxes, flags and labels the
// selection, and asks where the mail client's window is.
#pragma once

#include <array>
#include <cstdint>
#include <functional>
#include <string>

#include "automation/applescript_helper.h"
#include "automation/script_texts.h"
#include "model/mailbox.h"
#include "settings/user_settings.h"

namespace quillbox {

// left, top, right, bottom in screen points, y downwards.
using WindowBounds = std::array<std::int32_t, 4>;

// Main queue only. Completions come once, on the main queue, never inside the call. Every action first checks
// that the mail client runs (mailNotRunning); its script's failure is a QuillboxError::appleScriptError.
class MailActions {
 public:
  template <class T>
  using Completion = std::function<void(QuillboxResult<T>)>;

  struct Services {
    AppleScriptHelper& helper;
    const UserSettings& settings;
    const Localizer& localizer;
    Dispatch& dispatch;
    Log& log;
  };
  explicit MailActions(const Services& services) : services_(services) {}

  // Quillbox comes back to the front when "stayOpenAfterShowingMailbox" is on. -2404: there is no such
  // mailbox, or its name would run as script (see script_texts.h), in which case nothing is run.
  void showMailbox(const Mailbox& mailbox, script_texts::Viewer viewer, Completion<void> completion);
  // Makes `name` inside `parentPath`, which may be empty. -2100: it is there. -2500: the account takes none.
  void createMailbox(const std::string& name, const std::string& parentPath, const std::string& account,
                     Completion<Mailbox> completion);
  // -1 clears the flag, 0 to 6 set it; any other number does nothing.
  void flagSelection(std::int64_t flagIndex, Completion<void> completion);
  // `none` does nothing.
  void labelSelection(MessageLabelAppEnum label, Completion<void> completion);
  // Of the mail client's first window.
  void frontmostMailWindowBounds(Completion<WindowBounds> completion);
  // Succeeds when this application may control the mail client.
  void testAutomation(Completion<void> completion);

 private:
  void run(std::string text, std::string label, Completion<Descriptor> completion);
  void failLater(const AppleScriptError& error, Completion<void> completion);
  void runIfAny(std::optional<std::string> text, std::string label, Completion<void> completion);
  script_texts::Reactivate reactivation() const;

  Services services_;
};

}  // namespace quillbox

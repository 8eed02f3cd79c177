// The messages that are selected in the mail client, as values.
#pragma once

#include <functional>
#include <optional>
#include <string>
#include <vector>

#include "automation/applescript_helper.h"
#include "automation/script_texts.h"

namespace quillbox {

struct MailMessage {
  std::string id;  // the Message-ID header's value, as the mail client gives it
  std::string sender;
  std::string subject;
  std::optional<std::string> body;
  std::optional<std::string> source;

  bool operator==(const MailMessage&) const = default;
};

// The answer of script_texts::selectedMessages() as messages; an item that is no list is left out.
std::vector<MailMessage> messagesFromReply(const Descriptor& reply);

// Main queue. Fails with mailNotRunning, or with a script error whose message is "Could not compile selected
// messages script" or "Could not get selected messages" and whose number is the script's.
void getSelectedMessages(AppleScriptHelper& helper, Dispatch& dispatch, Log& log, script_texts::Include body,
                         script_texts::Include source,
                         std::function<void(QuillboxResult<std::vector<MailMessage>>)> completion);

}  // namespace quillbox

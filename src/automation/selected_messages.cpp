#include "automation/selected_messages.h"

namespace quillbox {
namespace {

std::optional<std::string> textOf(const Descriptor* value) {
  return value != nullptr ? value->textValue() : std::nullopt;
}

}  // namespace

std::vector<MailMessage> messagesFromReply(const Descriptor& reply) {
  std::vector<MailMessage> messages;
  for (const auto& item : reply.items()) {
    if (!item.isList()) continue;
    messages.push_back({textOf(item.item(1)).value_or(""), textOf(item.item(2)).value_or(""),
                        textOf(item.item(3)).value_or(""), textOf(item.item(4)), textOf(item.item(5))});
  }
  return messages;
}

void getSelectedMessages(AppleScriptHelper& helper, Dispatch& dispatch, Log& log, script_texts::Include body,
                         script_texts::Include source,
                         std::function<void(QuillboxResult<std::vector<MailMessage>>)> completion) {
  if (const auto error = helper.readinessError()) {
    dispatch.main(
        [completion = std::move(completion), error = *error] { completion(std::unexpected(error)); });
    return;
  }
  helper.runScriptText(
      script_texts::selectedMessages(body, source), "getSelectedMessages",
      [&log, completion = std::move(completion)](const AppleScriptResult& result) {
        if (result) return completion(messagesFromReply(*result));
        log.error("AppleScript Error: " + result.error().message);
        const char* message = result.error().phase == ScriptPhase::compile
                                  ? "Could not compile selected messages script"
                                  : "Could not get selected messages";
        completion(std::unexpected(QuillboxError::appleScriptError(
            AppleScriptError::executionError(message, result.error().number, result.error().phase))));
      });
}

}  // namespace quillbox

#include "automation/mail_actions.h"

#include <utility>

#include "base/error_numbers.h"

namespace quillbox {
namespace {

// A completion that only wants to know whether it went well.
std::function<void(QuillboxResult<Descriptor>)> ignoringResult(MailActions::Completion<void> completion) {
  return [completion = std::move(completion)](const QuillboxResult<Descriptor>& result) {
    if (!result) return completion(std::unexpected(result.error()));
    completion({});
  };
}

}  // namespace

void MailActions::run(std::string text, std::string label, Completion<Descriptor> completion) {
  if (const auto error = services_.helper.readinessError()) {
    services_.dispatch.main(
        [completion = std::move(completion), error = *error] { completion(std::unexpected(error)); });
    return;
  }
  services_.helper.runScriptText(
      std::move(text), std::move(label),
      [this, completion = std::move(completion)](const AppleScriptResult& result) {
        if (result) return completion(*result);
        services_.log.error("AppleScript Error: " + result.error().description());
        completion(std::unexpected(QuillboxError::appleScriptError(result.error())));
      });
}

void MailActions::failLater(const AppleScriptError& error, Completion<void> completion) {
  services_.log.error("AppleScript Error: " + error.description());
  services_.dispatch.main([completion = std::move(completion), error] {
    completion(std::unexpected(QuillboxError::appleScriptError(error)));
  });
}

void MailActions::runIfAny(std::optional<std::string> text, std::string label, Completion<void> completion) {
  if (text) return run(std::move(*text), std::move(label), ignoringResult(std::move(completion)));
  services_.dispatch.main([completion = std::move(completion)] { completion({}); });
}

script_texts::Reactivate MailActions::reactivation() const {
  const bool stays = services_.settings.keepOpenAfterFiling.get() &&
                     services_.settings.stayOpenAfterFlaggingAndLabeling.get();
  return stays ? script_texts::Reactivate::yes : script_texts::Reactivate::no;
}

void MailActions::showMailbox(const Mailbox& mailbox, script_texts::Viewer viewer,
                              Completion<void> completion) {
  services_.log.debug("Trying to show: " + mailbox.path + " of account: " + mailbox.account);
  const bool staysQuoted =
      script_texts::staysQuotedWhenShown(mailbox.path) && script_texts::staysQuotedWhenShown(mailbox.account);
  if (!staysQuoted && !services_.helper.readinessError()) {
    return failLater(AppleScriptError::executionError(
                         "The mailbox '" + mailbox.path + "' in '" + mailbox.account + "' could not be found",
                         error_number::mailboxNotFound),
                     std::move(completion));
  }
  const auto activation = services_.settings.stayOpenAfterShowingMailbox.get()
                              ? script_texts::Activation::quillbox
                              : script_texts::Activation::mail;
  run(script_texts::showMailbox(mailbox.path, mailbox.account, activation, viewer), "reallyShowMailbox",
      ignoringResult(std::move(completion)));
}

void MailActions::createMailbox(const std::string& name, const std::string& parentPath,
                                const std::string& account, Completion<Mailbox> completion) {
  const auto exists = services_.localizer.format("LN_new_mailbox_exists_error %@", {name});
  const auto made = Mailbox::make(name, parentPath.empty() ? name : parentPath + "/" + name, account);
  run(script_texts::createMailbox(name, parentPath, account, exists), "reallyCreateNewMailbox",
      [made, completion = std::move(completion)](const QuillboxResult<Descriptor>& result) {
        if (!result) return completion(std::unexpected(result.error()));
        completion(made);
      });
}

void MailActions::flagSelection(std::int64_t flagIndex, Completion<void> completion) {
  runIfAny(script_texts::flagSelection(flagIndex, reactivation()), "", std::move(completion));
}

void MailActions::labelSelection(MessageLabelAppEnum label, Completion<void> completion) {
  runIfAny(script_texts::labelSelection(label, reactivation()), "labelMessages", std::move(completion));
}

void MailActions::frontmostMailWindowBounds(Completion<WindowBounds> completion) {
  run(script_texts::frontWindowBounds(), "getFrontmostMailWindowBounds",
      [completion = std::move(completion)](const QuillboxResult<Descriptor>& result) {
        if (!result) return completion(std::unexpected(result.error()));
        WindowBounds bounds{};
        for (std::size_t i = 0; i < bounds.size(); ++i) {
          const auto* item = result->item(i + 1);
          const auto number = item != nullptr ? item->int32Value() : std::nullopt;
          if (!number) {
            return completion(
                std::unexpected(QuillboxError::appleScriptError(AppleScriptError::executionError(
                    "Mail answered " + result->description() + " for the bounds of its window",
                    error_number::scriptTextFailed))));
          }
          bounds[i] = *number;
        }
        completion(bounds);
      });
}

void MailActions::testAutomation(Completion<void> completion) {
  run(script_texts::automationTest(), "testSystemEvents", ignoringResult(std::move(completion)));
}

}  // namespace quillbox

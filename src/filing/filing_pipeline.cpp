#include "filing/filing_pipeline.h"

#include <algorithm>
#include <array>
#include <string>
#include <utility>

#include <fmt/format.h>

#include "automation/script_texts.h"
#include "base/error_numbers.h"
#include "base/result.h"

namespace quillbox {
namespace {

constexpr std::array kIntegerKinds{fourCC("long"), fourCC("magn"), fourCC("comp"), fourCC("ucom")};

const char* logKey(std::int32_t count, FilingAction action) {
  if (action == FilingAction::copy) {
    return count == 1 ? "LN_log_copy_singular %lld %@" : "LN_log_copy_plural %lld %@";
  }
  return count == 1 ? "LN_log_move_singular %lld %@" : "LN_log_move_plural %lld %@";
}

}  // namespace

QuillboxResult<void> FilingPipeline::transferSelectedMessages(const TransferRequest& request,
                                                              Completion completion) {
  auto& settings = services_.settings;
  if (auto error = services_.helper.readinessError()) return std::unexpected(*error);
  if (!request.destination) return std::unexpected(QuillboxError::of(QuillboxError::Case::mailboxNotFound));
  const Mailbox& destination = *request.destination;
  const bool useFilingScript = settings.useFilingScript.get();
  services_.log.debug(fmt::format("useFilingScript: {}", useFilingScript));

  // Hidden first, so that the mail client's window is in front while the messages move.
  if (request.keepOpen == KeepOpen::bySetting && !settings.keepOpenAfterFiling.get()) {
    services_.surroundings.hideQuillbox("transferSelectedMessages");
  }
  if (settings.useSmartFilingSuggestions.get()) services_.surroundings.trainOnSelection(destination);
  if (running_) {
    complete({TransferOutcome::Kind::alreadyBusy, 0, std::nullopt}, std::move(completion));
    return {};
  }
  if (useFilingScript) {
    runFilingScript(destination, request.action, request.keepOpen, std::move(completion));
  } else {
    runInlineScript(destination, request.action, std::move(completion));
  }
  return {};
}

void FilingPipeline::runInlineScript(const Mailbox& destination, FilingAction action, Completion completion) {
  const auto& settings = services_.settings;
  script_texts::TransferOptions options{
      .label = settings.labelFiledMessages.get(),
      .flag = settings.flagFiledMessages.get(),
      .markAsRead = settings.markMessagesAsRead.get(),
      .mode =
          action == FilingAction::copy ? script_texts::TransferMode::copy : script_texts::TransferMode::move,
      .playSound = settings.beepAfterFiling.get(),
      .reactivate = settings.keepOpenAfterFiling.get(),
      .scriptRequiredMessage = services_.localizer.text("LN_applescript_error_script_required")};
  running_ = action;
  services_.helper.runScriptText(
      script_texts::transferSelectedMessages(destination.path, destination.account, options),
      "transferSelectedMessages",
      [this, destination, action, completion = std::move(completion)](const AppleScriptResult& result) {
        finish(result, destination, action, completion);
      },
      ScriptOrder::selection);
}

void FilingPipeline::runFilingScript(const Mailbox& destination, FilingAction action, KeepOpen keepOpen,
                                     Completion completion) {
  if (!services_.helper.isFilingScriptInstalled()) {
    return fail(AppleScriptError::executionError(services_.localizer.text("LN_filing_script_not_found"),
                                                 error_number::filingScriptRequired),
                std::move(completion));
  }
  const bool staysOpen = keepOpen == KeepOpen::yes || services_.settings.keepOpenAfterFiling.get();
  running_ = action;
  services_.helper.runFilingScriptHandler(
      "processMessages",
      {Descriptor::list({Descriptor::text(destination.path), Descriptor::text(destination.account),
                         Descriptor::boolean(action != FilingAction::copy), Descriptor::boolean(staysOpen)})},
      [this, destination, action, completion = std::move(completion)](const AppleScriptResult& result) {
        finish(result, destination, action, completion);
      },
      ScriptOrder::selection);
}

void FilingPipeline::finish(const AppleScriptResult& result, const Mailbox& destination, FilingAction action,
                            const Completion& completion) {
  running_.reset();
  if (!result) {
    services_.notifications.post(notification::didReceiveError, result.error());
    if (completion) completion({TransferOutcome::Kind::failed, 0, result.error()});
    return;
  }
  services_.log.debug("AppleScript Output: " + result->description());
  const auto count = filedCount(*result);
  recordFiling(count, destination, action);
  if (completion) completion({TransferOutcome::Kind::filed, count, std::nullopt});
}

std::int32_t FilingPipeline::filedCount(const Descriptor& result) {
  if (std::ranges::find(kIntegerKinds, result.type()) == kIntegerKinds.end()) return 0;
  const std::int32_t count = result.int32Value().value_or(0);
  if (count < 1) return 0;
  services_.log.debug(fmt::format("Filed messages count: {}", count));
  auto& total = services_.settings.filedCount;
  // Another process may have filed meanwhile.
  services_.settings.synchronize();
  std::int64_t sum = 0;
  if (__builtin_add_overflow(total.get(), std::int64_t{count}, &sum)) fatal("the filed count overflows");
  (void)total.set(sum);
  return count;
}

void FilingPipeline::recordFiling(std::int32_t count, const Mailbox& destination, FilingAction action) {
  const auto& settings = services_.settings;
  if (count >= 1 && settings.useLogging.get()) {
    services_.surroundings.appendToFilingLog(services_.localizer.format(
        logKey(count, action), {std::int64_t{count}, mailboxId(destination.account, destination.path)}));
  }
  if (settings.rememberRecentMailboxes.get() && services_.surroundings.addToRecents(destination)) {
    services_.notifications.post(notification::shouldForceReload, "addToRecents");
  }
  if (settings.searchOnActivationMode.get() == SearchOnActivationAppEnum::clearOnAction) {
    services_.dispatch.main([this] { services_.surroundings.clearQuery(); });
  }
}

void FilingPipeline::fail(AppleScriptError error, Completion completion) {
  services_.notifications.post(notification::didReceiveError, error);
  complete({TransferOutcome::Kind::failed, 0, std::move(error)}, std::move(completion));
}

void FilingPipeline::complete(TransferOutcome outcome, Completion completion) {
  if (!completion) return;
  services_.dispatch.main(
      [completion = std::move(completion), outcome = std::move(outcome)] { completion(outcome); });
}

}  // namespace quillbox

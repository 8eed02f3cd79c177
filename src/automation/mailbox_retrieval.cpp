#include "automation/mailbox_retrieval.h"

#include <fmt/format.h>

#include "automation/script_texts.h"

namespace quillbox {
namespace {

struct VariantRow {
  const char* resource;
  const char* handler;
  const char* label;
};

constexpr VariantRow kCurrent{"Scripts/getMailboxesAsListV2", "getMailboxesAsListV2",
                              "getMailboxesUsingAppleScriptV2"};
constexpr VariantRow kLegacy{"Scripts/getMailboxesAsList", "getMailboxesAsList", "getMailboxesAsList"};

}  // namespace

CountDecision decideOnCount(const CountFacts& facts, Log& log) {
  if (facts.counted < 0) {
    log.debug(
        fmt::format("Ignoring mailbox count because script returned sentinel value: {}", facts.counted));
    return CountDecision::ignoreSentinel;
  }
  if (!facts.active) return CountDecision::ignoreInactive;
  if (facts.counted == 0 && facts.held != 0) return CountDecision::ignoreZero;
  log.debug(fmt::format("AllMailboxes Count: {} vs. Return from script: {}", facts.held, facts.counted));
  if (std::cmp_equal(facts.counted, facts.held)) return CountDecision::same;
  if (facts.loading) return CountDecision::ignoreWhileLoading;
  log.debug(fmt::format("Reloading mailboxes automatically because number detected was different: {} vs. {}",
                        facts.held, facts.counted));
  return CountDecision::reload;
}

QuillboxResult<RetrievalStart> MailboxRetrieval::start(RetrievalVariant variant, Completion completion) {
  const auto& row = variant == RetrievalVariant::current ? kCurrent : kLegacy;
  if (auto error = services_.helper.readinessError()) return std::unexpected(*error);
  const auto file = services_.resources.locate(row.resource, "scpt");
  if (!file) return std::unexpected(QuillboxError::scriptNotFound(row.handler));
  if (variant == RetrievalVariant::current && services_.status.isLoading()) {
    services_.log.debug("Mailboxes are being loaded already, ignoring the request");
    return RetrievalStart::alreadyLoading;
  }
  services_.helper.runScriptFile(
      *file, [this, label = std::string(row.label),
              completion = std::move(completion)](const AppleScriptResult& result) {
        services_.status.begin(label);
        if (!result) {
          services_.notifications.post(notification::didReceiveError, result.error());
          services_.status.resetLoading();
        }
        services_.status.end(label);
        if (completion) completion(result);
      });
  return RetrievalStart::started;
}

QuillboxResult<void> MailboxRetrieval::checkCount(std::function<std::size_t()> heldCount,
                                                  std::function<void(CountDecision)> completion) {
  if (auto error = services_.helper.readinessError()) return std::unexpected(*error);
  services_.helper.runScriptText(
      script_texts::mailboxCount(), "getNumberOfMailboxesUsingApplescript",
      [this, heldCount = std::move(heldCount),
       completion = std::move(completion)](const AppleScriptResult& result) {
        if (!result) {
          services_.notifications.post(notification::didReceiveError, result.error());
          return;
        }
        // An answer that is no number counts as the script's own sentinel.
        completion(decideOnCount({result->int32Value().value_or(-1), heldCount(),
                                  services_.workspace.isActive(), services_.status.isLoading()},
                                 services_.log));
      });
  return {};
}

}  // namespace quillbox

#include <array>
#include <string_view>

#include <fmt/format.h>

#include "automation/applescript_error.h"
#include "automation/quillbox_error.h"
#include "base/error_numbers.h"

namespace quillbox {
namespace {

struct CaseRow {
  QuillboxError::Case kind;
  std::string_view name;
  std::string_view key;  // of the description; "%@" in it takes the payload
  std::int64_t number;
};

using enum QuillboxError::Case;

constexpr std::array<CaseRow, 11> kCases{{
    {scriptNotFound, "scriptNotFound", "LN_error_script_not_found %@", error_number::scriptNotLoaded},
    {appleScriptError, "appleScriptError", "LN_error_applescript %@", error_number::scriptTextFailed},
    {encodingError, "encodingError", "LN_error_encoding %@", error_number::textNotUtf8},
    {other, "other", "LN_error_other %@", error_number::scriptTextFailed},
    {none, "none", "LN_error_none", error_number::scriptTextFailed},
    {quillboxNotRunning, "quillboxNotRunning", "LN_error_quillbox_not_running", error_number::mailNotRunning},
    {mailNotRunning, "mailNotRunning", "LN_error_mail_not_running", error_number::mailNotRunning},
    {mailboxNotFound, "mailboxNotFound", "LN_error_mailbox_not_found", error_number::mailboxNotFound},
    {noMessagesSelected, "noMessagesSelected", "LN_error_no_messages_selected",
     error_number::noMessagesSelected},
    {filingScriptNotEnabled, "filingScriptNotEnabled", "LN_error_filing_script_not_enabled",
     error_number::filingScriptRequired},
    {sandbox, "sandbox", "LN_error_sandbox", error_number::notAvailable},
}};

const CaseRow& rowOf(QuillboxError::Case kind) {
  for (const auto& row : kCases) {
    if (row.kind == kind) return row;
  }
  fatal("a QuillboxError of no known case");
}

}  // namespace

AppleScriptError AppleScriptError::executionError(std::string message, std::int64_t number,
                                                  ScriptPhase phase) {
  return {std::move(message), number, phase};
}

std::string AppleScriptError::description() const {
  return fmt::format("executionError(message: {}, number: {})", Descriptor::text(message).description(),
                     number);
}

QuillboxError QuillboxError::scriptNotFound(std::string name) {
  return {Case::scriptNotFound, std::move(name)};
}

QuillboxError QuillboxError::appleScriptError(AppleScriptError error) {
  return {Case::appleScriptError, std::move(error)};
}

QuillboxError QuillboxError::encodingError(std::string text) {
  return {Case::encodingError, std::move(text)};
}

QuillboxError QuillboxError::other(std::string text) {
  return {Case::other, std::move(text)};
}

QuillboxError QuillboxError::of(Case kind) {
  return {kind, std::monostate{}};
}

const std::string& QuillboxError::text() const {
  static const std::string empty;
  const auto* text = std::get_if<std::string>(&payload_);
  return text != nullptr ? *text : empty;
}

const AppleScriptError* QuillboxError::scriptError() const {
  return std::get_if<AppleScriptError>(&payload_);
}

std::string QuillboxError::identifier() const {
  std::string name(rowOf(kind_).name);
  if (const auto* error = scriptError()) return name + "-" + error->description();
  if (std::holds_alternative<std::string>(payload_)) return name + "-" + text();
  return name;
}

std::string QuillboxError::localizedDescription(const Localizer& localizer) const {
  const auto& row = rowOf(kind_);
  if (const auto* error = scriptError()) return localizer.format(row.key, {error->message});
  return localizer.format(row.key, {text()});
}

Error QuillboxError::toError(const Localizer& localizer) const {
  // A script's own message stands by itself: it already says what failed.
  if (const auto* error = scriptError()) return error->toError();
  return {rowOf(kind_).number, localizedDescription(localizer)};
}

}  // namespace quillbox

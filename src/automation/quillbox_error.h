// The errors that reach the user, each with the identifier by which the alert layer tells two of them apart.
#pragma once

#include <expected>
#include <string>
#include <variant>

#include "automation/applescript_error.h"
#include "base/result.h"
#include "platform/localizer.h"

namespace quillbox {

class QuillboxError {
 public:
  // In declaration order; the first four carry a payload.
  enum class Case {
    scriptNotFound,
    appleScriptError,
    encodingError,
    other,
    none,
    quillboxNotRunning,
    mailNotRunning,
    mailboxNotFound,
    noMessagesSelected,
    filingScriptNotEnabled,
    sandbox,
  };

  static QuillboxError scriptNotFound(std::string name);
  static QuillboxError appleScriptError(AppleScriptError error);
  static QuillboxError encodingError(std::string text);
  static QuillboxError other(std::string text);
  // For the cases without a payload.
  static QuillboxError of(Case kind);

  Case kind() const { return kind_; }
  // The payload of scriptNotFound, encodingError and other; empty for the rest.
  const std::string& text() const;
  // nullptr unless kind() is appleScriptError.
  const AppleScriptError* scriptError() const;

  // "scriptNotFound-" and the payload, "mailNotRunning" and so on.
  std::string identifier() const;
  // What the user is told.
  std::string localizedDescription(const Localizer& localizer) const;
  // For callers that speak base/result.h: the script's own number, or the number of the condition.
  Error toError(const Localizer& localizer) const;

  bool operator==(const QuillboxError&) const = default;

 private:
  using Payload = std::variant<std::monostate, std::string, AppleScriptError>;
  QuillboxError(Case kind, Payload payload) : kind_(kind), payload_(std::move(payload)) {}

  Case kind_ = Case::none;
  Payload payload_;
};

template <class T>
using QuillboxResult = std::expected<T, QuillboxError>;

}  // namespace quillbox

// A failed script as the application sees it: a message and a number.
#pragma once

#include <cstdint>
#include <expected>
#include <string>

#include "base/result.h"
#include "platform/descriptor.h"

namespace quillbox {

enum class ScriptPhase { compile, run };

// One case, executionError. Two errors are equal when message and number are; the phase only tells a caller
// whether anything can have happened yet.
struct AppleScriptError {
  std::string message;
  std::int64_t number = 0;
  ScriptPhase phase = ScriptPhase::run;

  static AppleScriptError executionError(std::string message, std::int64_t number,
                                         ScriptPhase phase = ScriptPhase::run);

  // executionError(message: "…", number: -1404)
  std::string description() const;
  Error toError() const { return {number, message}; }

  bool operator==(const AppleScriptError& other) const {
    return message == other.message && number == other.number;
  }
};

using AppleScriptResult = std::expected<Descriptor, AppleScriptError>;

}  // namespace quillbox

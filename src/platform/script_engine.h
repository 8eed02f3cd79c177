// The script engine: compiles AppleScript and sends Apple events to compiled scripts, inside the process.
#pragma once

#include <cstdint>
#include <expected>
#include <memory>
#include <optional>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

#include "platform/descriptor.h"
#include "platform/file_system.h"

namespace quillbox {

// What an engine reports of a failure: every part may be missing, callers fill in their own defaults.
struct ScriptError {
  std::optional<std::string> message;
  std::optional<std::int64_t> number;
  // The place of a syntax error, or of the statement that failed: 1-based, where the engine knows it.
  std::optional<int> line;
  std::optional<int> column;
  // The error arose when the text was compiled; nothing has run.
  bool atCompileTime = false;

  bool operator==(const ScriptError&) const = default;
};

using ScriptResult = std::expected<Descriptor, ScriptError>;

struct AppleEvent {
  FourCC eventClass = 0;
  FourCC eventId = 0;
  // Keyword -> value, in the order in which they were set; '----' is the direct parameter.
  std::vector<std::pair<FourCC, Descriptor>> parameters;

  bool operator==(const AppleEvent&) const = default;
};

// The call of a handler by name: class 'ascr', id 'psbr', the name as text under 'snam', the arguments as one
// list under '----' (an empty list when there are none).
AppleEvent subroutineEvent(std::string handlerName, std::vector<Descriptor> arguments);

// One compiled script. Not reentrant: one call at a time, on one thread.
class CompiledScript {
 public:
  virtual ~CompiledScript() = default;
  // Runs the run handler, or the top-level statements.
  virtual ScriptResult run() = 0;
  // Runs the handler that the event names. An unknown handler gives -1708.
  virtual ScriptResult execute(const AppleEvent& event) = 0;
  // What the last of these calls gave, as a script would write it: {"a", 4.0, mailbox "x" of …}. Empty when
  // it gave no result or an error; nullopt where the engine cannot tell.
  virtual std::optional<std::string> resultInSourceForm() const { return std::nullopt; }
};

// May be called from any thread, several at a time; each call makes a script object of its own.
class ScriptEngine {
 public:
  virtual ~ScriptEngine() = default;
  virtual std::expected<std::unique_ptr<CompiledScript>, ScriptError> compile(std::string_view source) = 0;
  // Loads a compiled script resource from its file.
  virtual std::expected<std::unique_ptr<CompiledScript>, ScriptError> load(const Path& file) = 0;
};

}  // namespace quillbox

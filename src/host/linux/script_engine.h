// The script-engine port over the interpreter.
#pragma once

#include <functional>
#include <memory>
#include <string>
#include <string_view>

#include "applescript/host.h"
#include "applescript/interpreter.h"
#include "base/result.h"
#include "platform/clock.h"
#include "platform/file_system.h"
#include "platform/script_engine.h"

namespace quillbox {

// The applications that one script can tell.
class ScriptApplications {
 public:
  virtual ~ScriptApplications() = default;
  // By name or bundle identifier, without regard to case; nullptr when there is no such application.
  virtual applescript::Application* find(std::string_view nameOrIdentifier) = 0;
  // After every run of the script, whether it went well or not. An error is that of a run that went well.
  virtual Result<void> finish() = 0;
};

// Any thread; each script has its own interpreter and its own applications.
class InterpreterEngine final : public ScriptEngine {
 public:
  struct Parts {
    FileSystem& files;
    const Clock& clock;
    RandomSource& random;
    // Called on the thread of whoever compiles.
    std::function<std::unique_ptr<ScriptApplications>()> makeApplications;
    // What `log` prints; on the thread of the run.
    std::function<void(std::string_view line)> log;
    applescript::Limits limits;
  };
  explicit InterpreterEngine(Parts parts) : parts_(std::move(parts)) {}

  std::expected<std::unique_ptr<CompiledScript>, ScriptError> compile(std::string_view source) override;
  // The file holds a script's source.
  std::expected<std::unique_ptr<CompiledScript>, ScriptError> load(const Path& file) override;

  // The syntax tree of a script, a node a line, for people.
  std::expected<std::string, ScriptError> tree(std::string_view source);

 private:
  const Parts parts_;
};

}  // namespace quillbox

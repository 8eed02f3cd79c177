#include "host/linux/script_engine.h"

#include <algorithm>
#include <exception>
#include <utility>
#include <vector>

#include "host/linux/script_values.h"

namespace quillbox {
namespace {

namespace as = applescript;

constexpr std::uint64_t kLargestScript = 16U << 20U;  // bytes
constexpr std::chrono::milliseconds kWaitPiece{20};

class RunHost final : public as::Host {
 public:
  explicit RunHost(const InterpreterEngine::Parts& parts)
      : parts_(parts), applications_(parts.makeApplications()) {}

  as::Application* application(std::string_view nameOrIdentifier) override {
    return applications_->find(nameOrIdentifier);
  }
  std::chrono::nanoseconds now() override { return parts_.clock.now(); }
  std::chrono::seconds localOffset(std::chrono::nanoseconds at) override {
    return parts_.clock.localOffset(at);
  }
  std::chrono::nanoseconds steady() override { return parts_.clock.steady(); }
  std::uint64_t random() override {
    std::uint64_t number = 0;
    for (const auto byte : parts_.random.bytes16()) number = number << 8U | byte;
    return number;
  }
  void log(std::string_view line) override { parts_.log(line); }
  void wait(std::chrono::nanoseconds time, const std::function<bool()>& cancelled) override {
    const auto end = steady() + time;
    while (!cancelled()) {
      const auto left = end - steady();
      if (left <= std::chrono::nanoseconds(0)) return;
      parts_.clock.pause(std::min<std::chrono::nanoseconds>(left, kWaitPiece));
    }
  }

  Result<void> finish() { return applications_->finish(); }

 private:
  const InterpreterEngine::Parts& parts_;
  std::unique_ptr<ScriptApplications> applications_;
};

ScriptError errorOf(const as::Failure& failure) {
  ScriptError error;
  if (!failure.message.empty()) error.message = failure.message;
  error.number = failure.number;
  if (failure.line > 0) error.line = failure.line;
  if (failure.column > 0) error.column = failure.column;
  error.atCompileTime = failure.atCompileTime;
  return error;
}

class InterpretedScript final : public CompiledScript {
 public:
  InterpretedScript(std::unique_ptr<RunHost> host, std::shared_ptr<const as::Program> program,
                    const as::Limits& limits)
      : host_(std::move(host)), interpreter_(std::move(program), *host_, limits) {}

  ScriptResult run() override { return answer(interpreter_.run()); }

  ScriptResult execute(const AppleEvent& event) override {
    std::string handler;
    std::vector<as::Value> arguments;
    for (const auto& [keyword, value] : event.parameters) {
      if (keyword == fourCC("snam")) handler = value.textValue().value_or("");
      if (keyword != fourCC("----")) continue;
      for (const auto& item : value.items()) arguments.push_back(valueOf(item));
    }
    return answer(interpreter_.call(handler, std::move(arguments)));
  }

  std::optional<std::string> resultInSourceForm() const override { return interpreter_.source(last_); }

 private:
  ScriptResult answer(const as::Outcome<as::Value>& outcome) {
    const auto finished = host_->finish();
    last_ = outcome && finished ? *outcome : as::Value::nothing();
    if (!outcome) return std::unexpected(errorOf(outcome.error()));
    if (!finished) {
      return std::unexpected(ScriptError{finished.error().message, finished.error().number, {}, {}, false});
    }
    return descriptorOf(*outcome, [this](const as::Value& value) { return interpreter_.source(value); });
  }

  std::unique_ptr<RunHost> host_;  // before the interpreter, which uses it to its end
  as::Interpreter interpreter_;
  as::Value last_;  // after the interpreter, which it must not outlive
};

}  // namespace

std::expected<std::unique_ptr<CompiledScript>, ScriptError> InterpreterEngine::compile(
    std::string_view source) {
  auto host = std::make_unique<RunHost>(parts_);
  auto program = as::compile(source, *host);
  if (!program) {
    auto error = errorOf(program.error());
    error.atCompileTime = true;
    return std::unexpected(std::move(error));
  }
  return std::make_unique<InterpretedScript>(std::move(host), std::move(*program), parts_.limits);
}

std::expected<std::string, ScriptError> InterpreterEngine::tree(std::string_view source) {
  RunHost host(parts_);
  const auto program = as::compile(source, host);
  if (!program) return std::unexpected(errorOf(program.error()));
  return as::dumpTree(**program);
}

std::expected<std::unique_ptr<CompiledScript>, ScriptError> InterpreterEngine::load(const Path& file) {
  const auto source = parts_.files.read(file, kLargestScript);
  if (!source) {
    return std::unexpected(ScriptError{source.error().message, {}, {}, {}, true});
  }
  return compile(*source);
}

}  // namespace quillbox

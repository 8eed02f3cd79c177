#include "support/recording_script_engine.h"

namespace quillbox {
namespace {

const Descriptor* parameter(const AppleEvent& event, std::string_view keyword) {
  for (const auto& [key, value] : event.parameters) {
    if (key == fourCC(keyword)) return &value;
  }
  return nullptr;
}

}  // namespace

class RecordingScriptEngine::Script final : public CompiledScript {
 public:
  Script(RecordingScriptEngine& engine, std::string text) : engine_(engine), text_(std::move(text)) {}
  ScriptResult run() override { return engine_.reply({text_, {}}); }
  ScriptResult execute(const AppleEvent& event) override { return engine_.reply({text_, event}); }

 private:
  RecordingScriptEngine& engine_;
  std::string text_;
};

std::string RecordingScriptEngine::Call::handler() const {
  const Descriptor* name = parameter(event, "snam");
  return name == nullptr ? "" : name->textValue().value_or("");
}

std::vector<Descriptor> RecordingScriptEngine::Call::arguments() const {
  const Descriptor* list = parameter(event, "----");
  return list == nullptr ? std::vector<Descriptor>{} : list->items();
}

void RecordingScriptEngine::answer(ScriptResult result) {
  const std::lock_guard lock(mutex_);
  answers_.push_back(std::move(result));
}

void RecordingScriptEngine::setDefaultAnswer(ScriptResult result) {
  const std::lock_guard lock(mutex_);
  default_ = std::move(result);
}

void RecordingScriptEngine::setRule(std::function<std::optional<ScriptResult>(const Call&)> rule) {
  const std::lock_guard lock(mutex_);
  rule_ = std::move(rule);
}

void RecordingScriptEngine::failCompiling(std::string part, ScriptError error) {
  error.atCompileTime = true;
  const std::lock_guard lock(mutex_);
  failing_.emplace_back(std::move(part), std::move(error));
}

std::vector<RecordingScriptEngine::Call> RecordingScriptEngine::calls() const {
  const std::lock_guard lock(mutex_);
  return calls_;
}

std::vector<std::string> RecordingScriptEngine::texts() const {
  const std::lock_guard lock(mutex_);
  std::vector<std::string> texts;
  for (const auto& call : calls_) {
    if (!call.isEvent()) texts.push_back(call.text);
  }
  return texts;
}

void RecordingScriptEngine::forget() {
  const std::lock_guard lock(mutex_);
  calls_.clear();
}

std::expected<std::unique_ptr<CompiledScript>, ScriptError> RecordingScriptEngine::make(std::string text) {
  const std::lock_guard lock(mutex_);
  for (const auto& [part, error] : failing_) {
    if (text.find(part) != std::string::npos) return std::unexpected(error);
  }
  return std::make_unique<Script>(*this, std::move(text));
}

std::expected<std::unique_ptr<CompiledScript>, ScriptError> RecordingScriptEngine::compile(
    std::string_view source) {
  return make(std::string(source));
}

std::expected<std::unique_ptr<CompiledScript>, ScriptError> RecordingScriptEngine::load(const Path& file) {
  return make(file.string());
}

ScriptResult RecordingScriptEngine::reply(Call call) {
  std::function<std::optional<ScriptResult>(const Call&)> rule;
  {
    const std::lock_guard lock(mutex_);
    calls_.push_back(call);
    rule = rule_;
  }
  if (rule) {
    if (auto result = rule(call)) return *std::move(result);
  }
  const std::lock_guard lock(mutex_);
  if (answers_.empty()) return default_;
  ScriptResult result = std::move(answers_.front());
  answers_.pop_front();
  return result;
}

}  // namespace quillbox

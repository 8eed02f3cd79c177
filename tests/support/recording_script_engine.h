// A script engine that runs nothing: it answers what a test tells it to and remembers what it was asked.
#pragma once

#include <deque>
#include <functional>
#include <mutex>
#include <string>
#include <utility>
#include <vector>

#include "platform/script_engine.h"

namespace quillbox {

// Any thread. An answer is looked for in this order: the rule, then the queued answers, then the default
// answer (null, unless set).
class RecordingScriptEngine final : public ScriptEngine {
 public:
  struct Call {
    std::string text;  // the source that ran, or the path of the loaded script
    AppleEvent event;  // empty (class 0) when the whole text ran

    bool isEvent() const { return event.eventClass != 0; }
    // The handler name and the arguments of a subroutine event.
    std::string handler() const;
    std::vector<Descriptor> arguments() const;
  };

  // The next run or event is answered by `result`; queued answers are used up in order.
  void answer(ScriptResult result);
  void setDefaultAnswer(ScriptResult result);
  // Asked first for every run and event; nullopt leaves the call to the queued answers. Called without a
  // lock.
  void setRule(std::function<std::optional<ScriptResult>(const Call&)> rule);
  // Texts that contain `part` (or load()s of paths that do) fail with `error`, which is marked as of compile
  // time.
  void failCompiling(std::string part, ScriptError error);

  std::vector<Call> calls() const;
  // The sources of all runs, without events.
  std::vector<std::string> texts() const;
  void forget();

  std::expected<std::unique_ptr<CompiledScript>, ScriptError> compile(std::string_view source) override;
  std::expected<std::unique_ptr<CompiledScript>, ScriptError> load(const Path& file) override;

 private:
  class Script;

  std::expected<std::unique_ptr<CompiledScript>, ScriptError> make(std::string text);
  ScriptResult reply(Call call);

  mutable std::mutex mutex_;
  std::deque<ScriptResult> answers_;
  ScriptResult default_ = Descriptor();
  std::function<std::optional<ScriptResult>(const Call&)> rule_;
  std::vector<std::pair<std::string, ScriptError>> failing_;
  std::vector<Call> calls_;
};

}  // namespace quillbox

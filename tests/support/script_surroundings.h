// Everything that running scripts needs, moved by hand: what the tests and benchmarks derive from whose
// subject stands on the script runner. Link automation and settings beside test_support.
#pragma once

#include <optional>
#include <stdexcept>
#include <string>
#include <utility>
#include <vector>

#include "automation/applescript_helper.h"
#include "platform/installed_script_runner.h"
#include "platform/notification_center.h"
#include "settings/user_settings.h"
#include "support/fakes.h"
#include "support/manual_dispatch.h"
#include "support/recording_script_engine.h"

namespace quillbox {

// A folder of user scripts without any, until a test sets `installed`. Then it writes down what is run, and
// answers inside the call when an answer is set; otherwise the test completes the call.
class FakeInstalledScripts final : public InstalledScriptRunner {
 public:
  Path directory() const override { return folder; }
  bool isInstalled(const std::string&) const override { return installed; }
  void execute(const std::string& fileName, AppleEvent event, Completion completion) override {
    if (!installed) throw std::logic_error(fileName + " is run and was not installed");
    files.push_back(fileName);
    events.push_back(std::move(event));
    if (answer) return completion(*answer);
    completions.push_back(std::move(completion));
  }

  Path folder = "/scripts";
  bool installed = false;
  std::optional<InstalledScriptResult> answer;
  std::vector<std::string> files;
  std::vector<AppleEvent> events;
  std::vector<Completion> completions;
};

class ScriptSurroundings {
 protected:
  ManualClock clock_;
  ManualDispatch dispatch_{clock_};
  NotificationCenter notifications_;
  RecordingScriptEngine engine_;
  FakeInstalledScripts installed_;
  FakeResourceBundle resources_;
  FakeWorkspace workspace_;
  FakeLocalizer localizer_;
  RecordingLog log_;
  ScriptStatus status_;
  MemoryUserDefaults defaults_;
  UserSettings settings_{defaults_, log_};
  AppleScriptHelper helper_{
      {engine_, installed_, resources_, workspace_, dispatch_, localizer_, log_, status_}};
};

}  // namespace quillbox

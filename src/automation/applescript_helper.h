// Runs scripts, in three ways, and turns their failures into AppleScriptError: texts made at run time,
// handlers of the scripts among the application's resources, and handlers of the filing script that the user
// installed.
#pragma once

#include <cstdint>
#include <functional>
#include <memory>
#include <optional>
#include <string>
#include <vector>

#include "automation/applescript_error.h"
#include "automation/quillbox_error.h"
#include "automation/script_status.h"
#include "platform/dispatch.h"
#include "platform/installed_script_runner.h"
#include "platform/localizer.h"
#include "platform/log.h"
#include "platform/resource_bundle.h"
#include "platform/script_engine.h"
#include "platform/workspace.h"

namespace quillbox {

// Scripts that read the selected messages and scripts that file them would else overtake each other, and a
// message that has been filed can no longer be read in its old place.
enum class ScriptOrder {
  any,
  selection  // begins when the earlier ones of this order have ended
};

// One instance, made at start; must outlive the dispatch queues' tasks. Called on the main queue. Every
// completion is called exactly once, on the main queue, never before the call that takes it has returned.
// Nothing is retried, and runs are independent of each other.
class AppleScriptHelper {
 public:
  using Completion = std::function<void(AppleScriptResult)>;

  static constexpr std::int32_t currentFilingScriptVersion = 8;
  static constexpr const char* filingScriptFile = "Quillbox Filing.scpt";

  struct Services {
    ScriptEngine& engine;
    InstalledScriptRunner& installedScripts;
    const ResourceBundle& resources;
    const Workspace& workspace;
    Dispatch& dispatch;
    const Localizer& localizer;
    Log& log;
    ScriptStatus& status;
  };
  explicit AppleScriptHelper(const Services& services);

  // Compiles and runs a text. Error -1000 where the engine gives no number; `phase` of the error tells
  // whether the text compiled. `label` is the running operation while it runs ("getAccounts"); empty for
  // none.
  void runScriptText(std::string source, std::string label, Completion completion,
                     ScriptOrder order = ScriptOrder::any);

  // Loads a script file and runs its run handler. Errors -1001 and -1002 as below.
  void runScriptFile(Path file, Completion completion);

  // Calls a handler of the resource script `resourceName` ("Scripts/getMailboxesAsListV2") with texts. A
  // script that cannot be loaded gives "Failed to load AppleScript." and -1001 where the engine says nothing
  // better, a failed handler "Unknown AppleScript error." and -1002.
  void runAppleScriptHandlerAsync(std::string resourceName, std::string handlerName,
                                  std::vector<std::string> parameters, Completion completion,
                                  ScriptOrder order = ScriptOrder::any);

  // Calls a handler of "Quillbox Filing.scpt" out of process. The failure is read by parseFailureText().
  // With ScriptOrder::selection it is sent when the earlier scripts have ended, but does not hold up later
  // ones.
  void runFilingScriptHandler(std::string handlerName, std::vector<Descriptor> parameters,
                              Completion completion, ScriptOrder order = ScriptOrder::any);
  bool isFilingScriptInstalled() const;

  // Nothing when a script may be sent to the mail client, else why not.
  std::optional<QuillboxError> readinessError() const;

  // The application-scripts folder, where the filing script is installed.
  Path directoryURL() const { return services_.installedScripts.directory(); }
  // What the installed script answered to readFilingScriptVersion(); absent until then.
  Observable<std::optional<std::int32_t>>& filingScriptVersion() { return filingScriptVersion_; }
  // Asks the installed script for its version. `done` follows once, with or without an answer.
  void readFilingScriptVersion(std::function<void()> done);
  // One line at info level when the version is known.
  void logFilingScriptVersion() const;

 private:
  using Work = std::function<AppleScriptResult()>;
  void runInBackground(std::string label, Work work, Completion completion, ScriptOrder order);

  Services services_;
  Observable<std::optional<std::int32_t>> filingScriptVersion_;
  std::unique_ptr<SerialQueue> selectionQueue_;  // last: its tasks use the rest
};

}  // namespace quillbox

// The application's own scripting commands: one class each, named as Resources/Quillbox.sdef names it.
//
// The host (Cocoa scripting on macOS, the interpreter's application on Linux) makes a command by its class
// name, gives it the evaluated arguments and has it performed on the main queue.
#pragma once

#include <cstdint>
#include <functional>
#include <memory>
#include <optional>
#include <string_view>
#include <utility>

#include "automation/account_manager.h"
#include "automation/applescript_helper.h"
#include "automation/mailbox_retrieval.h"
#include "automation/notifications.h"
#include "automation/script_status.h"
#include "base/result.h"
#include "filing/filing_pipeline.h"
#include "platform/clock.h"
#include "platform/descriptor.h"
#include "platform/dispatch.h"
#include "platform/resource_bundle.h"
#include "platform/sound_player.h"
#include "settings/user_settings.h"

namespace quillbox {

struct ScriptingServices {
  UserSettings& settings;
  ScriptStatus& status;
  NotificationCenter& notifications;
  AppleScriptHelper& helper;
  MailboxRetrieval& retrieval;
  AccountManager& accounts;
  const FilingPipeline& filing;
  const ResourceBundle& resources;
  SoundPlayer& sounds;
  RandomSource& random;
  const Localizer& localizer;
  Log& log;
  Dispatch& dispatch;
  // The mailbox that is selected in the main window's list.
  std::function<std::optional<Mailbox>()> selectedMailbox;
};

// Main queue only.
class ScriptCommand {
 public:
  // Arguments by parameter name; the direct parameter stands under the empty key.
  using Arguments = Descriptor::Record;
  // The result, null for none, or the command's script error number and error string.
  using Reply = std::function<void(Result<Descriptor>)>;

  virtual ~ScriptCommand() = default;
  void setEvaluatedArguments(Arguments arguments) { arguments_ = std::move(arguments); }
  // Calls `reply` exactly once, at once or later; the command must live until then.
  virtual void performDefaultImplementation(const Reply& reply) = 0;

 protected:
  // nullptr when there is none.
  const Descriptor* argument(std::string_view key) const {
    for (const auto& [name, value] : arguments_) {
      if (name == key) return &value;
    }
    return nullptr;
  }
  const Descriptor* directParameter() const { return argument(""); }
  // The direct parameter itself, for a command that takes it to another queue; null when there is none.
  Descriptor takeDirectParameter() {
    for (auto& [name, value] : arguments_) {
      if (name.empty()) return std::move(value);
    }
    return {};
  }

 private:
  Arguments arguments_;
};

// nullptr for a class name that no command has. The services must outlive the command.
std::unique_ptr<ScriptCommand> makeScriptCommand(std::string_view className,
                                                 const ScriptingServices& services);

// The resource of a filing sound ("Sounds/bass", extension "aiff"); nothing for `system`. `random` picks one
// of the thirteen evenly.
std::optional<std::string> filingSoundResource(FilingSoundAppEnum sound, RandomSource& random);

}  // namespace quillbox

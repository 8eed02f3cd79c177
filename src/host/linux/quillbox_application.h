// Application "Quillbox 4" as scripts of the interpreter address it: commands and properties of scripting/,
// reached on the main queue from the thread of the script.
#pragma once

#include <chrono>
#include <functional>
#include <memory>
#include <string>

#include "applescript/host.h"
#include "host/linux/scripting_definition.h"
#include "platform/dispatch.h"
#include "scripting/application_properties.h"
#include "scripting/script_command.h"

namespace quillbox {

class QuillboxApplication final : public applescript::Application {
 public:
  struct Parts {
    Dispatch& dispatch;
    const ScriptingServices& services;
    // Brings the application to the front. Main queue.
    std::function<void()> activate;
    std::function<bool()> isFrontmost;
    std::string version;
  };

  // `sdef` is the text of Resources/Quillbox.sdef. Fails with error_number::damagedFile.
  static Result<std::unique_ptr<QuillboxApplication>> make(std::string_view sdef, const Parts& parts);

  const std::string& name() const override { return name_; }
  std::string identifier() const override;
  const applescript::Terminology& terminology() const override { return *terminology_; }
  applescript::Outcome<void> beginEvent(std::chrono::nanoseconds timeout) override;
  void endEvent() override {}
  applescript::ObjectRef root() override;
  // Waits for the command's reply as long as the event's timeout allows (-1712). Commands that run on after
  // that do so unnoticed.
  applescript::Outcome<applescript::Value> perform(const applescript::Event& event) override;

 private:
  class Root;
  QuillboxApplication(const Parts& parts, std::shared_ptr<const applescript::Terminology> terminology,
                      ScriptingDefinition definition);

  const std::string name_ = "Quillbox 4";
  Parts parts_;
  std::shared_ptr<const applescript::Terminology> terminology_;
  ScriptingDefinition definition_;
  ApplicationProperties properties_;
};

}  // namespace quillbox

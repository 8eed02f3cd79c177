// The application-scripts folder of a profile, whose scripts the interpreter runs from their source.
#pragma once

#include "platform/dispatch.h"
#include "platform/file_system.h"
#include "platform/installed_script_runner.h"
#include "platform/script_engine.h"

namespace quillbox {

// Runs on the background queue; a script cannot harm the process, so it stays inside.
class InstalledScripts final : public InstalledScriptRunner {
 public:
  // All must outlive it and its runs.
  InstalledScripts(Path directory, FileSystem& files, ScriptEngine& engine, Dispatch& dispatch)
      : directory_(std::move(directory)), files_(files), engine_(engine), dispatch_(dispatch) {}

  Path directory() const override { return directory_; }
  bool isInstalled(const std::string& fileName) const override;
  void execute(const std::string& fileName, AppleEvent event, Completion completion) override;

 private:
  Path directory_;
  FileSystem& files_;
  ScriptEngine& engine_;
  Dispatch& dispatch_;
};

}  // namespace quillbox

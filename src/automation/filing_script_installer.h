// Puts the filing script of the application's resources into the user's application-scripts folder, which the
// user has to choose in a panel before a sandboxed application may write there.
#pragma once

#include <functional>
#include <optional>
#include <string>
#include <string_view>

#include "automation/applescript_helper.h"
#include "automation/quillbox_error.h"
#include "platform/clock.h"
#include "platform/file_system.h"

namespace quillbox {

// The panel and the alert. Main queue.
class InstallerInterface {
 public:
  struct Panel {
    std::string prompt;
    std::string message;
    Path directory;  // where it opens; folders only can be chosen
  };
  virtual ~InstallerInterface() = default;
  // Shows the panel without blocking; `chosen` gets the folder, or nothing when the user gave up.
  virtual void chooseFolder(const Panel& panel, std::function<void(std::optional<Path>)> chosen) = 0;
  virtual void showAlert(const std::string& title, const std::string& text, const std::string& button) = 0;
};

// Main queue only.
class FilingScriptInstaller {
 public:
  struct Services {
    AppleScriptHelper& helper;
    const ResourceBundle& resources;
    FileSystem& files;
    RandomSource& random;
    const Localizer& localizer;
    Log& log;
    InstallerInterface& interface;
  };
  enum class Installed { yes, no };
  using Completion = std::function<void(QuillboxResult<Installed>)>;

  explicit FilingScriptInstaller(const Services& services) : services_(services) {}

  // Shows the panel, then installs. `no` when the user gave up or chose any other folder.
  void chooseFolderAndInstall(Completion completion);

  // Puts the script in the place of the one that is there, which stays when the folder cannot take the new
  // one. `no`: the folder is another one, or the old script could not be removed, which is logged. Fails with
  // scriptNotFound when the application has no such script, or `other` with the reason why it could not be
  // copied.
  QuillboxResult<Installed> install(const std::optional<Path>& chosen);

 private:
  Result<void> replace(const Path& destination, std::string_view script);

  Services services_;
};

}  // namespace quillbox

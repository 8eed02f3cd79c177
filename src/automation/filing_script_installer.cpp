#include "automation/filing_script_installer.h"

#include <cerrno>
#include <utility>

#include "base/uuid.h"
#include "platform/workspace.h"

namespace quillbox {
namespace {

constexpr std::uint64_t kLargestScript = 16U << 20U;  // bytes

}  // namespace

void FilingScriptInstaller::chooseFolderAndInstall(Completion completion) {
  services_.interface.chooseFolder({"Select Script Folder",
                                    "Please select the User > Library > Application Scripts > " +
                                        std::string(quillboxBundleIdentifier) + " folder",
                                    services_.helper.directoryURL()},
                                   [this, completion = std::move(completion)](
                                       const std::optional<Path>& chosen) { completion(install(chosen)); });
}

QuillboxResult<FilingScriptInstaller::Installed> FilingScriptInstaller::install(
    const std::optional<Path>& chosen) {
  if (!chosen || *chosen != services_.helper.directoryURL()) return Installed::no;
  const auto source = services_.resources.locate("Scripts/Quillbox Filing", "scpt");
  if (!source) return std::unexpected(QuillboxError::scriptNotFound("Quillbox Filing"));
  auto script = services_.files.read(*source, kLargestScript);
  if (!script) return std::unexpected(QuillboxError::other(script.error().message));

  const Path destination = *chosen / AppleScriptHelper::filingScriptFile;
  if (const auto copied = replace(destination, *script); !copied) {
    // The script that could not be removed is still there; that has been logged.
    if (copied.error().number == EEXIST) return Installed::no;
    return std::unexpected(QuillboxError::other(copied.error().message));
  }
  services_.interface.showAlert(services_.localizer.text("LN_filing_script_installed"),
                                services_.localizer.text("LN_filing_script_installed_message"),
                                services_.localizer.text("LN_ok"));
  return Installed::yes;
}

Result<void> FilingScriptInstaller::replace(const Path& destination, std::string_view script) {
  auto& files = services_.files;
  // Written beside its place first: a full disk takes nothing away, a stop leaves no half script.
  Path draft = destination;
  draft += "." + uuidFromRandom(services_.random.bytes16()) + ".tmp";
  const auto write = [&]() -> Result<void> {
    auto file = files.create(draft, CreateMode::exclusive, 0600);
    if (!file) return forward(file);
    if (auto done = (*file)->write(script); !done) return done;
    if (auto done = (*file)->sync(); !done) return done;
    if (auto done = (*file)->close(); !done) return done;
    if (const auto removed = files.remove(destination); !removed && removed.error().number != ENOENT)
      services_.log.error("Error removing existing file: " + removed.error().message);
    return files.renameNoReplace(draft, destination);
  };
  if (auto done = write(); !done) {
    (void)files.remove(draft);
    return done;
  }
  return files.syncDirectory(destination.parent_path());
}

}  // namespace quillbox

// The scripts that the user installed in the application-scripts folder, run outside the application's own
// process where the host demands that (NSUserAppleScriptTask).
#pragma once

#include <expected>
#include <functional>
#include <string>

#include "platform/descriptor.h"
#include "platform/file_system.h"
#include "platform/script_engine.h"

namespace quillbox {

// What the platform says of a failed run, in one text that ends in a colon, the message and the script error
// number in parentheses: "The operation couldn’t be completed. Quillbox Filing.scpt: No such mailbox
// (-1728)".
struct InstalledScriptFailure {
  std::string text;
  bool operator==(const InstalledScriptFailure&) const = default;
};

using InstalledScriptResult = std::expected<Descriptor, InstalledScriptFailure>;

// Any thread.
class InstalledScriptRunner {
 public:
  using Completion = std::function<void(InstalledScriptResult)>;

  virtual ~InstalledScriptRunner() = default;
  // The application-scripts folder of this user for this application; it need not exist.
  virtual Path directory() const = 0;
  // Whether the folder holds a script of that file name ("Quillbox Filing.scpt").
  virtual bool isInstalled(const std::string& fileName) const = 0;
  // Sends `event` to that script. `completion` is called exactly once, on a queue of the host's choosing,
  // never before execute() returned.
  virtual void execute(const std::string& fileName, AppleEvent event, Completion completion) = 0;
};

}  // namespace quillbox

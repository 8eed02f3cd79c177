// The other applications of the desktop, by bundle identifier.
#pragma once

#include <string_view>

namespace quillbox {

inline constexpr std::string_view mailBundleIdentifier = "com.apple.mail";
inline constexpr std::string_view quillboxBundleIdentifier = "com.brix.Quillbox4";

// Main queue, except isRunning(), which any thread may ask.
class Workspace {
 public:
  virtual ~Workspace() = default;
  virtual bool isRunning(std::string_view bundleIdentifier) const = 0;
  // Whether this application is the active one.
  virtual bool isActive() const = 0;
};

}  // namespace quillbox

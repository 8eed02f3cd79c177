// Which applications run, on a host where the mail client is a part of this process.
#pragma once

#include <functional>
#include <utility>

#include "platform/workspace.h"

namespace quillbox {

class ProfileWorkspace final : public Workspace {
 public:
  // `mailRuns` says whether the profile's mail client exists in this process (any thread asks); `active`
  // whether this application is the active one.
  ProfileWorkspace(std::function<bool()> mailRuns, std::function<bool()> active)
      : mailRuns_(std::move(mailRuns)), active_(std::move(active)) {}

  bool isRunning(std::string_view bundleIdentifier) const override {
    if (bundleIdentifier == mailBundleIdentifier) return mailRuns_();
    return bundleIdentifier == quillboxBundleIdentifier;
  }
  bool isActive() const override { return active_(); }

 private:
  std::function<bool()> mailRuns_;
  std::function<bool()> active_;
};

}  // namespace quillbox

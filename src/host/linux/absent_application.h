// An application that scripts name and this host does not have: what addresses it compiles, and fails when it
// runs.
#pragma once

#include <memory>
#include <string>
#include <utility>

#include "applescript/host.h"

namespace quillbox {

class AbsentApplication final : public applescript::Application {
 public:
  AbsentApplication(std::string name, std::string identifier,
                    std::shared_ptr<const applescript::Terminology> terminology)
      : name_(std::move(name)), identifier_(std::move(identifier)), terminology_(std::move(terminology)) {}

  const std::string& name() const override { return name_; }
  std::string identifier() const override { return identifier_; }
  const applescript::Terminology& terminology() const override { return *terminology_; }
  bool isRunning() const override { return false; }
  // Always -600, so that nothing below is ever asked.
  applescript::Outcome<void> beginEvent(std::chrono::nanoseconds) override {
    return applescript::failure(applescript::error::notRunning);
  }
  void endEvent() override {}
  applescript::ObjectRef root() override { return nullptr; }
  applescript::Outcome<applescript::Value> perform(const applescript::Event&) override {
    return applescript::failure(applescript::error::notRunning);
  }

 private:
  const std::string name_;
  const std::string identifier_;
  const std::shared_ptr<const applescript::Terminology> terminology_;
};

}  // namespace quillbox

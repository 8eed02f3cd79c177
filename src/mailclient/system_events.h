// Application "System Events" of one script, as far as the mail client has keys: scripts press the arrow keys
// in process "Mail", and the viewer in front follows.
//
//   key code 123      left: collapses the selected conversations     125   down: selects the row below
//   key code 124      right: expands them                            126   up: selects the row above
#pragma once

#include <chrono>
#include <memory>
#include <string>
#include <string_view>

#include "applescript/host.h"
#include "mailclient/mail_session.h"

namespace quillbox::mailclient {

inline constexpr std::string_view systemEventsIdentifier = "com.apple.systemevents";

// Any other key, and any key together with modifiers, is an error that names the key; nothing changes. There
// are no other processes, and nothing else can be asked: every other event ends in -600, as it would where no
// System Events run.
class SystemEvents final : public applescript::Application {
 public:
  // Presses keys in the session of the same run, so that what the run has moved is where it moved it. The
  // session outlives this.
  SystemEvents(MailSession& mail, std::shared_ptr<const applescript::Terminology> terminology)
      : mail_(mail), terminology_(std::move(terminology)) {}

  const std::string& name() const override;
  std::string identifier() const override { return std::string(systemEventsIdentifier); }
  const applescript::Terminology& terminology() const override { return *terminology_; }
  applescript::Outcome<void> beginEvent(std::chrono::nanoseconds timeout) override {
    return mail_.beginEvent(timeout);
  }
  void endEvent() override { mail_.endEvent(); }
  applescript::ObjectRef root() override;
  applescript::Outcome<applescript::Value> perform(const applescript::Event& event) override;

 private:
  MailSession& mail_;
  std::shared_ptr<const applescript::Terminology> terminology_;
};

}  // namespace quillbox::mailclient

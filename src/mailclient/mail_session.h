// The mail client as application "Mail" of one script.
//
//   auto terms = applescript::Terminology::parse(textOfMailSdef);
//   MailSession session(mailClient, *terms);     // answers to Host::application("Mail") during the run
//   auto result = interpreter.run();
//   auto finished = session.finish();            // in any case; its error is the run's when the run had none
#pragma once

#include <chrono>
#include <memory>
#include <string>

#include "applescript/host.h"
#include "base/result.h"
#include "mailclient/mail_client.h"

namespace quillbox::mailclient {

class MailModel;

// What the script changes is one filing: one entry of the journal, one undo. Each run needs a session of its
// own (or finish() between one run and the next); sessions of several threads may be at work on the same
// MailClient.
class MailSession final : public applescript::Application {
 public:
  // Both outlive the session.
  MailSession(MailClient& client, std::shared_ptr<const applescript::Terminology> terminology);
  // Finishes when nobody did.
  ~MailSession() override;

  // Writes what still waits, makes everything durable and lets the selection follow. Afterwards the session
  // can serve another run. Called between events only.
  Result<void> finish();

  // A key press in the viewer in front. Between beginEvent() and endEvent() only.
  applescript::Outcome<void> navigate(Navigation way);

  const std::string& name() const override;
  std::string identifier() const override;
  const applescript::Terminology& terminology() const override { return *terminology_; }
  applescript::Outcome<void> beginEvent(std::chrono::nanoseconds timeout) override;
  void endEvent() override;
  applescript::ObjectRef root() override;
  applescript::Outcome<applescript::Value> perform(const applescript::Event& event) override;

 private:
  applescript::Outcome<applescript::Value> close(const applescript::Event& event);
  applescript::Outcome<applescript::Value> open(const applescript::Event& event);

  MailClient& client_;
  std::shared_ptr<const applescript::Terminology> terminology_;
  std::unique_ptr<MailModel> model_;
};

}  // namespace quillbox::mailclient

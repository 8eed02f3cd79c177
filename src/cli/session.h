// What the commands work with: the services of one profile, and the mailbox list that they share.
#pragma once

#include <functional>
#include <string>
#include <vector>

#include "automation/account_manager.h"
#include "automation/applescript_helper.h"
#include "automation/mailbox_retrieval.h"
#include "automation/notifications.h"
#include "base/result.h"
#include "cli/command.h"
#include "platform/dispatch.h"
#include "platform/file_system.h"
#include "platform/localizer.h"
#include "platform/log.h"
#include "platform/notification_center.h"
#include "platform/script_engine.h"

namespace quillbox::cli {

// Built by main/; everything outlives the session.
struct Services {
  ScriptEngine& engine;
  Dispatch& dispatch;
  NotificationCenter& notifications;
  const Localizer& localizer;
  Log& log;
  FileSystem& files;
  AppleScriptHelper& helper;
  AccountManager& accounts;
  MailboxRetrieval& retrieval;
  // The whole of standard input, as bytes.
  std::function<std::string()> readStandardInput;
};

// Main queue only.
class Session {
 public:
  explicit Session(const Services& services) : services_(services) {}

  const Services& services() const { return services_; }

  // A failure as a command reports it.
  std::unexpected<Error> failWith(const QuillboxError& error) const {
    return std::unexpected(error.toError(services_.localizer));
  }

 private:
  Services services_;
};

}  // namespace quillbox::cli

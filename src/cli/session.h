// What the commands work with: the services of one profile, and the mailbox list that they share.
#pragma once

#include <functional>
#include <optional>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

#include "automation/account_manager.h"
#include "automation/applescript_helper.h"
#include "automation/filing_script_installer.h"
#include "automation/mail_actions.h"
#include "automation/mailbox_retrieval.h"
#include "automation/notifications.h"
#include "base/result.h"
#include "cli/command.h"
#include "filing/filing_pipeline.h"
#include "filing/gmail_filing_mode_manager.h"
#include "mailboxes/mailbox_manager.h"
#include "mailclient/mail_client.h"
#include "platform/dispatch.h"
#include "platform/file_system.h"
#include "platform/localizer.h"
#include "platform/log.h"
#include "platform/notification_center.h"
#include "platform/script_engine.h"
#include "settings/user_settings.h"
#include "suggestions/log_manager.h"
#include "suggestions/smart_suggestions_manager.h"

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
  MailActions& actions;
  FilingScriptInstaller& installer;
  UserSettings& settings;
  MailboxManager& mailboxes;
  FavoriteMailboxManager& favorites;
  RecentMailboxManager& recents;
  ExcludedMailboxManager& excluded;
  FilingPipeline& filing;
  GmailFilingModeManager& gmailModes;
  LogManager& filingLog;
  SmartSuggestionsManager& suggestions;
  mailclient::MailClient& mail;
  // The syntax tree of a script, for people. Any thread.
  std::function<std::expected<std::string, ScriptError>(std::string_view source)> scriptTree;
  // Against which relative paths on the command line are read.
  Path currentDirectory;
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

  // Calls `use` when the mailbox manager holds the mail client's list: fetched by the retrieval script at the
  // first call, then kept.
  void withMailboxes(std::function<void(Result<void>)> use);
  // The list changed; the next withMailboxes() fetches it again.
  void forgetMailboxes() { fetched_ = false; }

  // The mailbox with this id out of the mail client's list; error mailboxNotFound names it.
  void withMailbox(const std::string& id, std::function<void(Result<Mailbox>)> use);

  // Calls `use` when the mailbox manager shows the rows for the query.
  void withRows(const std::string& query, std::function<void(Result<void>)> use);
  // The first row; error nothingMatches when there is none.
  void withFirstRow(const std::string& query, std::function<void(Result<Mailbox>)> use);
  // Calls `use` with the number of messages that are selected in the mail client; noMessagesSelected for
  // none.
  void withSelection(std::function<void(Result<std::size_t>)> use);

  // Account and path of a mailbox id, for the mail client's own commands: the longest account name that fits.
  // Fails with accountNotFound.
  Result<std::pair<std::string, std::string>> accountAndPath(std::string_view mailboxId) const;

 private:
  Services services_;
  bool fetched_ = false;
};

// A text that names something must be UTF-8: fails with textNotUtf8, saying what it is.
Result<void> requireUtf8(std::string_view what, std::string_view text);

}  // namespace quillbox::cli

// Every script text that goes to the mail client, assembled from fixed text and a few inserted values.
// Pure functions: the same arguments give the same characters.
//
// A mailbox is addressed by its path in an account; the account "On My Mac" stands for the local mailboxes.
// Names are escaped on their way into a text: escapedForScript() doubles backslashes and puts a backslash
// before each double quote. showMailbox() alone leaves backslashes single: a name that holds one is not
// found, and one with a backslash before a quote or at its end would reach past its quotes and run as script.
// Such a name is for staysQuotedWhenShown() to tell, before the text is run.
#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <string_view>

#include "settings/enumerations.h"

namespace quillbox::script_texts {

// The application's own name, as scripts address it.
inline constexpr std::string_view applicationName = "Quillbox 4";

std::string escapedForScript(std::string_view name);
std::string escapedForShowScript(std::string_view name);

// Accounts: a list of {id, name, server name}, the enabled ones only.
std::string accounts();
// Names of all accounts, and "On My Mac" at the end.
std::string accountNames();
// true when some account's server name contains "gmail.com".
std::string anyGmailAccounts();
// The number of local mailboxes and those of the enabled accounts; -1 on any error and after two seconds.
std::string mailboxCount();

enum class Include { no, yes };
// A list of {message id, sender, subject, content or missing value, source or missing value}.
std::string selectedMessages(Include body, Include source);

// The bounds of the mail client's first window: {left, top, right, bottom}.
std::string frontWindowBounds();
// Succeeds when this application may control the mail client.
std::string automationTest();

enum class TransferMode { copy, move };

struct TransferOptions {
  MessageLabelAppEnum label = MessageLabelAppEnum::none;
  MessageFlagAppEnum flag = MessageFlagAppEnum::none;
  bool markAsRead = true;
  TransferMode mode = TransferMode::move;
  bool playSound = false;
  bool reactivate = false;            // bring Quillbox back to the front afterwards
  std::string scriptRequiredMessage;  // the text of error -1404, inserted as it is
};

// Files the selected messages; gives their number. Fails with -1404 before it touches anything when one of
// them belongs to an account whose server name contains "gmail".
std::string transferSelectedMessages(std::string_view path, std::string_view account,
                                     const TransferOptions& options);

enum class Viewer { frontmost, newViewer };
// Which application is brought to the front before the mailbox shows.
enum class Activation { mail, quillbox };

// Whether showMailbox() keeps `name`, a path or an account, between its quotes; a text with another is not to
// be run.
bool staysQuotedWhenShown(std::string_view name);
// Fails with -2404 when there is no such mailbox.
std::string showMailbox(std::string_view path, std::string_view account, Activation activation,
                        Viewer viewer);

// Makes the mailbox `name` inside `parentPath` (empty for the top level). Gives true, or fails with -2100 and
// `existsMessage` when it is there already, -2500 when the account takes no new mailboxes.
std::string createMailbox(std::string_view name, std::string_view parentPath, std::string_view account,
                          std::string_view existsMessage);

enum class Reactivate { no, yes };
// flagIndex: -1 clears the flag, 0 to 6 set it; nothing to run for anything else.
std::optional<std::string> flagSelection(std::int64_t flagIndex, Reactivate reactivate);
// Nothing to run for the label `none`.
std::optional<std::string> labelSelection(MessageLabelAppEnum label, Reactivate reactivate);

}  // namespace quillbox::script_texts

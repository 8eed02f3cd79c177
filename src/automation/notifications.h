// The notifications between the scripts' side and everyone else. Posted and observed on the main queue.
#pragma once

#include <string>
#include <vector>

#include "automation/applescript_error.h"
#include "model/mailbox_list.h"
#include "platform/notification_center.h"

namespace quillbox {

// A mailbox list on its way to the mailbox manager.
struct MailboxReloadPayload {
  MailboxList mailboxes;  // in the order in which they were read
  bool force = false;     // take the list even when it equals the one that is held
  std::string reason;     // for the log
};

namespace notification {

// A script failed and the user should hear of it.
inline constexpr NotificationName<AppleScriptError> didReceiveError{
    "AppleScript.didReceiveErrorNotification"};
// Requests for a new list; the object is the reason, for the log.
inline constexpr NotificationName<std::string> shouldReload{"Mailboxes.shouldReload"};
inline constexpr NotificationName<std::string> shouldForceReload{"Mailboxes.shouldForceReload"};
// A list to take.
inline constexpr NotificationName<MailboxReloadPayload> shouldReloadWithList{
    "Mailboxes.shouldReloadWithList"};

}  // namespace notification
}  // namespace quillbox

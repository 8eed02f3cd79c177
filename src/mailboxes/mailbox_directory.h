// The full mailbox list as other lists look into it.
#pragma once

#include <string_view>

#include "mailboxes/mailbox_list.h"

namespace quillbox {

// Main queue only.
class MailboxDirectory {
 public:
  virtual ~MailboxDirectory() = default;
  virtual const MailboxList& everyMailbox() const = 0;
  // The mailbox of the full list with this id, or nullptr. Valid until the list is replaced.
  virtual const Mailbox* findMailbox(std::string_view id) const = 0;
};

}  // namespace quillbox

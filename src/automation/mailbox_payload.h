// Reads the mailbox lists that the retrieval scripts deliver.
#pragma once

#include <optional>
#include <string_view>
#include <vector>

#include "model/mailbox.h"
#include "platform/descriptor.h"

namespace quillbox {

// Every mailbox of `mailboxText`, the printed form of the mail client's references, in order: the word
// mailbox, a quoted path, "of account id" or "of application". A path may hold \" for a quote; every other
// character stands for itself. All mailboxes belong to `accountName`.
std::vector<Mailbox> mailboxesFromText(std::string_view mailboxText, std::string_view accountName);

// The direct parameters of UpdateMailboxesWithListV2 (records of "accountName" and "mailboxText", one an
// account) and UpdateMailboxesWithList (records of "mailboxName", "mailboxPath" and "mailboxAccount", one a
// mailbox). All or nothing: nullopt when `list` is no list, an item is no record, a key is missing, not text
// or empty, or a V2 record names no mailbox.
std::optional<std::vector<Mailbox>> mailboxesFromListV2(const Descriptor& list);
std::optional<std::vector<Mailbox>> mailboxesFromList(const Descriptor& list);

}  // namespace quillbox

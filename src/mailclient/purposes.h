// Mailboxes that serve a purpose, whatever they are called.
#pragma once

#include <cstdint>
#include <vector>

#include "base/result.h"
#include "mailclient/mail_store.h"

namespace quillbox::mailclient {

enum class Purpose : std::uint8_t { inbox, drafts, sent, trash, junk };

// Of every enabled account and of the local store; an account that cannot be read now has none.
Result<std::vector<MailboxKey>> mailboxesServing(MailStore& store, Purpose purpose);

}  // namespace quillbox::mailclient

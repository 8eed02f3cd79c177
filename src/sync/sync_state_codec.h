// The bytes that travel between the machines. What comes from other machines may be anything, so the decoders
// build nothing but the values themselves and pass over the rest.
#pragma once

#include <string>
#include <string_view>
#include <vector>

#include "base/result.h"
#include "model/mailbox.h"
#include "sync/favorite_mailbox_sync_state.h"

namespace quillbox {

// Compact JSON with sorted keys: equal states give equal bytes. Text that is not UTF-8 becomes U+FFFD.
std::string encodeSyncState(const FavoriteMailboxSyncState& state);

// Whole or not at all; says nothing about isValid(). Fails with error_number::damagedFile and a sentence that
// names the first thing that is wrong. Unknown members are passed over; of members given twice the last
// counts. Takes time and memory in proportion to `json`, whatever it holds.
Result<FavoriteMailboxSyncState> decodeSyncState(std::string_view json);

// A JSON array of mailboxes, on the same terms.
Result<std::vector<Mailbox>> decodeSyncedList(std::string_view json);

}  // namespace quillbox

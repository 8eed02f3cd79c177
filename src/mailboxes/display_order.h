// The order in which mailboxes are listed.
#pragma once

#include <cstdint>
#include <vector>

#include "mailboxes/mailbox_list.h"
#include "model/mailbox_sort.h"

namespace quillbox {

// The indices `kept` of `list` (ascending) in the order of the criteria: by root collation with numeric
// ordering, the first criterion decides, later ones break ties, and what is equal in all of them stays as it
// was.
std::vector<std::uint32_t> displayOrder(const MailboxList& list, const std::vector<MailboxSort>& criteria,
                                        std::vector<std::uint32_t> kept);

}  // namespace quillbox

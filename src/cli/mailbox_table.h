// Lists of mailboxes as the commands print them.
#pragma once

#include <string>
#include <vector>

#include "cli/output.h"
#include "model/mailbox.h"

namespace quillbox::cli {

// JSON: [{"id","name","path","account"}].
std::string shownMailboxes(const std::vector<Mailbox>& mailboxes, OutputForm form);

}  // namespace quillbox::cli

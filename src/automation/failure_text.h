// Takes apart the one text by which the platform reports a failed handler of the installed filing script.
#pragma once

#include <string_view>

#include "automation/applescript_error.h"
#include "platform/localizer.h"

namespace quillbox {

// "…: MESSAGE (NUMBER)" gives MESSAGE, the part behind the last colon, and NUMBER. A text that does not end
// so is the message as a whole with number -2000, which also stands for a number too large to read. The
// message of -1728 becomes the localised "LN_gmail_archive_mailbox_1728_error %@" with the matched message in
// it.
AppleScriptError parseFailureText(std::string_view text, const Localizer& localizer);

}  // namespace quillbox

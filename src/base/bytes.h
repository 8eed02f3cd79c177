// Bytes as text: hexadecimal and base64 (RFC 4648 section 4, padded).
#pragma once

#include <string>
#include <string_view>

#include "base/result.h"

namespace quillbox {

std::string toHex(std::string_view bytes);
std::string toBase64(std::string_view bytes);

// Fails with error_number::damagedFile on any character, length or padding that the encoder would not write.
Result<std::string> fromBase64(std::string_view text);

}  // namespace quillbox

// How names on disk become text and back: modified UTF-7 (RFC 3501 section 5.1.3), and a readable form for
// bytes that are no text.
#pragma once

#include <optional>
#include <string>
#include <string_view>

namespace quillbox::mailclient {

// "Entwürfe" gives "Entw&APw-rfe", "R&D" gives "R&-D". `utf8` is valid UTF-8.
std::string encodeModifiedUtf7(std::string_view utf8);

// Only for names that encodeModifiedUtf7 writes: anything else (eight-bit bytes, control characters, a
// needless or unfinished shift, half a surrogate pair) gives nothing, so that no two names on disk read the
// same.
std::optional<std::string> decodeModifiedUtf7(std::string_view name);

// Any bytes as valid UTF-8, reversibly: valid text comes back as it is; in anything else each byte that is
// part of no character, and each byte of a U+FFFD, becomes U+FFFD and two hexadecimal digits: "caf\xE9" gives
// "caf�E9".
std::string readableBytes(std::string_view bytes);
std::string bytesOfReadable(std::string_view readable);

// One byte in that form.
void appendReadableByte(std::string& out, unsigned char byte);
// Whether `text` holds a byte in that form.
bool holdsReadableByte(std::string_view text);

}  // namespace quillbox::mailclient

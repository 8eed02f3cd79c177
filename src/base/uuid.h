// Random identifiers (RFC 9562 version 4).
#pragma once

#include <array>
#include <cstdint>
#include <string>

namespace quillbox {

// The upper-case text form of a version-4 UUID made from 16 random bytes; the six version bits are
// overwritten.
std::string uuidFromRandom(std::array<std::uint8_t, 16> random);

}  // namespace quillbox

#include "base/uuid.h"

namespace quillbox {

std::string uuidFromRandom(std::array<std::uint8_t, 16> random) {
  random[6] = static_cast<std::uint8_t>((random[6] & 0x0FU) | 0x40U);
  random[8] = static_cast<std::uint8_t>((random[8] & 0x3FU) | 0x80U);
  constexpr char digits[] = "0123456789ABCDEF";
  std::string text;
  for (std::size_t i = 0; i < random.size(); ++i) {
    if (i == 4 || i == 6 || i == 8 || i == 10) text += '-';
    text += digits[random[i] >> 4U];
    text += digits[random[i] & 0xFU];
  }
  return text;
}

}  // namespace quillbox

#include "mailclient/conversations.h"

#include <algorithm>
#include <numeric>

namespace quillbox::mailclient {

std::vector<std::uint32_t> groupConversations(std::size_t count, std::span<Mention> mentions) {
  std::ranges::sort(mentions);
  // Disjoint sets: each message points at an earlier one of its set, the first one at itself.
  std::vector<std::uint32_t> earlier(count);
  std::iota(earlier.begin(), earlier.end(), 0U);
  const auto firstOf = [&](std::uint32_t message) {
    while (earlier[message] != message) {
      earlier[message] = earlier[earlier[message]];  // the way is halved for those who come next
      message = earlier[message];
    }
    return message;
  };
  for (std::size_t i = 1; i < mentions.size(); ++i) {
    if (mentions[i].id != mentions[i - 1].id) continue;
    const auto a = firstOf(mentions[i - 1].message);
    const auto b = firstOf(mentions[i].message);
    earlier[std::max(a, b)] = std::min(a, b);
  }
  // The first message of a set comes before the others, so its number is there when they ask for it.
  std::vector<std::uint32_t> numbers(count);
  std::uint32_t next = 0;
  for (std::uint32_t message = 0; message < count; ++message) {
    const auto first = firstOf(message);
    numbers[message] = first == message ? next++ : numbers[first];
  }
  return numbers;
}

}  // namespace quillbox::mailclient

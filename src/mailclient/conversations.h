// Messages that belong together: each answer with what it answers.
//
// Two messages are in one conversation when one names the other, or both name the same id, directly or
// through others: a parent that is missing still joins its children, whether it comes later or never.
// So it does not matter in which order messages are looked at, and neither cycles nor messages that name
// themselves are special. Copies with one Message-ID belong together. A message without a Message-ID belongs
// to those that it names; one that names none is alone.
//
// Subjects join nothing. Whole conversations are filed at once, and mail by strangers who both wrote
// "Invoice" must not be moved together; an answer whose mailer names no message costs no more than a row of
// its own.
#pragma once

#include <compare>
#include <cstddef>
#include <cstdint>
#include <span>
#include <vector>

namespace quillbox::mailclient {

// A message names an id: its own, or one that it answers.
struct Mention {
  std::uint64_t id = 0;       // hashMessageId(), never 0
  std::uint32_t message = 0;  // its place
  auto operator<=>(const Mention&) const = default;
};

// Gives the conversation of each of `count` messages, numbered from 0 in the order of their first messages.
// Puts the mentions in order. Takes n log n of the mentions and eight bytes a message, however they hang
// together.
std::vector<std::uint32_t> groupConversations(std::size_t count, std::span<Mention> mentions);

}  // namespace quillbox::mailclient

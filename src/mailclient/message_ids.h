// Which messages a message answers, by the fields References and In-Reply-To (RFC 5322, 3.6.4).
#pragma once

#include <array>
#include <cstdint>
#include <string_view>

namespace quillbox::mailclient {

// A Message-ID as 48 bits, the same in every process: among a million ids, two are alike in one store of 560.
// 0 stands for an empty id. `id` has no angle brackets; white space in it does not count, as long ids are
// folded.
std::uint64_t hashMessageId(std::string_view id);

// The first of the messages named, which began the conversation, and the last three; zeros behind them. What
// stands between is left out, so that a message takes a few bytes however long its conversation is.
using ReferencedIds = std::array<std::uint64_t, 4>;

// Of the unfolded values of the two fields. Any bytes give an answer:
//   - quoted texts, comments and a bracket that is never closed name nothing;
//   - an In-Reply-To that is a sentence ("Your message of Monday <id>") names a message by its last id only,
//     as the others may be addresses;
//   - without any brackets, words with an "@" are ids, in In-Reply-To only when it is that one word.
ReferencedIds referencedIds(std::string_view references, std::string_view inReplyTo);

}  // namespace quillbox::mailclient

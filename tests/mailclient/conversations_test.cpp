// Which messages belong together, and what the headers of hostile and careless mailers do to that.
#include "mailclient/conversations.h"

#include <algorithm>
#include <map>
#include <numeric>
#include <set>
#include <string>
#include <vector>

#include <gtest/gtest.h>
#include <rapidcheck.h>
#include <rapidcheck/gtest.h>

#include "mailclient/mime.h"

namespace quillbox::mailclient {
namespace {

TEST(ReferencedIds, AreThoseThatTheHeadersName) {
  const std::string longest = std::string(200'000, '<');
  const struct {
    std::string headers;
    std::vector<std::string> ids;
  } cases[] = {
      {"References: <a@x> <b@x>\nIn-Reply-To: <b@x>\n", {"a@x", "b@x"}},
      {"References: <a@x>\nIn-Reply-To: <c@x>\n", {"a@x", "c@x"}},
      {"IN-REPLY-TO:<a@x>\r\n", {"a@x"}},
      // The first and the last three.
      {"References: <a@x> <b@x>\n <c@x>\n\t<d@x><e@x>,<f@x>\n", {"a@x", "d@x", "e@x", "f@x"}},
      {"References: <a@x> <a@x> <a@x>\n", {"a@x"}},
      {"References: <very-\r\n long@x>\n", {"very-long@x"}},
      {"References: <> < > <a@x>\n", {"a@x"}},
      {"References: <a@x> <b@x\n", {"a@x"}},
      {"References: <a@x <b@x> c>\n", {"b@x"}},
      {"References: a@x b@x words\n", {"a@x", "b@x"}},
      {"In-Reply-To: Your message of \"Mon, 1 Jan 2001 <q@x>\" <a@x>\n", {"a@x"}},
      {"In-Reply-To: <a@x> (Bob <bob@x>'s message)\n", {"a@x"}},
      {"In-Reply-To: Message of Bob <bob@x> <a@x>\n", {"a@x"}},
      {"In-Reply-To: a \" quote and ( that never end <a@x>\n", {"a@x"}},
      {"In-Reply-To: the mail of bob@x\n", {}},
      {"In-Reply-To: a@x\n", {"a@x"}},
      {"References:\nIn-Reply-To:  \nSubject: Re: <a@x>\n", {}},
      {"References: " + longest + "\n", {}},
      {"References: " + longest + "a@x>\n", {"a@x"}},
      {"References: " + std::string(100'000, '(') + std::string(100'000, '"') + "<a@x>\n", {"a@x"}},
  };
  for (const auto& c : cases) {
    ReferencedIds expected{};
    std::ranges::transform(c.ids, expected.begin(), hashMessageId);
    EXPECT_EQ(summarize(c.headers).references, expected) << c.headers.substr(0, 100);
  }
}

// The conversation of each message, by its headers.
std::vector<std::uint32_t> grouped(const std::vector<std::string>& messages) {
  std::vector<Mention> mentions;
  for (std::uint32_t i = 0; i < messages.size(); ++i) {
    const auto summary = summarize(messages[i]);
    if (const auto id = hashMessageId(summary.messageId); id != 0) mentions.push_back({id, i});
    for (const auto id : summary.references) {
      if (id != 0) mentions.push_back({id, i});
    }
  }
  return groupConversations(messages.size(), mentions);
}

TEST(Conversations, JoinEachAnswerWithWhatItAnswers) {
  const struct {
    const char* what;
    std::vector<std::string> messages;
    std::vector<std::uint32_t> conversations;
  } cases[] = {
      {"an answer, whichever is first",
       {"Message-ID: <b@x>\nIn-Reply-To: <a@x>\n", "Message-ID: <c@x>\n", "Message-ID: <a@x>\n"},
       {0, 1, 0}},
      {"children of a parent that is missing",
       {"Message-ID: <b@x>\nReferences: <a@x>\n", "Message-ID: <c@x>\nReferences: <a@x>\n"},
       {0, 0}},
      {"descendants with most of what is between them missing",
       {"Message-ID: <z@x>\nReferences: <a@x> <b@x> <c@x> <d@x> <e@x> <f@x>\n",
        "Message-ID: <c@x>\nReferences: <a@x> <b@x>\n", "Message-ID: <q@x>\nReferences: <a@x>\n"},
       {0, 0, 0}},
      {"a cycle, and messages that name themselves",
       {"Message-ID: <a@x>\nIn-Reply-To: <c@x>\n", "Message-ID: <b@x>\nReferences: <a@x> <b@x>\n",
        "Message-ID: <c@x>\nIn-Reply-To: <b@x>\n", "Message-ID: <d@x>\nReferences: <d@x>\n"},
       {0, 0, 0, 1}},
      {"copies", {"Message-ID: <a@x>\n", "Message-ID: <a@x>\n"}, {0, 0}},
      {"messages without an id, one of them an answer",
       {"Subject: s\n", "Message-ID: <>\n", "Message-ID:  \n", "In-Reply-To: <a@x>\n", "Message-ID: <a@x>\n"},
       {0, 1, 2, 3, 3}},
      {"subjects",
       {"Subject: Invoice\nMessage-ID: <a@x>\n", "Subject: Re: Invoice\nMessage-ID: <b@x>\n"},
       {0, 1}},
      {"ids that differ in case", {"Message-ID: <a@x>\n", "Message-ID: <b@x>\nIn-Reply-To: <A@x>\n"}, {0, 1}},
      {"nothing", {}, {}},
  };
  for (const auto& c : cases) EXPECT_EQ(grouped(c.messages), c.conversations) << c.what;
}

// As the plain definition has it, and however the messages are listed.
RC_GTEST_PROP(Conversations, AreWhatHangsTogetherInWhateverOrder, ()) {
  const auto count = *rc::gen::inRange<std::uint32_t>(0, 40);
  const auto ids = *rc::gen::container<std::vector<std::pair<std::uint64_t, std::uint32_t>>>(rc::gen::pair(
      rc::gen::inRange<std::uint64_t>(1, 60), rc::gen::inRange<std::uint32_t>(0, std::max(count, 1U))));
  std::vector<Mention> mentions;
  for (const auto& [id, message] : ids) {
    if (message < count) mentions.push_back({id, message});
  }
  std::vector<std::uint32_t> order(count);
  std::iota(order.begin(), order.end(), 0U);
  for (auto i = count; i > 1; --i) std::swap(order[i - 1], order[*rc::gen::inRange<std::uint32_t>(0, i)]);

  // Passes until nothing changes: the smallest message of all that share an id.
  std::vector<std::uint32_t> smallest(count);
  std::iota(smallest.begin(), smallest.end(), 0U);
  for (bool changed = true; changed;) {
    changed = false;
    for (const auto& a : mentions) {
      for (const auto& b : mentions) {
        if (a.id != b.id || smallest[a.message] <= smallest[b.message]) continue;
        smallest[a.message] = smallest[b.message];
        changed = true;
      }
    }
  }
  auto shuffled = mentions;
  for (auto& mention : shuffled) mention.message = order[mention.message];
  const auto numbers = groupConversations(count, mentions);
  const auto others = groupConversations(count, shuffled);
  RC_ASSERT(numbers.size() == count && others.size() == count);
  for (std::uint32_t a = 0; a < count; ++a) {
    for (std::uint32_t b = 0; b < a; ++b) {
      const bool together = smallest[a] == smallest[b];
      RC_ASSERT((numbers[a] == numbers[b]) == together);
      RC_ASSERT((others[order[a]] == others[order[b]]) == together);
    }
  }
}

}  // namespace
}  // namespace quillbox::mailclient

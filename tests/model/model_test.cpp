#include <cstdint>
#include <functional>
#include <string>
#include <vector>

#include <gtest/gtest.h>
#include <rapidcheck.h>

#include "base/error_numbers.h"
#include "base/text.h"
#include "model/account.h"
#include "model/custom_keyboard_shortcut.h"
#include "model/gmail_filing_mode.h"
#include "model/mailbox.h"
#include "model/mailbox_sort.h"

namespace quillbox {
namespace {

TEST(Mailbox, IdentityIsAccountSlashPathAndNothingElse) {
  const auto make = [](const char* path, const char* account) {
    return Mailbox::make("n", path, account).id;
  };
  EXPECT_EQ(make("a/b/c", "Work"), "Work/a/b/c");
  EXPECT_EQ(make("Receipts", "On My Mac"), "On My Mac/Receipts");
  EXPECT_EQ(make(" /x/ ", "a/b"), "a/b/ /x/ ");
  const auto one = Mailbox::make("Inbox", "Inbox", "Work");
  const auto other = Mailbox::make("INBOX", "Inbox", "Work");
  EXPECT_EQ(one.id, other.id);
  EXPECT_NE(one, other);
  EXPECT_NE(std::hash<Mailbox>{}(one), std::hash<Mailbox>{}(other));
  EXPECT_EQ(std::hash<Mailbox>{}(one), std::hash<Mailbox>{}(Mailbox(one)));
}

TEST(Codecs, WriteExactlyTheseBytes) {
  EXPECT_EQ(encodeMailboxes({Mailbox::make("B \"q\"", "A/B \"q\"", "Work")}),
            R"([{"name":"B \"q\"","path":"A/B \"q\"","account":"Work"}])");
  EXPECT_EQ(encodeMailboxSorts({{MailboxSortPathAppEnum::account, SortOrder::reverse}}),
            R"([{"path":"account","order":"reverse"}])");
  EXPECT_EQ(encodeAccounts({{"1", "Work", "imap.example.org"}}),
            R"([{"id":"1","name":"Work","server":"imap.example.org"}])");
  EXPECT_EQ(encodeGmailFilingModes({{"G", "G", GmailFilingModeEnum::direct}}),
            R"([{"id":"G","account":"G","shouldArchiveBeforeFiling":2}])");
  EXPECT_EQ(
      encodeCustomKeyboardShortcuts({{CustomKeyboardShortcutAction::trainMailbox, "é", 1'048'576, false}}),
      R"([{"action":"trainMailbox","keyEquivalent":"é","modifiers":1048576,"enabled":false}])");
  EXPECT_EQ(encodeMailboxes({}), "[]");
}

TEST(Codecs, AnyMailboxSurvivesTheRoundTrip) {
  EXPECT_TRUE(rc::check("decode(encode(list)) == list", [] {
    // Every code point below the surrogates, control characters and quotes often.
    const auto text = rc::gen::map(
        rc::gen::container<std::vector<std::uint32_t>>(rc::gen::oneOf(
            rc::gen::inRange<std::uint32_t>(0, 128), rc::gen::inRange<std::uint32_t>(0, 0xD800))),
        [](const std::vector<std::uint32_t>& points) {
          std::string out;
          for (const auto point : points) text::appendUtf8(out, point);
          return out;
        });
    std::vector<Mailbox> list;
    for (int count = *rc::gen::inRange(0, 6); count > 0; --count)
      list.push_back(Mailbox::make(*text, *text, *text));
    RC_ASSERT(decodeMailboxes(encodeMailboxes(list)).value() == list);
  }));
}

TEST(Codecs, ListsDecodeWholeOrNotAtAllAndSayWhatIsWrong) {
  struct Case {
    std::function<Result<std::size_t>(std::string_view)> decode;
    std::string text;
    std::string complaint;  // empty when it decodes
  };
  const auto sizeOf = [](auto decode) {
    return [decode](std::string_view text) -> Result<std::size_t> {
      const auto list = decode(text);
      if (!list) return forward(list);
      return list->size();
    };
  };
  const auto mailboxes = sizeOf(decodeMailboxes);
  const auto sorts = sizeOf(decodeMailboxSorts);
  const auto modes = sizeOf(decodeGmailFilingModes);
  const auto keys = sizeOf(decodeCustomKeyboardShortcuts);
  const std::string good = R"({"name":"I","path":"I","account":"A"})";
  const std::string key = R"([{"action":"openMail","modifiers":0,"enabled":true,"keyEquivalent":)";
  const std::vector<Case> cases = {
      {mailboxes, "[" + good + R"(,{"name":"x","path":"x"}])", "mailbox 2 has no \"account\""},
      {mailboxes, R"([{"name":1,"path":"x","account":"a"}])", "not a text"},
      {mailboxes, R"([{"name":null,"path":"x","account":"a"}])", "not a text"},
      {mailboxes, "[" + good + ",7]", "mailbox 2 is not an object"},
      {mailboxes, good, "not a JSON array"},
      {mailboxes, "", "not valid JSON"},
      {mailboxes, "[" + good, "not valid JSON"},
      {mailboxes, std::string(100'000, '['), "nests deeper"},
      {mailboxes, R"([{"name":"\ud800","path":"x","account":"a"}])", "not valid JSON"},
      {mailboxes, "[{\"name\":\"\xFF\",\"path\":\"x\",\"account\":\"a\"}]", "not valid JSON"},
      {mailboxes, "[" + good.substr(0, good.size() - 1) + R"(,"id":"other","more":[]}])", ""},
      {sorts, R"([{"path":"name","order":"forward"}])", "not one of: mailbox, account"},
      {sorts, R"([{"path":"mailbox","order":"Forward"}])", "not one of: forward, reverse"},
      {sorts, R"([{"order":"forward","path":"mailbox"}])", ""},
      {modes, R"([{"id":"a","account":"a","shouldArchiveBeforeFiling":3}])", "not 0, 1 or 2"},
      {modes, R"([{"id":"a","account":"a","shouldArchiveBeforeFiling":-1}])", "not 0, 1 or 2"},
      {modes, R"([{"id":"a","account":"a","shouldArchiveBeforeFiling":18446744073709551615}])",
       "not an integer"},
      {modes, R"([{"id":"a","account":"a","shouldArchiveBeforeFiling":1.5}])", "not an integer"},
      {keys, key + R"("ab"}])", "Invalid character string"},
      {keys, key + R"(""}])", "Invalid character string"},
      {keys, key + R"("e\u0301"}])", ""},
      {keys, key + R"("👩‍👩‍👧"}])", ""},
      {keys, R"([{"action":"fly","keyEquivalent":"a","modifiers":0,"enabled":true}])", "no action"},
  };
  for (const auto& item : cases) {
    const auto size = item.decode(item.text);
    const std::string shown = item.text.substr(0, 120);
    if (item.complaint.empty()) {
      EXPECT_TRUE(size) << shown << ": " << size.error().message;
      continue;
    }
    ASSERT_FALSE(size) << shown;
    EXPECT_EQ(size.error().number, error_number::damagedFile) << shown;
    EXPECT_NE(size.error().message.find(item.complaint), std::string::npos) << size.error().message;
  }
  EXPECT_EQ(decodeMailboxes("[" + good + "]")->front().id, "A/I");
}

}  // namespace
}  // namespace quillbox

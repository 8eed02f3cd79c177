// What is read out of a script's records and out of JSON, and which features come of it.
#include "suggestions/features.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <rapidcheck.h>

#include "base/error_numbers.h"
#include "base/text.h"
#include "suggestions/examples.h"

namespace quillbox {
namespace {

using testing::ElementsAre;
using testing::HasSubstr;
using testing::IsEmpty;

std::vector<std::string> tokensOf(std::string_view subject) {
  FeatureList list;
  addSubjectTokens(subject, list);
  return textsOf(list);
}

TEST(Features, SubjectsAreSplitAtEverythingButLettersMarksAndNumbers) {
  const std::vector<std::pair<std::string, std::vector<std::string>>> cases = {
      {"RE: Invoice #123", {"invoice", "123"}},
      {"", {}},
      {"Re: FWD: the, a; I - \"okay\"!", {}},
      {"b c 7 b", {"b", "c", "7", "b"}},
      {"GRÖSSE Ünïcode—テスト", {"grösse", "ünïcode", "テスト"}},
      {"e\u0301tude x²", {"e\u0301tude", "x²"}},  // a combining accent is a mark, a superscript two a number
      {"price: 5€/kg_net", {"price", "5", "kg", "net"}},
      {"don't", {"don", "t"}},
      {"toward towards", {"towards"}},
      {"bad \xFF\xFE bytes", {"bad", "bytes"}},
      {"\U0001F4E7 mail \u00A0 list", {"mail", "list"}},
  };
  for (const auto& [subject, tokens] : cases) EXPECT_EQ(tokensOf(subject), tokens) << subject;
}

TEST(Features, ReceivedMailAddsSenderDomainAndAccountAndSentMailItsRecipients) {
  EXPECT_THAT(featuresOf(received("Hello", "Ada <Ada@Example.ORG>", "Inbox", "Work")),
              ElementsAre("hello", "ada@example.org", "example.org", "work"));
  TrainingExample empty;
  EXPECT_THAT(featuresOf(empty), ElementsAre("", "", ""));

  const std::vector<std::pair<std::string, std::vector<std::string>>> cases = {
      {" Ada@Example.org,,BOB@b.de", {"ada@example.org", "example.org", "bob@b.de", "b.de"}},
      {"nobody", {"nobody", "nobody"}},
      {"@", {"@"}},
      {"a@b@c@@", {"a@b@c@@", "c"}},
      {"x@y,   ", {"x@y", "y", ""}},
      {"\u00A0\r\nx@y\u2028", {"x@y", "y"}},
      {",,,", {}},
      {"", {}},
  };
  for (const auto& [recipients, features] : cases) {
    EXPECT_EQ(featuresOf(sent("", recipients)), features) << recipients;
  }
  TrainingExample noRecipients = sent("to whom", "");
  noRecipients.recipients.reset();
  EXPECT_THAT(featuresOf(noRecipients), ElementsAre("whom"));
}

TEST(TrainingExample, SendersGiveAddressAndDomain) {
  struct Case {
    std::string sender, address, domain;
  };
  const std::vector<Case> cases = {
      {"Ada Lovelace <Ada@Example.ORG>", "Ada@Example.ORG", "example.org"},
      {"Ada@Example.org", "Ada@Example.org", "example.org"},
      {"Mailer Daemon", "Mailer Daemon", "mailer daemon"},
      {"\"A < B\" <a@b.c>", " B\" <a@b.c", "b.c"},
      {"<<a@b>>", "a@b", "b"},
      {"Odd <>", "", "odd <>"},
      {"Odd <@>", "@", "odd <@>"},
      {"@", "@", "@"},
      {"a@B@", "a@B@", "b"},
      {"<a\n@b> <c@d>", "c@d", "d"},
      {"half <open@x.y", "half <open@x.y", "x.y"},
      {"> <a@b>", "a@b", "b"},
      {"", "", ""},
  };
  for (const auto& [sender, address, domain] : cases) {
    const auto parts = senderParts(sender);
    EXPECT_EQ(parts.address, address) << sender;
    EXPECT_EQ(parts.domain, domain) << sender;
  }
  // No quadratic search for a bracket that is never closed.
  EXPECT_EQ(senderParts(std::string(2'000'000, '<')).address.size(), 2'000'000U);
}

TEST(TrainingExample, IsSentIsReadAsATextsBooleanValue) {
  for (const char* text : {"true", "1", "YES", "y", " \t1", "+1", "-9", "+007", "000t", "Truely", "5 apples",
                           "-0Y", "\u00A0true"}) {
    EXPECT_TRUE(textIsTrue(text)) << text;
  }
  for (const char* text :
       {"", " ", "false", "0", "no", "000", "+", "-", "++1", "+ 1", "on", "\xC3\xBF", "x1", "0 1"}) {
    EXPECT_FALSE(textIsTrue(text)) << text;
  }
}

Descriptor::Record fullRecord() {
  return {{"subject", Descriptor::text("Hi")},           {"sender", Descriptor::text("Ada <A@B.c>")},
          {"originalAccount", Descriptor::text("Work")}, {"mailboxPath", Descriptor::text("In/Box")},
          {"mailboxAccount", Descriptor::text("Home")},  {"messageID", Descriptor::text("1@x")}};
}

TEST(TrainingExample, RecordsOfTheScriptAreTakenWithWhatTheyHave) {
  auto more = fullRecord();
  more.emplace_back("recipients", Descriptor::text("x@y"));
  more.emplace_back("isSent", Descriptor::boolean(true));
  auto sentAsText = fullRecord();
  sentAsText.emplace_back("isSent", Descriptor::text("1"));
  sentAsText.emplace_back("recipients", Descriptor::missingValue());
  auto number = fullRecord();
  number[0].second = Descriptor::int32(2025);
  number.emplace_back("isSent", Descriptor::list({}));
  auto badBytes = fullRecord();
  badBytes[0].second = Descriptor::text("a\xFFz");
  std::vector<Descriptor> items = {Descriptor::record(fullRecord()),
                                   Descriptor::record(more),
                                   Descriptor::record(sentAsText),
                                   Descriptor::record(number),
                                   Descriptor::record(badBytes),
                                   Descriptor::text("no record"),
                                   Descriptor::record({})};
  // Without any one of the required texts a record is passed over, as it is with a value that is no text.
  for (std::size_t missing = 0; missing < fullRecord().size(); ++missing) {
    auto record = fullRecord();
    record.erase(record.begin() + static_cast<std::ptrdiff_t>(missing));
    items.push_back(Descriptor::record(record));
    record = fullRecord();
    record[missing].second = missing % 2 == 0 ? Descriptor::missingValue() : Descriptor::list({});
    items.push_back(Descriptor::record(record));
  }
  const auto examples = parseTrainingData(Descriptor::list(items));
  ASSERT_TRUE(examples);
  ASSERT_EQ(examples->size(), 5U);
  EXPECT_EQ((*examples)[0], (TrainingExample{"Hi", "Ada <A@B.c>", "A@B.c", "b.c", "Work", "1@x", "In/Box",
                                             "Home", std::nullopt, false}));
  EXPECT_EQ((*examples)[1].recipients, "x@y");
  EXPECT_TRUE((*examples)[1].isSent);
  EXPECT_TRUE((*examples)[2].isSent);
  EXPECT_EQ((*examples)[2].recipients, std::nullopt);
  EXPECT_EQ((*examples)[3].subject, "2025");
  EXPECT_FALSE((*examples)[3].isSent);
  EXPECT_EQ((*examples)[4].subject, "a\uFFFDz");

  const auto wrong = parseTrainingData(Descriptor::text("oops"));
  ASSERT_FALSE(wrong);
  EXPECT_EQ(wrong.error().message, "Unexpected return type: " + Descriptor::text("oops").description());
  int asked = 0;
  const auto cancelled = parseTrainingData(Descriptor::list(items), [&] { return ++asked == 3; });
  ASSERT_FALSE(cancelled);
  EXPECT_EQ(cancelled.error().number, -128);
  EXPECT_TRUE(parseTrainingData(Descriptor::list({})).value().empty());
}

TEST(TrainingExample, JsonKeepsEveryTextAndIsOneLine) {
  rc::check(
      [](std::array<std::string, 8> raw, const std::string& recipients, bool hasRecipients, bool isSent) {
        for (auto& field : raw) field = text::toValidUtf8(field);
        TrainingExample example{raw[0], raw[1], raw[2], raw[3],       raw[4],
                                raw[5], raw[6], raw[7], std::nullopt, isSent};
        if (hasRecipients) example.recipients = text::toValidUtf8(recipients);
        const std::string json = encodeTrainingExample(example);
        RC_ASSERT(json.find('\n') == std::string::npos);
        const auto decoded = decodeTrainingExample(json);
        RC_ASSERT(decoded.has_value());
        RC_ASSERT(*decoded == example);
      });
}

TEST(TrainingExample, JsonThatIsNoExampleSaysWhy) {
  const std::string good = encodeTrainingExample(received("s", "a@b"));
  const auto with = [&](const std::string& from, const std::string& to) {
    std::string json = good;
    const auto at = json.find(from);
    EXPECT_NE(at, std::string::npos) << from;
    return json.replace(at, from.size(), to);
  };
  EXPECT_TRUE(
      decodeTrainingExample(with("{", R"({"more":[{"subject":1},[[]]],"isSent":true,"recipients":null,)")));
  const std::vector<std::pair<std::string, std::string>> cases = {
      {"", "at byte"},
      {"[]", "not a JSON object"},
      {"\"text\"", "not a JSON object"},
      {"7", "not a JSON object"},
      {"{}", "“subject” is missing"},
      {good.substr(0, good.size() / 2), "at byte"},
      {good + "x", "at byte"},
      {with("\"subject\":\"s\"", "\"subject\":7"), "“subject” is not a text"},
      {with("\"subject\":\"s\"", "\"subject\":null"), "“subject” is not a text"},
      {with("\"subject\":\"s\"", "\"subject\":[\"s\"]"), "“subject” is not a text"},
      {with("\"isSent\":false", "\"isSent\":\"false\""), "“isSent” is neither"},
      {with("\"isSent\":false", "\"isSent\":0"), "“isSent” is neither"},
      {with(",\"isSent\":false", ""), "“isSent” is missing"},
      {with("\"isSent\":false", "\"isSent\":false,\"recipients\":{}"), "“recipients” is neither"},
      {"{\"subject\":\"\xFF\"}", "at byte"},
      {std::string(100'000, '['), "not a JSON object"},
      {"{\"x\":" + std::string(1'000'000, '['), "at byte"},
  };
  for (const auto& [json, message] : cases) {
    const auto decoded = decodeTrainingExample(json);
    ASSERT_FALSE(decoded) << json.substr(0, 100);
    EXPECT_EQ(decoded.error().number, error_number::damagedFile);
    EXPECT_THAT(decoded.error().message, HasSubstr(message)) << json.substr(0, 100);
  }

  std::vector<std::size_t> bad;
  std::vector<std::string> subjects;
  decodeTrainingExamples(good + "\r\n\nnot\n" + good,
                         [&](std::size_t line, const Result<TrainingExample>& example) {
                           if (example) {
                             subjects.push_back(example->subject);
                           } else {
                             bad.push_back(line);
                           }
                         });
  EXPECT_THAT(subjects, ElementsAre("s", "s"));
  EXPECT_THAT(bad, ElementsAre(3U));
}

}  // namespace
}  // namespace quillbox

#include "base/text.h"

#include <gtest/gtest.h>

#include "base/bytes.h"
#include "base/json.h"
#include "platform/descriptor.h"
#include "platform/localizer.h"

namespace quillbox {
namespace {

TEST(Text, FoldingRemovesMarksAndKeepsCaseWhateverTheComposition) {
  EXPECT_EQ(text::foldDiacritics("Résumé"), "Resume");
  EXPECT_EQ(text::foldDiacritics("Re\xCC\x81sume\xCC\x81"), "Resume");
  EXPECT_EQ(text::foldDiacritics("Ångström ß ﬁ ı"), "Angstrom ß ﬁ ı");
  EXPECT_EQ(text::foldDiacritics("각"), "각");  // Hangul decomposes and comes back
  EXPECT_EQ(text::foldCase("Straße İ"), "strasse i\xCC\x87");
}

TEST(Text, InvalidUtf8IsNoticedAndMended) {
  for (const std::string bad : {"\xFF", "a\xC3", "\xED\xA0\x80", "\xF4\x90\x80\x80", "\xC0\x80"}) {
    EXPECT_FALSE(text::isValidUtf8(bad));
    EXPECT_TRUE(text::isValidUtf8(text::toValidUtf8(bad)));
  }
  EXPECT_TRUE(text::isValidUtf8("ok \xEF\xBF\xBD é 🙂"));
}

TEST(Text, CollationOrdersNumbersByValueAndIgnoresByteOrder) {
  EXPECT_LT(text::collationKey("a2"), text::collationKey("a10"));
  EXPECT_LT(text::collationKey("Éa"), text::collationKey("Eb"));
  EXPECT_LT(text::collationKey("a"), text::collationKey("B"));
}

TEST(Text, RegexMatchesWholeTextsAndBadPatternsAreErrors) {
  const auto regex = text::Regex::compile("(?i)(.*)in(.*)box(.*)");
  ASSERT_TRUE(regex);
  EXPECT_TRUE(regex->matchesWhole("Inbox/Archive box"));
  EXPECT_FALSE(regex->matchesWhole("box/in"));
  EXPECT_FALSE(regex->matchesWhole("in\nbox"));  // the dot stops at line ends
  EXPECT_FALSE(text::Regex::compile("a{"));
  const auto evil = text::Regex::compile("(a*)*b");
  ASSERT_TRUE(evil);
  EXPECT_FALSE(evil->matchesWhole(std::string(5000, 'a')));  // ends by the limits
  const auto found = text::Regex::compile(R"((\w)-(x)?)")->findAll("a-x b-");
  ASSERT_EQ(found.size(), 2U);
  EXPECT_EQ(found[0].groups, (std::vector<std::string>{"a-x", "a", "x"}));
  EXPECT_EQ(found[1].groups, (std::vector<std::string>{"b-", "b", ""}));
}

TEST(Bytes, Base64RoundTripsAndRefusesWhatItWouldNotWrite) {
  for (const auto& bytes : {std::string(), std::string("f"), std::string("fo"), std::string("foo"),
                            std::string("\0\xFF\x10", 3)}) {
    EXPECT_EQ(fromBase64(toBase64(bytes)), bytes);
  }
  for (const std::string bad : {"Zg=", "Zh==", "Z===", "Zg==Zg==", "Zm 9", "Zm9\n"})
    EXPECT_FALSE(fromBase64(bad)) << bad;
}

TEST(JsonText, DeepOrBrokenTextIsAnErrorWithItsPlace) {
  EXPECT_TRUE(parseJson(std::string(150, '[') + std::string(150, ']'), "x"));
  EXPECT_FALSE(parseJson(std::string(100000, '['), "x"));
  const auto broken = parseJson("{\"a\":1,}", "settings.json");
  ASSERT_FALSE(broken);
  EXPECT_EQ(broken.error().message, "settings.json is not valid JSON (at byte 8).");
  EXPECT_EQ(writeSortedJson(*parseJson(R"({"b":1,"a":{"d":1,"c":2}})", "x")), R"({"a":{"c":2,"d":1},"b":1})");
}

// Objects large and small: the order of the keys, and which value of a repeated key counts.
TEST(JsonText, ObjectsAreReadAsTheLibraryReadsThem) {
  for (const int keys : {1, 15, 16, 17, 18, 40, 300}) {
    std::string text = "{";
    for (int i = 0; i < 2 * keys; ++i) {
      // Some keys come again, soon or late, and some values are containers.
      const int key = i % 7 == 3 ? i / 2 : i * 37 % (keys + 11);
      const std::string number = std::to_string(i);
      text += (i == 0 ? "\"k" : ",\"k") + std::to_string(key) + "\":";
      text += i % 5 == 0   ? R"({"a":[)" + number + R"(,{}],"b":null,"a":-1.5})"
              : i % 5 == 1 ? "[" + number + "]"
                           : number;
    }
    text += "}";
    const auto parsed = parseJson(text, "x");
    ASSERT_TRUE(parsed) << text;
    EXPECT_EQ(parsed->dump(), Json::parse(text).dump());
  }
  for (const char* number : {"1e999", "-", "01", "\"\xFF\""}) {
    EXPECT_FALSE(parseJson("{\"a\":" + std::string(number) + "}", "x")) << number;
  }
}

// Each key compared with all before it would take minutes.
TEST(JsonText, ManyKeysAreReadInTimeThatGrowsWithTheirNumber) {
  std::string text = "{";
  for (int i = 0; i < 500'000; ++i) text += (i == 0 ? "\"" : ",\"") + std::to_string(i) + "\":0";
  text += "}";
  EXPECT_EQ(parseJson(text, "x")->size(), 500'000U);
}

TEST(DescriptorValue, CoercesAsDescriptorsDo) {
  EXPECT_EQ(Descriptor::text("12").int32Value(), 12);
  EXPECT_EQ(Descriptor::text("12x").int32Value(), std::nullopt);
  EXPECT_EQ(Descriptor::real(2.5e12).int32Value(), std::nullopt);
  EXPECT_EQ(Descriptor::int32(7).textValue(), "7");
  EXPECT_EQ(Descriptor::missingValue().textValue(), std::nullopt);
  EXPECT_EQ(Descriptor::boolean(true).booleanValue(), true);
  EXPECT_EQ(Descriptor::int32(5).booleanValue(), std::nullopt);
  const auto list =
      Descriptor::list({Descriptor::text("a\"b"), Descriptor::record({{"k", Descriptor::int32(1)}})});
  EXPECT_EQ(list.item(0), nullptr);
  EXPECT_EQ(list.item(3), nullptr);
  EXPECT_EQ(list.description(), R"({"a\"b", {k:1}})");
}

class OneText : public Localizer {
 public:
  explicit OneText(std::string text) : text_(std::move(text)) {}
  std::string text(std::string_view) const override { return text_; }

 private:
  std::string text_;
};

TEST(LocalizerFormat, FillsPlaceholdersInOrderAndByPosition) {
  const std::vector<Localizer::Argument> arguments = {std::int64_t{3}, std::string("Work/%@")};
  EXPECT_EQ(OneText("Moved %lld to %@, 100%%").format("k", arguments), "Moved 3 to Work/%@, 100%");
  EXPECT_EQ(OneText("%2$@: %1$lld").format("k", arguments), "Work/%@: 3");
  EXPECT_EQ(OneText("%@ %lld %").format("k", arguments), "%@ 3 %");
}

}  // namespace
}  // namespace quillbox

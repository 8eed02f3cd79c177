// Laws that hold for all values and texts; rapidcheck prints the seed of a counterexample.
#include <algorithm>
#include <string>
#include <vector>

#include <gtest/gtest.h>
#include <rapidcheck/gtest.h>

#include "applescript/interpreter.h"
#include "applescript/printing.h"
#include "applescript/terminology.h"
#include "snippet.h"

namespace quillbox::applescript::cases {
namespace {

std::string resultOf(const std::string& source) {
  QuietHost host;
  const auto program = compile(source, host);
  if (!program) return "syntax error: " + program.error().message;
  Interpreter interpreter(*program, host);
  const auto result = interpreter.run();
  return result ? interpreter.source(*result) : "error: " + result.error().message;
}

rc::Gen<std::string> anyText() {
  return rc::gen::map(rc::gen::container<std::vector<std::string>>(
                          rc::gen::element<std::string>("a", "B", "s", "ß", "é", "e\u0301", "😀", " ", ",",
                                                        "\"", "\\", "\n", "\r", "\t", "¬", "--", "|", "1")),
                      [](const std::vector<std::string>& pieces) {
                        std::string text;
                        for (const auto& piece : pieces) text += piece;
                        return text;
                      });
}

// A value in source form, a few levels deep.
rc::Gen<std::string> anySource(int depth) {
  const auto leaf = rc::gen::oneOf(
      rc::gen::map(rc::gen::inRange(-600'000'000, 600'000'000), [](int n) { return std::to_string(n); }),
      rc::gen::map(rc::gen::inRange(-50'000, 50'000), [](int n) { return std::to_string(n) + ".25"; }),
      rc::gen::map(anyText(), [](const std::string& text) { return applescript::quoted(text); }),
      rc::gen::element<std::string>("true", "missing value", "Monday", "text", "date \"1/31/2024 14:30\"",
                                    "{}"));
  if (depth == 0) return leaf;
  const auto list = rc::gen::map(rc::gen::container<std::vector<std::string>>(anySource(depth - 1)),
                                 [](const std::vector<std::string>& items) {
                                   std::string text = "{";
                                   for (std::size_t i = 0; i < items.size(); ++i)
                                     text += (i ? ", " : "") + items[i];
                                   return text + "}";
                                 });
  const auto record =
      rc::gen::map(rc::gen::pair(anySource(depth - 1), anySource(depth - 1)), [](const auto& pair) {
        return "{name:" + pair.first + ", |odd \\\\ key|:" + pair.second + ", plain_1:3}";
      });
  return rc::gen::oneOf(leaf, list, record);
}

RC_GTEST_PROP(Laws, WhatPrintsReadsBackAsTheSameValue, ()) {
  const auto source = *anySource(3);
  const auto printed = resultOf(source);
  RC_ASSERT(resultOf(printed) == printed);
  RC_ASSERT(resultOf("(" + printed + ") = (" + source + ")") == "true");
}

RC_GTEST_PROP(Laws, TextsAreTheSumOfTheirCharactersAndItems, ()) {
  const auto text = applescript::quoted(*anyText());
  RC_ASSERT(resultOf("set t to " + text +
                     "\n(characters of t) as text = t and length of t = (count characters of t)") == "true");
  for (const char* delimiter : {"\",\"", "\"b\"", "{\"é\", \" \"}", "linefeed"}) {
    // Joining with the only delimiter undoes splitting, as far as comparison sees it.
    const auto joined = resultOf(
        "set t to " + text + "\nset AppleScript's text item delimiters to " + delimiter +
        "\nset parts to text items of t\nset AppleScript's text item delimiters to first item of (" +
        delimiter + " as list)\nset u to parts as text\n{length of u, (count parts) > 0 or t = \"\"}");
    RC_ASSERT(joined.ends_with(", true}"));
  }
  RC_ASSERT(resultOf("set t to " + text +
                     "\nset AppleScript's text item delimiters to \",\"\nset parts to text items of t\nparts "
                     "as text = t") == "true");
}

RC_GTEST_PROP(Laws, ReplacingInPlaceIsBuildingAnew, ()) {
  // `set t to t & x` may grow the text where it lies; whoever holds the old one must not notice.
  const auto pieces = *rc::gen::container<std::vector<std::string>>(anyText());
  std::string script = "set t to \"\"\nset held to {}\nset expected to {}\n";
  std::string whole;
  for (const auto& piece : pieces) {
    script += "set end of held to t\nset end of expected to " + applescript::quoted(whole) +
              "\nset t to t & " + applescript::quoted(piece) + "\n";
    whole += piece;
  }
  RC_ASSERT(resultOf(script + "considering case\n{t = " + applescript::quoted(whole) +
                     ", held = expected}\nend considering") == "{true, true}");
}

RC_GTEST_PROP(Laws, OrderIsTotalAndAgreesWithEquality, ()) {
  const auto a = applescript::quoted(*anyText());
  const auto b = applescript::quoted(*anyText());
  const auto c = applescript::quoted(*anyText());
  for (const std::string frame : {"", "considering case", "ignoring diacriticals",
                                  "ignoring white space and punctuation", "considering numeric strings"}) {
    const auto end = frame.empty()                      ? ""
                     : frame.starts_with("considering") ? "\nend considering"
                                                        : "\nend ignoring";
    const auto ask = [&](const std::string& question) {
      return resultOf("set {a, b, c} to {" + a + ", " + b + ", " + c + "}\n" + frame + "\n" + question + end);
    };
    RC_ASSERT(ask("(a < b) is not (a ≥ b) and (a > b) = (b < a) and not (a < b and b < a)") == "true");
    RC_ASSERT(ask("not (a ≤ b and b ≤ c) or a ≤ c") == "true");
    RC_ASSERT(ask("a ≠ b or (a contains b and a starts with b and b ends with a)") == "true");
  }
}

TEST(Terminologies, SayWhatIsWrongWithADefinition) {
  struct Row {
    const char* xml;
    const char* message;
  };
  const Row rows[] = {
      {"", "not XML"},
      {"<dictionary><suite>", "not XML"},
      {"<html/>", "has no dictionary element"},
      {"<dictionary><suite><class code='abcd'/></suite></dictionary>", "“class” named “” needs a name"},
      {"<dictionary><suite><class name='box' code='abc'/></suite></dictionary>",
       "“box” needs a code of four characters"},
      {"<dictionary><suite><class name='box' code='0x6162636'/></suite></dictionary>",
       "needs a code of four characters"},
      {"<dictionary><suite><command name='go' code='abcd'/></suite></dictionary>",
       "“go” needs a code of eight characters"},
      {"<dictionary><suite><enumeration><enumerator name='x' code=''/></enumeration></suite></dictionary>",
       "“enumerator” named “x”"},
  };
  for (const auto& row : rows) {
    const auto terms = Terminology::parse(row.xml);
    ASSERT_FALSE(terms) << row.xml;
    EXPECT_NE(terms.error().message.find(row.message), std::string::npos) << terms.error().message;
  }
}

TEST(Terminologies, MayInheritInACircle) {
  const auto terms = Terminology::parse(
      "<dictionary><suite><class name='a' code='aaaa' inherits='b'/><class name='b' code='bbbb' "
      "inherits='a'/>"
      "<class name='c' code='cccc' plural='cs' inherits='a'><synonym name='sea' "
      "plural='seas'/></class></suite></dictionary>");
  ASSERT_TRUE(terms);
  EXPECT_TRUE((*terms)->isKindOf(code("cccc"), code("bbbb")));
  EXPECT_FALSE((*terms)->isKindOf(code("aaaa"), code("cccc")));
  EXPECT_EQ((*terms)->find("seas")->classCode, code("cccc"));
  EXPECT_TRUE((*terms)->find("seas")->plural);
}

}  // namespace
}  // namespace quillbox::applescript::cases

#include "cli/shell_words.h"

#include <string>
#include <vector>

#include <gtest/gtest.h>
#include <rapidcheck.h>

#include "base/error_numbers.h"

namespace quillbox::cli {
namespace {

TEST(ShellWords, SplitAsAShellWould) {
  const struct {
    const char* line;
    std::vector<std::string> words;
  } rows[] = {
      {"", {}},
      {"  a\tb  ", {"a", "b"}},
      {R"(a'b c'"d e")", {"ab cd e"}},
      {R"('' "")", {"", ""}},
      {R"('a\"b')", {R"(a\"b)"}},
      {R"("a\"b\\c\d\$\`")", {R"(a"b\c\d$`)"}},
      {R"(a\ b \'c)", {"a b", "'c"}},
      {"file Work/Größe\r", {"file", "Work/Größe"}},
  };
  for (const auto& row : rows) {
    const auto words = splitShellWords(row.line);
    ASSERT_TRUE(words.has_value()) << row.line;
    EXPECT_EQ(*words, row.words) << row.line;
  }
  for (const char* line : {"'a", "\"a", "\"a\\\"", "a\\"}) {
    const auto words = splitShellWords(line);
    ASSERT_FALSE(words.has_value()) << line;
    EXPECT_EQ(words.error().number, error_number::wrongUsage);
  }
}

TEST(ShellWords, QuotedWordsComeBack) {
  rc::check([](const std::vector<std::string>& words) {
    std::string line;
    for (const auto& word : words) {
      line += " '";
      for (const char c : word) line += c == '\'' ? std::string("'\\''") : std::string(1, c);
      line += "'";
    }
    const auto split = splitShellWords(line);
    RC_ASSERT(split.has_value());
    RC_ASSERT(*split == words);
  });
}

}  // namespace
}  // namespace quillbox::cli

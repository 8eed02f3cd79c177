#include "cli/shell_words.h"

#include "base/error_numbers.h"

namespace quillbox::cli {
namespace {

constexpr std::string_view kQuotableInDoubleQuotes = "\\\"$`";

}  // namespace

Result<std::vector<std::string>> splitShellWords(std::string_view line) {
  std::vector<std::string> words;
  std::string word;
  bool inWord = false;
  char quote = 0;
  for (std::size_t i = 0; i < line.size(); ++i) {
    const char c = line[i];
    if (quote == '\'') {
      if (c == '\'') {
        quote = 0;
      } else {
        word += c;
      }
      continue;
    }
    if (c == '\\') {
      if (i + 1 == line.size()) {
        return fail(error_number::wrongUsage, "The line ends in a backslash that quotes nothing");
      }
      const char next = line[++i];
      if (quote == '"' && kQuotableInDoubleQuotes.find(next) == std::string_view::npos) word += c;
      word += next;
      inWord = true;
    } else if (quote == '"') {
      if (c == '"') {
        quote = 0;
      } else {
        word += c;
      }
    } else if (c == '\'' || c == '"') {
      quote = c;
      inWord = true;
    } else if (c == ' ' || c == '\t' || c == '\r') {
      if (inWord) words.push_back(std::move(word));
      word.clear();
      inWord = false;
    } else {
      word += c;
      inWord = true;
    }
  }
  if (quote != 0) return fail(error_number::wrongUsage, "The line ends inside a quoted text");
  if (inWord) words.push_back(std::move(word));
  return words;
}

}  // namespace quillbox::cli

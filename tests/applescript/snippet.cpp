#include "snippet.h"

#include <algorithm>
#include <fstream>
#include <sstream>

#include <gtest/gtest.h>

#include "applescript/interpreter.h"

namespace quillbox::applescript::cases {

namespace {

std::string_view trimmed(std::string_view text) {
  const auto first = text.find_first_not_of(" \t\r");
  if (first == std::string_view::npos) return {};
  return text.substr(first, text.find_last_not_of(" \t\r") - first + 1);
}

bool take(std::string_view& text, std::string_view prefix) {
  if (!text.starts_with(prefix)) return false;
  text.remove_prefix(prefix.size());
  return true;
}

std::int64_t takeNumber(std::string_view& text) {
  std::int64_t sign = 1;
  std::int64_t value = 0;
  if (take(text, "-")) sign = -1;
  while (!text.empty() && text.front() >= '0' && text.front() <= '9') {
    value = value * 10 + (text.front() - '0');
    text.remove_prefix(1);
  }
  return sign * value;
}

void readExpectation(Snippet& snippet, std::string_view line) {
  auto text = trimmed(line);
  if (!take(text, "-- expect")) return;
  if (take(text, " log:")) {
    snippet.log.emplace_back(trimmed(text));
    return;
  }
  Expectation found;
  if (take(text, ":")) {
    found.text = trimmed(text);
  } else if (take(text, " error: ")) {
    found.kind = Expectation::Kind::Error;
    found.number = takeNumber(text);
    found.text = trimmed(text);
  } else if (take(text, " syntax error")) {
    found.kind = Expectation::Kind::SyntaxError;
    if (take(text, " at ")) {
      found.line = static_cast<int>(takeNumber(text));
      if (take(text, ":")) found.column = static_cast<int>(takeNumber(text));
    }
    if (take(text, ":")) found.text = trimmed(text);
  } else {
    snippet.fault = "an expectation that says nothing: " + std::string(line);
    return;
  }
  if (snippet.expectation) snippet.fault = "more than one expectation";
  snippet.expectation = std::move(found);
}

bool isOnlyComments(const Snippet& snippet) {
  std::istringstream lines(snippet.source);
  for (std::string line; std::getline(lines, line);) {
    const auto text = trimmed(line);
    if (!text.empty() && !text.starts_with("--") && !text.starts_with("#")) return false;
  }
  return !snippet.expectation;
}

void add(std::vector<Snippet>& snippets, Snippet& snippet, int nextLine) {
  if (!isOnlyComments(snippet)) {
    if (!snippet.expectation && snippet.fault.empty()) snippet.fault = "no expectation";
    snippets.push_back(std::move(snippet));
  }
  snippet = {};
  snippet.line = nextLine;
}

std::string describe(const Failure& failure) {
  return std::to_string(failure.number) + " " + failure.message + " (line " + std::to_string(failure.line) +
         ", column " + std::to_string(failure.column) + ")";
}

std::string compareFailure(const Expectation& wanted, const Failure& got) {
  const bool numberFits =
      wanted.kind == Expectation::Kind::SyntaxError ? got.atCompileTime : wanted.number == got.number;
  const bool textFits = wanted.text.empty() || wanted.text == got.message;
  const bool placeFits = wanted.line == 0 || (wanted.line == got.line && wanted.column == got.column);
  const bool hasPlace = !got.atCompileTime || (got.line > 0 && got.column > 0);
  if (numberFits && textFits && placeFits && hasPlace) return {};
  return "another error: " + describe(got);
}

std::string compareLogs(const std::vector<std::string>& wanted, const std::vector<std::string>& got) {
  if (wanted == got) return {};
  std::string text = "logged:";
  for (const auto& line : got) text += "\n  " + line;
  return text;
}

}  // namespace

std::vector<Snippet> snippetsOfCases(std::string_view text) {
  std::vector<Snippet> snippets;
  Snippet snippet;
  std::istringstream lines{std::string(text)};
  int number = 0;
  for (std::string line; std::getline(lines, line);) {
    ++number;
    const auto expectation = std::string_view(line).substr(std::min(line.find("-- expect"), line.size()));
    const bool isWhole = !expectation.empty() && !trimmed(line).starts_with("--");
    if (line == "----" || isWhole) add(snippets, snippet, isWhole ? number : number + 1);
    if (line == "----") continue;
    snippet.source += line + "\n";
    readExpectation(snippet, isWhole ? expectation : line);
    if (isWhole) add(snippets, snippet, number + 1);
  }
  add(snippets, snippet, number);
  return snippets;
}

std::vector<Snippet> snippetsOfMarkdown(std::string_view text) {
  std::vector<Snippet> snippets;
  Snippet snippet;
  std::istringstream lines{std::string(text)};
  int number = 0;
  bool inside = false;
  for (std::string line; std::getline(lines, line);) {
    ++number;
    if (!inside && line == "```applescript") {
      inside = true;
      snippet = {};
      snippet.line = number + 1;
    } else if (inside && line == "```") {
      inside = false;
      add(snippets, snippet, number + 1);
    } else if (inside) {
      snippet.source += line + "\n";
      readExpectation(snippet, line);
    }
  }
  return snippets;
}

std::string differenceOf(const Snippet& snippet, QuietHost& host) {
  if (!snippet.fault.empty()) return snippet.fault;
  const auto& wanted = *snippet.expectation;
  host.lines.clear();
  const auto program = compile(snippet.source, host);
  if (!program) {
    if (wanted.kind == Expectation::Kind::Value) return "does not compile: " + describe(program.error());
    return compareFailure(wanted, program.error());
  }
  if (wanted.kind == Expectation::Kind::SyntaxError) return "compiles";
  Interpreter interpreter(*program, host);
  const auto result = interpreter.run();
  if (!result) {
    if (wanted.kind == Expectation::Kind::Value) return "an error: " + describe(result.error());
    const auto difference = compareFailure(wanted, result.error());
    return difference.empty() ? compareLogs(snippet.log, host.lines) : difference;
  }
  const auto printed = interpreter.source(*result);
  if (wanted.kind != Expectation::Kind::Value) return "no error but " + printed;
  if (printed != wanted.text) return "wanted " + wanted.text + "\ngot    " + printed;
  return compareLogs(snippet.log, host.lines);
}

std::string readText(const std::string& path) {
  std::ifstream file(path, std::ios::binary);
  EXPECT_TRUE(file) << path;
  std::ostringstream text;
  text << file.rdbuf();
  return text.str();
}

}  // namespace quillbox::applescript::cases

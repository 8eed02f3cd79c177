// Snippets of AppleScript with what they must give, as the case files and the documentation hold them.
//
// A snippet ends with one of
//   -- expect: VALUE                      in source form
//   -- expect error: NUMBER [MESSAGE]     while running; without a message any will do
//   -- expect syntax error [at LINE:COLUMN][: MESSAGE]
// and may have lines `-- expect log: TEXT`, one for each line that it logs, in order.
#pragma once

#include <chrono>
#include <cstdint>
#include <functional>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "applescript/host.h"

namespace quillbox::applescript::cases {

struct Expectation {
  enum class Kind : std::uint8_t { Value, Error, SyntaxError };
  Kind kind = Kind::Value;
  std::string text;         // the value or the message
  std::int64_t number = 0;  // of an error
  int line = 0;             // of a syntax error, 1-based in the snippet; 0: any place will do
  int column = 0;
};

struct Snippet {
  std::string source;
  int line = 1;  // where in its file it begins, 1-based
  std::optional<Expectation> expectation;
  std::vector<std::string> log;
  std::string fault;  // what is wrong with its expectations; empty when nothing is
};

// The snippets of a case file, which lines `----` separate; a line with code and its expectation behind it is
// one of its own. Snippets of comments alone are left out.
std::vector<Snippet> snippetsOfCases(std::string_view text);
// The blocks ```applescript of a Markdown text that have an expectation or must have one: all of them.
std::vector<Snippet> snippetsOfMarkdown(std::string_view text);

// A world in which nothing happens by itself: a clock that steps on when it is asked, and a log that is kept.
class QuietHost : public Host {
 public:
  Application* application(std::string_view) override { return nullptr; }
  std::chrono::nanoseconds now() override { return std::chrono::seconds{1'710'500'000} + passed_; }
  std::chrono::seconds localOffset(std::chrono::nanoseconds) override { return std::chrono::hours{1}; }
  std::chrono::nanoseconds steady() override { return passed_ += std::chrono::microseconds{1}; }
  std::uint64_t random() override { return seed_ = seed_ * 6364136223846793005ULL + 1442695040888963407ULL; }
  void log(std::string_view line) override { lines.emplace_back(line); }
  void wait(std::chrono::nanoseconds time, const std::function<bool()>&) override { passed_ += time; }

  std::vector<std::string> lines;

 private:
  std::chrono::nanoseconds passed_{0};
  std::uint64_t seed_ = 1;
};

// Runs a snippet in `host` (whose applications it may tell). What differs from its expectation, as one text;
// empty when nothing does.
std::string differenceOf(const Snippet& snippet, QuietHost& host);

// The whole text of a file; fails the running test when it cannot be read.
std::string readText(const std::string& path);

}  // namespace quillbox::applescript::cases

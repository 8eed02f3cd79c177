// Scripts that tell an application: the case files below cases/application, and what no script can see.
#include <filesystem>
#include <string>
#include <vector>

#include <gtest/gtest.h>

#include "applescript/interpreter.h"
#include "depot.h"
#include "snippet.h"

namespace quillbox::applescript::cases {
namespace {

const std::filesystem::path kCases =
    std::filesystem::path(QUILLBOX_SOURCE_DIR) / "tests/applescript/cases/application";

TEST(ApplicationCases, GiveWhatTheyExpect) {
  std::size_t files = 0;
  for (const auto& entry : std::filesystem::directory_iterator(kCases)) {
    const auto path = entry.path().string();
    const auto snippets = snippetsOfCases(readText(path));
    ++files;
    EXPECT_FALSE(snippets.empty()) << path;
    for (const auto& snippet : snippets) {
      DepotHost host;
      const auto difference = differenceOf(snippet, host);
      if (!difference.empty()) ADD_FAILURE_AT(path.c_str(), snippet.line) << snippet.source << difference;
      EXPECT_TRUE(host.depot.isIdle()) << snippet.source << "leaves an event open";
    }
  }
  EXPECT_GE(files, 5U);
}

Outcome<std::string> run(DepotHost& host, const std::string& source) {
  const auto program = compile(source, host);
  if (!program) return std::unexpected(program.error());
  Interpreter interpreter(*program, host);
  const auto result = interpreter.run();
  if (!result) return std::unexpected(result.error());
  return interpreter.source(*result);
}

TEST(ApplicationEvents, OnlyWhatIsAskedIsSent) {
  struct Row {
    const char* source;
    int events;
  };
  const Row rows[] = {
      // A reference costs nothing until it is used, a `tell` neither.
      {"tell application \"Depot\" to set r to a reference to name of shelf 1", 0},
      {"tell application \"Depot\"\ntell shelf \"none\"\nset x to 1\nend tell\nend tell", 0},
      // A chain is one event, however long.
      {"tell application \"Depot\" to get name of shelf of crate 1 of shelf 1", 1},
      {"tell application \"Depot\" to set weight of every crate of shelf 1 to 3", 1},
      {"tell application \"Depot\" to get name of crates of shelves", 1},
      {"tell application \"Depot\" to count crates of shelf 1", 1},
      {"tell application \"Depot\" to move crates of shelf 1 to shelf 2", 1},
      // A loop over a reference asks once for the count and once for each property.
      {"tell application \"Depot\"\nrepeat with s in (a reference to shelves)\nget name of s\nend "
       "repeat\nend tell",
       4},
  };
  for (const auto& row : rows) {
    DepotHost host;
    const auto result = run(host, row.source);
    EXPECT_TRUE(result) << row.source;
    EXPECT_EQ(host.depot.events, row.events) << row.source;
  }
}

TEST(ApplicationEvents, AnApplicationThatIsAwayAnswersWithItsNumber) {
  DepotHost host;
  host.depot.closed = true;
  const auto result = run(host, "tell application \"Depot\" to get name of shelf 1");
  ASSERT_FALSE(result);
  EXPECT_EQ(result.error().number, error::notRunning);
  EXPECT_EQ(result.error().message, "Depot got an error: Application isn’t running.");
  EXPECT_EQ(result.error().line, 1);
}

TEST(ApplicationEvents, ThousandsOfReferencesBecomeOneText) {
  DepotHost host;
  host.depot.shelves.clear();
  for (int i = 0; i < 5000; ++i) {
    auto shelf = std::make_shared<Shelf>();
    shelf->id = "id \"" + std::to_string(i) + "\"";
    shelf->name = "s" + std::to_string(i);
    host.depot.shelves.push_back(shelf);
  }
  const auto result =
      run(host,
          "tell application \"Depot\"\ntry\nset t to shelves as text\non error t\nend try\nend tell\n"
          "{count words of t, text 1 thru 55 of t, count of (text items of t)}");
  ASSERT_TRUE(result) << result.error().message;
  EXPECT_NE(result->find("Can’t make {shelf id \\\"id \\\\\\\"0\\\\\\\"\\\" of application"),
            std::string::npos)
      << *result;
  EXPECT_EQ(host.depot.events, 1);
}

}  // namespace
}  // namespace quillbox::applescript::cases

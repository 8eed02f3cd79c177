// Everything that is written in AppleScript to test the interpreter: the case files, the examples of the
// documentation, and the library of handlers with its own tests.
#include <algorithm>
#include <filesystem>
#include <sstream>
#include <string>
#include <string_view>
#include <vector>

#include <gtest/gtest.h>

#include "applescript/interpreter.h"
#include "snippet.h"

namespace quillbox::applescript::cases {
namespace {

const std::filesystem::path kTests = std::filesystem::path(QUILLBOX_SOURCE_DIR) / "tests/applescript";

std::vector<std::string> scriptsBelow(const std::filesystem::path& folder) {
  std::vector<std::string> names;
  for (const auto& entry : std::filesystem::recursive_directory_iterator(folder)) {
    if (entry.path().extension() == ".applescript")
      names.push_back(std::filesystem::relative(entry.path(), folder).generic_string());
  }
  std::sort(names.begin(), names.end());
  return names;
}

void runAll(const std::vector<Snippet>& snippets, const std::string& path) {
  for (const auto& snippet : snippets) {
    QuietHost host;
    const auto difference = differenceOf(snippet, host);
    if (!difference.empty()) ADD_FAILURE_AT(path.c_str(), snippet.line) << snippet.source << difference;
  }
}

class CoreCases : public testing::TestWithParam<std::string> {};

TEST_P(CoreCases, GiveWhatTheyExpect) {
  const auto path = (kTests / "cases/core" / GetParam()).string();
  const auto snippets = snippetsOfCases(readText(path));
  EXPECT_FALSE(snippets.empty());
  runAll(snippets, path);
}

INSTANTIATE_TEST_SUITE_P(AppleScript, CoreCases, testing::ValuesIn(scriptsBelow(kTests / "cases/core")),
                         [](const auto& test) {
                           std::string name;
                           for (const char c : test.param.substr(0, test.param.rfind('.')))
                             name += (c >= 'a' && c <= 'z') || (c >= '0' && c <= '9') ? c : '_';
                           return name;
                         });

TEST(Documentation, EveryExampleGivesWhatItSays) {
  const auto path = (std::filesystem::path(QUILLBOX_SOURCE_DIR) / "docs/APPLESCRIPT.md").string();
  const auto snippets = snippetsOfMarkdown(readText(path));
  EXPECT_GT(snippets.size(), 30U);
  runAll(snippets, path);
}

// The library is one script: its files joined in the order of their names; its run handler tests all of it.
std::string libraryWith(std::string_view lineBreak, std::string_view indentation) {
  std::string source;
  for (const auto& name : scriptsBelow(kTests / "library")) {
    std::istringstream lines(readText((kTests / "library" / name).string()));
    for (std::string line; std::getline(lines, line);) {
      const auto begin = std::min(line.find_first_not_of('\t'), line.size());
      for (std::size_t i = 0; i < begin; ++i) source += indentation;
      source.append(line, begin).append(lineBreak);
    }
  }
  return source;
}

// However its lines end and are indented.
TEST(Library, PassesItsOwnTests) {
  const std::string sources[] = {
      libraryWith("\n", "\t"),
      libraryWith("\r\n", "  "),
      libraryWith("\r", ""),
      libraryWith("\n", "\t\u00A0 \t"),
  };
  for (const auto& source : sources) {
    QuietHost host;
    const auto program = compile(source, host);
    ASSERT_TRUE(program) << program.error().line << ":" << program.error().column << ": "
                         << program.error().message;
    Interpreter interpreter(*program, host);
    const auto result = interpreter.run();
    ASSERT_TRUE(result) << result.error().line << ":" << result.error().column << ": "
                        << result.error().message;
    const std::string summary(result->asText());
    EXPECT_TRUE(summary.ends_with(" passed, 0 failed")) << summary;
    EXPECT_GT(std::stoi("0" + summary), 600) << summary;
  }
}

}  // namespace
}  // namespace quillbox::applescript::cases

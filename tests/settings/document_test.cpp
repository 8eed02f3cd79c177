// docs/SETTINGS.md says what the settings are.
#include <fstream>
#include <regex>
#include <string>
#include <vector>

#include <gtest/gtest.h>

#include "settings/user_settings.h"
#include "support/fakes.h"

namespace quillbox {
namespace {

TEST(SettingsDocument, ListsEveryKeyWithItsDefaultInTheTablesOrder) {
  struct Line {
    std::string key;
    std::string fallback;
    bool registered;
  };
  static const std::regex row(R"(^\| `(\w+)` \| .+ \| `([^`]*)`( \*)? \| .+ \|$)");
  std::vector<Line> written;
  std::ifstream file(std::string(QUILLBOX_SOURCE_DIR) + "/docs/SETTINGS.md");
  for (std::string line; std::getline(file, line);) {
    std::smatch match;
    if (std::regex_match(line, match, row)) written.push_back({match[1], match[2], !match[3].matched});
  }
  RecordingLog log;
  MemoryUserDefaults defaults;
  const UserSettings settings(defaults, log);
  const auto values = settings.allValues();
  ASSERT_EQ(written.size(), values.size());
  for (std::size_t i = 0; i < values.size(); ++i) {
    const std::string key(values[i].key);
    EXPECT_EQ(written[i].key, key);
    EXPECT_EQ(written[i].fallback, values[i].json) << key;
    EXPECT_EQ(written[i].registered, defaults.registered().contains(key)) << key;
  }
}

}  // namespace
}  // namespace quillbox

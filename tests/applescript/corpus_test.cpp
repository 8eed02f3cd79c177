// Replays the corpora of the fuzzers.
#include <cstdint>
#include <filesystem>
#include <string>

#include <gtest/gtest.h>

#include "snippet.h"

extern "C" int fuzzAppleScriptSource(const std::uint8_t* data, std::size_t size);
extern "C" int fuzzSdef(const std::uint8_t* data, std::size_t size);

namespace quillbox::applescript::cases {
namespace {

void replay(const char* name, int (*target)(const std::uint8_t*, std::size_t)) {
  const auto folder = std::filesystem::path(QUILLBOX_SOURCE_DIR) / "fuzz/corpus" / name;
  std::size_t seeds = 0;
  for (const auto& entry : std::filesystem::directory_iterator(folder)) {
    const auto text = readText(entry.path().string());
    SCOPED_TRACE(entry.path().filename().string());
    EXPECT_EQ(target(reinterpret_cast<const std::uint8_t*>(text.data()), text.size()), 0);
    ++seeds;
  }
  EXPECT_GT(seeds, 3U);
}

TEST(Corpora, OfSourceTexts) {
  replay("applescript_source", fuzzAppleScriptSource);
}
TEST(Corpora, OfScriptingDefinitions) {
  replay("sdef", fuzzSdef);
}

}  // namespace
}  // namespace quillbox::applescript::cases

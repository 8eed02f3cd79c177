// The seeds of the fuzzer of delivered lists, and what it has found, once more.
#include <cstdint>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <string>

#include <gtest/gtest.h>

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size);

namespace {

TEST(FuzzCorpus, MailboxText) {
  std::size_t files = 0;
  for (const auto& entry : std::filesystem::directory_iterator(std::filesystem::path(QUILLBOX_SOURCE_DIR) /
                                                               "fuzz/corpus/mailbox_text")) {
    SCOPED_TRACE(entry.path().string());
    std::ifstream file(entry.path(), std::ios::binary);
    const std::string bytes{std::istreambuf_iterator<char>(file), {}};
    EXPECT_EQ(LLVMFuzzerTestOneInput(reinterpret_cast<const std::uint8_t*>(bytes.data()), bytes.size()), 0);
    ++files;
  }
  EXPECT_GE(files, 5U);
}

}  // namespace

// Replays the seeds of a fuzzer, and what it has found, in an ordinary test.
#pragma once

#include <cstddef>
#include <cstdint>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <string>

#include <gtest/gtest.h>

namespace quillbox::test {

using FuzzTarget = int (*)(const std::uint8_t* data, std::size_t size);

// Hands every file of `corpus` to the target, which ends the process when it finds a fault. Fails when the
// corpus holds fewer than `least` files: one that cannot be found must not pass.
inline void replayCorpus(const std::filesystem::path& corpus, FuzzTarget target, std::size_t least) {
  std::size_t files = 0;
  for (const auto& entry : std::filesystem::directory_iterator(corpus)) {
    SCOPED_TRACE(entry.path().filename().string());
    std::ifstream file(entry.path(), std::ios::binary);
    const std::string bytes{std::istreambuf_iterator<char>(file), {}};
    EXPECT_EQ(target(reinterpret_cast<const std::uint8_t*>(bytes.data()), bytes.size()), 0);
    ++files;
  }
  EXPECT_GE(files, least) << corpus;
}

}  // namespace quillbox::test

// Runs the real quillboxctl.
#pragma once

#include <nlohmann/json.hpp>
#include <string>
#include <utility>
#include <vector>

#include <gtest/gtest.h>

#include "store.h"

namespace quillbox {

struct Ended {
  int status = -1;
  std::string out;
  std::string err;
};

// With `input` as standard input. Fails the test when the program cannot be started or dies of a signal.
Ended runQuillboxctl(const std::vector<std::string>& arguments, const std::string& input = {});

// A store, and the program that works on its profile.
class WithQuillboxctl : public testing::Test {
 protected:
  Ended quill(std::vector<std::string> words, const std::string& input = {}) const {
    words.insert(words.begin(), {"--profile", store_.profile().string()});
    return runQuillboxctl(words, input);
  }
  // JSON of a command that goes well; several lines of it become an array.
  nlohmann::json answer(std::vector<std::string> words, const std::string& input = {}) const {
    words.insert(words.begin(), "--json");
    const auto ended = quill(std::move(words), input);
    EXPECT_EQ(ended.status, 0) << ended.err;
    EXPECT_EQ(ended.err, "");
    return nlohmann::json::parse(ended.out, nullptr, false);
  }
  void addAccount(const char* name) const {
    EXPECT_EQ(quill({"mail", "add", name, (store_.mail() / name).string()}).status, 0);
  }

  Store store_;
};

}  // namespace quillbox

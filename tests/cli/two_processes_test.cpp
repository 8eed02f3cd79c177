// Real processes at the same time: filing the same selection, and editing the same list.
#include <string>
#include <thread>
#include <vector>

#include <gtest/gtest.h>

#include "program.h"

namespace quillbox {
namespace {

using TwoProcesses = WithQuillboxctl;

TEST_F(TwoProcesses, FileTheSameSelectionAtOnceAndLoseNothing) {
  constexpr int count = 60;
  store_.fill("Work", count);
  store_.folder("Work", ".A");
  store_.folder("Work", ".B");
  addAccount("Work");
  for (int round = 0; round < 3; ++round) {
    ASSERT_EQ(quill({"select", "--mailbox", "Work/INBOX", "--all"}).status, 0);
    Ended ended[2];
    std::thread other([&] { ended[1] = quill({"file", "Work/B"}); });
    ended[0] = quill({"file", "Work/A"});
    other.join();
    // Whoever comes second to a message says so, or finds it where the first has brought it.
    for (const auto& one : ended) EXPECT_TRUE(one.status == 0 || !one.err.empty()) << one.out;
    EXPECT_LT(store_.messages("Work").size(), static_cast<std::size_t>(count));
    std::multiset<std::string> all;
    for (const auto* folder : {"", ".A", ".B"}) {
      for (const auto& name : store_.messages("Work", folder)) all.insert(name.substr(0, name.find(":2,")));
    }
    EXPECT_EQ(all.size(), static_cast<std::size_t>(count)) << ended[0].err << ended[1].err;
    EXPECT_EQ(std::set<std::string>(all.begin(), all.end()).size(), static_cast<std::size_t>(count));
    // Both filings can be taken back.
    while (quill({"undo"}).status == 0) {
    }
    EXPECT_EQ(store_.messages("Work").size(), static_cast<std::size_t>(count));
  }
}

TEST_F(TwoProcesses, EditOneListAtOnceAndLoseNothing) {
  store_.fill("Work", 0);
  constexpr int count = 8;
  for (int i = 0; i < count; ++i) store_.folder("Work", ".F" + std::to_string(i));
  addAccount("Work");
  const auto atOnce = [&](const char* list, const char* what, int last) {
    std::vector<std::thread> others;
    for (int i = 0; i < last; ++i)
      others.emplace_back([&, i] { EXPECT_EQ(quill({list, what, "Work/F" + std::to_string(i)}).status, 0); });
    for (auto& other : others) other.join();
  };
  for (const auto* list : {"favorites", "recents"}) {
    atOnce(list, "add", count);
    auto left = quill({list, "list"}).out;
    for (int i = 0; i < count; ++i)
      EXPECT_NE(left.find("Work/F" + std::to_string(i)), std::string::npos) << list << "\n" << left;
    atOnce(list, "remove", count / 2);
    left = quill({list, "list"}).out;
    for (int i = 0; i < count; ++i)
      EXPECT_EQ(left.find("Work/F" + std::to_string(i)) != std::string::npos, i >= count / 2) << left;
  }
}

}  // namespace
}  // namespace quillbox

// The store on disks that are full, read-only, taken away, or shared with another process that files too.
#include <filesystem>
#include <string>
#include <vector>

#include <gtest/gtest.h>
#include <sys/wait.h>
#include <unistd.h>

#include "machine.h"
#include "real_store.h"

namespace quillbox::mailclient {
namespace {

namespace fs = std::filesystem;

TEST(RealDisk, TwoProcessesFileTheSameMessagesAtOnce) {
  RealStore store;
  const auto mail = store.root() / "mail";
  for (const auto* folder : {"", ".A", ".B"}) store.makeFolder(mail / folder);
  ASSERT_TRUE(store.client()->addAccount({"A", mail, "", AccountType::imap}));
  const auto account = store.client()->accounts()->front().id;
  constexpr int count = 300;
  for (int i = 0; i < count; ++i) store.deliver(mail, "m" + std::to_string(i), "");
  std::vector<pid_t> children;
  for (const auto* target : {"A", "B"}) {
    const pid_t child = fork();
    ASSERT_GE(child, 0);
    if (child == 0) {
      FixedRandomSource names(static_cast<std::uint64_t>(getpid()) << 32);
      const Environment environment{store.files, store.clock, names, store.log,
                                    store.root() / "profile" / "mail"};
      (void)fileAll(environment, {account, "INBOX"}, {account, target}, MarkChange::label(LabelColor::green));
      _exit(0);
    }
    children.push_back(child);
  }
  for (const auto child : children) {
    int status = 0;
    waitpid(child, &status, 0);
    EXPECT_EQ(status, 0);
  }
  ASSERT_TRUE(store.client()->start());
  const auto all = store.messages(mail);
  EXPECT_EQ(all.size(), static_cast<std::size_t>(count));
  for (const auto& [subject, places] : all) EXPECT_EQ(places.size(), 1U) << subject;
  EXPECT_TRUE(store.strayFiles(mail).empty());
}

}  // namespace
}  // namespace quillbox::mailclient

// One contract, three file systems: the kernel's, the kernel's without exclusive renames, and the one in
// memory that all other tests trust.
#include "host/linux/file_system.h"

#include <algorithm>
#include <atomic>
#include <cerrno>
#include <chrono>
#include <functional>
#include <memory>
#include <string>
#include <thread>
#include <vector>

#include <fcntl.h>
#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <signal.h>
#include <sys/stat.h>
#include <sys/wait.h>
#include <unistd.h>

#include "support/memory_file_system.h"
#include "support/temporary_directory.h"

namespace quillbox {
namespace {

using std::chrono::milliseconds;

enum class Kind { kernel, reserving, memory };

std::string nameOf(Kind kind) {
  return kind == Kind::kernel ? "Kernel" : kind == Kind::reserving ? "Reserving" : "Memory";
}

class FileSystemContract : public testing::TestWithParam<Kind> {
 protected:
  FileSystemContract() {
    if (GetParam() == Kind::memory) {
      auto memory = std::make_unique<MemoryFileSystem>();
      memory->putDirectory("/t");
      files_ = std::move(memory);
      top_ = "/t";
    } else {
      files_ = std::make_unique<LinuxFileSystem>(GetParam() == Kind::kernel
                                                     ? LinuxFileSystem::ExclusiveRename::kernel
                                                     : LinuxFileSystem::ExclusiveRename::reserving);
      top_ = directory_.path();
    }
  }

  Path at(const std::string& name) const { return top_ / name; }

  void put(const std::string& name, std::string_view bytes) {
    auto file = files_->create(at(name), CreateMode::exclusive, 0600);
    ASSERT_TRUE(file) << file.error().message;
    ASSERT_TRUE((*file)->write(bytes));
    ASSERT_TRUE((*file)->sync());
    ASSERT_TRUE((*file)->close());
    ASSERT_TRUE((*file)->close());
  }

  std::string bytes(const std::string& name) {
    const auto read = files_->read(at(name));
    return read ? *read : "<" + std::to_string(read.error().number) + ">";
  }

  std::vector<std::string> names(const std::string& directory) {
    std::vector<std::string> out;
    EXPECT_TRUE(files_->list(at(directory), [&](std::string_view name, FileKind kind) {
      out.push_back(std::string(name) + (kind == FileKind::directory ? "/" : ""));
      return true;
    }));
    std::ranges::sort(out);
    return out;
  }

  TemporaryDirectory directory_;
  std::unique_ptr<FileSystem> files_;
  Path top_;
};

TEST_P(FileSystemContract, FilesAreMadeReadAndToldOf) {
  put("a", "hello");
  put("odd \"\\\n\xFF", "x");
  EXPECT_EQ(files_->create(at("a"), CreateMode::exclusive, 0600).error().number, EEXIST);
  EXPECT_TRUE((*files_->create(at("a"), CreateMode::append, 0600))->write(" there"));
  EXPECT_EQ(bytes("a"), "hello there");
  EXPECT_EQ(*files_->readRange(at("a"), 6, 3), "the");
  EXPECT_EQ(*files_->readRange(at("a"), 9, 100), "re");
  EXPECT_EQ(*files_->readRange(at("a"), 100, 1), "");
  EXPECT_EQ(files_->read(at("a"), 10).error().number, EFBIG);
  EXPECT_EQ(files_->read(at("a"), 11)->size(), 11U);
  ASSERT_TRUE(files_->makeDirectory(at("d"), 0700));
  EXPECT_EQ(files_->makeDirectory(at("d"), 0700).error().number, EEXIST);
  EXPECT_EQ(files_->read(at("d")).error().number, EISDIR);
  EXPECT_EQ(files_->read(at("none")).error().number, ENOENT);
  EXPECT_EQ(files_->info(at("a/b")).error().number, ENOTDIR);
  EXPECT_EQ(files_->info(at(std::string(300, 'n'))).error().number, ENAMETOOLONG);
  EXPECT_EQ(names(""), (std::vector<std::string>{"a", "d/", "odd \"\\\n\xFF"}));
  int calls = 0;
  EXPECT_TRUE(files_->list(top_, [&](std::string_view, FileKind) { return ++calls < 2; }));
  EXPECT_EQ(calls, 2);
  const auto info = *files_->info(at("a"));
  EXPECT_EQ(info.kind, FileKind::regular);
  EXPECT_EQ(info.size, 11U);
  EXPECT_EQ(info.permissions, 0600U);
  EXPECT_NE(info.inode, files_->info(at("d"))->inode);
  EXPECT_EQ(info.device, files_->info(at("d"))->device);
  const std::chrono::nanoseconds long_ago = std::chrono::seconds(-5) + std::chrono::nanoseconds(7);
  ASSERT_TRUE(files_->setModified(at("a"), long_ago));
  EXPECT_EQ(files_->info(at("a"))->modified, long_ago);
  ASSERT_TRUE(files_->setPermissions(at("a"), 0400));
  EXPECT_EQ(files_->info(at("a"))->permissions, 0400U);
  EXPECT_TRUE(files_->syncDirectory(top_));
  EXPECT_EQ(files_->removeDirectory(at("a")).error().number, ENOTDIR);
  EXPECT_TRUE(files_->remove(at("a")));
  EXPECT_EQ(files_->remove(at("a")).error().number, ENOENT);
  EXPECT_EQ(files_->remove(at("d")).error().number, EISDIR);
}

TEST_P(FileSystemContract, RenamesKeepTheFileAndNeverOverwriteByAccident) {
  put("a", "A");
  put("b", "B");
  const auto inode = files_->info(at("a"))->inode;
  const auto refused = files_->renameNoReplace(at("a"), at("b"));
  EXPECT_EQ(refused.error().number, EEXIST);
  EXPECT_EQ(bytes("a") + bytes("b"), "AB");
  EXPECT_TRUE(files_->renameNoReplace(at("a"), at("c")));
  EXPECT_EQ(files_->info(at("c"))->inode, inode);
  EXPECT_EQ(files_->renameNoReplace(at("a"), at("e")).error().number, ENOENT);
  EXPECT_EQ(files_->renameNoReplace(at("c"), at("no/e")).error().number, ENOENT);
  EXPECT_EQ(names(""), (std::vector<std::string>{"b", "c"})) << "a failed rename left something behind";
  EXPECT_TRUE(files_->renameReplacing(at("c"), at("b")));
  EXPECT_EQ(bytes("b"), "A");

  ASSERT_TRUE(files_->makeDirectory(at("d"), 0700));
  put("d/x", "X");
  EXPECT_EQ(files_->renameNoReplace(at("d"), at("d/inside")).error().number, EINVAL);
  EXPECT_EQ(files_->renameNoReplace(at("b"), at("d")).error().number, EEXIST);
  EXPECT_TRUE(files_->renameNoReplace(at("d"), at("D")));
  EXPECT_EQ(bytes("D/x"), "X");
  EXPECT_EQ(files_->removeDirectory(at("D")).error().number, ENOTEMPTY);
  EXPECT_TRUE(files_->remove(at("D/x")));
  EXPECT_TRUE(files_->removeDirectory(at("D")));
  EXPECT_EQ(names(""), (std::vector<std::string>{"b"}));
}

TEST_P(FileSystemContract, OfManyRenamesToOneNameOneWins) {
  constexpr int count = 8;
  for (int round = 0; round < 20; ++round) {
    const std::string target = "target" + std::to_string(round);
    std::atomic<int> won = 0;
    std::vector<std::thread> threads;
    for (int i = 0; i < count; ++i) put(std::to_string(round) + "-" + std::to_string(i), std::to_string(i));
    for (int i = 0; i < count; ++i) {
      threads.emplace_back([&, i] {
        const auto done =
            files_->renameNoReplace(at(std::to_string(round) + "-" + std::to_string(i)), at(target));
        EXPECT_TRUE(done || done.error().number == EEXIST);
        if (done) ++won;
      });
    }
    for (auto& thread : threads) thread.join();
    EXPECT_EQ(won, 1);
  }
  EXPECT_EQ(names("").size(), 20U * count);
}

TEST_P(FileSystemContract, ALockExcludesAndTimesOutAndIsGivenBack) {
  constexpr int threads = 4;
  constexpr int rounds = 50;
  std::atomic<int> unguarded = 0;  // read and written apart: only the lock keeps the sum
  std::vector<std::thread> workers;
  for (int i = 0; i < threads; ++i) {
    workers.emplace_back([&] {
      for (int round = 0; round < rounds; ++round) {
        const auto lock = files_->lock(at("lock"), milliseconds(60'000));
        ASSERT_TRUE(lock) << lock.error().message;
        const int seen = unguarded.load(std::memory_order_relaxed);
        std::this_thread::yield();
        unguarded.store(seen + 1, std::memory_order_relaxed);
      }
    });
  }
  for (auto& worker : workers) worker.join();
  EXPECT_EQ(unguarded, threads * rounds);

  auto held = files_->lock(at("lock"), milliseconds(0));
  ASSERT_TRUE(held);
  EXPECT_EQ(files_->lock(at("lock"), milliseconds(30)).error().number, ETIMEDOUT);
  std::thread releaser([&] { held->reset(); });
  EXPECT_TRUE(files_->lock(at("lock"), milliseconds(60'000)));
  releaser.join();
  EXPECT_EQ(files_->lock(at("no/lock"), milliseconds(0)).error().number, ENOENT);
}

TEST_P(FileSystemContract, AtomicWritesReplaceAndLeaveNoDraft) {
  ASSERT_TRUE(makeDirectories(*files_, at("x/y/z"), 0700));
  ASSERT_TRUE(makeDirectories(*files_, at("x/y/z"), 0700));
  ASSERT_TRUE(writeAtomically(*files_, at("x/y/z/f"), "one", 0600, "u1"));
  ASSERT_TRUE(writeAtomically(*files_, at("x/y/z/f"), "two", 0600, "u2"));
  EXPECT_EQ(bytes("x/y/z/f"), "two");
  EXPECT_EQ(names("x/y/z"), std::vector<std::string>{"f"});
  EXPECT_EQ(makeDirectories(*files_, at("x/y/z/f/g"), 0700).error().number, ENOTDIR);
  EXPECT_EQ(keepDamagedFileAside(*files_, at("x/y/z/f")).value(), at("x/y/z/f.damaged"));
  put("x/y/z/f", "three");
  EXPECT_EQ(keepDamagedFileAside(*files_, at("x/y/z/f")).value(), at("x/y/z/f.damaged-2"));
}

INSTANTIATE_TEST_SUITE_P(All, FileSystemContract,
                         testing::Values(Kind::kernel, Kind::reserving, Kind::memory),
                         [](const auto& each) { return nameOf(each.param); });

TEST(LinuxFileSystem, ErrorsAreSentencesWithTheErrnoAndPathsOnOneLine) {
  LinuxFileSystem files;
  const TemporaryDirectory directory;
  const auto read = files.read(directory / "a\nb\xFF");
  EXPECT_EQ(read.error().number, ENOENT);
  EXPECT_EQ(read.error().message,
            "Can’t read " + directory.path().string() + "/a\\nb\xEF\xBF\xBD: No such file or directory");
  const auto rename = files.renameNoReplace(directory / "a", directory / "b");
  EXPECT_EQ(rename.error().message, "Can’t rename " + (directory / "a").string() + " to " +
                                        (directory / "b").string() + ": No such file or directory");
}

TEST(LinuxFileSystem, AFullDiskOrAnotherDeviceIsToldOf) {
  LinuxFileSystem files;
  auto full = files.create("/dev/full", CreateMode::append, 0600);
  ASSERT_TRUE(full);
  EXPECT_EQ((*full)->write("x").error().number, ENOSPC);

  const TemporaryDirectory here;
  const Path shared = "/dev/shm";
  if (files.info(shared) && files.info(shared)->device != files.info(here.path())->device) {
    const TemporaryDirectory there(shared);
    ASSERT_TRUE(writeAtomically(files, here / "f", "f", 0600, "u"));
    for (auto kind :
         {LinuxFileSystem::ExclusiveRename::kernel, LinuxFileSystem::ExclusiveRename::reserving}) {
      EXPECT_EQ(LinuxFileSystem(kind).renameNoReplace(here / "f", there / "f").error().number, EXDEV);
      EXPECT_EQ(files.info(there / "f").error().number, ENOENT);
    }
  }
}

TEST(LinuxFileSystem, WhatIsNoFileIsNotWaitedFor) {
  LinuxFileSystem files;
  const TemporaryDirectory directory;
  const Path fifo = directory / "fifo";
  ASSERT_EQ(::mkfifo(fifo.c_str(), 0600), 0);
  EXPECT_EQ(files.read(fifo).error().number, EINVAL);
  EXPECT_EQ(files.readRange(fifo, 0, 1).error().number, EINVAL);
  EXPECT_EQ(files.create(fifo, CreateMode::append, 0600).error().number, ENXIO);
  EXPECT_EQ(files.info(fifo)->kind, FileKind::other);
  EXPECT_EQ(files.read("/proc/self/status")->substr(0, 5), "Name:");  // a size of 0 is not believed
}

TEST(LinuxFileSystem, TheLockOfAKilledProcessIsFree) {
  LinuxFileSystem files;
  const TemporaryDirectory directory;
  const Path path = directory / "lock";
  int ready[2];
  ASSERT_EQ(::pipe(ready), 0);
  const pid_t child = ::fork();
  if (child == 0) {
    const auto lock = files.lock(path, milliseconds(0));
    (void)!::write(ready[1], lock ? "y" : "n", 1);
    while (true) ::pause();
  }
  char answer = 0;
  ASSERT_EQ(::read(ready[0], &answer, 1), 1);
  ASSERT_EQ(answer, 'y');
  EXPECT_EQ(files.lock(path, milliseconds(20)).error().number, ETIMEDOUT);
  ::kill(child, SIGKILL);
  EXPECT_TRUE(files.lock(path, milliseconds(60'000)));
  ::waitpid(child, nullptr, 0);
  ::close(ready[0]);
  ::close(ready[1]);
}

TEST(MemoryFileSystem, LinksDevicesPermissionsAndPower) {
  MemoryFileSystem files;
  files.put("/a/real/f", "F");
  files.putLink("/a/link", "real");
  files.putLink("/a/loop", "loop");
  files.putLink("/a/up", "../a/link/f");
  EXPECT_EQ(*files.read("/a/link/f"), "F");
  EXPECT_EQ(*files.read("/a/up"), "F");
  EXPECT_EQ(files.info("/a/link", FollowLinks::no)->kind, FileKind::symbolicLink);
  EXPECT_EQ(files.readLink("/a/link")->string(), "real");
  EXPECT_EQ(files.read("/a/loop").error().number, ELOOP);
  files.mount("/disk");
  EXPECT_EQ(files.renameNoReplace("/a/real/f", "/disk/f").error().number, EXDEV);
  ASSERT_TRUE(files.setPermissions("/a/real", 0500));
  EXPECT_EQ(files.remove("/a/real/f").error().number, EACCES);
  EXPECT_EQ(files.create("/a/real/g", CreateMode::exclusive, 0600).error().number, EACCES);
  ASSERT_TRUE(files.setPermissions("/a/real", 0700));

  ASSERT_TRUE(files.renameNoReplace("/a/real/f", "/a/g"));
  auto file = files.create("/a/new", CreateMode::exclusive, 0600);
  ASSERT_TRUE((*file)->write("12"));
  ASSERT_TRUE((*file)->sync());
  ASSERT_TRUE(files.syncDirectory("/a"));
  ASSERT_TRUE((*file)->write("34"));
  ASSERT_TRUE(files.remove("/a/g"));
  ASSERT_TRUE(files.makeDirectory("/a/later", 0700));
  files.losePower();
  EXPECT_EQ(files.bytes("/a/g"), "F");
  EXPECT_EQ(files.bytes("/a/new"), "12");
  EXPECT_FALSE(files.exists("/a/real/f"));
  EXPECT_FALSE(files.exists("/a/later"));
  ASSERT_TRUE((*file)->write("lost"));
  EXPECT_EQ(files.bytes("/a/new"), "12");

  files.setCapacity(5);
  auto full = files.create("/a/full", CreateMode::exclusive, 0600);
  EXPECT_EQ((*full)->write("abcdef").error().number, ENOSPC);
  EXPECT_EQ(files.bytes("/a/full"), "ab");
}

}  // namespace
}  // namespace quillbox

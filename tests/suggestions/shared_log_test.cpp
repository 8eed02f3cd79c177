// The suggestions log on a real disk, with processes that append to it at once.
#include <csignal>
#include <map>
#include <string>
#include <vector>

#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <sys/wait.h>
#include <unistd.h>

#include "host/linux/clock.h"
#include "host/linux/file_system.h"
#include "host/linux/secret_store.h"
#include "suggestions/advanced_log_manager.h"
#include "suggestions/examples.h"
#include "support/fakes.h"
#include "support/temporary_directory.h"

namespace quillbox {
namespace {

constexpr int kBatch = 5;

// Everything that one process has of its own.
struct Writer {
  LinuxFileSystem files;
  SystemRandomSource random;
  LinuxSecretStore secrets;
  RecordingLog log;
  AdvancedLogManager manager;

  Writer(const Path& data, AdvancedLogMode mode)
      : secrets(files, random, data, nullptr), manager({files, random, secrets, log}, data, mode) {}

  // Batch `number`: its records tell the writer, the batch and their place in it.
  bool append(const std::string& name, int number) {
    std::vector<TrainingExample> batch;
    for (int i = 0; i < kBatch; ++i) {
      batch.push_back(received(name, std::to_string(number) + "@example.org", "Box " + std::to_string(i)));
    }
    return manager.append(batch).has_value();
  }
};

template <class Work>
pid_t inAnotherProcess(const Work& work) {
  const pid_t child = ::fork();
  if (child == 0) ::_exit(work() ? 0 : 1);
  return child;
}

int statusOf(pid_t child) {
  int status = -1;
  ::waitpid(child, &status, 0);
  return status;
}

class SharedLog : public testing::TestWithParam<AdvancedLogMode> {
 protected:
  // The numbers of each writer's batches in the order of the log; every batch is whole and in one piece.
  std::map<std::string, std::vector<int>> batches(const std::vector<TrainingExample>& examples) {
    std::map<std::string, std::vector<int>> found;
    EXPECT_EQ(examples.size() % kBatch, 0U);
    for (std::size_t i = 0; i < examples.size(); ++i) {
      const auto& first = examples[i - i % kBatch];
      EXPECT_EQ(examples[i].subject, first.subject) << i;
      EXPECT_EQ(examples[i].senderAddress, first.senderAddress) << i;
      EXPECT_EQ(examples[i].mailboxPath, "Box " + std::to_string(i % kBatch)) << i;
      if (i % kBatch == 0) found[first.subject].push_back(std::stoi(first.senderAddress));
    }
    return found;
  }

  TemporaryDirectory directory_;
  const Path data_ = directory_ / "data";
};
INSTANTIATE_TEST_SUITE_P(Logs, SharedLog,
                         testing::Values(AdvancedLogMode::encrypted, AdvancedLogMode::plaintext),
                         [](const auto& mode) {
                           return mode.param == AdvancedLogMode::encrypted ? "encrypted" : "plaintext";
                         });

// They begin together, so that they also meet while there is neither a log nor a secret.
TEST_P(SharedLog, TakesWholeBatchesOfSeveralProcesses) {
  constexpr int kBatches = 25;
  int start[2];
  ASSERT_EQ(::pipe(start), 0);
  std::vector<pid_t> children;
  for (const std::string name : {"one", "two", "three"}) {
    children.push_back(inAnotherProcess([&, name] {
      ::close(start[1]);
      char byte = 0;
      (void)!::read(start[0], &byte, 1);  // ends when the parent lets go
      Writer writer(data_, GetParam());
      for (int i = 0; i < kBatches; ++i) {
        if (!writer.append(name, i) || !writer.manager.loadAll()) return false;
      }
      return writer.log.lines().empty();
    }));
  }
  ::close(start[0]);
  ::close(start[1]);
  for (const pid_t child : children) EXPECT_EQ(statusOf(child), 0);

  Writer reader(data_, GetParam());
  const auto found = batches(reader.manager.loadAll().value());
  EXPECT_TRUE(reader.log.lines().empty());
  std::vector<int> all(kBatches);
  for (int i = 0; i < kBatches; ++i) all[static_cast<std::size_t>(i)] = i;
  EXPECT_EQ(found.size(), 3U);
  for (const auto& [writer, numbers] : found) EXPECT_EQ(numbers, all) << writer;
}

TEST_P(SharedLog, OutlivesAProcessThatIsKilledWhileItAppends) {
  for (int round = 0; round < 5; ++round) {
    int atWork[2];
    ASSERT_EQ(::pipe(atWork), 0);
    const pid_t child = inAnotherProcess([&] {
      Writer writer(data_, GetParam());
      for (int i = 0; writer.append("killed" + std::to_string(round), i); ++i) {
        if (i == 3) (void)!::write(atWork[1], "x", 1);
      }
      return false;
    });
    ::close(atWork[1]);
    char byte = 0;
    ASSERT_EQ(::read(atWork[0], &byte, 1), 1);
    ::close(atWork[0]);
    Writer writer(data_, GetParam());
    ::kill(child, SIGKILL);
    EXPECT_TRUE(writer.append("survivor", round));
    EXPECT_TRUE(WIFSIGNALED(statusOf(child)));
  }
  Writer reader(data_, GetParam());
  const auto examples = reader.manager.loadAll().value();
  std::vector<int> survivors;
  for (const auto& example : examples) {
    if (example.subject == "survivor" && example.mailboxPath == "Box 0") {
      survivors.push_back(std::stoi(example.senderAddress));
    }
  }
  EXPECT_THAT(survivors, testing::ElementsAre(0, 1, 2, 3, 4));
}

}  // namespace
}  // namespace quillbox

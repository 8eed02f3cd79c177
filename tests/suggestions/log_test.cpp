// The filing log, and the suggestions log in both modes through everything that can happen to a file.
#include <cerrno>
#include <thread>

#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <rapidcheck.h>

#include "suggestions/advanced_log_manager.h"
#include "suggestions/examples.h"
#include "suggestions/log_manager.h"
#include "suggestions/memory_secret_store.h"
#include "support/fakes.h"
#include "support/faulty_file_system.h"
#include "support/manual_dispatch.h"
#include "support/memory_file_system.h"

namespace quillbox {
namespace {

using testing::AllOf;
using testing::ElementsAre;
using testing::HasSubstr;
using testing::IsEmpty;
using testing::Not;
using testing::StartsWith;

const Path kData = "/profile/data";

struct Bench {
  MemoryFileSystem disk;
  FaultyFileSystem files{disk};
  FixedRandomSource random;
  MemorySecretStore secrets;
  RecordingLog log;

  AdvancedLogManager manager(AdvancedLogMode mode = AdvancedLogMode::encrypted) {
    return AdvancedLogManager({files, random, secrets, log}, kData, mode);
  }
  std::size_t skipped() const {
    std::size_t count = 0;
    for (const auto& line : log.lines())
      count += line.starts_with("Skipping corrupt advanced log entry: ") ? 1U : 0U;
    return count;
  }
};

const Path kEncrypted = kData / "quillbox-suggestions-log.enc";
const Path kPlain = kData / "quillbox-suggestions-log.txt";

std::vector<TrainingExample> numbered(int from, int to, const std::string& word = "subject") {
  std::vector<TrainingExample> examples;
  for (int i = from; i < to; ++i) {
    examples.push_back(
        received(word + " " + std::to_string(i) + std::string(static_cast<std::size_t>(i % 5), 'x'), "a@b.c",
                 "Box " + std::to_string(i)));
  }
  return examples;
}

class BothModes : public testing::TestWithParam<AdvancedLogMode> {
 protected:
  Bench bench_;
  Path path() const { return GetParam() == AdvancedLogMode::encrypted ? kEncrypted : kPlain; }
};
INSTANTIATE_TEST_SUITE_P(Logs, BothModes,
                         testing::Values(AdvancedLogMode::encrypted, AdvancedLogMode::plaintext),
                         [](const auto& mode) {
                           return mode.param == AdvancedLogMode::encrypted ? "encrypted" : "plaintext";
                         });

TEST_P(BothModes, RecordsComeBackInOrderAcrossManagers) {
  auto examples = numbered(0, 7);
  examples[2] = sent("Grüße\nan\t\"alle\" \\ \u2028", "a@b,  c@d", "Ge/sendet");
  examples[3].subject = std::string(10 << 20, 'y');
  auto manager = bench_.manager(GetParam());
  ASSERT_TRUE(manager.loadAll().value().empty());
  ASSERT_TRUE(manager.append(std::vector<TrainingExample>()));
  EXPECT_FALSE(bench_.disk.exists(path()));
  ASSERT_TRUE(manager.append(examples[0]));
  ASSERT_TRUE(manager.append(std::span(examples).subspan(1, 3)));
  auto other = bench_.manager(GetParam());
  ASSERT_TRUE(other.append(std::span(examples).subspan(4)));
  EXPECT_EQ(manager.loadAll().value(), examples);
  EXPECT_EQ(bench_.manager(GetParam()).loadAll().value(), examples);
  EXPECT_EQ(bench_.skipped(), 0U);

  std::string lines;
  for (const auto& example : examples) lines += encodeTrainingExample(example) + "\n";
  EXPECT_EQ(other.text().value(), lines);
  EXPECT_EQ(bench_.disk.info(path(), FollowLinks::no)->permissions, 0600U);
  EXPECT_EQ(bench_.disk.info(kData, FollowLinks::no)->permissions, 0700U);

  ASSERT_TRUE(manager.clear());
  EXPECT_TRUE(bench_.log.contains("Advanced log cleared"));
  EXPECT_TRUE(other.loadAll().value().empty());
  ASSERT_TRUE(other.append(examples[0]));
  EXPECT_THAT(manager.loadAll().value(), ElementsAre(examples[0]));
}

// Whatever step of an append fails, what was in the log stays, what is appended later is found, and nothing
// else appears.
TEST_P(BothModes, AFullDiskOrACrashDuringAnAppendLosesNothingElse) {
  for (const bool crash : {false, true}) {
    for (std::uint64_t step = 1;; ++step) {
      Bench bench;
      ASSERT_TRUE(bench.manager(GetParam()).append(numbered(0, 3)));
      bench.files.reset();
      auto manager = bench.manager(GetParam());
      if (crash) {
        bench.files.crashAtStep(step, FaultyFileSystem::Torn::half);
      } else {
        bench.files.failStep(step, ENOSPC);
      }
      const auto failed = manager.append(numbered(3, 6));
      const bool done = step > bench.files.steps();
      bench.files.reset();
      EXPECT_EQ(failed.has_value(), done) << step;
      EXPECT_EQ(bench.log.contains("Failed to batch append "), !done);
      auto next = bench.manager(GetParam());
      ASSERT_TRUE((crash ? next : manager).append(numbered(6, 8)));
      const auto loaded = bench.manager(GetParam()).loadAll();
      ASSERT_TRUE(loaded);
      std::vector<std::string> left;
      for (const auto& example : *loaded) left.push_back(example.mailboxPath);
      const auto all = numbered(0, 8);
      std::size_t at = 0;
      for (const auto& example : *loaded) {
        while (at < all.size() && all[at] != example) ++at;
        ASSERT_LT(at++, all.size()) << example.mailboxPath << " at step " << step;
      }
      for (const char* needed : {"Box 0", "Box 1", "Box 2", "Box 6", "Box 7"}) {
        EXPECT_THAT(left, testing::Contains(needed)) << step;
      }
      EXPECT_LE(bench.skipped(), 1U);
      if (done) break;
    }
  }
}

TEST_P(BothModes, UnreadableLogsFailAndMissingOnesAreEmpty) {
  auto manager = bench_.manager(GetParam());
  ASSERT_TRUE(manager.append(numbered(0, 2)));
  bench_.files.failReadsWhen([](const FaultyFileSystem::Step& step) -> std::optional<int> {
    return step.operation == "read" ? std::optional(EACCES) : std::nullopt;
  });
  const auto loaded = manager.loadAll();
  ASSERT_FALSE(loaded);
  EXPECT_EQ(loaded.error().number, EACCES);
  EXPECT_TRUE(bench_.log.contains("Failed to read advanced log: " + loaded.error().message));
  bench_.files.reset();
  bench_.files.failWhen([](const FaultyFileSystem::Step&) { return std::optional(EROFS); });
  EXPECT_FALSE(manager.clear());
  EXPECT_TRUE(bench_.log.contains("Failed to clear advanced log: "));
  bench_.files.reset();
  EXPECT_EQ(manager.loadAll().value().size(), 2U);
}

TEST_P(BothModes, BatchesOfSeveralWritersStayWhole) {
  constexpr int kWriters = 3;
  constexpr int kBatches = 12;
  std::vector<std::thread> writers;
  for (int writer = 0; writer < kWriters; ++writer) {
    writers.emplace_back([&, writer] {
      auto manager = bench_.manager(GetParam());
      for (int batch = 0; batch < kBatches; ++batch) {
        EXPECT_TRUE(manager.append(numbered(batch * 4, batch * 4 + 4, "writer" + std::to_string(writer))));
        EXPECT_TRUE(manager.loadAll());
      }
    });
  }
  for (auto& writer : writers) writer.join();
  const auto loaded = bench_.manager(GetParam()).loadAll().value();
  ASSERT_EQ(loaded.size(), static_cast<std::size_t>(kWriters * kBatches * 4));
  for (std::size_t i = 0; i < loaded.size(); i += 4) {
    const auto writer = loaded[i].subject.substr(0, loaded[i].subject.find(' '));
    const int first = std::stoi(loaded[i].mailboxPath.substr(4));
    EXPECT_THAT(numbered(first, first + 4, writer),
                testing::ElementsAreArray(std::span(loaded).subspan(i, 4)));
  }
  EXPECT_EQ(bench_.skipped(), 0U);
}

TEST(PlainLog, DamagedLinesAreSkippedWithOneLineEach) {
  Bench bench;
  const auto good = numbered(0, 3);
  bench.disk.put(kPlain, encodeTrainingExample(good[0]) + "\n" + "not json\n" +
                             encodeTrainingExample(good[1]) + "\r\n\n{\"subject\":\"only\"}\n" +
                             std::string(10 << 20, 'z') + "\n\xFF\x01\n" + encodeTrainingExample(good[2]));
  auto manager = bench.manager(AdvancedLogMode::plaintext);
  EXPECT_EQ(manager.loadAll().value(), good);
  EXPECT_EQ(bench.skipped(), 4U);
  for (const auto& line : bench.log.lines()) EXPECT_LT(line.size(), 600U);
  // The last line has no end; what comes next begins a line of its own.
  ASSERT_TRUE(manager.append(numbered(3, 4)));
  EXPECT_EQ(manager.loadAll().value(), numbered(0, 4));
}

// ---- encrypted ----

struct Frame {
  std::size_t begin = 0;
  std::size_t size = 0;
};

std::vector<Frame> framesOf(const std::string& file) {
  std::vector<Frame> frames;
  for (std::size_t at = log_frames::fileHeaderSize; at < file.size();) {
    std::size_t record = 0;
    for (std::size_t i = 0; i < 4; ++i)
      record |= static_cast<std::size_t>(static_cast<unsigned char>(file[at + 4 + i])) << (8 * i);
    frames.push_back({at, record + log_frames::frameHeaderSize + log_frames::tagSize});
    at += frames.back().size;
  }
  return frames;
}

class EncryptedLog : public testing::Test {
 protected:
  void SetUp() override {
    examples_ = numbered(0, 9);
    ASSERT_TRUE(bench_.manager().append(examples_));
    file_ = bench_.disk.bytes(kEncrypted);
    frames_ = framesOf(file_);
    ASSERT_EQ(frames_.size(), examples_.size());
  }

  std::string frame(std::size_t i) const { return file_.substr(frames_[i].begin, frames_[i].size); }

  std::vector<TrainingExample> load(std::string bytes, std::size_t* lines = nullptr) {
    const std::size_t before = bench_.skipped();
    bench_.disk.put(kEncrypted, std::move(bytes));
    auto loaded = bench_.manager().loadAll();
    EXPECT_TRUE(loaded);
    if (lines != nullptr) *lines = bench_.skipped() - before;
    return loaded ? *loaded : std::vector<TrainingExample>();
  }

  std::vector<TrainingExample> without(std::vector<std::size_t> gone) const {
    std::vector<TrainingExample> left;
    for (std::size_t i = 0; i < examples_.size(); ++i) {
      if (std::ranges::find(gone, i) == gone.end()) left.push_back(examples_[i]);
    }
    return left;
  }

  Bench bench_;
  std::vector<TrainingExample> examples_;
  std::string file_;
  std::vector<Frame> frames_;
};

TEST_F(EncryptedLog, ShowsNothingOfTheRecords) {
  for (const auto& text : {"subject", "a@b.c", "b.c", "Box", "Work", "mailboxPath", "id@example"}) {
    EXPECT_EQ(file_.find(text), std::string::npos) << text;
  }
  // Equal records do not look alike.
  ASSERT_TRUE(bench_.manager().append(std::vector(2, examples_[0])));
  const std::string more = bench_.disk.bytes(kEncrypted);
  const auto frames = framesOf(more);
  const auto body = [&](std::size_t i) {
    return more.substr(frames[i].begin + log_frames::frameHeaderSize,
                       frames[i].size - log_frames::frameHeaderSize);
  };
  EXPECT_NE(body(9), body(10));
  EXPECT_NE(body(0), body(9));
}

TEST_F(EncryptedLog, AFlippedBitCostsOneRecordAndOneLine) {
  for (std::size_t byte = 0; byte < file_.size(); ++byte) {
    std::string damaged = file_;
    damaged[byte] = static_cast<char>(damaged[byte] ^ (1 << (byte % 8)));
    std::size_t lines = 0;
    const auto loaded = load(damaged, &lines);
    if (byte < log_frames::fileHeaderSize) {
      EXPECT_EQ(loaded, examples_) << byte;
    } else {
      std::size_t hit = 0;
      while (byte >= frames_[hit].begin + frames_[hit].size) ++hit;
      EXPECT_EQ(loaded, without({hit})) << byte;
    }
    EXPECT_EQ(lines, 1U) << byte;
  }
}

TEST_F(EncryptedLog, ATruncatedTailCostsWhatIsMissing) {
  for (std::size_t size = 0; size <= file_.size(); ++size) {
    std::size_t whole = 0;
    while (whole < frames_.size() && frames_[whole].begin + frames_[whole].size <= size) ++whole;
    const bool atEdge =
        size == 0 || size == file_.size() || (whole < frames_.size() && frames_[whole].begin == size);
    std::size_t lines = 0;
    const auto loaded = load(file_.substr(0, size), &lines);
    ASSERT_EQ(loaded, std::vector(examples_.begin(), examples_.begin() + static_cast<std::ptrdiff_t>(whole)))
        << size;
    ASSERT_EQ(lines, atEdge ? 0U : 1U) << size;
    // What is appended to it is found.
    if (size % 37 == 0) {
      ASSERT_TRUE(bench_.manager().append(examples_[8]));
      ASSERT_EQ(bench_.manager().loadAll().value().size(), whole + 1) << size;
    }
  }
}

TEST_F(EncryptedLog, FramesThatWereMovedRepeatedOrTakenOut) {
  const std::string header = file_.substr(0, log_frames::fileHeaderSize);
  const auto build = [&](const std::vector<std::size_t>& order) {
    std::string file = header;
    for (const std::size_t i : order) file += frame(i);
    return file;
  };
  struct Case {
    std::vector<std::size_t> order;
    std::vector<std::size_t> lost;
    std::size_t lines;
  };
  const std::vector<Case> cases = {
      {{0, 1, 6, 3, 4, 5, 2, 7, 8}, {}, 2},     // swapped, read in their own order
      {{1, 0, 2, 3, 4, 5, 6, 7, 8}, {}, 1},     // neighbours swapped: one of them moved
      {{0, 1, 2, 2, 3, 4, 5, 6, 7, 8}, {}, 1},  // repeated
      {{0, 1, 2, 3, 4, 5, 6, 7, 8, 3}, {}, 1},  // repeated at the end
      {{0, 1, 4, 5, 6, 7, 8}, {2, 3}, 1},       // taken out
      {{3, 4, 5, 6, 7, 8}, {0, 1, 2}, 1},       // taken out at the start
      {{}, {0, 1, 2, 3, 4, 5, 6, 7, 8}, 0},
  };
  for (const auto& [order, lost, expectedLines] : cases) {
    std::size_t lines = 0;
    EXPECT_EQ(load(build(order), &lines), without(lost));
    EXPECT_EQ(lines, expectedLines);
  }
  // A frame cut in the middle of another one.
  std::string inside = file_;
  inside.insert(frames_[4].begin + 60, frame(7));
  std::size_t lines = 0;
  EXPECT_EQ(load(inside, &lines), without({4}));
  EXPECT_LE(lines, 4U);
}

TEST_F(EncryptedLog, RandomBytesAreNoRecords) {
  rc::check([&](const std::vector<std::uint8_t>& noise, bool withHeader, bool withMark) {
    std::string bytes = withHeader ? file_.substr(0, log_frames::fileHeaderSize) : "";
    bytes.append(noise.begin(), noise.end());
    if (withMark)
      bytes += std::string("\xE9QL\x97") + std::string(60, '\0') + std::string(noise.begin(), noise.end());
    std::size_t lines = 0;
    RC_ASSERT(load(bytes, &lines).empty());
    RC_ASSERT(lines == (bytes.size() > (withHeader ? log_frames::fileHeaderSize : 0U) ? 1U : 0U));
    RC_ASSERT(bench_.manager().append(examples_[1]).has_value());
    RC_ASSERT(bench_.manager().loadAll().value() == std::vector{examples_[1]});
  });
}

// A frame of a large record, repeated as bare headers, must not be opened again and again.
TEST_F(EncryptedLog, AFileMadeToKeepTheReaderBusyIsGivenUp) {
  TrainingExample large = examples_[0];
  large.subject = std::string(3 << 20, 'q');
  ASSERT_TRUE(bench_.manager().append(large));
  const std::string file = bench_.disk.bytes(kEncrypted);
  std::string busy = file.substr(0, frames_.back().begin + frames_.back().size);
  const std::string bare = file.substr(busy.size(), log_frames::frameHeaderSize);
  for (int i = 0; i < 200'000; ++i) busy += bare;
  EXPECT_EQ(load(busy), examples_);
}

TEST_F(EncryptedLog, ALostSecretKeepsTheOldLogAsideAndBeginsANewOne) {
  const Path aside = kEncrypted.string() + ".damaged";
  bench_.secrets.forget();
  EXPECT_TRUE(bench_.manager().loadAll().value().empty());
  EXPECT_EQ(bench_.disk.bytes(aside), file_);
  EXPECT_FALSE(bench_.disk.exists(kEncrypted));
  EXPECT_TRUE(bench_.log.contains("The secret of the suggestions log was lost"));
  EXPECT_TRUE(bench_.log.contains(aside.string()));
  EXPECT_EQ(bench_.skipped(), 0U);

  // The same when the loss is noticed by an append.
  ASSERT_TRUE(bench_.manager().append(examples_[0]));
  bench_.secrets.forget();
  ASSERT_TRUE(bench_.manager().append(examples_[1]));
  EXPECT_TRUE(bench_.disk.exists(aside.string() + "-2"));
  EXPECT_THAT(bench_.manager().loadAll().value(), ElementsAre(examples_[1]));
}

TEST_F(EncryptedLog, AStoreThatDoesNotAnswerChangesNothing) {
  bench_.secrets.fail(Error{5, "The keyring is locked."});
  EXPECT_EQ(bench_.manager().loadAll().error().message, "The keyring is locked.");
  EXPECT_EQ(bench_.manager().append(examples_[0]).error().message, "The keyring is locked.");
  EXPECT_EQ(bench_.disk.bytes(kEncrypted), file_);
  bench_.secrets.fail(std::nullopt);
  EXPECT_EQ(bench_.manager().loadAll().value(), examples_);
  ASSERT_TRUE(bench_.secrets.write(suggestionsLogSecret, "short"));
  EXPECT_THAT(bench_.manager().loadAll().error().message, HasSubstr("5 bytes long"));
  EXPECT_EQ(bench_.disk.bytes(kEncrypted), file_);
}

TEST(Logs, AFolderThatCannotBeMadeEndsTheProgram) {
  MemoryFileSystem disk;
  disk.put("/profile", "a file");
  FixedRandomSource random;
  MemorySecretStore secrets;
  RecordingLog log;
  EXPECT_DEATH(AdvancedLogManager({disk, random, secrets, log}, "/profile/data", AdvancedLogMode::encrypted),
               "Failed to set up log file URL: ");
}

// ---- filing log ----

struct FilingBench {
  ManualClock clock;
  ManualDispatch dispatch{clock};
  MemoryFileSystem disk;
  FaultyFileSystem files{disk};
  FixedRandomSource random;
  RecordingLog log;
  const Path path = kData / "quillbox-filing-log.txt";

  LogManager manager() { return LogManager({files, dispatch, clock, random, log}, kData); }
};

TEST(FilingLog, WritesOneDatedLinePerEntryInOrder) {
  FilingBench bench;
  bench.clock.setLocalOffset(std::chrono::seconds(-(3 * 3600 + 30 * 60)));
  {
    auto manager = bench.manager();
    EXPECT_EQ(manager.text().value(), "");
    manager.append("move", "Moved 1 message to Work/A");
    bench.dispatch.runUntilIdle();
    EXPECT_EQ(bench.disk.bytes(bench.path), "2024-12-31 20:30:00 -0330: [move] Moved 1 message to Work/A\n");
    EXPECT_EQ(bench.disk.info(bench.path, FollowLinks::no)->permissions, 0600U);
    bench.clock.advance(std::chrono::hours(24));
    manager.append("copy", "two\nlines");
    manager.append("move", "third");
  }
  bench.dispatch.runUntilIdle();
  const std::string all = bench.disk.bytes(bench.path);
  EXPECT_THAT(
      all, HasSubstr(
               "\n2025-01-01 20:30:00 -0330: [copy] two\\nlines\n2025-01-01 20:30:00 -0330: [move] third\n"));
  auto manager = bench.manager();
  ASSERT_TRUE(manager.clear());
  EXPECT_EQ(bench.disk.bytes(bench.path), "");
  EXPECT_EQ(manager.text().value(), "");
}

TEST(FilingLog, AFailedAppendLosesThatEntryAlone) {
  FilingBench bench;
  auto manager = bench.manager();
  manager.append("move", "first");
  bench.dispatch.runUntilIdle();
  bench.files.reset();
  bench.files.failWhen([](const FaultyFileSystem::Step& step) {
    return step.operation == "write" ? std::optional(ENOSPC) : std::nullopt;
  });
  manager.append("move", "second that tears");
  bench.dispatch.runUntilIdle();
  EXPECT_TRUE(bench.log.contains("Failed to append to log file: "));
  EXPECT_FALSE(manager.clear());
  EXPECT_TRUE(bench.log.contains("Failed to clear log file: "));
  bench.files.reset();
  manager.append("move", "third");
  bench.dispatch.runUntilIdle();
  const std::string all = bench.disk.bytes(bench.path);
  EXPECT_THAT(all, AllOf(StartsWith("2025-01-01 00:00:00 +0000: [move] first\n"),
                         HasSubstr("\n2025-01-01 00:00:00 +0000: [move] third\n")));
}

}  // namespace
}  // namespace quillbox

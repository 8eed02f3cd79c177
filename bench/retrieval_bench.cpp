// The mailbox list of 5,000 mailboxes in 5 accounts: how long the retrieval script takes against the mail
// client's own listing of the same store, and a whole `quillboxctl mailboxes --query` against a program that
// does nothing. How much of the main queue's time a list of 20,000 takes that a script delivers.
#include <algorithm>
#include <cstdlib>
#include <ctime>
#include <filesystem>
#include <memory>
#include <string>

#include <benchmark/benchmark.h>
#include <fmt/format.h>

#include "main/composition.h"
#include "support/recording_frontend.h"

namespace quillbox {
namespace {

constexpr int kAccounts = 5;
constexpr int kMailboxes = 1000;  // an account

class SilentLog final : public Log {
 public:
  void write(LogLevel, std::string_view) override {}
};

// One store for all; it goes at the end of the program.
class BigStore {
 public:
  BigStore() {
    std::string name = (std::filesystem::temp_directory_path() / "quillbox-bench-XXXXXX").string();
    if (mkdtemp(name.data()) == nullptr) std::abort();
    root_ = name;
    for (int account = 0; account < kAccounts; ++account) {
      const auto maildir = root_ / fmt::format("account{}", account);
      makeMaildir(maildir);
      for (int i = 1; i < kMailboxes; ++i) {
        makeMaildir(maildir / fmt::format(".Projects {}.Client {}.Matter {}", i % 10, i % 100, i));
      }
    }
    frontend_.active = false;
    auto made = Composition::make({Path(root_ / "profile"), log_, frontend_});
    if (!made) fatal(made.error().message);
    all = std::move(*made);
    for (int account = 0; account < kAccounts; ++account) {
      const auto added = all->mail.addAccount({fmt::format("Account {}", account),
                                               root_ / fmt::format("account{}", account),
                                               "mail.example.org",
                                               {}});
      if (!added) fatal(added.error().message);
    }
  }
  ~BigStore() {
    all.reset();
    std::error_code ignored;
    std::filesystem::remove_all(root_, ignored);
  }
  std::filesystem::path profile() const { return root_ / "profile"; }

 private:
  static void makeMaildir(const std::filesystem::path& path) {
    for (const char* part : {"cur", "new", "tmp"}) std::filesystem::create_directories(path / part);
  }

  std::filesystem::path root_;
  SilentLog log_;
  RecordingFrontend frontend_;

 public:
  std::unique_ptr<Composition> all;
};

BigStore& store() {
  static BigStore instance;
  return instance;
}

void mailClientListing(benchmark::State& state) {
  auto& mail = store().all->mail;
  for (auto _ : state) {
    std::size_t count = 0;
    for (int account = 0; account < kAccounts; ++account) {
      count += mail.mailboxes(fmt::format("Account {}", account))->size();
    }
    state.counters["mailboxes"] = static_cast<double>(count);
  }
}
BENCHMARK(mailClientListing)->Unit(benchmark::kMillisecond);

void retrieve(benchmark::State& state, RetrievalVariant variant) {
  auto& all = *store().all;
  std::size_t count = 0;
  const auto lists = all.notifications.observe<MailboxReloadPayload>(
      notification::shouldReloadWithList,
      [&](const MailboxReloadPayload& payload) { count = payload.mailboxes.size(); });
  for (auto _ : state) {
    bool done = false;
    all.status.resetLoading();
    if (!all.retrieval.start(variant, [&](const auto&) { done = true; }))
      fatal("the retrieval does not start");
    all.dispatch.runMainUntil([&] { return done; });
  }
  state.counters["mailboxes"] = static_cast<double>(count);
}
void retrievalScriptV2(benchmark::State& state) {
  retrieve(state, RetrievalVariant::current);
}
BENCHMARK(retrievalScriptV2)->Unit(benchmark::kMillisecond);
void retrievalScriptLegacy(benchmark::State& state) {
  retrieve(state, RetrievalVariant::legacy);
}
BENCHMARK(retrievalScriptLegacy)->Unit(benchmark::kMillisecond);

double threadMilliseconds() {
  timespec now{};
  ::clock_gettime(CLOCK_THREAD_CPUTIME_ID, &now);
  return static_cast<double>(now.tv_sec) * 1e3 + static_cast<double>(now.tv_nsec) / 1e6;
}

// `number` makes lists that follow each other differ.
Descriptor deliveredList(RetrievalVariant variant, int number) {
  std::vector<Descriptor> items;
  for (int account = 0; account < kAccounts; ++account) {
    const auto name = fmt::format("Account {}", account);
    std::string references;
    for (int i = 0; i < 4 * kMailboxes; ++i) {
      const auto path = fmt::format("Projects {}/Client {}/Matter {}.{}", i % 10, i % 100, i, number);
      if (variant == RetrievalVariant::current) {
        references += fmt::format("{}mailbox \"{}\" of account id \"{}\"", i == 0 ? "" : ", ", path, account);
      } else {
        items.push_back(
            Descriptor::record({{"mailboxName", Descriptor::text(path.substr(path.rfind('/') + 1))},
                                {"mailboxPath", Descriptor::text(path)},
                                {"mailboxAccount", Descriptor::text(name)}}));
      }
    }
    if (variant == RetrievalVariant::current) {
      items.push_back(Descriptor::record({{"accountName", Descriptor::text(name)},
                                          {"mailboxText", Descriptor::text(std::move(references))}}));
    }
  }
  return Descriptor::list(std::move(items));
}

// From the command of a script to the rows. All that the main queue does in that time, the one task that
// holds it longest included.
void delivery(benchmark::State& state, RetrievalVariant variant) {
  auto& all = *store().all;
  const char* const command =
      variant == RetrievalVariant::current ? "UpdateMailboxesWithListV2" : "UpdateMailboxesWithList";
  double most = 0;
  int number = 0;
  for (auto _ : state) {
    state.PauseTiming();
    // A list is taken at most once a second.
    bool over = false;
    const auto pause = all.dispatch.mainAfter(std::chrono::milliseconds(1100), [&] { over = true; });
    all.dispatch.runMainUntil([&] { return over; });
    ScriptCommand::Arguments arguments;
    arguments.emplace_back("", deliveredList(variant, ++number));
    state.ResumeTiming();
    const double start = threadMilliseconds();
    const auto performing = makeScriptCommand(command, all.scripting);
    performing->setEvaluatedArguments(std::move(arguments));
    bool done = false;
    performing->performDefaultImplementation([&](const Result<Descriptor>& reply) {
      if (!reply) fatal(reply.error().message);
      all.mailboxes.whenSettled([&] { done = true; });
    });
    all.dispatch.runMainUntil([&] { return done; });
    most = std::max(most, threadMilliseconds() - start);
  }
  state.counters["mailboxes"] = static_cast<double>(all.mailboxes.allMailboxes.get().size());
  state.counters["main_ms"] = most;
}
BENCHMARK_CAPTURE(delivery, V2, RetrievalVariant::current)
    ->Unit(benchmark::kMillisecond)
    ->UseRealTime()
    ->Iterations(5);
BENCHMARK_CAPTURE(delivery, legacy, RetrievalVariant::legacy)
    ->Unit(benchmark::kMillisecond)
    ->UseRealTime()
    ->Iterations(5);

void program(benchmark::State& state, const std::string& arguments) {
  const std::string line = fmt::format("{}/quillboxctl --profile {} {} > /dev/null", QUILLBOX_BIN_DIR,
                                       store().profile().string(), arguments);
  for (auto _ : state) {
    if (std::system(line.c_str()) != 0) fatal("quillboxctl failed");
  }
}
void programThatDoesNothing(benchmark::State& state) {
  program(state, "settings get filedCount");
}
BENCHMARK(programThatDoesNothing)->Unit(benchmark::kMillisecond)->UseRealTime();
void programMailboxesQuery(benchmark::State& state) {
  program(state, "--json mailboxes --query 'cli matter 77'");
}
BENCHMARK(programMailboxesQuery)->Unit(benchmark::kMillisecond)->UseRealTime();

}  // namespace
}  // namespace quillbox

BENCHMARK_MAIN();

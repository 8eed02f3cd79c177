// From a new query to the assembled rows, next to the plain form (one ICU regular expression a run, every
// candidate folded) and to fzf as a process; taking a new list; and how long the main queue is held.
//
//   filter_bench                       everything at 20,000 and 1,000,000 mailboxes
//   filter_bench --benchmark_filter=/20000/
#include <algorithm>
#include <cstdlib>
#include <ctime>
#include <filesystem>
#include <fstream>
#include <map>
#include <memory>

#include <benchmark/benchmark.h>
#include <fmt/format.h>
#include <malloc.h>
#include <unicode/regex.h>
#include <unicode/unistr.h>
#include <unistd.h>

#include "base/text.h"
#include "mailbox_trees.h"
#include "mailboxes/mailbox_filter.h"
#include "mailboxes/mailbox_manager.h"
#include "support/script_surroundings.h"

namespace quillbox::bench {
namespace {

const std::atomic<bool> kGoOn = false;

const MailboxList& listOf(std::size_t size) {
  static std::map<std::size_t, MailboxList> lists;
  auto& list = lists[size];
  if (list.empty()) list = MailboxList(mailboxTree(size));
  return list;
}

std::shared_ptr<const SearchIndex> indexOf(std::size_t size) {
  static std::map<std::size_t, std::shared_ptr<const SearchIndex>> indices;
  auto& index = indices[size];
  if (!index) index = *SearchIndex::build(listOf(size), {}, CaseMode::insensitive);
  return index;
}

enum class Options { plainRun, nameOnly, scope, priority };

FilterSnapshot snapshotOf(std::size_t size, const std::string& query, Options options) {
  FilterSnapshot snapshot;
  snapshot.options.mailboxNameOnly = options == Options::nameOnly;
  snapshot.options.selectedAccountsOnly = options == Options::scope;
  snapshot.options.prioritizeAccounts = options == Options::priority;
  if (options == Options::scope || options == Options::priority) snapshot.searchScope = {"Home", "On My Mac"};
  snapshot.index = indexOf(size);
  snapshot.query = query;
  for (std::uint32_t i = 0; i < 20; ++i) snapshot.favorites.push_back(snapshot.index->size() / 21 * i);
  for (std::uint32_t i = 0; i < 10; ++i) snapshot.recents.push_back(snapshot.index->size() / 11 * i + 1);
  return snapshot;
}

struct Query {
  const char* name;
  const char* text;
  bool isTypical = false;  // with every option too, and with fzf
};
// One to three words, rare and frequent, letters outside ASCII, and what only a regular expression can
// decide.
constexpr Query kQueries[] = {
    {"empty", ""},
    {"one letter", "e"},
    {"two letters", "in", true},
    {"one word", "invoices", true},
    {"rare word", "quartz bank 12"},
    {"two words", "clients rep"},
    {"three words", "north 2021 meet", true},
    {"three short words", "a e i"},
    {"folded", "strasse energie"},
    {"no match", "xylophone"},
    {"anchor", "reports$"},
    {"repetition", "e{2}tings"},
};

void run(benchmark::State& state, std::size_t size, const char* query, Options options) {
  const auto snapshot = snapshotOf(size, query, options);
  std::size_t rows = 0;
  for (auto _ : state) {
    const auto result = runFilter(snapshot, nullptr, kGoOn);
    rows = result->filteredMailboxes.size();
  }
  state.counters["rows"] = static_cast<double>(rows);
}

// The last letter of a query that was typed before without it.
void typed(benchmark::State& state, std::size_t size, const char* query) {
  const auto snapshot = snapshotOf(size, query, Options::plainRun);
  SearchMemory before;
  auto shorter = snapshot;
  shorter.query.pop_back();
  (void)runFilter(shorter, &before, kGoOn);
  for (auto _ : state) {
    state.PauseTiming();
    SearchMemory memory = before;
    state.ResumeTiming();
    benchmark::DoNotOptimize(runFilter(snapshot, &memory, kGoOn));
  }
}

// The plain form of the same run: the matching rows, without the assembly.
void plain(benchmark::State& state, std::size_t size, const char* query, Options options) {
  const auto& list = listOf(size);
  const auto snapshot = snapshotOf(size, query, options);
  std::size_t rows = 0;
  for (auto _ : state) {
    UErrorCode status = U_ZERO_ERROR;
    UParseError place{};
    const auto pattern = icu::UnicodeString::fromUTF8(QueryPattern(query, CaseMode::insensitive).pattern());
    const std::unique_ptr<icu::RegexPattern> compiled(icu::RegexPattern::compile(pattern, 0, place, status));
    icu::UnicodeString subject;
    const std::unique_ptr<icu::RegexMatcher> matcher(compiled->matcher(subject, status));
    std::vector<std::uint32_t> hits;
    for (std::uint32_t i = 0; i < list.size(); ++i) {
      const auto& mailbox = list[i];
      if (snapshot.options.selectedAccountsOnly &&
          std::ranges::find(snapshot.searchScope, mailbox.account) == snapshot.searchScope.end()) {
        continue;
      }
      subject = icu::UnicodeString::fromUTF8(
          text::foldDiacritics(options == Options::nameOnly ? mailbox.name : mailbox.path));
      matcher->reset(subject);
      if (matcher->matches(status)) hits.push_back(i);
    }
    rows = hits.size();
  }
  state.counters["rows"] = static_cast<double>(rows);
}

// Exact, unsorted matching, which costs fzf least; the process is a part of it, as it is when a menu calls
// it.
void fzf(benchmark::State& state, std::size_t size, const char* query) {
  if (std::system("command -v fzf >/dev/null 2>&1") != 0) return state.SkipWithError("fzf is not installed");
  const auto file =
      std::filesystem::temp_directory_path() / fmt::format("filter_bench.{}.{}", ::getpid(), size);
  {
    std::ofstream out(file);
    for (const auto& mailbox : listOf(size)) out << mailbox.path << '\n';
  }
  const auto command =
      fmt::format("fzf --filter '{}' --exact --no-sort -i < '{}' > /dev/null", query, file.string());
  for (auto _ : state) {
    if (const int status = std::system(command.c_str()); status != 0 && status != 256) {
      state.SkipWithError("fzf failed");
      break;
    }
  }
  std::filesystem::remove(file);
}

std::size_t heapInUse() {
  const auto info = ::mallinfo2();
  return info.uordblks + info.hblkhd;
}

// A list that arrives: hashed, indexed, ready to be searched. Bytes of heap for one mailbox, list and index.
void takeList(benchmark::State& state, std::size_t size, const std::vector<MailboxSort>& sorts) {
  double bytes = 0;
  for (auto _ : state) {
    state.PauseTiming();
    const auto before = heapInUse();
    const MailboxList list(mailboxTree(size));
    state.ResumeTiming();
    const auto index = *SearchIndex::build(list, sorts, CaseMode::insensitive);
    state.PauseTiming();
    bytes = static_cast<double>(heapInUse() - before) / static_cast<double>(size);
    state.ResumeTiming();
  }
  state.counters["bytes_per_mailbox"] = bytes;
}

// A manager whose queues run by hand, to see how long the main queue is held by any one task.
class HeldMainQueue : private ScriptSurroundings {
 public:
  double worstMilliseconds() const { return worst_; }

  void deliver(const MailboxReloadPayload& payload) {
    measure([&] { notifications_.post(notification::shouldReloadWithList, payload); });
    settle();
  }
  void type(const std::string& query) {
    measure([&] { manager_.search(query); });
    settle();
  }
  // What else makes the filter run, or concerns the whole list.
  void changeEverything(const MailboxList& list) {
    const auto step = [&](const std::function<void()>& task) {
      measure(task);
      settle();
    };
    step([&] { manager_.updateTheMailboxList("bench"); });
    passSecond();
    for (std::size_t i = 0; i < 10; ++i) step([&] { (void)excluded_.add(list[list.size() / 10 * i]); });
    for (std::size_t i = 0; i < 20; ++i) step([&] { (void)favorites_.add(list[list.size() / 20 * i + 1]); });
    step([&] { manager_.sortOrder.set({{MailboxSortPathAppEnum::mailbox, SortOrder::reverse}}); });
    step([&] { manager_.sortOrder.set({}); });
    step([&] { manager_.setSearchAccountScope({"Home"}); });
    step([&] { (void)settings_.selectedAccountsOnly.set(true); });
    step([&] { (void)settings_.selectedAccountsOnly.set(false); });
    step([&] { (void)settings_.caseSensitive.set(true); });
    step([&] { (void)settings_.caseSensitive.set(false); });
    step([&] { (void)excluded_.clear(); });
    step([&] { (void)favorites_.clear(); });
  }
  void passSecond() { dispatch_.advance(std::chrono::seconds(2)); }
  void restart() { worst_ = 0; }

 private:
  void settle() {
    while (dispatch_.pendingBackground() > 0 || dispatch_.pendingMain() > 0) {
      dispatch_.runBackground();
      measure([&] { dispatch_.runMain(); });
    }
  }
  // In time of the processor: what else the machine does is not the main queue's doing.
  void measure(const std::function<void()>& task) {
    const double start = threadMilliseconds();
    task();
    worst_ = std::max(worst_, threadMilliseconds() - start);
  }
  static double threadMilliseconds() {
    timespec now{};
    ::clock_gettime(CLOCK_THREAD_CPUTIME_ID, &now);
    return static_cast<double>(now.tv_sec) * 1e3 + static_cast<double>(now.tv_nsec) / 1e6;
  }

  MailboxRetrieval retrieval_{{helper_, resources_, workspace_, notifications_, status_, log_}};
  FavoriteMailboxManager favorites_{settings_, notifications_};
  RecentMailboxManager recents_{settings_};
  ExcludedMailboxManager excluded_{settings_};
  MailboxManager manager_{{settings_, dispatch_, notifications_, log_, helper_, status_, retrieval_,
                           favorites_, recents_, excluded_}};
  double worst_ = 0;
};

void mainQueue(benchmark::State& state, std::size_t size) {
  HeldMainQueue held;
  const auto& list = listOf(size);
  held.deliver({list, true, "bench"});
  double delivery = 0;
  double typing = 0;
  double changes = 0;
  for (auto _ : state) {
    held.passSecond();
    MailboxList::Storage other{list.begin(), list.end()};
    other.front().name += '.';
    held.restart();
    held.deliver({std::move(other), true, "bench"});
    delivery = std::max(delivery, held.worstMilliseconds());
    held.restart();
    for (const auto& query : kQueries) held.type(query.text);
    typing = std::max(typing, held.worstMilliseconds());
    held.passSecond();
    held.deliver({list, true, "bench"});
    held.passSecond();
    held.restart();
    held.changeEverything(list);
    changes = std::max(changes, held.worstMilliseconds());
  }
  state.counters["worst_ms_list"] = delivery;
  state.counters["worst_ms_changes"] = changes;
  state.counters["worst_ms_typing"] = typing;
}

void registerAll() {
  const auto slow = [](benchmark::internal::Benchmark* bench) {
    bench->Unit(benchmark::kMillisecond)->Iterations(3);
  };
  for (const std::size_t size : {std::size_t{20'000}, std::size_t{1'000'000}}) {
    const auto name = [&](const char* what, const char* detail) {
      return fmt::format("{}/{}/{}", what, size, detail);
    };
    const auto add = [&](const std::string& title, auto function) {
      return benchmark::RegisterBenchmark(title.c_str(), function)->Unit(benchmark::kMillisecond);
    };
    // The plain form next to every run of it: in 1,000,000 texts once.
    const auto addPair = [&](const char* what, const char* plainWhat, const Query& query, Options options) {
      add(name(what, query.name), [=](auto& state) { run(state, size, query.text, options); });
      if (*query.text == '\0') return;
      auto* pair =
          add(name(plainWhat, query.name), [=](auto& state) { plain(state, size, query.text, options); });
      pair->Iterations(size > 100'000 ? 1 : 5);
    };
    for (const auto& query : kQueries) {
      addPair("run", "plain", query, Options::plainRun);
      if (!query.isTypical) continue;
      addPair("run name only", "plain name only", query, Options::nameOnly);
      addPair("run scope", "plain scope", query, Options::scope);
      addPair("run priority", "plain priority", query, Options::priority);
      add(name("run typed", query.name), [=](auto& state) { typed(state, size, query.text); });
      slow(add(name("fzf", query.name), [=](auto& state) { fzf(state, size, query.text); })->UseRealTime());
    }
    add(name("run priority", "empty"), [=](auto& state) { run(state, size, "", Options::priority); });
    slow(add(name("take list", "unsorted"), [=](auto& state) { takeList(state, size, {}); }));
    slow(add(name("take list", "by path"), [=](auto& state) {
      takeList(state, size, {{MailboxSortPathAppEnum::mailbox, SortOrder::forward}});
    }));
    slow(add(name("main queue", "held"), [=](auto& state) { mainQueue(state, size); }));
  }
}

}  // namespace
}  // namespace quillbox::bench

int main(int argc, char** argv) {
  quillbox::bench::registerAll();
  benchmark::Initialize(&argc, argv);
  if (benchmark::ReportUnrecognizedArguments(argc, argv)) return 1;
  benchmark::RunSpecifiedBenchmarks();
  benchmark::Shutdown();
}

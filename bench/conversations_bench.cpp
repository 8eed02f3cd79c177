// Conversations of 100,000 messages: grouping them beside the plain hash map that finds every parent, and a
// key press in a folder of as many beside the list of its rows.
//
//   Parents     looks the id that every message answers up in a hash map of all Message-IDs
//   Group       the same messages into conversations
//               0: one chain, each answers the one before; 1: all answer one; 2: each alone; 3: conversations
//               of eight with four ids a message
//   AllRows     all rows of the folder, with the cache file
//   KeyPress    down, in a new process, with the cache file (1) or without it (0); the counter is the memory
//               a message takes beside the headers shown, afterwards
#include <algorithm>
#include <filesystem>
#include <random>
#include <string>
#include <unordered_map>
#include <vector>

#include <benchmark/benchmark.h>
#include <fmt/format.h>
#include <malloc.h>

#include "mail_folder.h"
#include "mailclient/conversations.h"
#include "mailclient/message_ids.h"

namespace quillbox::mailclient {
namespace {

namespace fs = std::filesystem;

constexpr std::uint32_t kMessages = 100'000;

enum class Shape : std::int64_t { chain, star, alone, usual };

// In a shuffled order, as a folder lists them.
std::vector<Mention> mentions(Shape shape) {
  std::vector<std::uint32_t> order(kMessages);
  for (std::uint32_t i = 0; i < kMessages; ++i) order[i] = i;
  std::mt19937 random(1);
  std::shuffle(order.begin(), order.end(), random);
  const auto id = [](std::uint32_t message) { return hashMessageId(fmt::format("{}@example.org", message)); };
  std::vector<Mention> all;
  for (std::uint32_t i = 0; i < kMessages; ++i) {
    all.push_back({id(i), order[i]});
    if (shape == Shape::chain && i > 0) all.push_back({id(i - 1), order[i]});
    if (shape == Shape::star && i > 0) all.push_back({id(0), order[i]});
    if (shape != Shape::usual || i % 8 == 0) continue;
    all.push_back({id(i - i % 8), order[i]});
    for (std::uint32_t back = 1; back <= std::min(3U, i % 8 - 1); ++back) {
      all.push_back({id(i - back), order[i]});
    }
  }
  return all;
}

void parents(benchmark::State& state) {
  const auto all = mentions(static_cast<Shape>(state.range(0)));
  for (auto _ : state) {
    std::unordered_map<std::uint64_t, std::uint32_t> byId;
    for (const auto& mention : all) byId.try_emplace(mention.id, mention.message);
    std::vector<std::uint32_t> parent(kMessages);
    for (const auto& mention : all) parent[mention.message] = byId.at(mention.id);
    benchmark::DoNotOptimize(parent.data());
  }
}

void group(benchmark::State& state) {
  const auto all = mentions(static_cast<Shape>(state.range(0)));
  for (auto _ : state) {
    auto copy = all;
    benchmark::DoNotOptimize(groupConversations(kMessages, copy).data());
  }
}

// A folder in conversations of eight.
class Store : public MailFolder {
 public:
  Store() {
    for (std::uint32_t i = 0; i < kMessages; ++i) {
      std::string references;
      for (auto earlier = i - i % 8; earlier < i; ++earlier)
        references += fmt::format(" <{}@example.org>", earlier);
      deliver(i, references.empty() ? "" : "References:" + references + "\n");
    }
    addAccount();
  }
};

Store& store() {
  static Store store;
  return store;
}

void allRows(benchmark::State& state) {
  const auto environment = store().environment();
  if (!MailClient(environment).messages("A", "INBOX")) fatal("no rows");
  for (auto _ : state) {
    MailClient client(environment);
    if (client.messages("A", "INBOX")->size() != kMessages) fatal("rows are missing");
  }
}

void keyPress(benchmark::State& state) {
  const auto environment = store().environment();
  // What the rows show of a message: sender, subject and Message-ID.
  std::size_t shown = 0;
  {
    MailClient client(environment);
    const auto rows = client.messages("A", "INBOX");
    for (const auto& row : *rows) shown += row.messageId.size() + row.sender.size() + row.subject.size();
  }
  double perMessage = 0;
  for (auto _ : state) {
    state.PauseTiming();
    if (state.range(0) == 0) fs::remove_all(store().cache());
    malloc_trim(0);
    const auto before = mallinfo2();
    state.ResumeTiming();
    MailClient client(environment);
    if (!client.selectNothing() || !client.navigate(Navigation::selectMessageDown)) fatal("no key press");
    state.PauseTiming();
    const auto after = mallinfo2();
    if (client.selection()->size() != 8) fatal("not a conversation");
    perMessage =
        static_cast<double>(after.uordblks + after.hblkhd - before.uordblks - before.hblkhd - shown) /
        kMessages;
    state.ResumeTiming();
  }
  state.counters["bytes_a_message_beside_headers"] = perMessage;
}

BENCHMARK(parents)->Name("Parents")->DenseRange(0, 3)->Unit(benchmark::kMillisecond);
BENCHMARK(group)->Name("Group")->DenseRange(0, 3)->Unit(benchmark::kMillisecond);
BENCHMARK(allRows)->Name("AllRows")->Unit(benchmark::kMillisecond)->UseRealTime()->Iterations(3);
BENCHMARK(keyPress)
    ->Name("KeyPress")
    ->Arg(0)
    ->Arg(1)
    ->Unit(benchmark::kMillisecond)
    ->UseRealTime()
    ->Iterations(3);

}  // namespace
}  // namespace quillbox::mailclient

BENCHMARK_MAIN();

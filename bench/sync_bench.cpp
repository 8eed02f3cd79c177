// 10,000 favourites with 10,000 tombstones: merging, reading and writing a state, each next to what one would
// write first: a map filled entry by entry, and a document tree of the JSON.
#include <map>
#include <string>
#include <vector>

#include <benchmark/benchmark.h>

#include "base/json.h"
#include "base/result.h"
#include "sync/sync_state_codec.h"

namespace quillbox {
namespace {

using State = FavoriteMailboxSyncState;

constexpr int kFavorites = 10'000;

std::vector<Mailbox> mailboxes(int from, int count) {
  std::vector<Mailbox> list;
  for (int i = from; i < from + count; ++i) {
    const auto name = "Harbour road works " + std::to_string(i * 7919 % 100'003);
    list.push_back(Mailbox::make(name, "Projects/2024/" + name, "Work"));
  }
  return list;
}

// Live and removed entries; two writers' states differ in every tenth entry and in the order.
State stateOf(const std::string& writer, int offset) {
  const auto all = mailboxes(0, 2 * kFavorites);
  const std::vector<Mailbox> live(all.begin(), all.begin() + kFavorites);
  State state;
  state.recordEdit(all, {}, "0F8B6F0E-6C43-4B8E-9D0D-6B4D2E7E0A01");
  state.recordEdit(live, all, "0F8B6F0E-6C43-4B8E-9D0D-6B4D2E7E0A01");
  for (int i = offset; i < kFavorites; i += 10) state.entries[live[i].id].revision = {3 + offset, writer};
  state.orderRevision = {3 + offset, writer};
  return state;
}

struct Pair {
  State local = stateOf("5D0C1B1E-9D6F-4E2B-8B6B-1A2B3C4D5E6F", 0);
  State remote = stateOf("9C0C1B1E-9D6F-4E2B-8B6B-1A2B3C4D5E6F", 5);
  std::string bytes = encodeSyncState(remote);
};

const Pair& pair() {
  static const Pair made;
  return made;
}

void merge(benchmark::State& run) {
  for (auto _ : run) {
    run.PauseTiming();
    State local = pair().local;
    run.ResumeTiming();
    local.merge(pair().remote);
    benchmark::DoNotOptimize(local);
  }
}

// The same rules, entry by entry through the map.
void mergePlain(benchmark::State& run) {
  for (auto _ : run) {
    run.PauseTiming();
    State local = pair().local;
    run.ResumeTiming();
    std::map<std::string, State::Entry> result = local.entries;
    for (const auto& [id, entry] : pair().remote.entries) {
      const auto known = result.find(id);
      if (known == result.end() || known->second.revision < entry.revision) result[id] = entry;
    }
    local.entries = std::move(result);
    if (local.orderRevision < pair().remote.orderRevision) local.order = pair().remote.order;
    benchmark::DoNotOptimize(local);
  }
}

void mergeIntoNothing(benchmark::State& run) {
  for (auto _ : run) {
    State local;
    local.merge(pair().remote);
    benchmark::DoNotOptimize(local);
  }
}

void decode(benchmark::State& run) {
  for (auto _ : run) benchmark::DoNotOptimize(decodeSyncState(pair().bytes));
  run.SetBytesProcessed(static_cast<std::int64_t>(run.iterations() * pair().bytes.size()));
}

// A sorted document tree alone, before anything is taken out of it.
void decodePlain(benchmark::State& run) {
  for (auto _ : run) benchmark::DoNotOptimize(nlohmann::json::parse(pair().bytes));
  run.SetBytesProcessed(static_cast<std::int64_t>(run.iterations() * pair().bytes.size()));
}

void encode(benchmark::State& run) {
  for (auto _ : run) benchmark::DoNotOptimize(encodeSyncState(pair().remote));
  run.SetBytesProcessed(static_cast<std::int64_t>(run.iterations() * pair().bytes.size()));
}

void encodePlain(benchmark::State& run) {
  for (auto _ : run) {
    auto entries = nlohmann::json::object();
    for (const auto& [id, entry] : pair().remote.entries) {
      entries[id] = {
          {"mailbox",
           {{"name", entry.mailbox.name}, {"path", entry.mailbox.path}, {"account", entry.mailbox.account}}},
          {"removed", entry.removed},
          {"revision", {{"counter", entry.revision.counter}, {"writer", entry.revision.writer}}}};
    }
    const nlohmann::json json = {{"version", 2}, {"entries", entries}, {"order", pair().remote.order}};
    benchmark::DoNotOptimize(json.dump());
  }
  run.SetBytesProcessed(static_cast<std::int64_t>(run.iterations() * pair().bytes.size()));
}

void visible(benchmark::State& run) {
  for (auto _ : run) benchmark::DoNotOptimize(pair().remote.visibleList());
}

void recordOneEdit(benchmark::State& run) {
  const auto before = pair().local.visibleList();
  auto after = before;
  after.erase(after.begin());
  for (auto _ : run) {
    run.PauseTiming();
    State local = pair().local;
    run.ResumeTiming();
    local.recordEdit(after, before, "W");
    benchmark::DoNotOptimize(local);
  }
}

BENCHMARK(mergePlain)->Unit(benchmark::kMillisecond);
BENCHMARK(merge)->Unit(benchmark::kMillisecond);
BENCHMARK(mergeIntoNothing)->Unit(benchmark::kMillisecond);
BENCHMARK(decodePlain)->Unit(benchmark::kMillisecond);
BENCHMARK(decode)->Unit(benchmark::kMillisecond);
BENCHMARK(encodePlain)->Unit(benchmark::kMillisecond);
BENCHMARK(encode)->Unit(benchmark::kMillisecond);
BENCHMARK(visible)->Unit(benchmark::kMillisecond);
BENCHMARK(recordOneEdit)->Unit(benchmark::kMillisecond);

}  // namespace
}  // namespace quillbox

BENCHMARK_MAIN();

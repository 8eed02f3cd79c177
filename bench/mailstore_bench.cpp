// Filing and listing of large folders on the real disk, each beside the bare work that it cannot avoid.
//
// - BareRenames: 1,000 renames into another folder with the names that File gives, and its syncs: a small
//   file and its folder before the renames; that file, both folders and its folder after them
// - File: files 1,000 messages with marks, journal and all
// - BareListing: reads the names of 100,000 files
// - FirstRows: the first 100 rows of a folder of 100,000 messages, nothing remembered
// - AllRows: all rows, with the cache file (1) or without (0); the counter is the memory of a message
// - Mailboxes: 5,000 mailboxes in 5 accounts, by their names
#include <chrono>
#include <filesystem>
#include <string>

#include <benchmark/benchmark.h>
#include <fcntl.h>
#include <fmt/format.h>
#include <malloc.h>
#include <stdio.h>

#include "mail_folder.h"
#include "mailclient/transaction.h"

namespace quillbox::mailclient {
namespace {

namespace fs = std::filesystem;

constexpr int kFiled = 1000;
constexpr int kLarge = 100'000;

class Store : public MailFolder {
 public:
  Store() { makeFolder(mail() / ".Done"); }
  void fill(std::uint32_t count) const {
    for (std::uint32_t i = 0; i < count; ++i) deliver(i);
  }
};

void bareRenames(benchmark::State& state) {
  Store store;
  store.fill(kFiled);
  std::string from = (store.mail() / "cur/").native();
  std::string to = (store.mail() / ".Done/cur/").native();
  bool forth = true;
  for (auto _ : state) {
    std::vector<std::string> names;
    (void)store.files.list(from, [&](std::string_view name, FileKind) {
      names.emplace_back(name);
      return true;
    });
    const auto small = store.root / "small";
    auto out = store.files.create(small, CreateMode::append, 0600);
    const auto writeSmall = [&] {
      (void)(*out)->write("line\n");
      (void)(*out)->sync();
    };
    writeSmall();
    (void)store.files.syncDirectory(store.root);
    for (const auto& name : names) {
      const auto marked = name.substr(0, name.find(":2,")) + (forth ? ":2,FSabc" : ":2,");
      if (renameat2(AT_FDCWD, (from + name).c_str(), AT_FDCWD, (to + marked).c_str(), RENAME_NOREPLACE) !=
          0) {
        fatal("not renamed");
      }
    }
    writeSmall();
    (void)store.files.syncDirectory(from);
    (void)store.files.syncDirectory(to);
    (void)store.files.renameReplacing(small, store.root / "done");
    (void)store.files.syncDirectory(store.root);
    std::swap(from, to);
    forth = !forth;
  }
  state.SetItemsProcessed(state.iterations() * kFiled);
}

void file(benchmark::State& state) {
  Store store;
  store.fill(kFiled);
  const auto environment = store.environment();
  store.addAccount();
  MailClient client(environment);
  const auto account = client.accounts()->front().id;
  MailboxKey from{account, "INBOX"};
  MailboxKey to{account, "Done"};
  bool forth = true;
  for (auto _ : state) {
    MailStore mail(environment);
    Transaction transaction(environment, mail);
    const auto index = *mail.messages(*mail.mailbox(from));
    auto change = MarkChange::flag(flag::seen, forth);
    change.then(MarkChange::flagIndex(forth ? 6 : -1));
    change.then(MarkChange::label(forth ? LabelColor::yellow : LabelColor::none));
    std::vector<MessageKey> keys;
    for (const auto& one : index->files()) keys.push_back({from, stableId(one.name)});
    transaction.expect(keys);
    for (const auto& key : keys) {
      if (!transaction.change(key, change) || !transaction.move(key, to)) fatal("not filed");
    }
    if (!transaction.commit() || transaction.filed() != kFiled) fatal("not filed");
    std::swap(from, to);
    forth = !forth;
  }
  state.SetItemsProcessed(state.iterations() * kFiled);
}

Store& largeStore() {
  static Store store;
  static const bool filled = [] {
    store.fill(kLarge);
    return true;
  }();
  (void)filled;
  return store;
}

void bareListing(benchmark::State& state) {
  auto& store = largeStore();
  for (auto _ : state) {
    std::size_t bytes = 0;
    (void)store.files.list(store.mail() / "cur", [&](std::string_view name, FileKind) {
      bytes += name.size();
      return true;
    });
    benchmark::DoNotOptimize(bytes);
  }
}

Environment& largeEnvironment() {
  static Environment environment = [] {
    largeStore().addAccount();
    return largeStore().environment();
  }();
  return environment;
}

void firstRows(benchmark::State& state) {
  const auto& environment = largeEnvironment();
  for (auto _ : state) {
    MailClient client(environment);
    benchmark::DoNotOptimize(client.messages("A", "INBOX", 100)->size());
  }
}

void allRows(benchmark::State& state) {
  const auto& environment = largeEnvironment();
  const auto cache = largeStore().cache();
  double perMessage = 0;
  for (auto _ : state) {
    state.PauseTiming();
    if (state.range(0) == 0) fs::remove_all(cache);
    malloc_trim(0);
    const auto before = mallinfo2();
    state.ResumeTiming();
    MailClient client(environment);
    std::size_t shown = 0;
    {
      const auto rows = client.messages("A", "INBOX");
      for (const auto& row : *rows) {
        shown += row.messageId.size() + row.sender.size() + row.subject.size();
      }
      if (rows->size() != kLarge) fatal("rows are missing");
    }
    state.PauseTiming();
    const auto after = mallinfo2();
    perMessage =
        static_cast<double>(after.uordblks + after.hblkhd - before.uordblks - before.hblkhd - shown) / kLarge;
    state.ResumeTiming();
  }
  state.counters["bytes_a_message_beside_headers"] = perMessage;
}

void mailboxes(benchmark::State& state) {
  Store store;
  const auto environment = store.environment();
  MailClient client(environment);
  for (int account = 0; account < 5; ++account) {
    const auto root = store.root / fmt::format("account{}", account);
    Store::makeFolder(root);
    for (int i = 1; i < 1000; ++i) Store::makeFolder(root / fmt::format(".Folder {}.Sub {}", i % 50, i));
    if (!client.addAccount({fmt::format("A{}", account), root, "", AccountType::imap})) fatal("no account");
  }
  for (auto _ : state) {
    std::size_t count = 0;
    for (int account = 0; account < 5; ++account)
      count += client.mailboxes(fmt::format("A{}", account))->size();
    if (count != 5000) fatal("mailboxes are missing");
  }
}

BENCHMARK(bareRenames)->Name("BareRenames")->Unit(benchmark::kMillisecond)->UseRealTime();
BENCHMARK(file)->Name("File")->Unit(benchmark::kMillisecond)->UseRealTime();
BENCHMARK(bareListing)->Name("BareListing")->Unit(benchmark::kMillisecond)->UseRealTime();
BENCHMARK(firstRows)->Name("FirstRows")->Unit(benchmark::kMillisecond)->UseRealTime();
BENCHMARK(allRows)
    ->Name("AllRows")
    ->Arg(0)
    ->Arg(1)
    ->Unit(benchmark::kMillisecond)
    ->UseRealTime()
    ->Iterations(3);
BENCHMARK(mailboxes)->Name("Mailboxes")->Unit(benchmark::kMillisecond)->UseRealTime();

}  // namespace
}  // namespace quillbox::mailclient

BENCHMARK_MAIN();

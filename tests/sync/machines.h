// Machines that share favourites over a network which loses, repeats, reorders and delays what it carries,
// and what must hold of them whatever it does. The rules of the outcome are told from what the users did and
// knew, never from revisions.
#pragma once

#include <algorithm>
#include <functional>
#include <map>
#include <memory>
#include <set>
#include <string>
#include <utility>
#include <vector>

#include "model/mailbox.h"
#include "support/fakes.h"
#include "support/memory_cloud.h"
#include "sync/favorite_mailbox_sync.h"

namespace quillbox::synctest {

inline Mailbox box(const std::string& path, const std::string& account = "Work") {
  return Mailbox::make(path, path, account);
}

using Knowledge = std::set<int>;  // edits, by number

// What a user did to one list, and which edits that machine had seen by then.
struct Edit {
  Knowledge known;
  std::set<std::string> put;      // ids added or renamed
  std::set<std::string> removed;  // ids
  std::vector<Mailbox> result;
};

class Machine {
 public:
  Machine(std::uint64_t seed, const std::vector<Mailbox>& favorites) : random_(seed) {
    MemoryUserDefaults defaults(store_);
    (void)defaults.set(kList, Data{encodeMailboxes(favorites)});
    startProcess();
  }

  // Another process of the same profile; all of them stay until restart().
  void startProcess() { processes_.push_back(std::make_unique<Process>(*this)); }
  void restart() {
    processes_.clear();
    startProcess();
  }
  std::size_t processes() const { return processes_.size(); }

  // As the favourites manager does it: takes over the list of the settings, changes it, stores it, records
  // it.
  void edit(const std::function<std::vector<Mailbox>(std::vector<Mailbox>)>& change, std::vector<Edit>& edits,
            std::size_t process = 0) {
    Process& here = *processes_.at(process);
    here.defaults.synchronize();
    if (!here.isStarted) step(process);
    const auto previous = list(here);
    const auto next = change(previous);
    if (next == previous) return;
    Edit edit{known, {}, {}, next};
    for (const auto& mailbox : next) {
      if (std::ranges::find(previous, mailbox) == previous.end()) edit.put.insert(mailbox.id);
    }
    for (const auto& mailbox : previous) {
      if (std::ranges::find(next, mailbox.id, &Mailbox::id) == next.end()) edit.removed.insert(mailbox.id);
    }
    known.insert(static_cast<int>(edits.size()));
    edits.push_back(std::move(edit));
    store(here, next);
    here.sync.recordLocalEdit(next, previous);
    step(process);
  }

  void step(std::size_t process = 0) {
    Process& here = *processes_.at(process);
    here.isStarted = true;
    const auto before = list(here);
    const auto visible = here.sync.loadMergeAndSave(before);
    if (visible != before) store(here, visible);
  }

  std::vector<Mailbox> favorites() const {
    MemoryUserDefaults defaults(store_);
    return list(defaults);
  }
  std::string stateBytes() const {
    const auto state = store_->find("favoriteMailboxSyncStateV2");
    return state == store_->end() ? "" : std::get<Data>(state->second).bytes;
  }
  std::string changesKey() const {
    return "favoriteMailboxChangesV2." + std::get<std::string>(store_->at("favoriteMailboxSyncWriterV2"));
  }
  std::size_t writes() const {
    std::size_t all = cloud.writes;
    for (const auto& process : processes_) all += process->defaults.writes();
    return all;
  }
  MemoryUserDefaults::Store& settings() { return *store_; }

  MemoryCloud cloud;
  Knowledge known;

 private:
  static constexpr std::string_view kList = "favoriteMailboxes";

  struct Process {
    explicit Process(Machine& machine)
        : defaults(machine.store_), sync({defaults, machine.cloud, machine.random_, machine.log_, {}}) {}
    MemoryUserDefaults defaults;
    FavoriteMailboxSync sync;
    bool isStarted = false;
  };

  static std::vector<Mailbox> list(const MemoryUserDefaults& defaults) {
    return *decodeMailboxes(std::get<Data>(*defaults.stored(kList)).bytes);
  }
  static std::vector<Mailbox> list(const Process& process) { return list(process.defaults); }
  static void store(Process& process, const std::vector<Mailbox>& favorites) {
    (void)process.defaults.set(kList, Data{encodeMailboxes(favorites)});
  }

  std::shared_ptr<MemoryUserDefaults::Store> store_ = std::make_shared<MemoryUserDefaults::Store>();
  FixedRandomSource random_;
  RecordingLog log_;
  std::vector<std::unique_ptr<Process>> processes_;
};

// What the final list may not contradict; empty when it is in order, else a sentence.
inline std::string contradiction(const std::vector<Mailbox>& final, const std::vector<Edit>& edits,
                                 const std::vector<Mailbox>& seeds) {
  std::set<std::string> shown;
  for (const auto& mailbox : final) {
    if (!shown.insert(mailbox.id).second) return mailbox.id + " is shown twice";
  }
  std::set<std::string> ids;
  for (const auto& mailbox : seeds) ids.insert(mailbox.id);
  for (const auto& edit : edits) {
    ids.insert(edit.put.begin(), edit.put.end());
    ids.insert(edit.removed.begin(), edit.removed.end());
  }
  for (const auto& id : ids) {
    bool wasRemoved = false;
    bool wasPut = std::ranges::any_of(seeds, [&](const Mailbox& mailbox) { return mailbox.id == id; });
    for (std::size_t i = 0; i < edits.size(); ++i) {
      const bool removes = edits[i].removed.contains(id);
      const bool puts = edits[i].put.contains(id);
      wasRemoved = wasRemoved || removes;
      wasPut = wasPut || puts;
      if (!removes && !puts) continue;
      // The last word: every edit of the opposite kind was known to the user who made this one.
      const bool isLast = std::ranges::all_of(edits, [&](const Edit& other) {
        const bool opposes = removes ? other.put.contains(id) : other.removed.contains(id);
        return !opposes || edits[i].known.contains(static_cast<int>(&other - edits.data()));
      });
      if (isLast && removes && shown.contains(id)) return id + " came back";
      if (isLast && puts && !shown.contains(id)) return id + " was lost";
    }
    if (wasPut && !wasRemoved && !shown.contains(id)) return id + " was lost though nobody removed it";
  }
  for (const auto& edit : edits) {
    if (edit.known.size() + 1 == edits.size() && seeds.empty() && edit.result != final)
      return "the list is not what the user left who knew everything";
  }
  return "";
}

}  // namespace quillbox::synctest

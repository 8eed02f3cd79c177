// Random histories of up to five machines, with two processes on some, over a network that does what it
// likes.
#include <algorithm>
#include <cstdlib>
#include <map>
#include <memory>
#include <sstream>
#include <string>
#include <utility>
#include <vector>

#include <gtest/gtest.h>
#include <rapidcheck.h>

#include "support/sanitized.h"
#include "sync/machines.h"

namespace quillbox {
namespace {

using synctest::box;
using synctest::Edit;
using synctest::Knowledge;
using synctest::Machine;

struct Version {
  std::string key;
  DefaultsValue value;
  Knowledge known;
};

class Network {
 public:
  explicit Network(const std::vector<std::vector<Mailbox>>& favorites) {
    for (std::size_t i = 0; i < favorites.size(); ++i) {
      auto& machine = *machines.emplace_back(std::make_unique<Machine>(1000 * (i + 1), favorites[i]));
      machine.cloud.onRead = [this, &machine] { learn(machine); };
      machine.cloud.onSet = [this, &machine](const std::string& key, const DefaultsValue& value) {
        sent.push_back({key, value, machine.known});
      };
    }
  }

  // Any version of any key that was ever sent: late, again, or over a newer one.
  void deliver(Machine& machine, const Version& version) {
    machine.cloud.values.insert_or_assign(version.key, version.value);
    replicas_[{&machine, version.key}] = version.known;
  }

  // Every machine gets the newest version of every key and syncs, until a round changes nothing.
  void heal() {
    for (int round = 0; round < 20; ++round) {
      const auto before = sent.size();
      for (const auto& machine : machines) {
        std::map<std::string, const Version*> newest;
        for (const auto& version : sent) newest[version.key] = &version;
        for (const auto& [key, version] : newest) deliver(*machine, Version(*version));
        for (std::size_t process = 0; process < machine->processes(); ++process) machine->step(process);
      }
      if (sent.size() == before) return;
    }
    RC_FAIL("the machines never come to rest");
  }

  std::vector<std::unique_ptr<Machine>> machines;
  std::vector<Version> sent;

 private:
  void learn(Machine& machine) {
    for (const auto& [key, value] : machine.cloud.values) {
      if (!key.starts_with("favoriteMailboxChangesV2.")) continue;
      const auto known = replicas_.find({&machine, key});
      if (known != replicas_.end()) machine.known.insert(known->second.begin(), known->second.end());
    }
  }

  std::map<std::pair<const Machine*, std::string>, Knowledge> replicas_;
};

std::vector<Mailbox> someFavorites(const std::vector<Mailbox>& mailboxes) {
  std::vector<Mailbox> list;
  for (const auto& mailbox : mailboxes) {
    if (*rc::gen::arbitrary<bool>())
      list.insert(list.begin() + *rc::gen::inRange<long>(0, std::ssize(list) + 1), mailbox);
  }
  return list;
}

std::vector<Mailbox> changed(std::vector<Mailbox> list, const std::vector<Mailbox>& mailboxes) {
  const auto& mailbox = *rc::gen::elementOf(mailboxes);
  const auto known = std::ranges::find(list, mailbox.id, &Mailbox::id);
  switch (*rc::gen::inRange(0, 5)) {
    case 0:
    case 1:
      if (known == list.end()) list.push_back(mailbox);
      break;
    case 2:
      if (known != list.end()) list.erase(known);
      break;
    case 3:
      if (!list.empty())
        std::ranges::rotate(list, list.begin() + *rc::gen::inRange<long>(0, std::ssize(list)));
      break;
    default:
      if (known != list.end())
        known->name = *rc::gen::elementOf(std::vector<std::string>{"x", "y", mailbox.name});
      break;
  }
  return list;
}

void liveThroughOneHistory() {
  const std::vector<Mailbox> mailboxes{box("a"), box("b"), box("c"), box("a", "Home")};
  const auto count = *rc::gen::inRange<std::size_t>(2, 6);
  const bool fromSeeds = *rc::gen::arbitrary<bool>();
  std::vector<std::vector<Mailbox>> favorites(count);
  std::vector<Mailbox> seeds;
  for (auto& list : favorites) {
    if (fromSeeds) list = someFavorites(mailboxes);
    seeds.insert(seeds.end(), list.begin(), list.end());
  }
  Network network(favorites);
  std::vector<Edit> edits;
  const auto tell = [&](const Machine& machine) {
    std::string ids;
    for (const auto& mailbox : machine.favorites()) ids += " " + mailbox.id + "(" + mailbox.name + ")";
    return ids;
  };
  const int steps = *rc::gen::inRange(0, 40);
  for (int i = 0; i < steps; ++i) {
    const auto which = *rc::gen::inRange<std::size_t>(0, count);
    Machine& machine = *network.machines[which];
    const auto process = *rc::gen::inRange<std::size_t>(0, machine.processes());
    switch (*rc::gen::inRange(0, 10)) {
      case 0:
        machine.restart();
        break;
      case 1:
        if (machine.processes() < 2) machine.startProcess();
        break;
      case 2:
      case 3:
      case 4:
        machine.edit([&](auto list) { return changed(std::move(list), mailboxes); }, edits, process);
        break;
      case 5:
        machine.step(process);
        break;
      default:
        if (!network.sent.empty()) {
          const auto version = network.sent[*rc::gen::inRange<std::size_t>(0, network.sent.size())];
          network.deliver(machine, version);
          RC_LOG() << which << " gets " << version.key << '\n';
        }
        break;
    }
    RC_LOG() << which << "." << process << ": " << edits.size() << " edits," << tell(machine) << '\n';
  }
  network.heal();
  RC_LOG() << "in the end:" << tell(*network.machines.front()) << '\n';

  const auto& first = *network.machines.front();
  for (const auto& machine : network.machines) {
    RC_ASSERT(machine->stateBytes() == first.stateBytes());
    RC_ASSERT(machine->favorites() == first.favorites());
    const auto writes = machine->writes();
    machine->step();
    RC_ASSERT(machine->writes() == writes);
  }
  RC_ASSERT(synctest::contradiction(first.favorites(), edits, seeds) == "");
}

// QUILLBOX_SYNC_HISTORIES=100000 for the nightly form; a failure prints the seed for RC_PARAMS="seed=...".
TEST(FavoritesOfManyMachines, AgreeAndLoseNothing) {
  const char* const wanted = std::getenv("QUILLBOX_SYNC_HISTORIES");
  auto params = rc::detail::configuration().testParams;
  params.maxSuccess = wanted != nullptr ? std::atoi(wanted) : kSanitized ? 300 : 3000;
  const auto result = rc::detail::checkTestable(liveThroughOneHistory, rc::detail::TestMetadata(), params);
  std::ostringstream message;
  rc::detail::printResultMessage(result, message);
  EXPECT_TRUE(result.is<rc::detail::SuccessResult>()) << "seed " << params.seed << ": " << message.str();
}

}  // namespace
}  // namespace quillbox

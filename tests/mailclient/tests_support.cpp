#include "tests_support.h"

#include <algorithm>
#include <fstream>
#include <iterator>
#include <set>

#include <fmt/format.h>

#include "mailclient/keywords.h"

namespace quillbox::mailclient {

using applescript::code;
using applescript::Value;

TestMail::TestMail() {
  restart();
}

void TestMail::restart() {
  client_.reset();
  files.reset();
  environment_ = std::make_unique<Environment>(environment());
  client_ = std::make_unique<MailClient>(*environment_);
}

void TestMail::makeFolder(const Path& folder) {
  for (const auto* part : {"cur", "new", "tmp"}) disk.putDirectory(folder / part);
}

void TestMail::deliver(const Path& folder, const std::string& subject, const std::string& flags,
                       const std::string& subfolder) {
  const auto name = fmt::format("17000{:05}.M1P1.{}", std::hash<std::string>()(subject) % 100'000, subject);
  disk.put(folder / subfolder / (subfolder == "new" ? name : name + ":2," + flags),
           fmt::format(
               "From: Ada <ada@example.org>\nSubject: {0}\nMessage-ID: <{0}@example.org>\n\nText of {0}.\n",
               subject));
}

void TestMail::addAccount(const std::string& name, const Path& path, const std::string& server) {
  const auto added = client_->addAccount({name, path, server, AccountType::imap});
  if (!added) fatal(added.error().message);
}

std::multimap<std::string, std::string> TestMail::everything() const {
  std::multimap<std::string, std::string> found;
  for (const auto& path : disk.tree("/mail")) {
    const Path file(path);
    const auto subfolder = file.parent_path().filename();
    if (path.back() == '/' || (subfolder != "cur" && subfolder != "new")) continue;
    const auto folder = file.parent_path().parent_path();
    const auto bytes = disk.bytes(file);
    const auto table = disk.exists(folder / "dovecot-keywords")
                           ? KeywordTable::parse(disk.bytes(folder / "dovecot-keywords"))
                           : KeywordTable();
    const auto marks = Marks::read(MessageName::parse(file.filename().string()), table);
    std::string keywords;
    for (const auto& keyword : marks.keywords) keywords += keyword + " ";
    found.emplace(summarize(headerBlock(bytes)).subject + (bytes.ends_with(".\n") ? "" : " TORN"),
                  fmt::format("{}|{}|{}", folder.string().substr(5), marks.flags, keywords));
  }
  return found;
}

std::vector<std::string> TestMail::strayFiles() const {
  std::vector<std::string> stray;
  for (const auto& path : disk.tree("/mail")) {
    const Path file(path);
    if (path.back() == '/') continue;
    const auto folder = file.parent_path().filename();
    const auto name = file.filename();
    if (folder == "cur" || folder == "new" || name == "dovecot-keywords" || name == "subscriptions" ||
        name == "dovecot-uidlist") {
      continue;
    }
    stray.push_back(path);
  }
  for (const auto& path : disk.tree("/profile")) {
    const auto extension = Path(path).extension();
    if (extension == ".open" || extension == ".undo" || extension == ".tmp") stray.push_back(path);
  }
  return stray;
}

std::shared_ptr<const applescript::Terminology> mailTerms() {
  static const auto terms = [] {
    std::ifstream file(std::string(QUILLBOX_SOURCE_DIR) + "/Resources/Mail.sdef");
    const std::string xml((std::istreambuf_iterator<char>(file)), {});
    auto parsed = applescript::Terminology::parse(xml);
    if (!parsed) fatal(parsed.error().message);
    return *parsed;
  }();
  return terms;
}

Result<std::size_t> fileSelection(MailClient& client, const Filing& filing) {
  MailSession session(client, mailTerms());
  const auto event = [&](auto&& act) -> Result<void> {
    if (auto begun = session.beginEvent(std::chrono::seconds(5)); !begun) {
      return fail(begun.error().number, begun.error().message);
    }
    auto result = act();
    session.endEvent();
    if (!result) return fail(result.error().number, result.error().message);
    return {};
  };
  // Numbers and mailboxes only, as references are all that a script keeps between two events.
  std::vector<std::pair<Value, std::int64_t>> selected;
  std::vector<std::string> accounts;
  std::size_t count = 0;
  const auto run = [&]() -> Result<void> {
    std::vector<std::tuple<std::string, std::string, std::int64_t>> messages;
    auto done = event([&]() -> applescript::Outcome<void> {
      const auto list = session.root()->property(code("slct"));
      if (!list) return std::unexpected(list.error());
      for (const auto& item : list->items()) {
        const auto object = item.asLive();
        const auto mailbox = object->property(code("mbxp"))->asLive();
        const auto account = mailbox->property(code("mact"));
        if (!account) return std::unexpected(account.error());
        const auto reference = mailbox->specifier();
        const auto& specifier = reference.as<applescript::SpecifierObject>();
        messages.emplace_back(
            account->isMissing() ? "" : std::string(account->asLive()->property(code("ID  "))->asText()),
            specifier.key.asText(), object->property(code("ID  "))->asInteger());
      }
      return {};
    });
    if (!done) return done;
    for (const auto& [account, path, number] : messages) {
      const auto onMessage = [&](auto&& act) {
        return event([&]() -> applescript::Outcome<void> {
          auto owner = session.root();
          if (!account.empty()) {
            const auto found = owner->identified(code("mact"), Value::text(account));
            if (!found) return std::unexpected(found.error());
            owner = *found;
          }
          const auto mailbox = owner->named(code("mbxp"), path);
          if (!mailbox || !*mailbox) return applescript::failure(-1728, "mailbox");
          const auto message = (*mailbox)->identified(code("mssg"), Value::integer(number));
          if (!message) return std::unexpected(message.error());
          if (!*message) return applescript::failure(-1728, "message");
          return act(**message);
        });
      };
      const auto set = [&](std::string_view property, const Value& value) {
        return onMessage(
            [&](applescript::ScriptObject& message) { return message.setProperty(code(property), value); });
      };
      if (filing.markRead) {
        if (auto set1 = set("isrd", Value::boolean(true)); !set1) return set1;
      }
      if (!filing.color.empty()) {
        if (auto set1 = set("mcol", Value::constant(code(filing.color))); !set1) return set1;
      }
      if (!filing.flagIndex.empty()) {
        if (auto set1 = set("fidx", Value::integer(std::stoi(filing.flagIndex))); !set1) return set1;
      }
      if (filing.mailbox.empty()) {
        ++count;
        continue;
      }
      auto filed = onMessage([&](applescript::ScriptObject& message) -> applescript::Outcome<void> {
        auto owner = session.root();
        if (filing.account != localAccountName) {
          const auto found = owner->named(code("mact"), filing.account);
          if (!found || !*found) return applescript::failure(-1728, "account");
          owner = *found;
        }
        const auto destination = owner->named(code("mbxp"), filing.mailbox);
        if (!destination || !*destination) return applescript::failure(-1728, "destination");
        if (filing.move) return message.setProperty(code("mbxp"), Value::live(*destination));
        const auto copied = message.duplicateTo(applescript::Place{*destination, {}, {}}, Value::record({}));
        if (!copied) return std::unexpected(copied.error());
        return {};
      });
      if (!filed) return filed;
      ++count;
    }
    return {};
  };
  const auto result = run();
  const auto finished = session.finish();
  if (!result) return forward(result);
  if (!finished) return forward(finished);
  return count;
}

}  // namespace quillbox::mailclient

#include "mailclient/mail_client.h"

#include <algorithm>
#include <cerrno>
#include <iterator>
#include <set>

#include <fmt/format.h>

#include "base/error_numbers.h"
#include "base/text.h"
#include "mailclient/name_codes.h"

namespace quillbox::mailclient {
namespace {

constexpr std::uint64_t kLargestPiped = 1ULL << 30;

std::string_view withoutBrackets(std::string_view id) {
  id = text::trim(id);
  if (id.starts_with('<') && id.ends_with('>')) id = id.substr(1, id.size() - 2);
  return id;
}

// Line ends differ between readers; nothing else may.
std::string comparable(std::string_view bytes) {
  std::string out;
  out.reserve(bytes.size());
  for (std::size_t i = 0; i < bytes.size(); ++i) {
    if (bytes[i] == '\r' && i + 1 < bytes.size() && bytes[i + 1] == '\n') continue;
    out += bytes[i];
  }
  while (!out.empty() && out.back() == '\n') out.pop_back();
  return out;
}

}  // namespace

MailClient::MailClient(const Environment& environment)
    : environment_(environment), store_(environment_), views_(environment_), headers_(environment_) {}

MailClient::~MailClient() = default;

Result<void> MailClient::start() {
  const std::lock_guard lock(mutex_);
  if (const auto there = environment_.files.info(environment_.directory); !there) {
    // Nothing was ever kept here.
    return there.error().number == ENOENT ? Result<void>{} : forward(there);
  }
  store_.accounts().removeDrafts();
  views_.removeDrafts();
  headers_.removeDrafts();
  const auto moves = Recovery(environment_, store_).run();
  if (!moves) return forward(moves);
  return noteMoves(*moves);
}

Result<void> MailClient::noteMoves(const Transaction::Moves& moves) {
  if (moves.empty()) return {};
  return views_.change([&](ViewState& state) -> Result<void> {
    state.follow(moves);
    return {};
  });
}

// ---- accounts ----

Result<MailAccount> MailClient::addAccount(const AddAccount& account) {
  const std::lock_guard lock(mutex_);
  MailAccount added;
  added.name = account.name;
  added.path = account.path;
  added.server = account.server;
  added.type = account.type;
  return store_.accounts().add(std::move(added));
}

Result<std::vector<MailAccount>> MailClient::accounts() {
  const std::lock_guard lock(mutex_);
  return store_.accounts().accounts();
}

Result<MailAccount> MailClient::localStore() {
  const std::lock_guard lock(mutex_);
  return store_.accounts().localStore();
}

Result<void> MailClient::removeAccount(std::string_view name) {
  const std::lock_guard lock(mutex_);
  return store_.accounts().remove(name);
}

// ---- mailboxes ----

Result<std::vector<std::string>> MailClient::mailboxes(std::string_view account) {
  const std::lock_guard lock(mutex_);
  const auto owner = store_.accountNamed(account);
  if (!owner) return forward(owner);
  const auto folders = store_.mailboxes(*owner);
  if (!folders) return forward(folders);
  std::vector<std::string> paths;
  for (const auto& folder : *folders) paths.push_back(folder.path);
  return paths;
}

Result<void> MailClient::makeMailbox(std::string_view account, std::string_view path) {
  const std::lock_guard lock(mutex_);
  const auto owner = store_.accountNamed(account);
  if (!owner) return forward(owner);
  Transaction transaction(environment_, store_);
  const auto made = transaction.makeMailbox(owner->id, std::string(path));
  const auto committed = transaction.commit();
  if (!made) return forward(made);
  return committed;
}

Result<std::pair<MailAccount, Folder>> MailClient::mailboxNamed(std::string_view account,
                                                                std::string_view path) {
  auto owner = store_.accountNamed(account);
  if (!owner) return forward(owner);
  auto folder = store_.mailbox({owner->id, std::string(path)});
  if (!folder) return forward(folder);
  return std::pair(std::move(*owner), std::move(*folder));
}

// ---- messages ----

Result<MessageRow> MailClient::row(const MailAccount& account, const Folder& folder,
                                   const MessageFile& file) {
  const auto headers = headers_.get(folder.directory, file);
  if (!headers) return forward(headers);
  const auto table = store_.keywords(folder.directory);
  if (!table) return forward(table);
  const auto marks = Marks::read(MessageName::parse(file.name), *table);
  MessageRow row;
  row.id = readableBytes(stableId(file.name));
  row.messageId = headers->summary.messageId;
  row.sender = headers->summary.sender;
  row.subject = headers->summary.subject;
  row.date = isoTime(headers->summary.sent.value_or(headers->received));
  row.read = marks.has(flag::seen);
  row.flagIndex = marks.flagIndex();
  row.color = std::string(labelTerm(marks.label()));
  row.account = account.name;
  row.mailbox = folder.path;
  return row;
}

std::optional<MessageRow> MailClient::listedRow(const MailAccount& account, const Folder& folder,
                                                const MessageFile& file) {
  auto one = row(account, folder, file);
  if (!one && one.error().number == ENOENT) {
    // Renamed since the listing, or gone.
    const auto again = store_.locate({{account.id, folder.path}, stableId(file.name)}, Lookup::rescanned);
    if (!again) return std::nullopt;
    one = row(account, folder, again->file);
  }
  if (one) return std::move(*one);
  if (one.error().number == ENOENT) return std::nullopt;
  environment_.log.error(fmt::format("A message can’t be read: {}", one.error().message));
  MessageRow unreadable;
  unreadable.id = readableBytes(stableId(file.name));
  unreadable.date = isoTime(deliveryTime(file.name));
  unreadable.color = std::string(labelTerm(LabelColor::none));
  unreadable.account = account.name;
  unreadable.mailbox = folder.path;
  return unreadable;
}

Result<std::vector<MessageRow>> MailClient::messages(std::string_view account, std::string_view path,
                                                     std::size_t limit) {
  const std::lock_guard lock(mutex_);
  const auto place = mailboxNamed(account, path);
  if (!place) return forward(place);
  const auto& [owner, folder] = *place;
  const auto index = store_.messages(folder);
  if (!index) return forward(index);
  const auto count = std::min(limit, (*index)->files().size());
  headers_.expect(folder.directory, count);
  std::vector<MessageRow> rows;
  rows.reserve(count);
  for (const auto& file : (*index)->files()) {
    if (rows.size() == count) break;
    if (auto one = listedRow(owner, folder, file)) rows.push_back(std::move(*one));
  }
  headers_.save(folder.directory, **index);
  return rows;
}

// ---- selection ----

Result<std::size_t> MailClient::selectKeys(std::vector<MessageKey> keys) {
  const auto count = keys.size();
  const auto changed = views_.change([&](ViewState& state) -> Result<void> {
    if (state.viewers.empty()) state.open();
    Viewer& viewer = *state.front();
    // What is selected is shown; the messages come from one mailbox.
    if (!keys.empty()) {
      const MailboxKey& mailbox = keys.front().mailbox;
      const bool isShown = viewer.mailboxes.empty()
                               ? mailbox.path == inboxName
                               : std::ranges::find(viewer.mailboxes, mailbox) != viewer.mailboxes.end();
      if (!isShown) viewer.mailboxes = {mailbox};
    }
    viewer.selected = std::move(keys);
    return {};
  });
  if (!changed) return forward(changed);
  return count;
}

Result<std::size_t> MailClient::select(std::string_view account, std::string_view path,
                                       const std::vector<std::string>& ids) {
  const std::lock_guard lock(mutex_);
  const auto place = mailboxNamed(account, path);
  if (!place) return forward(place);
  const auto& [owner, folder] = *place;
  const auto index = store_.messages(folder);
  if (!index) return forward(index);
  const MailboxKey mailbox{owner.id, folder.path};
  std::vector<MessageKey> keys;
  std::map<std::string, std::string> byHeader;  // Message-ID -> id; made when the first of them is asked for
  for (const auto& wanted : ids) {
    const auto id = bytesOfReadable(wanted);
    if ((*index)->find(id) != nullptr) {
      keys.push_back({mailbox, id});
      continue;
    }
    if (byHeader.empty()) {
      headers_.expect(folder.directory, (*index)->files().size());
      for (const auto& file : (*index)->files()) {
        if (const auto headers = headers_.get(folder.directory, file)) {
          byHeader.emplace(headers->summary.messageId, stableId(file.name));
        }
      }
      headers_.save(folder.directory, **index);
    }
    const auto header = withoutBrackets(wanted);
    const auto found = byHeader.find(std::string(header));
    if (header.empty() || found == byHeader.end()) {
      // One that was renamed while the folder was listed may be missing from the listing.
      if (const auto file = store_.find(folder, id); file && *file) {
        keys.push_back({mailbox, id});
        continue;
      }
      return fail(error_number::messageNotFound,
                  fmt::format("The message “{}” is not in the mailbox “{}”",
                              text::singleLine(readableBytes(wanted)), folder.path));
    }
    keys.push_back({mailbox, found->second});
  }
  // The same message named twice is selected once.
  std::set<std::string> seen;
  std::erase_if(keys, [&](const MessageKey& key) { return !seen.insert(key.id).second; });
  return selectKeys(std::move(keys));
}

Result<std::size_t> MailClient::selectAll(std::string_view account, std::string_view path) {
  const std::lock_guard lock(mutex_);
  const auto place = mailboxNamed(account, path);
  if (!place) return forward(place);
  const auto index = store_.messages(place->second);
  if (!index) return forward(index);
  std::vector<MessageKey> keys;
  for (const auto& file : (*index)->files()) {
    keys.push_back({{place->first.id, place->second.path}, stableId(file.name)});
  }
  return selectKeys(std::move(keys));
}

Result<void> MailClient::selectNothing() {
  const std::lock_guard lock(mutex_);
  const auto done = selectKeys({});
  if (!done) return forward(done);
  return {};
}

Result<std::optional<MessageKey>> MailClient::findPiped(std::string_view bytes) {
  const auto block = headerBlock(bytes);
  const auto wanted = summarize(block).messageId;
  const auto content = wanted.empty() ? comparable(bytes) : std::string();
  auto accounts = store_.accounts().accounts();
  if (!accounts) return forward(accounts);
  const auto local = store_.accounts().localStore();
  if (local) accounts->push_back(*local);
  // Inboxes first: most mail is piped from there.
  std::vector<std::pair<MailboxKey, Folder>> folders;
  std::vector<std::pair<MailboxKey, Folder>> others;
  for (const auto& account : *accounts) {
    const auto list = store_.mailboxes(account);
    if (!list) {
      environment_.log.error(list.error().message);
      continue;
    }
    for (const auto& folder : *list) {
      (folder.path == inboxName ? folders : others).emplace_back(MailboxKey{account.id, folder.path}, folder);
    }
  }
  std::ranges::move(others, std::back_inserter(folders));
  for (const auto& [key, folder] : folders) {
    const auto index = store_.messages(folder);
    if (!index) continue;
    headers_.expect(folder.directory, (*index)->files().size());
    for (const auto& file : (*index)->files()) {
      const auto headers = headers_.get(folder.directory, file);
      if (!headers || headers->summary.messageId != wanted) continue;
      if (wanted.empty()) {
        const auto stored = environment_.files.read(file.path(folder.directory), kLargestPiped);
        if (!stored || comparable(*stored) != content) continue;
      }
      return MessageKey{key, stableId(file.name)};
    }
    headers_.save(folder.directory, **index);
  }
  return std::nullopt;
}

Result<std::size_t> MailClient::selectPiped(std::string_view bytes) {
  const std::lock_guard lock(mutex_);
  if (text::trim(bytes).empty()) {
    return fail(error_number::messageNotFound, "No message came from the other program");
  }
  const auto found = findPiped(bytes);
  if (!found) return forward(found);
  if (!*found) {
    return fail(error_number::messageNotFound,
                "The message that was handed over is in none of the mailboxes");
  }
  return selectKeys({**found});
}

Result<void> MailClient::followMessages() {
  const std::lock_guard lock(mutex_);
  return follow();
}

Result<void> MailClient::follow() {
  const auto state = views_.read();
  if (!state) return forward(state);
  std::set<MessageKey> missing;
  for (const auto& viewer : state->viewers) {
    for (const auto& key : viewer.selected) {
      const auto there = store_.marks(key);
      if (!there && (there.error().number == error_number::messageNotFound ||
                     there.error().number == error_number::mailboxNotFound ||
                     there.error().number == error_number::accountNotFound)) {
        missing.insert(key);
      }
    }
  }
  if (missing.empty()) return {};
  const auto found = store_.whereabouts({missing.begin(), missing.end()});
  if (!found) return forward(found);
  return views_.change([&](ViewState& views) -> Result<void> {
    for (auto& viewer : views.viewers) {
      std::erase_if(viewer.selected,
                    [&](const MessageKey& key) { return missing.contains(key) && !found->contains(key); });
      for (auto& key : viewer.selected) {
        if (const auto place = found->find(key); place != found->end()) key = place->second;
      }
    }
    return {};
  });
}

Result<std::vector<MessageKey>> MailClient::selectedKeys() {
  if (auto followed = follow(); !followed) environment_.log.error(followed.error().message);
  const auto state = views_.read();
  if (!state) return forward(state);
  std::vector<MessageKey> keys;
  const auto* front = state->front();
  if (front == nullptr) return keys;
  std::map<MailboxKey, std::optional<Folder>> folders;
  for (const auto& key : front->selected) {
    const auto [place, isNew] = folders.try_emplace(key.mailbox);
    if (isNew) {
      if (auto folder = store_.mailbox(key.mailbox)) place->second = std::move(*folder);
    }
    if (!place->second) continue;
    if (const auto file = store_.find(*place->second, key.id); file && *file) keys.push_back(key);
  }
  return keys;
}

Result<std::vector<MessageRow>> MailClient::selection() {
  const std::lock_guard lock(mutex_);
  const auto keys = selectedKeys();
  if (!keys) return forward(keys);
  std::vector<MessageRow> rows;
  for (const auto& key : *keys) {
    const auto account = store_.account(key.mailbox.account);
    if (!account) continue;
    auto one = store_.withMessage(
        key, [&](const LocatedMessage& message) { return row(*account, message.folder(), message.file); });
    if (one) rows.push_back(std::move(*one));
  }
  return rows;
}

// ---- filing ----

Result<UndoReport> MailClient::undo() {
  const std::lock_guard lock(mutex_);
  auto report = Recovery(environment_, store_).undoLast();
  if (!report) return report;
  if (auto noted = noteMoves(report->moves); !noted) {
    environment_.log.error(fmt::format("The selection could not follow: {}", noted.error().message));
  }
  return report;
}

}  // namespace quillbox::mailclient

#include "mailclient/script_model.h"

#include <algorithm>
#include <array>
#include <cerrno>
#include <iterator>
#include <set>
#include <utility>

#include <fmt/format.h>

#include "base/error_numbers.h"
#include "mailclient/purposes.h"

namespace quillbox::mailclient {
namespace {

namespace as = applescript;

constexpr std::int32_t kNumbers = 536'870'911;  // numbers are 1 to this
constexpr std::uint64_t kLargestMessage = 1ULL << 30;

template <class T>
std::unexpected<as::Failure> asFailure(const Result<T>& result) {
  return scriptFailure(result.error());
}

constexpr std::array<std::pair<Code, Purpose>, 5> kPurposes = {{{code("inmb"), Purpose::inbox},
                                                                {code("drmb"), Purpose::drafts},
                                                                {code("stmb"), Purpose::sent},
                                                                {code("trmb"), Purpose::trash},
                                                                {code("jkmb"), Purpose::junk}}};

bool isMissingObject(std::int64_t number) {
  return number == error_number::messageNotFound || number == error_number::mailboxNotFound ||
         number == error_number::accountNotFound || number == ENOENT;
}

}  // namespace

std::unexpected<as::Failure> scriptFailure(const Error& error) {
  if (isMissingObject(error.number)) return as::failure(as::error::noSuchObject);
  return as::failure(error.number > 0 ? as::error::handlerFailed : error.number, error.message);
}

std::unexpected<as::Failure> changeFailure(const Error& error) {
  if (isMissingObject(error.number)) return as::failure(as::error::noSuchObject, error.message);
  return scriptFailure(error);
}

// ---- references ----

Value MailModel::accountSpecifier(std::string_view account) const {
  return as::element::identified(Value::application(application_), code("mact"),
                                 Value::text(std::string(account)));
}

Value MailModel::specifier(const MailboxKey& key) const {
  auto container =
      key.account == localAccountName ? Value::application(application_) : accountSpecifier(key.account);
  return as::element::named(std::move(container), code("mbxp"), key.path);
}

Value MailModel::specifier(const MessageKey& key) {
  return as::element::identified(specifier(key.mailbox), code("mssg"), Value::integer(numberOf(key.id)));
}

std::int32_t MailModel::numberOf(std::string_view id) {
  auto number = scriptId(id);
  while (true) {
    const auto [place, isNew] = numbers_.try_emplace(number, id);
    if (isNew || place->second == id) return number;
    number = number % kNumbers + 1;
  }
}

// ---- messages ----

MessageKey MailModel::current(MessageKey key) const {
  for (auto place = moved_.find(key); place != moved_.end(); place = moved_.find(key)) key = place->second;
  return key;
}

Outcome<std::vector<MessageKey>> MailModel::messages(const MailboxKey& mailbox) {
  const auto folder = store().mailbox(mailbox);
  if (!folder) return asFailure(folder);
  const auto index = store().messages(*folder);
  if (!index) return asFailure(index);
  std::vector<MessageKey> keys;
  keys.reserve((*index)->files().size());
  for (const auto& file : (*index)->files()) keys.push_back({mailbox, stableId(file.name)});
  return keys;
}

Outcome<std::size_t> MailModel::messageCount(const MailboxKey& mailbox) {
  const auto folder = store().mailbox(mailbox);
  if (!folder) return asFailure(folder);
  const auto index = store().messages(*folder);
  if (!index) return asFailure(index);
  return (*index)->files().size();
}

Outcome<std::size_t> MailModel::unreadCount(const MailboxKey& mailbox) {
  const auto folder = store().mailbox(mailbox);
  if (!folder) return asFailure(folder);
  const auto index = store().messages(*folder);
  if (!index) return asFailure(index);
  return static_cast<std::size_t>(std::ranges::count_if((*index)->files(), [](const MessageFile& file) {
    const auto name = MessageName::parse(file.name);
    return !name.has(flag::seen) && !name.has(flag::trashed);
  }));
}

Outcome<std::optional<MessageKey>> MailModel::messageNumbered(const MailboxKey& mailbox,
                                                              std::int64_t number) {
  if (number < 1 || number > kNumbers) return std::nullopt;
  if (const auto known = numbers_.find(static_cast<std::int32_t>(number)); known != numbers_.end()) {
    auto key = current({mailbox, known->second});
    const auto located = store().locate(key);
    if (located) return key;
    if (!isMissingObject(located.error().number)) return asFailure(located);
    return std::nullopt;
  }
  // A number of an earlier run.
  const auto folder = store().mailbox(mailbox);
  if (!folder) return asFailure(folder);
  const auto index = store().messages(*folder);
  if (!index) return asFailure(index);
  for (const auto& file : (*index)->files()) {
    const auto id = stableId(file.name);
    if (scriptId(id) == number && numberOf(id) == number) return MessageKey{mailbox, id};
  }
  return std::nullopt;
}

Outcome<CachedHeaders> MailModel::headers(const MessageKey& key) {
  const auto headers = store().withMessage(key, [&](const LocatedMessage& message) {
    return client_.headers_.get(message.folder().directory, message.file);
  });
  if (!headers) return asFailure(headers);
  return *headers;
}

Outcome<std::string> MailModel::source(const MessageKey& key) {
  auto bytes = store().withMessage(key, [&](const LocatedMessage& message) {
    return environment().files.read(message.path(), kLargestMessage);
  });
  if (!bytes) return asFailure(bytes);
  return std::move(*bytes);
}

Outcome<std::string> MailModel::headerText(const MessageKey& key) {
  auto block = store().withMessage(key, [&](const LocatedMessage& message) {
    return readHeaderBlock(environment().files, message.path());
  });
  if (!block) return asFailure(block);
  return std::move(*block);
}

Transaction& MailModel::transaction() {
  if (!transaction_) {
    transaction_ = std::make_unique<Transaction>(environment(), store());
    const auto state = viewStore().read();
    if (state && state->front() != nullptr) transaction_->expect(state->front()->selected);
  }
  return *transaction_;
}

Outcome<Marks> MailModel::marks(const MessageKey& key) {
  const auto marks = transaction().marks(key);
  if (!marks) return asFailure(marks);
  return *marks;
}

Outcome<void> MailModel::change(const MessageKey& key, const MarkChange& change) {
  if (const auto done = transaction().change(key, change); !done) return changeFailure(done.error());
  return {};
}

Outcome<MessageKey> MailModel::move(const MessageKey& key, const MailboxKey& destination) {
  const auto moved = transaction().move(key, destination);
  if (!moved) return changeFailure(moved.error());
  if (*moved != key) {
    moved_.erase(*moved);
    moved_[key] = *moved;
  }
  return *moved;
}

Outcome<MessageKey> MailModel::copy(const MessageKey& key, const MailboxKey& destination) {
  const auto copied = transaction().copy(key, destination);
  if (!copied) return changeFailure(copied.error());
  return *copied;
}

Outcome<MailboxKey> MailModel::makeMailbox(const std::string& account, const std::string& path) {
  const auto made = transaction().makeMailbox(account, path);
  if (!made) return changeFailure(made.error());
  return MailboxKey{account, made->path};
}

// ---- accounts and mailboxes ----

Outcome<std::vector<MailAccount>> MailModel::accounts() {
  const auto all = store().accounts().accounts();
  if (!all) return asFailure(all);
  return *all;
}

Outcome<MailAccount> MailModel::account(std::string_view id) {
  const auto found = store().account(id);
  if (!found) return asFailure(found);
  return *found;
}

Outcome<std::vector<MailboxKey>> MailModel::mailboxes(std::string_view account) {
  const auto owner = store().account(account);
  if (!owner) return asFailure(owner);
  const auto folders = store().mailboxes(*owner);
  if (!folders) return asFailure(folders);
  std::vector<MailboxKey> keys;
  keys.reserve(folders->size());
  for (const auto& folder : *folders) keys.push_back({owner->id, folder.path});
  return keys;
}

Outcome<std::optional<MailboxKey>> MailModel::findMailbox(const MailboxKey& key) {
  const auto folder = store().mailbox(key);
  if (folder) return MailboxKey{key.account, folder->path};
  if (isMissingObject(folder.error().number)) return std::nullopt;
  return asFailure(folder);
}

Outcome<std::vector<MailboxKey>> MailModel::mailboxesFor(Code purpose) {
  const auto wanted = std::ranges::find(kPurposes, purpose, &std::pair<Code, Purpose>::first);
  if (wanted == kPurposes.end()) return std::vector<MailboxKey>();  // nothing waits in an outbox here
  const auto found = mailboxesServing(store(), wanted->second);
  if (!found) return asFailure(found);
  return *found;
}

// ---- viewers ----

Outcome<ViewState> MailModel::views() {
  auto state = viewStore().read();
  if (!state) return asFailure(state);
  if (transaction_) state->follow(transaction_->moves());
  return std::move(*state);
}

Outcome<void> MailModel::changeViews(const std::function<Result<void>(ViewState&)>& change) {
  const auto done = viewStore().change([&](ViewState& state) {
    if (transaction_) state.follow(transaction_->moves());
    return change(state);
  });
  if (!done) return changeFailure(done.error());
  return {};
}

Outcome<void> MailModel::navigate(Navigation way) {
  const auto done = client_.navigate(way, transaction_ ? transaction_->moves() : Transaction::Moves());
  if (!done) return changeFailure(done.error());
  return {};
}

std::vector<MessageKey> MailModel::present(const std::vector<MessageKey>& keys) {
  std::vector<MessageKey> missing;
  std::vector<MessageKey> there = keys;
  for (const auto& key : keys) {
    if (!store().locate(key)) missing.push_back(key);
  }
  if (missing.empty()) return there;
  const auto moved = store().whereabouts(missing);
  const std::set<MessageKey> gone(missing.begin(), missing.end());
  std::erase_if(
      there, [&](const MessageKey& key) { return gone.contains(key) && !(moved && moved->contains(key)); });
  for (auto& key : there) {
    if (gone.contains(key)) key = moved->at(key);
  }
  return there;
}

Result<void> MailModel::finish() {
  if (!transaction_) return {};
  const auto transaction = std::exchange(transaction_, nullptr);
  auto done = transaction->commit();
  moved_.clear();
  const auto noted = client_.noteMoves(transaction->moves());
  if (done && !noted) done = noted;
  return done;
}

// ---- values ----

std::vector<ObjectRef> messageObjects(MailModel& model, const std::vector<MessageKey>& keys) {
  std::vector<ObjectRef> objects;
  objects.reserve(keys.size());
  for (const auto& key : keys) objects.push_back(messageObject(model, key));
  return objects;
}

Value liveList(const std::vector<ObjectRef>& objects) {
  std::vector<Value> items;
  items.reserve(objects.size());
  for (const auto& object : objects) items.push_back(Value::live(object));
  return Value::list(std::move(items));
}

namespace {

// Calls `take` with each object in a value; it says whether the object is of the kind that is wanted.
Outcome<void> forEachObject(const Value& value, const std::function<Outcome<bool>(const ObjectRef&)>& take) {
  const auto one = [&](const Value& item) -> Outcome<void> {
    if (!item.is(as::Kind::Live)) return as::failure(as::error::wrongType, {}, item);
    const auto taken = take(item.asLive());
    if (!taken) return std::unexpected(taken.error());
    if (!*taken) return as::failure(as::error::wrongType, {}, item);
    return {};
  };
  if (value.isMissing()) return {};
  if (!value.isList()) return one(value);
  for (const auto& item : value.items()) {
    if (auto done = one(item); !done) return done;
  }
  return {};
}

}  // namespace

Outcome<std::vector<MessageKey>> messagesIn(const Value& value) {
  std::vector<MessageKey> keys;
  const auto done = forEachObject(value, [&](const ObjectRef& object) -> Outcome<bool> {
    const auto* key = messageOf(object);
    if (key != nullptr) keys.push_back(*key);
    return key != nullptr;
  });
  if (!done) return std::unexpected(done.error());
  return keys;
}

Outcome<std::vector<MailboxKey>> mailboxesIn(const Value& value) {
  std::vector<MailboxKey> keys;
  const auto done = forEachObject(value, [&](const ObjectRef& object) -> Outcome<bool> {
    auto mailboxes = mailboxesOf(object);
    if (!mailboxes) return std::unexpected(mailboxes.error());
    if (*mailboxes) std::ranges::move(**mailboxes, std::back_inserter(keys));
    return mailboxes->has_value();
  });
  if (!done) return std::unexpected(done.error());
  return keys;
}

}  // namespace quillbox::mailclient

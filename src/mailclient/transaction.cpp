#include "mailclient/transaction.h"

#include <algorithm>
#include <cerrno>

#include <fmt/format.h>

#include "base/error_numbers.h"
#include "base/text.h"
#include "mailclient/name_codes.h"

namespace quillbox::mailclient {
namespace {

constexpr std::string_view kChanged = "changed";

JournalPlace placeOf(const MailboxKey& mailbox, const LocatedMessage& message) {
  return {mailbox, message.folder.directory, message.file};
}

}  // namespace

Result<JournalWriter*> Transaction::writer() {
  if (!writer_) {
    auto begun = JournalWriter::begin(environment_);
    if (!begun) return forward(begun);
    writer_ = std::move(*begun);
    for (const auto& record : waiting_) {
      if (auto written = writer_->write(record); !written) return forward(written);
    }
    waiting_.clear();
  }
  return writer_.get();
}

Result<const Folder*> Transaction::mailbox(const MailboxKey& key) {
  const auto known = mailboxes_.find(key);
  if (known != mailboxes_.end()) return &known->second;
  auto folder = store_.mailbox(key);
  if (!folder) return forward(folder);
  return &(mailboxes_[key] = std::move(*folder));
}

Result<Marks> Transaction::storedMarks(const MessageKey& key) {
  const auto folder = mailbox(key.mailbox);
  if (!folder) return forward(folder);
  return store_.marks(key, *folder);
}

Result<const KeywordTable*> Transaction::sourceKeywords(const Path& folder, const MessageName& name) {
  const auto known = sourceKeywords_.find(folder.native());
  if (known != sourceKeywords_.end() && std::ranges::all_of(name.flags, [&](char letter) {
        return letter < 'a' || letter > 'z' || !known->second.nameOf(letter).empty();
      })) {
    return &known->second;
  }
  auto table = store_.keywords(folder);
  if (!table) return forward(table);
  return &(sourceKeywords_[folder.native()] = std::move(*table));
}

Result<KeywordTable> Transaction::keywordsFor(const Path& folder, const std::vector<std::string>& names) {
  auto table = store_.keywords(folder);
  if (!table) return table;
  if (std::ranges::all_of(names,
                          [&](const std::string& name) { return table->letterOf(name).has_value(); })) {
    return table;
  }
  const auto journal = writer();
  if (!journal) return forward(journal);
  JournalRecord record;
  record.kind = JournalRecord::Kind::keywords;
  record.to.folder = folder;
  if (auto written = (*journal)->write(record); !written) return forward(written);
  // A lock that a power cut leaves must be known as ours.
  if (auto synced = (*journal)->sync(); !synced) return forward(synced);
  return requireKeywords(environment_, folder, names, (*journal)->token());
}

Result<void> Transaction::note(const JournalRecord& record) {
  if (!writer_) {
    waiting_.push_back(record);
    return {};
  }
  const auto written = writer_->write(record);
  if (!written) return forward(written);
  return {};
}

Result<Transaction::Step> Transaction::writeStep(JournalRecord record) {
  const auto journal = writer();
  if (!journal) return forward(journal);
  const auto number = (*journal)->write(record);
  if (!number) return forward(number);
  worthKeeping_ = true;
  return Step{std::move(record), *number};
}

void Transaction::giveUp(const Step& step) {
  // When even this cannot be written, recovery and undo see from the disk that the step did not happen.
  (void)writer_->voidRecord(step.number);
}

Error Transaction::explain(Error error, std::string_view action, const MessageKey& key) const {
  if (error.number == error_number::messageNotFound || error.number == error_number::mailboxNotFound) {
    // Already a sentence about the message or the mailbox.
  } else {
    error.message = fmt::format("The message “{}” could not be {}: {}",
                                text::singleLine(readableBytes(key.id)), action, error.message);
  }
  if (action == kChanged && filed_ == 0) return error;
  // A message of which a copy was made is not filed when it fails to go where it was to go next.
  const auto before = filed_ - (lastCopied_ == key ? 1 : 0);
  const auto count = before == 0   ? "no message was"
                     : before == 1 ? "1 message was"
                                   : fmt::format("{} messages were", before);
  error.message += fmt::format(" ({} filed before it)", count);
  return error;
}

MarkChange Transaction::takePending(const MessageKey& key) {
  if (!pending_ || pending_->key != key) return {};
  auto change = std::move(pending_->change);
  pending_.reset();
  return change;
}

void Transaction::expect(const std::vector<MessageKey>& keys) {
  for (const auto& key : keys) expected_[key.mailbox].insert(key.id);
}

Result<void> Transaction::announce(const JournalPlace& from, const JournalPlace& to) {
  if (!announces_) return {};
  const auto id = from.id();
  auto& announced = announced_[{from.folder.string(), to.folder.string()}];
  if (announced.contains(id)) return {};
  JournalRecord plan;
  plan.kind = JournalRecord::Kind::plan;
  plan.from = {from.mailbox, from.folder, {}};
  plan.to = {to.mailbox, to.folder, {}};
  plan.files.push_back(from.file);
  std::set<std::string> ids = {id};
  if (const auto expected = expected_.find(from.mailbox);
      expected != expected_.end() && expected->second.contains(id)) {
    const auto index = store_.listed({from.mailbox.path, from.folder});
    if (!index) return forward(index);
    for (const auto& other : expected->second) {
      const auto* file = (*index)->find(other);
      if (file != nullptr && ids.insert(other).second) plan.files.push_back(*file);
    }
  }
  const auto journal = writer();
  if (!journal) return forward(journal);
  if (auto written = (*journal)->write(plan); !written) return forward(written);
  if (auto synced = (*journal)->sync(); !synced) return synced;
  announced.merge(ids);
  return {};
}

Result<Marks> Transaction::marks(const MessageKey& key) {
  auto marks = storedMarks(key);
  if (marks && pending_ && pending_->key == key) pending_->change.apply(*marks);
  return marks;
}

Result<void> Transaction::change(const MessageKey& key, const MarkChange& change) {
  if (pending_ && pending_->key != key) {
    if (auto done = flush(); !done) return done;
  }
  // The message has to be there now, not only when the change is written.
  const auto now = marks(key);
  if (!now) return forward(now);
  auto wanted = *now;
  change.apply(wanted);
  if (wanted == *now) return {};
  if (!pending_) pending_ = Pending{key, {}};
  pending_->change.then(change);
  return {};
}

Result<void> Transaction::flush() {
  if (!pending_) return {};
  const auto pending = std::move(*pending_);
  pending_.reset();
  if (auto done = applyMarks(pending.key, pending.change); !done) {
    return std::unexpected(explain(done.error(), kChanged, pending.key));
  }
  return {};
}

Result<void> Transaction::applyMarks(const MessageKey& key, const MarkChange& change) {
  return store_.withMessage(key, [&](const LocatedMessage& message) -> Result<void> {
    const auto& folder = message.folder.directory;
    auto table = store_.keywords(folder);
    if (!table) return forward(table);
    const auto name = MessageName::parse(message.file.name);
    const auto before = Marks::read(name, *table);
    auto after = before;
    change.apply(after);
    if (after == before) return {};
    table = keywordsFor(folder, after.keywords);
    if (!table) return forward(table);
    const MessageFile file{withMarks(name, after, *table).fileName(), Subfolder::current};
    if (file == message.file) return {};
    JournalRecord record;
    record.kind = JournalRecord::Kind::marks;
    record.from = placeOf(key.mailbox, message);
    record.to = record.from;
    record.to.file = file;
    record.before = before;
    record.after = after;
    if (auto noted = note(record); !noted) return noted;
    if (auto renamed = environment_.files.renameNoReplace(message.path(), file.path(folder)); !renamed) {
      if (!writer_) waiting_.pop_back();
      return renamed;
    }
    store_.noteRename(folder, key.id, file);
    touched_.insert((folder / "cur").string());
    if (message.file.subfolder == Subfolder::fresh) touched_.insert((folder / "new").string());
    return {};
  });
}

Result<MessageKey> Transaction::move(const MessageKey& key, const MailboxKey& destination) {
  if (pending_ && pending_->key != key) {
    if (auto done = flush(); !done) return forward(done);
  }
  const auto found = mailbox(destination);
  if (!found) return std::unexpected(explain(found.error(), "moved", key));
  const auto* to = *found;
  const auto from = mailbox(key.mailbox);
  if (!from) return std::unexpected(explain(from.error(), "moved", key));
  if ((*from)->directory == to->directory) {
    if (auto there = storedMarks(key); !there) return std::unexpected(explain(there.error(), "moved", key));
    if (lastCopied_ != key) ++filed_;
    return key;
  }
  auto moved = relocate(key, *to, {destination.account, to->path}, takePending(key), Mode::move);
  if (!moved) return std::unexpected(explain(moved.error(), "moved", key));
  if (lastCopied_ != key) ++filed_;
  moves_.emplace_back(key, *moved);
  return moved;
}

Result<MessageKey> Transaction::copy(const MessageKey& key, const MailboxKey& destination) {
  if (pending_ && pending_->key != key) {
    if (auto done = flush(); !done) return forward(done);
  }
  const auto found = mailbox(destination);
  if (!found) return std::unexpected(explain(found.error(), "copied", key));
  const auto* to = *found;
  auto copied = relocate(key, *to, {destination.account, to->path}, takePending(key), Mode::copy);
  if (!copied) return std::unexpected(explain(copied.error(), "copied", key));
  if (lastCopied_ != key) ++filed_;
  lastCopied_ = key;
  return copied;
}

Result<Folder> Transaction::makeMailbox(const std::string& account, const std::string& path) {
  if (auto done = flush(); !done) return forward(done);
  const auto owner = store_.account(account);
  if (!owner) return forward(owner);
  JournalRecord record;
  record.kind = JournalRecord::Kind::mailbox;
  record.root = owner->path;
  record.layout = owner->layout;
  auto folders = foldersToMake(environment_.files, owner->path, owner->layout, path);
  if (!folders) return forward(folders);
  record.folders = std::move(*folders);
  auto step = writeStep(record);
  if (!step) return forward(step);
  // A mailbox of which half would be left after a power cut could not be told from somebody else's folder.
  if (auto synced = writer_->sync(); !synced) return forward(synced);
  for (const auto& folder : record.folders) {
    auto made = makeFolder(environment_.files, folder.directory);
    if (made) made = subscribe(environment_, owner->path, owner->layout, folder.path, writer_->token());
    if (!made) {
      return fail(made.error().number, fmt::format("The mailbox “{}” could not be made in “{}”: {}", path,
                                                   owner->name, made.error().message));
    }
  }
  return record.folders.back();
}

Result<void> Transaction::syncTouched() {
  Result<void> result;
  for (const auto& directory : touched_) {
    const auto synced = environment_.files.syncDirectory(directory);
    // A folder that somebody removed meanwhile needs no sync.
    if (!synced && synced.error().number != ENOENT && result) result = synced;
  }
  touched_.clear();
  return result;
}

Result<void> Transaction::commit() {
  auto result = flush();
  // The journal first: what is filed for good can then be taken back after a power cut too.
  if (writer_ && worthKeeping_) {
    if (auto synced = writer_->sync(); !synced && result) result = synced;
  }
  if (auto synced = syncTouched(); !synced && result) result = synced;
  if (writer_) {
    if (!unsettled_) {
      const auto closed = worthKeeping_ ? writer_->become(EntryState::done) : writer_->discard();
      if (!closed && result) result = closed;
    }
    writer_.reset();
  }
  waiting_.clear();
  return result;
}

}  // namespace quillbox::mailclient

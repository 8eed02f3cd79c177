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

std::string filedText(std::size_t count) {
  if (count == 0) return "no message was";
  return count == 1 ? "1 message was" : fmt::format("{} messages were", count);
}

JournalPlace placeOf(const MailboxKey& mailbox, const LocatedMessage& message) {
  return {mailbox, message.folder().directory, message.file};
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

Result<FolderRef> Transaction::mailbox(const MailboxKey& key) {
  const auto known = mailboxes_.find(key);
  if (known != mailboxes_.end()) return known->second;
  auto folder = store_.mailbox(key);
  if (!folder) return forward(folder);
  return mailboxes_[key] = std::make_shared<const Folder>(std::move(*folder));
}

Result<Marks> Transaction::marksOf(const LocatedMessage& message) {
  const auto name = MessageName::parse(message.file.name);
  const auto table = keywordsOf(message.folder().directory, name);
  if (!table) return forward(table);
  return Marks::read(name, **table);
}

Result<const KeywordTable*> Transaction::keywordsOf(const Path& folder, const MessageName& name) {
  const auto known = keywords_.find(folder.native());
  if (known != keywords_.end() && std::ranges::all_of(name.flags, [&](char letter) {
        return letter < 'a' || letter > 'z' || !known->second.nameOf(letter).empty();
      })) {
    return &known->second;
  }
  auto table = store_.keywords(folder);
  if (!table) return forward(table);
  return &(keywords_[folder.native()] = std::move(*table));
}

Result<const KeywordTable*> Transaction::keywordsFor(const Path& folder,
                                                     const std::vector<std::string>& names) {
  const auto hasAll = [&](const KeywordTable& table) {
    return std::ranges::all_of(names,
                               [&](const std::string& name) { return table.letterOf(name).has_value(); });
  };
  const auto known = keywords_.find(folder.native());
  if (known != keywords_.end() && hasAll(known->second)) return &known->second;
  auto table = store_.keywords(folder);
  if (!table) return forward(table);
  if (!hasAll(*table)) {
    const auto journal = writer();
    if (!journal) return forward(journal);
    JournalRecord record;
    record.kind = JournalRecord::Kind::keywords;
    record.to.folder = folder;
    if (auto written = (*journal)->write(record); !written) return forward(written);
    // A lock that a power cut leaves must be known as ours.
    if (auto synced = (*journal)->sync(); !synced) return forward(synced);
    table = requireKeywords(environment_, folder, names, (*journal)->token());
    if (!table) return forward(table);
  }
  return &(keywords_[folder.native()] = std::move(*table));
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
  error.message += fmt::format(" ({} filed before it)", filedText(before));
  return error;
}

MarkChange Transaction::takePending(const MessageKey& key) {
  if (!pending_ || pending_->key != key) return {};
  auto change = std::move(pending_->change);
  pending_.reset();
  return change;
}

void Transaction::expect(const std::vector<MessageKey>& keys) {
  Expected* expected = nullptr;
  for (const MessageKey* before = nullptr; const auto& key : keys) {
    if (before == nullptr || before->mailbox != key.mailbox) expected = &expected_[key.mailbox];
    before = &key;
    if (expected->places.contains(key.id)) continue;
    expected->places.emplace(expected->ids.emplace_back(key.id), expected->places.size());
  }
}

Result<Marks> Transaction::marks(const MessageKey& key) {
  auto marks = withFile(key, [&](const LocatedMessage& message) { return marksOf(message); });
  if (marks && pending_ && pending_->key == key) pending_->change.apply(*marks);
  return marks;
}

Result<void> Transaction::change(const MessageKey& key, const MarkChange& change) {
  if (pending_ && pending_->key != key) {
    if (auto done = flush(); !done) return done;
  }
  // The message has to be there now, not only when the change is written.
  const auto alters = withFile(key, [&](const LocatedMessage& message) -> Result<bool> {
    if (pending_) return true;
    const auto info = infoOf(message.file.name);
    if (!asked_ || asked_->mailbox != message.mailbox || asked_->info != info || asked_->change != change) {
      const auto now = marksOf(message);
      if (!now) return forward(now);
      auto wanted = *now;
      change.apply(wanted);
      asked_ = Asked{message.mailbox, std::string(info), change, wanted != *now};
    }
    return asked_->alters;
  });
  if (!alters) return forward(alters);
  if (pending_) {
    pending_->change.then(change);
  } else if (*alters) {
    pending_ = Pending{key, change};
  }
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
    const auto& folder = message.folder().directory;
    const auto name = MessageName::parse(message.file.name);
    const auto source = keywordsOf(folder, name);
    if (!source) return forward(source);
    const auto before = Marks::read(name, **source);
    auto after = before;
    change.apply(after);
    if (after == before) return {};
    const auto table = keywordsFor(folder, after.keywords);
    if (!table) return forward(table);
    const MessageFile file{withMarks(name, after, **table).fileName(), Subfolder::current,
                           message.file.isLink};
    if (file == message.file) return {};
    JournalRecord record;
    record.kind = JournalRecord::Kind::marks;
    record.from = placeOf(key.mailbox, message);
    record.to = record.from;
    record.to.file = file;
    record.before = before;
    record.after = after;
    if (auto noted = note(record); !noted) return noted;
    if (auto renamed = environment_.files.renameNoReplaceAt(message.nativePath(pathFrom_),
                                                            file.nativePath(folder, pathTo_));
        !renamed) {
      if (!writer_) waiting_.pop_back();
      return renamed;
    }
    store_.noteRename(folder, key.id, file);
    touch(folder, Subfolder::current);
    if (message.file.subfolder == Subfolder::fresh) touch(folder, Subfolder::fresh);
    return {};
  });
}

Result<MessageKey> Transaction::move(const MessageKey& key, const MailboxKey& destination) {
  if (pending_ && pending_->key != key) {
    if (auto done = flush(); !done) return forward(done);
  }
  const auto way = route(key.mailbox, destination);
  if (!way) return std::unexpected(explain(way.error(), "moved", key));
  auto& route = **way;
  if (route.from->directory.native() == route.to->directory.native()) {
    if (auto there = marks(key); !there) return std::unexpected(explain(there.error(), "moved", key));
    if (lastCopied_ != key) ++filed_;
    return key;
  }
  const auto change = takePending(key);
  Result<std::optional<MessageKey>> moved;
  if (plans_ && !route.isApart) moved = moveAsPlanned(key, route, change);
  if (moved && !*moved) moved = relocate(key, *route.to, route.destination, change, Mode::move);
  if (!moved) return std::unexpected(explain(moved.error(), "moved", key));
  if (lastCopied_ != key) ++filed_;
  moves_.emplace_back(key, **moved);
  return **moved;
}

Result<MessageKey> Transaction::copy(const MessageKey& key, const MailboxKey& destination) {
  if (pending_ && pending_->key != key) {
    if (auto done = flush(); !done) return forward(done);
  }
  const auto found = mailbox(destination);
  if (!found) return std::unexpected(explain(found.error(), "copied", key));
  const auto& to = **found;
  auto copied = relocate(key, to, {destination.account, to.path}, takePending(key), Mode::copy);
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

void Transaction::touch(const Path& folder, Subfolder subfolder) {
  // A handful of folders, and nearly always the one of the message before.
  const auto isThis = [&](const auto& known) {
    return known.second == subfolder && known.first == folder.native();
  };
  if (std::ranges::none_of(touched_, isThis)) touched_.emplace_back(folder.native(), subfolder);
}

Result<void> Transaction::syncTouched() {
  Result<void> result;
  for (const auto& [folder, subfolder] : touched_) {
    const auto synced = environment_.files.syncDirectory(MessageFile{"", subfolder}.directory(folder));
    // A folder that somebody removed meanwhile needs no sync.
    if (!synced && synced.error().number != ENOENT && result) result = synced;
  }
  touched_.clear();
  return result;
}

Result<void> Transaction::commit() {
  auto result = flush();
  // What was filed stays filed when the rest cannot be written; the next start, or an undo, closes the entry.
  const auto keep = [&](const Result<void>& done) {
    if (!done && result)
      result =
          fail(done.error().number, fmt::format("{} ({} filed)", done.error().message, filedText(filed_)));
  };
  // The journal first: what is filed for good can then be taken back after a power cut too.
  if (writer_ && worthKeeping_) keep(writer_->sync());
  keep(syncTouched());
  if (writer_) {
    if (!unsettled_) keep(worthKeeping_ ? writer_->become(EntryState::done) : writer_->discard());
    writer_.reset();
  }
  waiting_.clear();
  return result;
}

}  // namespace quillbox::mailclient

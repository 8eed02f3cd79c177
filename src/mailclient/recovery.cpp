#include "mailclient/recovery.h"

#include <algorithm>
#include <cerrno>
#include <set>
#include <utility>
#include <vector>

#include <fmt/format.h>

#include "base/error_numbers.h"
#include "base/text.h"
#include "mailclient/dot_lock.h"
#include "mailclient/mime.h"
#include "mailclient/name_codes.h"

namespace quillbox::mailclient {
namespace {

using Kind = JournalRecord::Kind;

MessageKey keyOf(const JournalPlace& place) {
  return {place.mailbox, place.id()};
}

bool sameBesidesSeen(Marks a, Marks b) {
  std::erase(a.flags, flag::seen);
  std::erase(b.flags, flag::seen);
  return a.flags == b.flags && a.keywords == b.keywords;
}

}  // namespace

Result<std::optional<MessageFile>> Recovery::find(const JournalPlace& place) {
  auto file = store_.find({place.mailbox.path, place.folder}, place.id());
  if (!file && (file.error().number == error_number::mailboxNotFound || file.error().number == ENOTDIR)) {
    return std::nullopt;
  }
  return file;
}

// ---- after a crash ----

Result<Transaction::Moves> Recovery::run() {
  std::optional<Stuck> stuck;
  return run(stuck);
}

Result<Transaction::Moves> Recovery::run(std::optional<Stuck>& last) {
  Transaction::Moves moves;
  for (const auto state : {EntryState::open, EntryState::undoing}) {
    const auto entries = listEntries(environment_, state);
    if (!entries) return forward(entries);
    for (const auto& file : *entries) {
      if (const auto closed = close(file, moves); !closed) {
        environment_.log.error(fmt::format("The filing {} could not be cleaned up yet: {}",
                                           file.filename().string(), closed.error().message));
        if (!last || last->file < file) last = Stuck{file, closed.error()};
      }
    }
  }
  return moves;
}

Result<void> Recovery::close(const Path& file, Transaction::Moves& moves) {
  auto writer = JournalWriter::claim(environment_, file);
  if (!writer) return forward(writer);
  if (*writer == nullptr) return {};
  auto entry = readEntry(environment_, file);
  if (!entry) return entry.error().number == error_number::damagedFile ? Result<void>{} : forward(entry);
  // Without its first line the entry did nothing yet.
  if (entry->token.empty()) return (*writer)->discard();
  if (auto adopted = (*writer)->adopt(*entry); !adopted) return adopted;
  Transaction steps(environment_, store_);
  steps.writer_ = std::move(*writer);

  if (entry->state == EntryState::open) {
    if (auto found = addUnwrittenMoves(*entry, *steps.writer_); !found) return found;
  }
  for (const auto& record : entry->records) removeLeftovers(record, entry->token);
  for (std::size_t number = 0; number < entry->records.size(); ++number) {
    auto& record = entry->records[number];
    // What an undo takes back was settled before it began.
    if (record.isVoid || (entry->state == EntryState::undoing && number < entry->filingRecords())) continue;
    const auto happened = settle(record, steps);
    if (!happened) return forward(happened);
    if (!*happened) {
      record.isVoid = true;
      if (auto written = steps.writer_->voidRecord(number); !written) return written;
      continue;
    }
    if (record.kind == Kind::move) moves.emplace_back(keyOf(record.from), keyOf(record.to));
  }
  environment_.log.info(fmt::format("Cleaned up after an interrupted filing ({})", file.filename().string()));
  if (auto synced = steps.syncTouched(); !synced) return synced;
  if (entry->state == EntryState::undoing) {
    const auto undone = takeBack(*entry, std::move(steps.writer_));
    if (!undone) return forward(undone);
    moves.insert(moves.end(), undone->moves.begin(), undone->moves.end());
    return {};
  }
  return entry->isWorthKeeping() ? steps.writer_->become(EntryState::done) : steps.writer_->discard();
}

Result<void> Recovery::addUnwrittenMoves(JournalEntry& entry, JournalWriter& writer) {
  std::set<std::pair<std::string, std::string>> written;
  std::vector<JournalRecord> plans;
  for (const auto& record : entry.records) {
    if (record.kind == Kind::plan) plans.push_back(record);
    if (record.kind == Kind::move && !record.isVoid) written.emplace(record.from.folder, record.from.id());
  }
  for (const auto& plan : plans) {
    for (const auto& file : plan.files) {
      JournalRecord record;
      record.kind = Kind::move;
      record.from = {plan.from.mailbox, plan.from.folder, file};
      record.to = {plan.to.mailbox, plan.to.folder, file};
      if (written.contains({record.from.folder, record.from.id()})) continue;
      const auto from = find(record.from);
      if (!from) return forward(from);
      const auto to = find(record.to);
      if (!to) return forward(to);
      if (*from && *to) {
        if (auto removed = removeReserved(record, **from, **to); !removed) return removed;
      }
      if (*from || !*to) continue;
      const auto tableThen = store_.keywords(record.from.folder);
      if (!tableThen) return forward(tableThen);
      const auto tableNow = store_.keywords(record.to.folder);
      if (!tableNow) return forward(tableNow);
      record.to.file = **to;
      record.before = Marks::read(MessageName::parse(file.name), *tableThen);
      record.after = Marks::read(MessageName::parse((*to)->name), *tableNow);
      if (auto done = writer.write(record); !done) return forward(done);
      written.emplace(record.from.folder, record.from.id());
      entry.records.push_back(std::move(record));
    }
  }
  return {};
}

Result<void> Recovery::removeReserved(const JournalRecord& record, const MessageFile& from,
                                      const MessageFile& to) {
  const auto path = to.path(record.to.folder);
  const auto message = environment_.files.info(from.path(record.from.folder));
  const auto reserved = environment_.files.info(path, FollowLinks::no);
  if (!message || !reserved || message->size == 0 || reserved->size > 0 ||
      reserved->kind != FileKind::regular) {
    return {};
  }
  store_.forget(record.to.folder);
  return environment_.files.remove(path);
}

void Recovery::removeLeftovers(const JournalRecord& record, const std::string& token) {
  auto& files = environment_.files;
  if (record.kind == Kind::mailbox) {
    DotLock::removeLeftover(files, record.root / "subscriptions", token);
    return;
  }
  if (record.kind == Kind::keywords) removeKeywordLeftovers(files, record.to.folder, token);
  if (!record.draft.empty()) (void)files.remove(record.to.folder / "tmp" / record.draft);
}

Result<bool> Recovery::settle(const JournalRecord& record, Transaction& steps) {
  switch (record.kind) {
    case Kind::move:
      return settleMove(record);
    case Kind::copy:
      return settleCopy(record, steps);
    case Kind::mailbox:
      return settleMailbox(record, steps.writer_->token());
    case Kind::keywords:
    case Kind::plan:
      return true;
    case Kind::marks:
      break;
  }
  const auto file = find(record.from);
  if (!file) return forward(file);
  return *file && (*file)->name != record.from.file.name;
}

Result<bool> Recovery::settleMove(const JournalRecord& record) {
  const auto from = find(record.from);
  if (!from) return forward(from);
  const auto to = find(record.to);
  if (!to) return forward(to);
  if (!*from) return true;
  if (!*to) return false;
  // A rename leaves one of the two: the other is somebody else's message of that name, and the rename was
  // refused.
  if (record.draft.empty()) {
    if (auto removed = removeReserved(record, **from, **to); !removed) return forward(removed);
    return false;
  }
  // Copied and made durable, but the source is still there.
  const auto source = environment_.files.info((*from)->path(record.from.folder));
  const auto copy = environment_.files.info((*to)->path(record.to.folder));
  if (!source || !copy || source->size != copy->size) return false;
  store_.forget(record.from.folder);
  store_.forget(record.to.folder);
  if (environment_.files.remove((*from)->path(record.from.folder))) return true;
  // The source cannot be removed: then the copy goes, and nothing was moved.
  if (auto removed = environment_.files.remove((*to)->path(record.to.folder)); !removed)
    return forward(removed);
  return false;
}

Result<bool> Recovery::settleCopy(const JournalRecord& record, Transaction& steps) {
  const auto to = find(record.to);
  if (!to) return forward(to);
  if (!*to) return false;
  const auto change = MarkChange::between(record.before, record.after);
  if (auto changed = steps.applyMarks(keyOf(record.from), change); !changed) {
    environment_.log.error(
        fmt::format("The original of a copy could not be marked: {}", changed.error().message));
  }
  return true;
}

Result<bool> Recovery::settleMailbox(const JournalRecord& record, const std::string& token) {
  const bool begun = std::ranges::any_of(record.folders, [&](const Folder& folder) {
    return environment_.files.info(folder.directory).has_value();
  });
  if (!begun) return false;
  for (const auto& folder : record.folders) {
    if (auto made = makeFolder(environment_.files, folder.directory); !made) return forward(made);
    if (auto done = subscribe(environment_, record.root, record.layout, folder.path, token); !done) {
      return forward(done);
    }
  }
  return true;
}

// ---- undo ----

Result<UndoReport> Recovery::undoLast() {
  // The last filing may be one whose process died, or could not close its entry.
  std::optional<Stuck> stuck;
  auto closed = run(stuck);
  if (!closed) return forward(closed);
  const auto entries = listEntries(environment_, EntryState::done);
  if (!entries) return forward(entries);
  for (auto file = entries->rbegin(); file != entries->rend(); ++file) {
    if (stuck && *file < stuck->file) break;
    auto writer = JournalWriter::claim(environment_, *file);
    if (!writer) return forward(writer);
    if (*writer == nullptr) return fail(EBUSY, "The last filing is being taken back already");
    const auto entry = readEntry(environment_, *file);
    if (!entry && entry.error().number == error_number::damagedFile) {
      // Not the filing before it instead: that would not be what was asked for.
      return fail(error_number::damagedFile,
                  fmt::format("The last filing can’t be taken back, as its journal entry is damaged: {}",
                              entry.error().message));
    }
    if (!entry) return forward(entry);
    if (!entry->holdsFiling()) continue;
    if (auto adopted = (*writer)->adopt(*entry); !adopted) return forward(adopted);
    if (auto begun = (*writer)->beginUndo(); !begun) return forward(begun);
    if (auto marked = (*writer)->become(EntryState::undoing); !marked) return forward(marked);
    auto report = takeBack(*entry, std::move(*writer));
    if (report) report->moves.insert(report->moves.begin(), closed->begin(), closed->end());
    return report;
  }
  if (stuck) {
    return fail(stuck->error.number,
                fmt::format("The last filing can’t be taken back now: {}", stuck->error.message));
  }
  return fail(error_number::nothingMatches, "There is no filing to take back");
}

Result<UndoReport> Recovery::takeBack(const JournalEntry& entry, std::unique_ptr<JournalWriter> writer) {
  UndoReport report;
  Transaction steps(environment_, store_);
  steps.writer_ = std::move(writer);
  steps.plans_ = false;
  std::optional<MessageKey> lastHome;
  for (auto number = entry.filingRecords(); number > 0; --number) {
    const auto& record = entry.records[number - 1];
    if (record.isVoid || record.kind == Kind::mailbox || record.kind == Kind::keywords ||
        record.kind == Kind::plan) {
      continue;
    }
    const auto done = takeBack(record, steps);
    if (!done) {
      // One message that cannot be taken back must not keep the others.
      report.kept.push_back(fmt::format("The message “{}” could not be taken back from “{}”: {}",
                                        describe(record), readableBytes(record.to.mailbox.path),
                                        done.error().message));
    } else if (record.kind != Kind::marks) {
      // One that was copied and then moved, as archiving does, is one message.
      auto home = keyOf(record.from);
      if (lastHome != home) ++report.count;
      lastHome = std::move(home);
    }
  }
  writer = std::move(steps.writer_);
  if (auto synced = steps.commit(); !synced) return forward(synced);
  report.moves = steps.moves();
  if (auto discarded = writer->discard(); !discarded) return forward(discarded);
  return report;
}

std::string Recovery::describe(const JournalRecord& record) {
  for (const auto& place : {record.to, record.from}) {
    const auto index = store_.listed({place.mailbox.path, place.folder});
    const auto* file = index ? (*index)->find(place.id()) : nullptr;
    if (file == nullptr) continue;
    const auto block = readHeaderBlock(environment_.files, file->path(place.folder));
    if (!block) continue;
    if (const auto subject = summarize(*block).subject; !subject.empty()) return text::singleLine(subject);
  }
  return text::singleLine(readableBytes(record.from.id()));
}

Result<void> Recovery::takeBack(const JournalRecord& record, Transaction& steps) {
  const auto inverse = MarkChange::between(record.after, record.before);
  if (record.kind == Kind::marks) {
    const auto there = find(record.from);
    return there && *there ? steps.applyMarks(keyOf(record.from), inverse) : Result<void>{};
  }
  if (record.kind == Kind::copy) {
    if (auto removed = removeCopy(record); !removed) return removed;
    return steps.applyMarks(keyOf(record.from), inverse);
  }
  const auto there = find(record.to);
  if (!there) return forward(there);
  if (!*there) {
    const auto back = find(record.from);
    if (back && *back) return {};
    return fail(error_number::messageNotFound, "it was moved or deleted since");
  }
  const Folder home{record.from.mailbox.path, record.from.folder};
  auto moved = steps.relocate(keyOf(record.to), home, record.from.mailbox, inverse, Transaction::Mode::move);
  if (!moved) return forward(moved);
  steps.moves_.emplace_back(keyOf(record.to), *moved);
  return {};
}

Result<void> Recovery::removeCopy(const JournalRecord& record) {
  const auto copy = find(record.to);
  if (!copy) return forward(copy);
  if (!*copy) return fail(error_number::messageNotFound, "it was moved or deleted since");
  const auto original = find(record.from);
  if (!original) return forward(original);
  if (!*original) return fail(error_number::messageNotFound, "its original was moved or deleted since");
  const auto table = store_.keywords(record.to.folder);
  if (!table) return forward(table);
  if (!sameBesidesSeen(Marks::read(MessageName::parse((*copy)->name), *table), record.after)) {
    return fail(error_number::messageNotFound, "it was changed since");
  }
  if (auto removed = environment_.files.remove((*copy)->path(record.to.folder)); !removed) return removed;
  store_.noteRemoval(record.to.folder, record.to.id());
  return environment_.files.syncDirectory(record.to.folder / "cur");
}

}  // namespace quillbox::mailclient

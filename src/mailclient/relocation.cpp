// How a transaction brings one message to another folder. The order of the steps is what keeps the message
// whole under some name at every instant:
//
// - same file system: the plan in the journal, synced once for all messages expected; then a rename
// - the name is taken: journal, synced; rename to another name
// - another file system: journal, synced; tmp/draft written and synced; rename into cur/, synced; then the
//   source is removed
// - a copy: the same, and the marks of the original instead of the last step
//
// Every rename is one that never replaces.
#include <algorithm>
#include <cerrno>

#include <fmt/format.h>

#include "base/error_numbers.h"
#include "mailclient/name_codes.h"
#include "mailclient/transaction.h"

namespace quillbox::mailclient {
namespace {

constexpr std::uint64_t kPiece = 1 << 20;
constexpr int kAttempts = 8;
constexpr std::size_t kTranslations = 64;

std::unexpected<Error> goneFailure(const Folder& folder) {
  return fail(error_number::mailboxNotFound, fmt::format("The mailbox “{}” is gone", folder.path));
}

// A link whose target is told from where the link is: in another folder it would point to something else, so
// that its message goes there as a file.
bool pointsNearby(FileSystem& files, const LocatedMessage& message) {
  if (!message.file.isLink) return false;
  const auto target = files.readLink(message.path());
  return target && target->is_relative();
}

bool isVanishedFolder(FileSystem& files, const Path& folder) {
  const auto cur = files.info(folder / "cur");
  return !cur && (cur.error().number == ENOENT || cur.error().number == ENOTDIR);
}

}  // namespace

std::string Transaction::freshName(const FileInfo& info, const std::string& model) {
  const auto seconds = std::chrono::duration_cast<std::chrono::seconds>(info.modified).count();
  return freshBase(std::max<std::int64_t>(seconds, 0), environment_.token(), model);
}

Result<Transaction::Route*> Transaction::route(const MailboxKey& from, const MailboxKey& to) {
  if (lastRoute_ != routes_.end() && lastRoute_->first.first == from && lastRoute_->first.second == to) {
    return &lastRoute_->second;
  }
  lastRoute_ = routes_.find({from, to});
  if (lastRoute_ != routes_.end()) return &lastRoute_->second;
  const auto destination = mailbox(to);
  if (!destination) return forward(destination);
  const auto source = mailbox(from);
  if (!source) return forward(source);
  Route route;
  route.from = *source;
  route.to = *destination;
  route.destination = {to.account, (*destination)->path};
  const auto expected = expected_.find(from);
  if (expected != expected_.end()) route.expected = &expected->second;
  lastRoute_ = routes_.emplace(std::pair(from, to), std::move(route)).first;
  return &lastRoute_->second;
}

Result<void> Transaction::plan(const MailboxKey& from, Route& route, std::string_view id,
                               const MessageFile& file) {
  std::optional<std::size_t> place;
  if (route.expected != nullptr) {
    if (const auto known = route.expected->places.find(id); known != route.expected->places.end()) {
      place = known->second;
      if (*place < route.plannedExpected.size() && route.plannedExpected[*place]) return {};
    }
  }
  if (!place && route.planned.contains(id)) return {};

  JournalRecord record;
  record.kind = JournalRecord::Kind::plan;
  record.from = {from, route.from->directory, {}};
  record.to = {route.destination, route.to->directory, {}};
  auto planned = route.plannedExpected;
  if (place) {
    const auto index = store_.listed(*route.from);
    if (!index) return forward(index);
    planned.resize(route.expected->ids.size());
    for (std::size_t i = 0; i < planned.size(); ++i) {
      if (planned[i]) continue;
      const auto* found = i == *place ? &file : (*index)->find(route.expected->ids[i]);
      if (found == nullptr) continue;
      record.files.push_back(*found);
      planned[i] = true;
    }
  } else {
    record.files.push_back(file);
  }
  const auto journal = writer();
  if (!journal) return forward(journal);
  if (auto written = (*journal)->write(record); !written) return forward(written);
  if (auto synced = (*journal)->sync(); !synced) return synced;
  if (place) {
    route.plannedExpected = std::move(planned);
  } else {
    route.planned.emplace(id);
  }
  return {};
}

Result<const Transaction::Translation*> Transaction::translate(const MailboxKey& from, Route& route,
                                                               std::string_view fileName,
                                                               const MarkChange& change) {
  const auto info = infoOf(fileName);
  const auto known = std::ranges::find_if(route.translations, [&](const Translation& translation) {
    return translation.info == info && translation.change == change;
  });
  if (known != route.translations.end()) return &*known;

  const auto name = MessageName::parse(fileName);
  const auto table = keywordsOf(route.from->directory, name);
  if (!table) return forward(table);
  MoveGroup group;
  group.from = {from, route.from->directory, {}};
  group.to = {route.destination, route.to->directory, {}};
  group.before = Marks::read(name, **table);
  group.after = group.before;
  change.apply(group.after);
  const auto letters = keywordsFor(route.to->directory, group.after.keywords);
  if (!letters) return forward(letters);
  auto target = withMarks(name, group.after, **letters);
  target.base.clear();
  if (route.translations.size() == kTranslations) route.translations.clear();
  route.translations.push_back(
      {std::string(info), change, target.fileName(), std::make_shared<const MoveGroup>(std::move(group))});
  return &route.translations.back();
}

Result<std::optional<MessageKey>> Transaction::moveAsPlanned(const MessageKey& key, Route& route,
                                                             const MarkChange& change) {
  const auto moveOne = [&](const LocatedMessage& source) -> Result<std::optional<MessageKey>> {
    if (pointsNearby(environment_.files, source)) return std::nullopt;
    const auto translation = translate(key.mailbox, route, source.file.name, change);
    if (!translation) {
      if (isVanishedFolder(environment_.files, route.to->directory)) return goneFailure(*route.to);
      return forward(translation);
    }
    if (auto known = plan(key.mailbox, route, key.id, source.file); !known) return forward(known);
    // With no room for what was done nothing more is.
    if (auto written = writer_->writeFull(); !written) return forward(written);
    MessageFile target{withoutUid(baseOf(source.file.name)) + (*translation)->result, Subfolder::current,
                       source.file.isLink};
    const auto renamed = environment_.files.renameNoReplaceAt(
        source.nativePath(pathFrom_), target.nativePath(route.to->directory, pathTo_));
    if (!renamed) {
      if (renamed.error().number == EEXIST) return std::nullopt;
      route.isApart = renamed.error().number == EXDEV;
      if (route.isApart) return std::nullopt;
      if (renamed.error().number == ENOENT && isVanishedFolder(environment_.files, route.to->directory)) {
        return goneFailure(*route.to);
      }
      return forward(renamed);
    }
    worthKeeping_ = true;
    writer_->noteMoved((*translation)->group, source.file, target.name);
    touch(route.from->directory, source.file.subfolder);
    touch(route.to->directory, Subfolder::current);
    store_.noteRemoval(route.from->directory, key.id);
    store_.noteRename(route.to->directory, key.id, std::move(target));
    return MessageKey{route.destination, key.id};
  };
  return store_.withMessage(key, moveOne, route.from);
}

Result<MessageKey> Transaction::relocate(const MessageKey& key, const Folder& to,
                                         const MailboxKey& destination, const MarkChange& change, Mode mode) {
  const auto relocateOne = [&](const LocatedMessage& source) -> Result<MessageKey> {
    const auto name = MessageName::parse(source.file.name);
    const auto table = keywordsOf(source.folder().directory, name);
    if (!table) return forward(table);
    Step step;
    step.record.kind = mode == Mode::move ? JournalRecord::Kind::move : JournalRecord::Kind::copy;
    step.record.from = {key.mailbox, source.folder().directory, source.file};
    step.record.before = Marks::read(name, **table);
    step.record.after = step.record.before;
    change.apply(step.record.after);
    const auto letters = keywordsFor(to.directory, step.record.after.keywords);
    if (!letters) {
      if (isVanishedFolder(environment_.files, to.directory)) {
        return goneFailure(to);
      }
      return forward(letters);
    }
    auto target = withMarks(name, step.record.after, **letters);
    const auto renewName = [&]() -> Result<void> {
      const auto info = environment_.files.info(source.path());
      if (!info) return forward(info);
      target.base = freshName(*info, source.file.name);
      return {};
    };
    target.base = withoutUid(name.base);
    if (mode == Mode::copy) {
      if (auto renewed = renewName(); !renewed) return forward(renewed);
    }
    step.record.to = {destination, to.directory, {target.fileName(), Subfolder::current, source.file.isLink}};

    Result<MessageFile> placed = fail(EEXIST, "");
    for (int attempt = 0; attempt < kAttempts; ++attempt) {
      placed = place(source, step, mode);
      if (placed || placed.error().number != EEXIST) break;
      // Somebody else's message has this name: never onto it.
      if (auto renewed = renewName(); !renewed) return forward(renewed);
      step.record.to.file.name = target.fileName();
    }
    if (!placed) {
      if (placed.error().number == ENOENT && isVanishedFolder(environment_.files, to.directory)) {
        return goneFailure(to);
      }
      return forward(placed);
    }
    MessageKey moved{destination, stableId(placed->name)};
    if (mode == Mode::copy) {
      // The original is marked after its copy is safe, so that a full disk leaves it untouched.
      if (auto marked = applyMarks(key, change); !marked) {
        if (environment_.files.remove(placed->path(to.directory))) {
          giveUp(step);
        } else {
          unsettled_ = true;
        }
        return forward(marked);
      }
    } else {
      store_.noteRemoval(source.folder().directory, key.id);
      touch(source.folder().directory, source.file.subfolder);
    }
    store_.noteRename(to.directory, moved.id, *placed);
    touch(to.directory, placed->subfolder);
    return moved;
  };
  const auto from = mailboxes_.find(key.mailbox);
  return store_.withMessage(key, relocateOne, from == mailboxes_.end() ? nullptr : from->second);
}

Result<MessageFile> Transaction::place(const LocatedMessage& source, Step& step, Mode mode) {
  const std::pair folders(source.folder().directory.string(), step.record.to.folder.string());
  if (mode == Mode::copy || apart_.contains(folders) || pointsNearby(environment_.files, source)) {
    return placeByCopy(source, step, mode);
  }
  auto written = writeStep(step.record);
  if (!written) return forward(written);
  const auto& target = step.record.to.file;
  if (plans_) {
    if (auto synced = writer_->sync(); !synced) return forward(synced);
  }
  const auto renamed = environment_.files.renameNoReplaceAt(
      source.nativePath(pathFrom_), target.nativePath(step.record.to.folder, pathTo_));
  if (renamed) return target;
  giveUp(*written);
  if (renamed.error().number != EXDEV) return forward(renamed);
  apart_.insert(folders);
  return placeByCopy(source, step, mode);
}

Result<MessageFile> Transaction::placeByCopy(const LocatedMessage& source, Step& step, Mode mode) {
  auto& files = environment_.files;
  const auto info = files.info(source.path());
  if (!info) return forward(info);
  step.record.draft = freshName(*info, source.file.name);
  auto written = writeStep(step.record);
  if (!written) return forward(written);
  step.number = written->number;
  const auto draft = step.record.to.folder / "tmp" / step.record.draft;
  auto target = step.record.to.file;
  const auto failed = [&](const Error& error) -> std::unexpected<Error> {
    (void)files.remove(draft);
    giveUp(*written);
    return std::unexpected(error);
  };
  // From here on the message may exist twice: the journal has to know on the disk.
  if (auto synced = writer_->sync(); !synced) return failed(synced.error());
  const MessageKey key{step.record.from.mailbox, step.record.from.id()};
  if (auto done = writeDraft(key, draft, *info); !done) return failed(done.error());
  if (auto renamed = files.renameNoReplace(draft, target.path(step.record.to.folder)); !renamed) {
    return failed(renamed.error());
  }
  const auto cur = step.record.to.folder / "cur";
  const auto takeBack = [&](const Error& error) {
    if (files.remove(target.path(step.record.to.folder))) {
      giveUp(*written);
    } else {
      unsettled_ = true;
    }
    return std::unexpected(error);
  };
  if (auto synced = files.syncDirectory(cur); !synced) return takeBack(synced.error());
  if (mode == Mode::copy) return target;
  if (auto removed = removeSource(*written); !removed) return takeBack(removed.error());
  return target;
}

Result<void> Transaction::writeDraft(const MessageKey& source, const Path& draft, const FileInfo& info) {
  auto& files = environment_.files;
  auto out = files.create(draft, CreateMode::exclusive, (info.permissions & 0777) | 0600);
  if (!out) return forward(out);
  for (std::uint64_t offset = 0; offset < info.size;) {
    // The message may be renamed under our feet; its bytes never change.
    const auto piece = store_.withMessage(source, [&](const LocatedMessage& message) {
      return files.readRange(message.path(), offset, kPiece);
    });
    if (!piece) return forward(piece);
    if (piece->empty()) {
      return fail(EIO, fmt::format("{} is shorter than the {} bytes that it had", readableBytes(source.id),
                                   info.size));
    }
    if (auto done = (*out)->write(*piece); !done) return done;
    offset += piece->size();
  }
  if (auto done = files.setModified(draft, info.modified); !done) return done;
  if (auto done = (*out)->sync(); !done) return done;
  return (*out)->close();
}

Result<void> Transaction::removeSource(const Step& step) {
  const MessageKey key{step.record.from.mailbox, step.record.from.id()};
  const auto& to = step.record.to;
  return store_.withMessage(key, [&](const LocatedMessage& message) -> Result<void> {
    auto& files = environment_.files;
    if (message.file.name != step.record.from.file.name) {
      // Another reader has changed the marks meanwhile: the copy gets its changes too.
      const auto table = store_.keywords(message.folder().directory);
      if (!table) return forward(table);
      const auto now = Marks::read(MessageName::parse(message.file.name), *table);
      const MessageKey copied{to.mailbox, stableId(to.file.name)};
      store_.noteRename(to.folder, copied.id, to.file);
      if (auto done = applyMarks(copied, MarkChange::between(step.record.before, now)); !done) return done;
    }
    return files.remove(message.path());
  });
}

}  // namespace quillbox::mailclient

#include "mailclient/journal.h"

#include <algorithm>
#include <cerrno>
#include <charconv>
#include <span>

#include <fmt/format.h>

#include "base/error_numbers.h"
#include "mailclient/journal_codec.h"
#include "mailclient/message_name.h"

namespace quillbox::mailclient {
namespace {

constexpr std::uint64_t kLargestEntry = 512 << 20;
constexpr std::size_t kKeptEntries = 200;
constexpr std::size_t kMuch = 16 << 10;  // bytes: a hundred moves or two

Path journalFolder(const Environment& environment) {
  return environment.directory / "journal";
}

std::string_view extensionOf(EntryState state) {
  switch (state) {
    case EntryState::open:
      return ".open";
    case EntryState::done:
      return ".done";
    case EntryState::undoing:
      return ".undo";
  }
  return "";
}

std::optional<EntryState> stateOf(const Path& file) {
  for (const auto state : {EntryState::open, EntryState::done, EntryState::undoing}) {
    if (file.extension() == extensionOf(state)) return state;
  }
  return std::nullopt;
}

// The number with which an entry's name begins; entries count upwards however the clock jumps.
std::uint64_t orderOf(const Path& file) {
  const auto name = file.filename().string();
  std::uint64_t order = 0;
  std::from_chars(name.data(), name.data() + name.size(), order, 16);
  return order;
}

Result<std::vector<Path>> everyEntry(const Environment& environment) {
  std::vector<Path> entries;
  const auto folder = journalFolder(environment);
  const auto listed = environment.files.list(folder, [&](std::string_view name, FileKind kind) {
    if (kind == FileKind::regular && stateOf(Path(name))) entries.push_back(folder / name);
    return true;
  });
  if (!listed && listed.error().number != ENOENT) return forward(listed);
  std::ranges::sort(entries, {}, [](const Path& path) { return std::pair(orderOf(path), path.string()); });
  return entries;
}

}  // namespace

std::string JournalPlace::id() const {
  return stableId(file.name);
}

bool JournalEntry::holdsFiling() const {
  const auto filing = std::span(records).first(filingRecords());
  return std::ranges::any_of(filing, [](const JournalRecord& record) {
    return !record.isVoid &&
           (record.kind == JournalRecord::Kind::move || record.kind == JournalRecord::Kind::copy);
  });
}

bool JournalEntry::isWorthKeeping() const {
  return std::ranges::any_of(records, [](const JournalRecord& record) {
    return !record.isVoid && record.kind != JournalRecord::Kind::plan &&
           record.kind != JournalRecord::Kind::marks && record.kind != JournalRecord::Kind::keywords;
  });
}

Result<std::vector<Path>> listEntries(const Environment& environment, EntryState state) {
  auto entries = everyEntry(environment);
  if (entries) std::erase_if(*entries, [&](const Path& path) { return stateOf(path) != state; });
  return entries;
}

Result<JournalEntry> readEntry(const Environment& environment, const Path& file) {
  const auto text = environment.files.read(file, kLargestEntry);
  if (!text) return forward(text);
  auto entry = decodeEntry(*text, file.filename().string());
  if (!entry) {
    const auto aside = keepDamagedFileAside(environment.files, file);
    if (!aside) return forward(aside);
    environment.log.error(fmt::format("A journal entry could not be read and was kept as {}: {}",
                                      aside->string(), entry.error().message));
    return entry;
  }
  entry->file = file;
  entry->state = stateOf(file).value_or(EntryState::open);
  return entry;
}

JournalWriter::~JournalWriter() {
  // Without these lines recovery has the plan.
  if (out_) (void)writeMoves();
}

Result<std::unique_ptr<JournalWriter>> JournalWriter::begin(const Environment& environment) {
  const auto folder = journalFolder(environment);
  if (!environment.files.info(folder)) {
    if (auto made = makeDirectories(environment.files, folder, 0700); !made) return forward(made);
    if (auto synced = environment.files.syncDirectory(environment.directory); !synced) return forward(synced);
  }
  const auto entries = everyEntry(environment);
  if (!entries) return forward(entries);
  auto order = static_cast<std::uint64_t>(std::max<std::int64_t>(environment.clock.now().count(), 1));
  if (!entries->empty()) order = std::max(order, orderOf(entries->back()) + 1);
  std::size_t done = 0;
  for (auto entry = entries->rbegin(); entry != entries->rend(); ++entry) {
    if (stateOf(*entry) == EntryState::done && ++done > kKeptEntries) (void)environment.files.remove(*entry);
  }
  const auto token = environment.token();
  const Path file = folder / fmt::format("{:016x}-{}.open", order, token.substr(0, 8));
  std::unique_ptr<JournalWriter> writer(new JournalWriter(environment, file, token));
  auto lock = environment.files.lock(file, std::chrono::milliseconds(0));
  if (!lock) return forward(lock);
  writer->lock_ = std::move(*lock);
  auto out = environment.files.create(file, CreateMode::append, 0600);
  if (!out) {
    (void)environment.files.remove(file);
    return forward(out);
  }
  writer->out_ = std::move(*out);
  if (auto written = writer->append(encodeHead(token, environment.clock.now())); !written) {
    (void)environment.files.remove(file);
    return forward(written);
  }
  return writer;
}

Result<std::unique_ptr<JournalWriter>> JournalWriter::claim(const Environment& environment,
                                                            const Path& file) {
  std::unique_ptr<JournalWriter> writer(new JournalWriter(environment, file, ""));
  auto lock = environment.files.lock(file, std::chrono::milliseconds(0));
  if (!lock) {
    if (lock.error().number == ETIMEDOUT) return nullptr;
    return forward(lock);
  }
  writer->lock_ = std::move(*lock);
  return writer;
}

Result<void> JournalWriter::adopt(const JournalEntry& entry) {
  auto out = environment_.files.create(file_, CreateMode::append, 0600);
  if (!out) return forward(out);
  out_ = std::move(*out);
  token_ = entry.token;
  next_ = entry.records.size();
  isNamed_ = true;
  // A torn last line is ended, and the empty line behind it says that it is torn.
  return append("\n\n");
}

Result<void> JournalWriter::append(const std::string& lines) {
  if (auto written = writeMoves(); !written) return written;
  return put(lines);
}

Result<void> JournalWriter::put(const std::string& lines) {
  if (failure_) return std::unexpected(*failure_);
  auto written = out_->write(lines);
  if (written) return written;
  // Nobody knows how much of it is there, so nothing can follow: recovery looks and goes on.
  failure_ = Error{written.error().number,
                   fmt::format("The journal of filings can’t be written: {}", written.error().message)};
  return std::unexpected(*failure_);
}

void JournalWriter::noteMoved(const std::shared_ptr<const MoveGroup>& group, const MessageFile& from,
                              const std::string& toName) {
  if (group_ != group) {
    endMoves();
    moves_ += encodeMovesHead(*group);
    group_ = group;
  } else {
    moves_ += ',';
  }
  encodeMove(from, toName, moves_);
  ++next_;
}

void JournalWriter::endMoves() {
  if (group_ == nullptr) return;
  moves_ += encodeMovesEnd();
  group_.reset();
}

Result<void> JournalWriter::writeMoves() {
  endMoves();
  if (moves_.empty()) return {};
  auto written = put(moves_);
  if (written) moves_.clear();
  return written;
}

Result<void> JournalWriter::writeFull() {
  return moves_.size() < kMuch ? Result<void>{} : writeMoves();
}

Result<std::size_t> JournalWriter::write(const JournalRecord& record) {
  if (auto written = append(encodeRecord(record)); !written) return forward(written);
  return next_++;
}

Result<void> JournalWriter::voidRecord(std::size_t number) {
  return append(encodeVoid(number));
}

Result<void> JournalWriter::beginUndo() {
  return append(encodeUndo());
}

Result<void> JournalWriter::sync() {
  if (auto written = writeMoves(); !written) return written;
  if (auto synced = out_->sync(); !synced) return synced;
  if (isNamed_) return {};
  auto named = environment_.files.syncDirectory(file_.parent_path());
  isNamed_ = named.has_value();
  return named;
}

Result<void> JournalWriter::become(EntryState state) {
  if (auto done = sync(); !done) return done;
  Path next = file_;
  next.replace_extension(extensionOf(state));
  if (auto renamed = environment_.files.renameNoReplace(file_, next); !renamed) return renamed;
  file_ = next;
  return environment_.files.syncDirectory(file_.parent_path());
}

Result<void> JournalWriter::discard() {
  moves_.clear();
  group_.reset();
  if (out_) (void)out_->close();
  return environment_.files.remove(file_);
}

}  // namespace quillbox::mailclient

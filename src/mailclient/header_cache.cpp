#include "mailclient/header_cache.h"

#include <algorithm>
#include <cerrno>
#include <cstring>
#include <optional>
#include <utility>
#include <vector>

#include <fmt/format.h>

#include "mailclient/message_name.h"

namespace quillbox::mailclient {
namespace {

// The file: magic; checksum of everything behind it (8 bytes); length of the folder's path (4) and the path;
// then for each message the hash of its id (8), the length of its entry (4) and the entry. Numbers are little
// endian.
constexpr std::string_view kMagic = "QBHEAD02";
constexpr std::string_view kFormerMagic = "QBHEAD01";  // did not know what messages answer
constexpr std::uint64_t kLargest = 1ULL << 30;

std::uint64_t hashOf(std::string_view bytes) {
  std::uint64_t hash = 0xcbf29ce484222325ULL;  // FNV-1a
  for (const char c : bytes) {
    hash ^= static_cast<unsigned char>(c);
    hash *= 0x100000001b3ULL;
  }
  return hash;
}

// As hashOf, eight bytes at a time.
std::uint64_t checksumOf(std::string_view bytes) {
  std::uint64_t sum = bytes.size();
  while (bytes.size() >= 8) {
    std::uint64_t word = 0;
    std::memcpy(&word, bytes.data(), 8);
    sum = (sum ^ word) * 0x9e3779b97f4a7c15ULL;
    sum ^= sum >> 32;
    bytes.remove_prefix(8);
  }
  return sum ^ hashOf(bytes);
}

template <class Number>
void put(std::string& out, Number value, std::size_t bytes = sizeof(Number)) {
  for (std::size_t i = 0; i < bytes; ++i) {
    out += static_cast<char>(static_cast<std::uint64_t>(value) >> (8 * i) & 0xff);
  }
}

void putText(std::string& out, std::string_view text) {
  put(out, static_cast<std::uint32_t>(text.size()));
  out += text;
}

class Input {
 public:
  explicit Input(std::string_view bytes) : bytes_(bytes) {}

  template <class Number>
  Number number(std::size_t bytes = sizeof(Number)) {
    const auto part = take(bytes);
    std::uint64_t value = 0;
    for (std::size_t i = 0; i < part.size(); ++i) {
      value |= static_cast<std::uint64_t>(static_cast<unsigned char>(part[i])) << (8 * i);
    }
    return static_cast<Number>(value);
  }
  std::string_view text() { return take(number<std::uint32_t>()); }
  std::string_view take(std::size_t length) {
    if (length > bytes_.size()) {
      good_ = false;
      bytes_ = {};
      return {};
    }
    const auto part = bytes_.substr(0, length);
    bytes_.remove_prefix(length);
    return part;
  }
  bool good() const { return good_; }
  bool atEnd() const { return bytes_.empty(); }
  std::size_t left() const { return bytes_.size(); }

 private:
  std::string_view bytes_;
  bool good_ = true;
};

constexpr std::size_t kIdBytes = 6;  // of hashMessageId()

std::string encode(const CachedHeaders& headers) {
  std::string out;
  put(out, headers.received);
  put(out, headers.size);
  put(out, static_cast<std::uint8_t>(headers.summary.sent ? 1 : 0));
  put(out, headers.summary.sent.value_or(0));
  putText(out, headers.summary.messageId);
  putText(out, headers.summary.sender);
  putText(out, headers.summary.subject);
  // As many as there are.
  for (const auto id : headers.summary.references) {
    if (id != 0) put(out, id, kIdBytes);
  }
  return out;
}

std::optional<CachedHeaders> decode(std::string_view bytes) {
  Input in(bytes);
  CachedHeaders headers;
  headers.received = in.number<std::int64_t>();
  headers.size = in.number<std::uint64_t>();
  const bool dated = in.number<std::uint8_t>() != 0;
  const auto sent = in.number<std::int64_t>();
  if (dated) headers.summary.sent = sent;
  headers.summary.messageId = std::string(in.text());
  headers.summary.sender = std::string(in.text());
  headers.summary.subject = std::string(in.text());
  for (auto& id : headers.summary.references) {
    if (!in.atEnd()) id = in.number<std::uint64_t>(kIdBytes);
  }
  if (!in.good()) return std::nullopt;
  return headers;
}

}  // namespace

Path HeaderCache::fileOf(std::string_view folder) const {
  return environment_.directory / "cache" / fmt::format("{:016x}.headers", hashOf(folder));
}

HeaderCache::FolderHeaders& HeaderCache::open(const Path& folder) {
  const auto place = std::ranges::find(folders_, folder.string(), &FolderHeaders::folder);
  if (place != folders_.end()) {
    folders_.splice(folders_.begin(), folders_, place);
  } else {
    folders_.push_front({folder.string(), {}, {}, 0, false});
    if (folders_.size() > kFolders) folders_.pop_back();
  }
  return folders_.front();
}

const std::size_t* HeaderCache::Offsets::find(std::uint64_t id) const {
  if (const auto latest = latest_.find(id); latest != latest_.end()) return &latest->second;
  const auto place = std::ranges::lower_bound(sorted_, id, {}, &std::pair<std::uint64_t, std::size_t>::first);
  return place != sorted_.end() && place->first == id ? &place->second : nullptr;
}

void HeaderCache::Offsets::set(std::uint64_t id, std::size_t offset) {
  latest_[id] = offset;
  if (latest_.size() > 1024 + sorted_.size() / 4) pack();
}

void HeaderCache::Offsets::pack() {
  if (latest_.empty()) return;
  std::erase_if(sorted_, [&](const auto& entry) { return latest_.contains(entry.first); });
  sorted_.insert(sorted_.end(), latest_.begin(), latest_.end());
  latest_.clear();
  std::ranges::sort(sorted_);
  sorted_.shrink_to_fit();
}

void HeaderCache::load(FolderHeaders& headers) {
  headers.loaded = true;
  const auto file = fileOf(headers.folder);
  const auto bytes = environment_.files.read(file, kLargest);
  if (!bytes) {
    if (bytes.error().number != ENOENT) {
      environment_.log.error(fmt::format("A cache of headers can’t be used: {}", bytes.error().message));
    }
    return;
  }
  // One of the version before is replaced by the next save.
  if (bytes->starts_with(kFormerMagic) || take(headers, *bytes)) return;
  if (const auto aside = keepDamagedFileAside(environment_.files, file)) {
    environment_.log.error(fmt::format(
        "A cache of headers could not be read and was kept as {}; it is made anew", aside->string()));
  }
}

bool HeaderCache::take(FolderHeaders& headers, std::string_view bytes) {
  if (!bytes.starts_with(kMagic)) return false;
  Input in(bytes.substr(kMagic.size()));
  const auto checksum = in.number<std::uint64_t>();
  const auto rest = bytes.substr(bytes.size() - in.left());
  if (!in.good() || checksumOf(rest) != checksum) return false;
  // Two folders may share a file's name; the one that wrote it last has it.
  if (in.text() != headers.folder) return true;
  headers.entries.reserve(headers.entries.size() + rest.size());
  while (in.good() && !in.atEnd()) {
    const auto id = in.number<std::uint64_t>();
    const auto entry = in.text();
    if (!in.good()) return false;
    if (headers.offsets.find(id) != nullptr) continue;
    headers.offsets.set(id, headers.entries.size());
    putText(headers.entries, entry);
  }
  headers.offsets.pack();
  return true;
}

void HeaderCache::expect(const Path& folder, std::size_t count) {
  auto& headers = open(folder);
  if (count > kMany && !headers.loaded) load(headers);
}

Result<CachedHeaders> HeaderCache::get(const Path& folder, const MessageFile& file) {
  auto& headers = open(folder);
  const auto id = hashOf(stableId(file.name));
  if (const auto* known = headers.offsets.find(id)) {
    Input in(std::string_view(headers.entries).substr(*known));
    if (auto decoded = decode(in.text())) return *decoded;
  }
  const auto path = file.path(folder);
  const auto info = environment_.files.info(path);
  if (!info) return forward(info);
  const auto block = readHeaderBlock(environment_.files, path);
  if (!block) return forward(block);
  CachedHeaders read;
  read.summary = summarize(*block);
  read.received = std::chrono::floor<std::chrono::seconds>(info->modified).count();
  read.size = info->size;
  headers.offsets.set(id, headers.entries.size());
  putText(headers.entries, encode(read));
  ++headers.unsaved;
  return read;
}

void HeaderCache::removeDrafts() {
  const auto lock = environment_.files.lock(environment_.directory / "cache.lock", std::chrono::seconds(0));
  if (!lock) return;
  const auto folder = environment_.directory / "cache";
  std::vector<Path> drafts;
  (void)environment_.files.list(folder, [&](std::string_view name, FileKind) {
    if (name.ends_with(".tmp")) drafts.push_back(folder / name);
    return true;
  });
  for (const auto& draft : drafts) (void)environment_.files.remove(draft);
}

void HeaderCache::save(const Path& folder, const FolderIndex& index) {
  auto& headers = open(folder);
  if (headers.unsaved <= kMany) return;
  // What the disk knows besides is kept.
  if (!headers.loaded) load(headers);
  std::string rest;
  putText(rest, headers.folder);
  for (const auto& file : index.files()) {
    const auto id = hashOf(stableId(file.name));
    const auto* known = headers.offsets.find(id);
    if (known == nullptr) continue;
    Input in(std::string_view(headers.entries).substr(*known));
    put(rest, id);
    putText(rest, in.text());
  }
  std::string bytes(kMagic);
  put(bytes, checksumOf(rest));
  bytes += rest;
  headers.unsaved = 0;
  headers.offsets.pack();
  headers.entries.shrink_to_fit();
  auto written = makeDirectories(environment_.files, environment_.directory / "cache", 0700);
  if (written) {
    // Whoever writes now knows no less.
    const auto lock = environment_.files.lock(environment_.directory / "cache.lock", std::chrono::seconds(0));
    if (!lock) return;
    written = writeAtomically(environment_.files, fileOf(headers.folder), bytes, 0600, environment_.token());
  }
  if (!written) {
    environment_.log.debug(fmt::format("The header cache was not written: {}", written.error().message));
  }
}

}  // namespace quillbox::mailclient

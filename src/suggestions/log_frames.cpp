#include "suggestions/log_frames.h"

#include <algorithm>
#include <cstring>
#include <optional>
#include <unordered_set>

#include <fmt/format.h>
#include <sodium.h>

#include "base/error_numbers.h"

namespace quillbox::log_frames {
namespace {

constexpr std::string_view kFileMark = "Quillbox log 1\r\n";
constexpr std::string_view kFrameMark = "\xE9QL\x97";
constexpr char kKeyContext[crypto_kdf_CONTEXTBYTES + 1] = "QuilLog1";
constexpr std::size_t kPositionAt = 8;
constexpr std::size_t kCheckAt = 32;

static_assert(kFileMark.size() + 16 == fileHeaderSize);
static_assert(secretSize == crypto_kdf_KEYBYTES);
static_assert(tagSize == crypto_aead_xchacha20poly1305_ietf_ABYTES);
static_assert(kCheckAt - kPositionAt == crypto_aead_xchacha20poly1305_ietf_NPUBBYTES);
static_assert(frameHeaderSize - kCheckAt == crypto_shorthash_BYTES);

const unsigned char* bytesOf(std::string_view text) {
  return reinterpret_cast<const unsigned char*>(text.data());
}

template <class Integer>
void putInteger(std::string& out, Integer value) {
  for (std::size_t i = 0; i < sizeof(Integer); ++i) out += static_cast<char>(value >> (8 * i) & 0xFFU);
}

template <class Integer>
Integer getInteger(std::string_view bytes) {
  Integer value = 0;
  for (std::size_t i = 0; i < sizeof(Integer); ++i) {
    value |= static_cast<Integer>(static_cast<unsigned char>(bytes[i])) << (8 * i);
  }
  return value;
}

std::array<unsigned char, crypto_shorthash_BYTES> headerCheck(std::string_view header, const Keys& keys) {
  std::array<unsigned char, crypto_shorthash_BYTES> check{};
  crypto_shorthash(check.data(), bytesOf(header), kCheckAt, keys.header.data());
  return check;
}

std::uint64_t frameSize(const Record& record) {
  return frameHeaderSize + record.text.size() + tagSize;
}

// One pass over the bytes of a file.
class Scanner {
 public:
  Scanner(std::string_view file, const Keys& keys)
      : file_(file), keys_(keys), budget_(8 * static_cast<std::uint64_t>(file.size()) + (512ULL << 20U)) {}

  Scan run() {
    result_.header = readFileHeader(file_, keys_);
    const std::size_t first = result_.header == FileHeader::none ? 0 : fileHeaderSize;
    for (std::size_t at = first; at < file_.size();) {
      auto found = readFrame(at);
      if (!found) {
        const std::size_t next = findFrame(at + 1, found);
        problem(at, next - at, "damaged or torn");
        at = next;
        if (!found) break;
      }
      const std::uint64_t length = frameSize(*found);
      if (seen_.insert(found->position).second) {
        result_.records.push_back(std::move(*found));
      } else {
        problem(at, length, "repeats an earlier record");
      }
      at += length;
    }
    if (result_.header == FileHeader::otherSecret && !result_.records.empty()) {
      problem(0, fileHeaderSize, "damaged file header");
    }
    restoreOrder();
    reportGaps(first);
    return std::move(result_);
  }

 private:
  void problem(std::uint64_t offset, std::uint64_t length, std::string reason) {
    result_.problems.push_back({offset, length, std::move(reason)});
  }

  std::optional<Record> readFrame(std::size_t at) {
    const std::string_view rest = file_.substr(at);
    if (rest.size() < frameHeaderSize + tagSize || !rest.starts_with(kFrameMark)) return std::nullopt;
    const std::string_view header = rest.substr(0, frameHeaderSize);
    const auto check = headerCheck(header, keys_);
    if (sodium_memcmp(check.data(), bytesOf(header) + kCheckAt, check.size()) != 0) return std::nullopt;
    const std::size_t size = getInteger<std::uint32_t>(header.substr(kFrameMark.size()));
    if (size > maxRecordSize || size > rest.size() - frameHeaderSize - tagSize || size > budget_) {
      return std::nullopt;
    }
    Record record;
    record.position = getInteger<std::uint64_t>(header.substr(kPositionAt));
    record.offset = at;
    record.text.resize(size);
    const int opened = crypto_aead_xchacha20poly1305_ietf_decrypt(
        reinterpret_cast<unsigned char*>(record.text.data()), nullptr, nullptr,
        bytesOf(rest) + frameHeaderSize, size + tagSize, bytesOf(header), frameHeaderSize,
        bytesOf(header) + kPositionAt, keys_.record.data());
    if (opened != 0) {
      budget_ -= size;
      return std::nullopt;
    }
    return record;
  }

  // The first offset from `from` on where a frame is accepted, and that frame; else the end of the file.
  std::size_t findFrame(std::size_t from, std::optional<Record>& found) {
    for (std::size_t at = file_.find(kFrameMark, from); at != std::string_view::npos;
         at = file_.find(kFrameMark, at + 1)) {
      found = readFrame(at);
      if (found) return at;
    }
    return file_.size();
  }

  // Records that stand in the longest rising row of positions stayed where they were; the others were moved.
  void restoreOrder() {
    auto& records = result_.records;
    if (std::ranges::is_sorted(records, {}, &Record::position)) return;
    constexpr auto none = static_cast<std::size_t>(-1);
    std::vector<std::size_t> ends;  // ends[k]: the record that ends the best row of k + 1 records
    std::vector<std::size_t> before(records.size(), none);
    for (std::size_t i = 0; i < records.size(); ++i) {
      const auto place = std::ranges::lower_bound(
          ends, records[i].position, {}, [&](std::size_t record) { return records[record].position; });
      if (place != ends.begin()) before[i] = *std::prev(place);
      if (place == ends.end()) {
        ends.push_back(i);
      } else {
        *place = i;
      }
    }
    std::vector<bool> stayed(records.size(), false);
    for (std::size_t i = ends.back(); i != none; i = before[i]) stayed[i] = true;
    for (std::size_t i = 0; i < records.size(); ++i) {
      if (stayed[i]) continue;
      problem(records[i].offset, frameSize(records[i]),
              fmt::format("out of place; it was written at byte {} and is read in that order",
                          records[i].position));
    }
    std::ranges::sort(records, {}, &Record::position);
  }

  // Records that follow each other in the file, but not in their positions.
  void reportGaps(std::uint64_t begin) {
    std::uint64_t offset = begin;
    std::uint64_t position = begin;
    for (const Record& record : result_.records) {
      if (record.offset == offset && record.position > position) {
        problem(offset, 0,
                fmt::format("{} bytes of records before this one are missing", record.position - position));
      }
      offset = record.offset + frameSize(record);
      position = record.position + frameSize(record);
    }
  }

  std::string_view file_;
  const Keys& keys_;
  std::uint64_t budget_;  // bytes that may still be authenticated in vain
  std::unordered_set<std::uint64_t> seen_;
  Scan result_;
};

}  // namespace

Result<Keys> Keys::derive(std::string_view secret) {
  if (sodium_init() < 0) fatal("libsodium does not start");
  if (secret.size() != secretSize) {
    return fail(error_number::damagedFile,
                fmt::format("The secret of the suggestions log is {} bytes long, not {}.", secret.size(),
                            secretSize));
  }
  Keys keys;
  const auto derive = [&](auto& key, std::uint64_t number) {
    crypto_kdf_derive_from_key(key.data(), key.size(), number, kKeyContext, bytesOf(secret));
  };
  derive(keys.record, 1);
  derive(keys.header, 2);
  derive(keys.fingerprint, 3);
  return keys;
}

Keys::~Keys() {
  sodium_memzero(record.data(), record.size());
  sodium_memzero(header.data(), header.size());
}

std::string fileHeader(const Keys& keys) {
  std::string header(kFileMark);
  header.append(reinterpret_cast<const char*>(keys.fingerprint.data()), keys.fingerprint.size());
  return header;
}

FileHeader readFileHeader(std::string_view file, const Keys& keys) {
  if (file.size() < fileHeaderSize || !file.starts_with(kFileMark)) return FileHeader::none;
  return file.starts_with(fileHeader(keys)) ? FileHeader::ours : FileHeader::otherSecret;
}

void appendFrame(std::string& out, const Keys& keys, std::uint64_t position,
                 const std::array<std::uint8_t, 16>& random, std::string_view record) {
  if (record.size() > maxRecordSize) fatal("a record of the suggestions log is too long for a frame");
  const std::size_t start = out.size();
  out += kFrameMark;
  putInteger(out, static_cast<std::uint32_t>(record.size()));
  putInteger(out, position);
  out.append(reinterpret_cast<const char*>(random.data()), random.size());
  const auto check = headerCheck(std::string_view(out).substr(start), keys);
  out.append(reinterpret_cast<const char*>(check.data()), check.size());
  out.resize(start + frameHeaderSize + record.size() + tagSize);
  auto* frame = reinterpret_cast<unsigned char*>(out.data()) + start;
  crypto_aead_xchacha20poly1305_ietf_encrypt(frame + frameHeaderSize, nullptr, bytesOf(record), record.size(),
                                             frame, frameHeaderSize, nullptr, frame + kPositionAt,
                                             keys.record.data());
}

Scan scan(std::string_view file, const Keys& keys) {
  return Scanner(file, keys).run();
}

}  // namespace quillbox::log_frames

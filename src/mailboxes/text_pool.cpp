#include "mailboxes/text_pool.h"

#include <algorithm>
#include <limits>
#include <span>

#include "base/text.h"

namespace quillbox {
namespace {

// Letters of either case share a bit; no other byte does with a letter or a digit.
constexpr std::array<std::uint8_t, 256> kBitOfByte = [] {
  std::array<std::uint8_t, 256> bits{};
  for (unsigned c = 0; c < 256; ++c) {
    unsigned bit = 0;
    if (c >= 'a' && c <= 'z') {
      bit = c - 'a';
    } else if (c >= 'A' && c <= 'Z') {
      bit = c - 'A';
    } else if (c >= '0' && c <= '9') {
      bit = 26 + (c - '0');
    } else if (c < 0x80) {
      bit = 36 + c % 12;
    } else {
      bit = 48 + c % 16;
    }
    bits[c] = static_cast<std::uint8_t>(bit);
  }
  return bits;
}();

bool isAscii(std::string_view text) {
  unsigned char all = 0;
  for (const char c : text) all |= static_cast<unsigned char>(c);
  return all < 0x80;
}

std::size_t codePoints(std::string_view utf8) {
  return static_cast<std::size_t>(
      std::ranges::count_if(utf8, [](char c) { return (static_cast<unsigned char>(c) & 0xC0) != 0x80; }));
}

std::size_t commonPrefix(std::string_view a, std::string_view b) {
  return static_cast<std::size_t>(std::ranges::mismatch(a, b).in1 - a.begin());
}

void setBit(std::vector<std::uint64_t>& bits, std::size_t i) {
  if (i / 64 >= bits.size()) bits.resize(i / 64 + 1);
  bits[i / 64] |= std::uint64_t{1} << (i % 64);
}

template <class T>
std::size_t heapBytes(const std::vector<T>& vector) {
  return vector.capacity() * sizeof(T);
}

}  // namespace

CharacterSet CharacterSet::of(std::string_view searchForm) {
  CharacterSet set;
  for (const char c : searchForm) set.bits_ |= std::uint64_t{1} << kBitOfByte[static_cast<unsigned char>(c)];
  return set;
}

bool hasLineTerminator(std::string_view text) {
  for (std::size_t i = 0; i < text.size(); ++i) {
    const auto byte = static_cast<unsigned char>(text[i]);
    if (byte >= 0x0A && byte <= 0x0D) return true;
    if (byte == 0xC2 && text.substr(i, 2) == "\xC2\x85") return true;
    if (byte == 0xE2 && (text.substr(i, 3) == "\xE2\x80\xA8" || text.substr(i, 3) == "\xE2\x80\xA9"))
      return true;
  }
  return false;
}

void TextPool::reserve(std::size_t texts, std::size_t bytes) {
  bytes_.reserve(bytes);
  starts_.reserve(texts + 1);
  characters_.reserve(texts);
  shared_.reserve(texts);
}

void TextPool::finish() {
  terminated_.resize(characters_.size() / 64 + 1);
  expanded_.resize(characters_.size() / 64 + 1);
  starts_.shrink_to_fit();
  characters_.shrink_to_fit();
  shared_.shrink_to_fit();
  inside_.shrink_to_fit();
  lastRaw_ = {};
}

bool TextPool::add(std::string_view raw) {
  const std::size_t begin = bytes_.size();
  const std::size_t insideBefore = inside_.size();
  const std::uint32_t i = size();
  if (isAscii(raw)) {
    bytes_ += raw;
    if (mode_ == CaseMode::insensitive) {
      for (char& c : std::span(bytes_).subspan(begin))
        c = static_cast<char>(c + (c >= 'A' && c <= 'Z' ? 32 : 0));
    }
  } else {
    appendFolded(raw.substr(takeSharedPrefix(raw)));
  }
  lastRaw_ = raw;
  if (bytes_.size() > std::numeric_limits<std::uint32_t>::max()) return false;
  starts_.push_back(static_cast<std::uint32_t>(bytes_.size()));

  const std::string_view text = std::string_view(bytes_).substr(begin);
  const std::size_t shared = i == 0 ? 0 : commonPrefix(text, this->text(i - 1));
  shared_.push_back(static_cast<std::uint8_t>(std::min<std::size_t>(shared, 255)));
  characters_.push_back(CharacterSet::of(text));
  for (const char c : text.substr(shared)) ++byteCounts_[static_cast<unsigned char>(c)];
  if (hasLineTerminator(text)) setBit(terminated_, i);
  if (inside_.size() > insideBefore || inside_.size() * 64 > begin) {
    for (std::size_t at = begin; at < bytes_.size(); ++at) {
      if (isInsideExpansion(bytes_.data() + at)) {
        setBit(expanded_, i);
        break;
      }
    }
  }
  return true;
}

// Copies the search form of the folders that `raw` has in common with the text before, and returns how much
// of `raw` they are. Folding never reaches across a "/", makes none and removes none.
std::size_t TextPool::takeSharedPrefix(std::string_view raw) {
  const std::size_t common = commonPrefix(raw, lastRaw_);
  const std::size_t slash = common == 0 ? std::string_view::npos : raw.rfind('/', common - 1);
  if (slash == std::string_view::npos) return 0;
  auto slashes = std::ranges::count(raw.substr(0, slash + 1), '/');
  const std::size_t from = starts_[size() - 1];
  std::size_t to = from;
  while (slashes > 0) slashes -= bytes_[to++] == '/' ? 1 : 0;
  const std::size_t begin = bytes_.size();
  bytes_.append(bytes_, from, to - from);
  for (std::size_t at = from; at < to && at / 64 < inside_.size(); ++at) {
    if (isInsideExpansion(bytes_.data() + at)) setBit(inside_, begin + (at - from));
  }
  return slash + 1;
}

void TextPool::appendFolded(std::string_view raw) {
  const std::string folded = text::foldDiacritics(raw);
  if (mode_ == CaseMode::sensitive) {
    bytes_ += folded;
    return;
  }
  const std::string caseless = text::foldCase(folded);
  if (codePoints(caseless) == codePoints(folded)) {
    bytes_ += caseless;
  } else {
    appendExpanding(folded);
  }
}

void TextPool::appendExpanding(std::string_view folded) {
  for (std::size_t at = 0; at < folded.size();) {
    const std::size_t start = at;
    text::nextCodePoint(folded, at);
    const std::size_t begin = bytes_.size();
    const std::string caseless = text::foldCase(folded.substr(start, at - start));
    bytes_ += caseless;
    if (codePoints(caseless) == 1) continue;
    for (std::size_t i = begin + 1; i < bytes_.size(); ++i) {
      setBit(inside_, i);
      insideBytes_.set(static_cast<unsigned char>(bytes_[i]));
      beforeInsideBytes_.set(static_cast<unsigned char>(bytes_[i - 1]));
    }
  }
}

std::size_t TextPool::memoryBytes() const {
  return bytes_.capacity() + heapBytes(starts_) + heapBytes(characters_) + heapBytes(shared_) +
         heapBytes(terminated_) + heapBytes(expanded_) + heapBytes(inside_);
}

}  // namespace quillbox

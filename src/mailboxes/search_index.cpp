#include "mailboxes/search_index.h"

#include <algorithm>
#include <bit>
#include <functional>
#include <limits>
#include <span>

#include "base/error_numbers.h"
#include "base/text.h"
#include "mailboxes/compiled_query.h"
#include "mailboxes/display_order.h"

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

void setBit(std::vector<std::uint64_t>& bits, std::size_t i) {
  bits[i / 64] |= std::uint64_t{1} << (i % 64);
}

template <class T>
std::size_t heapBytes(const std::vector<T>& vector) {
  return vector.capacity() * sizeof(T);
}

}  // namespace

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

CharacterSet CharacterSet::of(std::string_view searchForm) {
  CharacterSet set;
  for (const char c : searchForm) set.bits_ |= std::uint64_t{1} << kBitOfByte[static_cast<unsigned char>(c)];
  return set;
}

Result<std::shared_ptr<const SearchIndex>> SearchIndex::build(MailboxList list,
                                                              const std::vector<MailboxSort>& criteria,
                                                              CaseMode mode) {
  constexpr auto tooLarge = "The mailbox list is too large to be searched.";
  if (list.size() >= std::numeric_limits<std::uint32_t>::max() / 4) {
    return fail(error_number::notAvailable, tooLarge);
  }
  std::shared_ptr<SearchIndex> index(new SearchIndex(std::move(list), mode));
  auto kept = index->numberIds();
  index->characters_.resize(kept.size());
  if (!criteria.empty() || kept.size() != index->list_.size()) {
    index->order_ = displayOrder(index->list_, criteria, std::move(kept));
    index->positions_.resize(index->list_.size(), std::numeric_limits<std::uint32_t>::max());
    for (Position p = 0; p < index->order_.size(); ++p) index->positions_[index->order_[p]] = p;
  }
  index->numberAccounts();
  if (!index->layOutTexts()) return fail(error_number::notAvailable, tooLarge);
  return index;
}

std::vector<std::uint32_t> SearchIndex::numberIds() {
  idTable_.assign(std::bit_ceil(std::max<std::size_t>(list_.size() * 3 / 2, 8)), 0);
  const std::size_t mask = idTable_.size() - 1;
  std::vector<std::uint32_t> kept;
  kept.reserve(list_.size());
  for (std::uint32_t i = 0; i < list_.size(); ++i) {
    std::size_t slot = std::hash<std::string_view>{}(list_[i].id) & mask;
    while (idTable_[slot] != 0 && list_[idTable_[slot] - 1].id != list_[i].id) slot = (slot + 1) & mask;
    if (idTable_[slot] != 0) continue;
    idTable_[slot] = i + 1;
    kept.push_back(i);
  }
  return kept;
}

std::optional<SearchIndex::Position> SearchIndex::find(std::string_view id) const {
  if (idTable_.empty()) return std::nullopt;
  const std::size_t mask = idTable_.size() - 1;
  for (std::size_t slot = std::hash<std::string_view>{}(id)&mask; idTable_[slot] != 0;
       slot = (slot + 1) & mask) {
    const std::uint32_t i = idTable_[slot] - 1;
    if (list_[i].id == id) return positions_.empty() ? i : positions_[i];
  }
  return std::nullopt;
}

void SearchIndex::numberAccounts() {
  std::vector<std::uint32_t> byIndex;
  byIndex.reserve(list_.size());
  std::string_view last;
  std::uint32_t number = 0;
  for (const auto& mailbox : list_) {
    if (byIndex.empty() || mailbox.account != last) {
      last = mailbox.account;
      number = accounts_.try_emplace(last, static_cast<std::uint32_t>(accounts_.size())).first->second;
    }
    byIndex.push_back(number);
  }
  if (order_.empty()) {
    accountOf_ = std::move(byIndex);
    return;
  }
  accountOf_.reserve(order_.size());
  for (const auto i : order_) accountOf_.push_back(byIndex[i]);
}

std::optional<std::uint32_t> SearchIndex::accountNumber(std::string_view name) const {
  const auto place = accounts_.find(name);
  return place == accounts_.end() ? std::nullopt : std::optional(place->second);
}

// Appends the search form and returns where it begins.
std::size_t SearchIndex::appendText(std::string_view raw) {
  const std::size_t begin = texts_.size();
  if (isAscii(raw)) {
    texts_ += raw;
    if (mode_ == CaseMode::insensitive) {
      for (char& c : std::span(texts_).subspan(begin))
        c = static_cast<char>(c + (c >= 'A' && c <= 'Z' ? 32 : 0));
    }
    return begin;
  }
  const std::string folded = text::foldDiacritics(raw);
  if (mode_ == CaseMode::sensitive) {
    texts_ += folded;
    return begin;
  }
  const std::string caseless = text::foldCase(folded);
  if (codePoints(caseless) == codePoints(folded)) {
    texts_ += caseless;
  } else {
    appendExpanding(folded);
  }
  return begin;
}

void SearchIndex::appendExpanding(std::string_view folded) {
  for (std::size_t at = 0; at < folded.size();) {
    const std::size_t start = at;
    text::nextCodePoint(folded, at);
    const std::string caseless = text::foldCase(folded.substr(start, at - start));
    if (codePoints(caseless) > 1) {
      for (std::size_t i = 1; i < caseless.size(); ++i) {
        expansions_.push_back(static_cast<std::uint32_t>(texts_.size() + i));
      }
    }
    texts_ += caseless;
  }
}

bool SearchIndex::layOutTexts() {
  constexpr std::size_t limit = std::numeric_limits<std::uint32_t>::max();
  const Position count = size();
  std::size_t bytes = 0;
  for (const auto& mailbox : list_) bytes += mailbox.path.size();
  texts_.reserve(bytes + bytes / 64);
  textStarts_.reserve(count + 1);
  nameStarts_.reserve(count);
  special_.assign(count / 64 + 1, 0);

  std::vector<Position> loose;  // names that end no path; their texts follow all paths
  for (Position p = 0; p < count; ++p) {
    const Mailbox& mailbox = this->mailbox(p);
    const std::size_t expansionsBefore = expansions_.size();
    const std::size_t begin = appendText(mailbox.path);
    if (texts_.size() > limit) return false;
    textStarts_.push_back(static_cast<std::uint32_t>(begin));
    const std::string_view path = std::string_view(texts_).substr(begin);
    if (expansions_.size() != expansionsBefore || hasLineTerminator(path)) setBit(special_, p);
    characters_[p] = CharacterSet::of(path);
    for (const char c : path) ++byteCounts_[static_cast<unsigned char>(c)];

    // Mostly a name ends its path and needs no text of its own. Folding an ASCII name changes no length, and
    // nothing composes with an ASCII character that follows it.
    std::size_t length = mailbox.name.size();
    bool endsPath = mailbox.path.ends_with(mailbox.name);
    if (endsPath && !isAscii(mailbox.name)) {
      const std::string form = searchForm(mailbox.name, mode_);
      length = form.size();
      endsPath = path.ends_with(form);
    }
    if (!endsPath) loose.push_back(p);
    nameStarts_.push_back(static_cast<std::uint32_t>(begin + (endsPath ? path.size() - length : 0)));
  }
  textStarts_.push_back(static_cast<std::uint32_t>(texts_.size()));
  for (const Position p : loose) {
    texts_ += '\0';  // so that no such name begins where a path ends, or where another one does
    const std::size_t expansionsBefore = expansions_.size();
    const std::size_t begin = appendText(mailbox(p).name);
    if (texts_.size() > limit) return false;
    const auto name = std::string_view(texts_).substr(begin);
    if (expansions_.size() != expansionsBefore || hasLineTerminator(name)) setBit(special_, p);
    characters_[p].add(CharacterSet::of(name));
    nameStarts_[p] = static_cast<std::uint32_t>(begin);
    extraNames_.push_back(
        {static_cast<std::uint32_t>(begin), static_cast<std::uint32_t>(begin + name.size())});
  }
  return true;
}

std::string_view SearchIndex::text(Position position, SearchField field) const {
  const std::uint32_t end = textStarts_[position + 1];
  if (field == SearchField::path) return {texts_.data() + textStarts_[position], end - textStarts_[position]};
  const std::uint32_t begin = nameStarts_[position];
  if (begin <= textStarts_.back()) return {texts_.data() + begin, end - begin};
  const auto extra = std::ranges::lower_bound(extraNames_, begin, {}, &ExtraName::begin);
  return {texts_.data() + begin, extra->end - begin};
}

bool SearchIndex::isInsideExpansion(const char* byte) const {
  return std::ranges::binary_search(expansions_, static_cast<std::uint32_t>(byte - texts_.data()));
}

std::size_t SearchIndex::memoryBytes() const {
  return texts_.capacity() + heapBytes(textStarts_) + heapBytes(nameStarts_) + heapBytes(extraNames_) +
         heapBytes(characters_) + heapBytes(accountOf_) + heapBytes(order_) + heapBytes(positions_) +
         heapBytes(idTable_) + heapBytes(special_) + heapBytes(expansions_);
}

}  // namespace quillbox

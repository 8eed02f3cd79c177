#include "mailboxes/index_search.h"

#include <algorithm>

namespace quillbox {
namespace {

constexpr std::size_t kRememberedSearches = 8;

// Whether every text that holds `longer` in order holds `shorter` in order.
bool implies(const std::vector<std::string>& longer, const std::vector<std::string>& shorter) {
  std::size_t at = 0;  // in the needle `place` of longer, from where the next one may be found
  std::size_t place = 0;
  for (const auto& needle : shorter) {
    while (place < longer.size()) {
      const auto found = longer[place].find(needle, at);
      if (found != std::string::npos) {
        at = found + needle.size();
        break;
      }
      ++place;
      at = 0;
    }
    if (place == longer.size()) return false;
  }
  return true;
}

}  // namespace

AccountScope::AccountScope(const SearchIndex& index, const std::vector<std::string>& names) {
  if (names.empty()) return;
  allowed_.assign(index.accountCount() + 1, 0);
  for (const auto& name : names) {
    if (const auto number = index.accountNumber(name)) allowed_[*number] = 1;
  }
}

const SearchMemory::Entry* SearchMemory::find(const SearchIndex& index,
                                              const std::vector<std::string>& needles, SearchField field,
                                              const AccountScope& scope) const {
  if (index_.lock().get() != &index) return nullptr;
  const Entry* best = nullptr;
  std::size_t bestCount = 0;
  for (const auto& entry : entries_) {
    if (entry.field != field || entry.scope != scope || !implies(needles, entry.needles)) continue;
    const std::size_t count = entry.hits->count();
    if (best == nullptr || count < bestCount) {
      best = &entry;
      bestCount = count;
    }
  }
  return best;
}

void SearchMemory::remember(const std::shared_ptr<const SearchIndex>& index, Entry entry) {
  if (index_.lock() != index) {
    entries_.clear();
    index_ = index;
  }
  std::erase_if(entries_, [&](const Entry& old) {
    return old.field == entry.field && old.scope == entry.scope && old.needles == entry.needles;
  });
  entries_.push_front(std::move(entry));
  if (entries_.size() > kRememberedSearches) entries_.pop_back();
}

IndexSearch::IndexSearch(std::shared_ptr<const SearchIndex> index, const CompiledQuery& query)
    : index_(std::move(index)),
      query_(query),
      paths_(index_->paths(), query,
             [this](std::uint32_t p) -> std::string_view { return index_->mailbox(p).path; }),
      names_(index_->names(), query, [this](std::uint32_t n) { return index_->rawName(n); }) {}

bool IndexSearch::hasFailed() const {
  return paths_.hasFailed() || names_.hasFailed();
}

bool IndexSearch::matches(SearchIndex::Position position, SearchField field) {
  return field == SearchField::path ? paths_.matches(position) : names_.matches(index_->name(position));
}

std::optional<HitSet> IndexSearch::all(SearchField field, const AccountScope& scope, SearchMemory* memory,
                                       const std::atomic<bool>& cancelled) {
  if (field == SearchField::path) return matchesIn(field, scope, memory, cancelled);
  // A name is searched once, however many mailboxes have it.
  const auto names = matchesIn(field, {}, memory, cancelled);
  if (!names) return std::nullopt;
  HitSet positions(index_->size());
  for (std::size_t w = 0; w * 64 < index_->size(); ++w) {
    const auto first = static_cast<SearchIndex::Position>(w * 64);
    const SearchIndex::Position inWord = std::min<SearchIndex::Position>(64, index_->size() - first);
    std::uint64_t bits = 0;
    for (SearchIndex::Position i = 0; i < inWord; ++i) {
      bits |= std::uint64_t{names->contains(index_->name(first + i))} << i;
    }
    positions.words()[w] = inScope(scope, w, bits);
  }
  return positions;
}

std::uint64_t IndexSearch::inScope(const AccountScope& scope, std::size_t word, std::uint64_t bits) const {
  if (!scope.restricts()) return bits;
  std::uint64_t allowed = 0;
  for (std::uint64_t rest = bits; rest != 0; rest &= rest - 1) {
    const auto i = static_cast<std::size_t>(std::countr_zero(rest));
    const std::uint32_t account = index_->account(static_cast<SearchIndex::Position>(word * 64 + i));
    allowed |= std::uint64_t{scope.allows(account)} << i;
  }
  return allowed;
}

// In texts of the field's pool.
std::optional<HitSet> IndexSearch::matchesIn(SearchField field, const AccountScope& scope,
                                             SearchMemory* memory, const std::atomic<bool>& cancelled) {
  PoolSearch& search = field == SearchField::path ? paths_ : names_;
  if (query_.matchesEverything()) memory = nullptr;
  const auto* const known =
      memory != nullptr ? memory->find(*index_, query_.needles(), field, scope) : nullptr;
  std::shared_ptr<const HitSet> holders;
  if (known != nullptr && known->needles == query_.needles()) {
    holders = known->hits;
  } else {
    auto found =
        std::make_shared<HitSet>(field == SearchField::path ? index_->size() : index_->names().size());
    PoolSearch::Admit admit;
    if (scope.restricts()) {
      admit = [&](std::size_t word, std::uint64_t bits) { return inScope(scope, word, bits); };
    }
    if (!search.findHolders(known != nullptr ? known->hits.get() : nullptr, admit, cancelled, *found)) {
      return std::nullopt;
    }
    holders = std::move(found);
  }
  HitSet matches = *holders;
  if (!search.keepMatches(matches, cancelled)) return std::nullopt;
  if (memory != nullptr) memory->remember(index_, {query_.needles(), field, scope, std::move(holders)});
  return matches;
}

}  // namespace quillbox

// From the full list and the query to the rows that are shown: a pure computation over a snapshot.
#pragma once

#include <atomic>
#include <memory>
#include <optional>
#include <string>
#include <vector>

#include "mailboxes/index_search.h"
#include "mailboxes/mailbox_list.h"
#include "mailboxes/search_index.h"

namespace quillbox {

// The settings that the filter reads, under their names. "caseSensitive" and "sortData" are in the index.
struct FilterOptions {
  bool mailboxNameOnly = false;
  bool favoritesNameOnly = false;
  bool selectedAccountsOnly = false;
  bool prioritizeAccounts = false;
  bool alwaysShowSmartSuggestionsOnTop = false;

  bool operator==(const FilterOptions&) const = default;
};

// Everything that a run reads; nothing in it changes while the run is under way.
struct FilterSnapshot {
  std::shared_ptr<const SearchIndex> index;
  std::string query;
  FilterOptions options;
  std::vector<std::string> searchScope;          // account names; empty restricts nothing
  std::vector<SearchIndex::Position> favorites;  // in their own order
  std::vector<SearchIndex::Position> recents;    // newest first; empty unless they are remembered
  MailboxList excluded;                          // never rows
  std::vector<Mailbox> suggestions;              // best first
  bool askedForSuggestions = false;
  std::optional<std::string> selectedMailboxId;
};

// What the run decided about the selection.
struct SelectionDecision {
  bool shouldClearSelection = false;
  std::optional<std::string> selectedMailboxOverride;  // absent: keep
};

struct MailboxFilterResult {
  MailboxRows filteredMailboxes;            // in display order
  std::vector<Mailbox> suggestedMailboxes;  // those that match; best first
  bool shouldClearSelection = false;
  std::optional<std::string> selectedMailboxOverride;
  bool shouldPostDonePredicting = false;
};

// Takes milliseconds for a million mailboxes and may run on any thread. Gives nothing when `cancelled` became
// true on the way. `memory` may be null; with it a query that only grew is searched among the previous hits.
std::optional<MailboxFilterResult> runFilter(const FilterSnapshot& snapshot, SearchMemory* memory,
                                             const std::atomic<bool>& cancelled);

// `rows` refer to the list of `index`. Keep what is shown. Otherwise the first row, when there is a query or
// a suggestion on top; otherwise nothing.
enum class FirstRow { selected, notSelected };
SelectionDecision decideSelection(const MailboxRows& rows, const SearchIndex& index,
                                  const std::optional<std::string>& selectedMailboxId, FirstRow firstRow);

// The matching rule for one mailbox at a time.
class MailboxMatcher {
 public:
  MailboxMatcher(std::string_view query, CaseMode mode, const FilterOptions& options,
                 std::vector<std::string> searchScope);

  // An absent mailbox never matches.
  bool matches(const Mailbox* mailbox);

 private:
  QueryPattern pattern_;
  PatternMatcher matcher_;
  bool nameOnly_;
  std::vector<std::string> scope_;  // empty unless it restricts
};

}  // namespace quillbox

// The favourites as every machine of a user replicates them: a set with tombstones and an order, in which
// each change carries a revision. Two states merge to the same result in any order and any number of times,
// so that machines which never meet still agree. The format and the laws stand in docs/SYNC.md.
#pragma once

#include <compare>
#include <cstdint>
#include <map>
#include <string>
#include <vector>

#include "model/mailbox.h"

namespace quillbox {

struct FavoriteMailboxSyncState {
  static constexpr std::int64_t kVersion = 2;

  // A logical time. Ordered by counter, then by writer in code-point order.
  struct Revision {
    std::int64_t counter = 0;
    std::string writer;  // the id of the machine that made the change; empty for what predates sync

    auto operator<=>(const Revision&) const = default;
  };

  struct Entry {
    Mailbox mailbox;       // as last written
    bool removed = false;  // a tombstone; tombstones stay for good
    Revision revision;

    bool operator==(const Entry&) const = default;
  };

  std::int64_t version = kVersion;
  std::map<std::string, Entry> entries;  // every mailbox that ever was a favourite, by its id
  std::vector<std::string> order;        // ids in display order
  Revision orderRevision;                // of the last change of `order`

  bool operator==(const FavoriteMailboxSyncState&) const = default;

  // The largest counter of all revisions, 0 at least.
  std::int64_t largestCounter() const;

  // A local edit: the list was `previousList`, now it is `newList` (display order), `writer` is this machine.
  // All changes of one edit get one revision, later than everything in the state; what did not change keeps
  // its own. A counter that would overflow is fatal.
  void recordEdit(const std::vector<Mailbox>& newList, const std::vector<Mailbox>& previousList,
                  const std::string& writer);

  // Takes over what is later in `remote`, which must be valid. Nothing is ever deleted.
  void merge(const FavoriteMailboxSyncState& remote);

  // Favourites from before sync: those that have no entry enter at the end with the least revision (0, "").
  void seed(const std::vector<Mailbox>& list);

  // The live entries: those of `order` first, in that sequence and once each, then the others by id.
  std::vector<Mailbox> visibleList() const;

  // Whether a state that came from elsewhere may be merged: version 2, no negative order counter, every entry
  // under its mailbox's own id.
  bool isValid() const;
};

}  // namespace quillbox

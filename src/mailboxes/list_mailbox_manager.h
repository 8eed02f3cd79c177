// The three lists of mailboxes that the user keeps: an ordered list in the settings, each id once.
#pragma once

#include <functional>
#include <vector>

#include "base/observable.h"
#include "base/result.h"
#include "mailboxes/search_index.h"
#include "settings/user_settings.h"

namespace quillbox {

// Main queue only. Every change is made to the list as it stands in the settings: an edit by another process
// is taken over first, also one that comes while the change is made. A change that cannot be written is not
// made.
class ListMailboxManager {
 public:
  ListMailboxManager(UserSettings& settings, Setting<std::vector<Mailbox>>& stored);
  virtual ~ListMailboxManager() = default;
  ListMailboxManager(const ListMailboxManager&) = delete;
  ListMailboxManager& operator=(const ListMailboxManager&) = delete;

  Observable<std::vector<Mailbox>> mailboxes;

  // Reads the list from the settings. One that does not decode is empty there; of two entries with one id the
  // first stays.
  virtual void load();
  // Appends and saves. False, and nothing changes, when the id is in the list. An error when it cannot be
  // saved.
  virtual Result<bool> add(const Mailbox& mailbox);
  // Removes the entry with the same id and saves; false when there is none.
  virtual Result<bool> remove(const Mailbox& mailbox);
  // Writes the list and publishes it. With Overwrite::unchangedOnly not, and false, when another process has
  // changed the list since this one last looked; then that one is published. On an error the old one stays in
  // force.
  virtual Result<bool> save(std::vector<Mailbox> list, Overwrite overwrite);
  Result<void> clear();

  bool contains(const Mailbox& mailbox) const { return contains(mailbox.id); }
  bool contains(std::string_view id) const;

  // The entries that the full list holds, in the order in which they are shown, as places in the full list:
  // their values are the full list's, with its names.
  virtual std::vector<SearchIndex::Position> prepare(const SearchIndex& allMailboxes) const;

 protected:
  // Takes over what others have written, before a change.
  virtual void refresh();
  // `edit` changes the list and says whether it did; it is called again when another process was first.
  // False, and nothing is written, when it did not.
  Result<bool> change(const std::function<bool(std::vector<Mailbox>&)>& edit);

  UserSettings& settings_;

 private:
  Setting<std::vector<Mailbox>>& stored_;
  Subscription changes_;
};

}  // namespace quillbox

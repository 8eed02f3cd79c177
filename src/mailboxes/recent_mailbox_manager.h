// The last mailboxes that were filed into.
#pragma once

#include "mailboxes/list_mailbox_manager.h"
#include "mailboxes/mailbox_directory.h"

namespace quillbox {

// Oldest first, at most ten.
class RecentMailboxManager final : public ListMailboxManager {
 public:
  static constexpr std::size_t capacity = 10;

  explicit RecentMailboxManager(UserSettings& settings)
      : ListMailboxManager(settings, settings.recentMailboxes) {}

  // Only mailboxes of a known full list are remembered; without a directory, or while its list is empty, all
  // are. The directory must outlive this object or be taken away again.
  void setDirectory(const MailboxDirectory* directory) { directory_ = directory; }

  // Puts the mailbox at the end, moving it there when it is in the list; the oldest gives way to an eleventh.
  // False when it is not known.
  Result<bool> add(const Mailbox& mailbox) override;

  // Newest first.
  std::vector<SearchIndex::Position> prepare(const SearchIndex& allMailboxes) const override;

 private:
  const MailboxDirectory* directory_ = nullptr;
};

}  // namespace quillbox

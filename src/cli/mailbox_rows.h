// The rows that a query shows, out of a mailbox list and the settings.
#pragma once

#include <memory>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "base/result.h"
#include "mailboxes/mailbox_filter.h"
#include "mailboxes/search_index.h"
#include "settings/user_settings.h"

namespace quillbox::cli {

// Main queue only. Searching a list again is cheap: its index is kept until the list or the sort criteria
// change.
class MailboxSearch {
 public:
  explicit MailboxSearch(UserSettings& settings) : settings_(settings) {}

  void setList(MailboxList list);
  const MailboxList& list() const { return list_; }
  // In display order, with the selection that a window would make.
  Result<MailboxFilterResult> run(std::string_view query);

 private:
  Result<void> prepareIndex();

  UserSettings& settings_;
  MailboxList list_;
  std::shared_ptr<const SearchIndex> index_;
  std::vector<MailboxSort> criteria_;
  SearchMemory memory_;
};

}  // namespace quillbox::cli

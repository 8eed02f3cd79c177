// The mailboxes that are never offered, and their editing in the settings.
#pragma once

#include <cstddef>
#include <set>
#include <string>
#include <vector>

#include "mailboxes/list_mailbox_manager.h"
#include "mailboxes/mailbox_directory.h"

namespace quillbox {

class ExcludedMailboxManager final : public ListMailboxManager {
 public:
  explicit ExcludedMailboxManager(UserSettings& settings)
      : ListMailboxManager(settings, settings.excludedMailboxes) {}

  // State of the settings pane.
  Observable<bool> showingAlert;
  Observable<bool> showingEdit;
  Observable<std::string> excludedString;
  Observable<std::set<std::string>> selection;  // ids

  // A line of the text that names no known mailbox; counted from 1.
  struct UnknownLine {
    std::size_t line;
    std::string text;
    bool operator==(const UnknownLine&) const = default;
  };

  // Fills excludedString with the list, one id a line, and opens the editor. A control character in an id is
  // shown as \n, \t or \xNN.
  void beginEdit();
  // Makes the mailboxes that excludedString names the stored list. Empty lines and repetitions are passed
  // over. A line names a mailbox of `directory` or of the stored list. The others are returned and stay in
  // excludedString, with the editor and an alert open; an error of writing leaves everything as it was.
  Result<std::vector<UnknownLine>> confirmEdit(const MailboxDirectory& directory);
  void cancelEdit() { showingEdit.set(false); }

  // Removes the entries with these ids and saves.
  Result<void> removeSelection();
};

}  // namespace quillbox

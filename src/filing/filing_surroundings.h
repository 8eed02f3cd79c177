// What filing touches beside the mail client. The application hands over its windows, its suggestion model,
// its filing log and its lists through this; tests hand over a recorder.
#pragma once

#include <string>
#include <string_view>

#include "model/mailbox.h"

namespace quillbox {

// Main queue only.
class FilingSurroundings {
 public:
  virtual ~FilingSurroundings() = default;
  // Hides the application's windows; the reason is for the log.
  virtual void hideQuillbox(std::string_view reason) = 0;
  // Starts to train the suggestion model on the selected messages with this label, in the background; returns
  // at once. Does nothing without a model.
  virtual void trainOnSelection(const Mailbox& destination) = 0;
  // Appends a line to the filing log in the background.
  virtual void appendToFilingLog(std::string entry) = 0;
  // Remembers a mailbox that was filed into; whether the list of recents changed.
  virtual bool addToRecents(const Mailbox& destination) = 0;
  // Empties the search text.
  virtual void clearQuery() = 0;
};

}  // namespace quillbox

// Whom the mailbox manager asks for the likely mailboxes.
#pragma once

#include <cstddef>
#include <vector>

#include "model/mailbox.h"

namespace quillbox {

class SuggestionSource {
 public:
  virtual ~SuggestionSource() = default;
  // The likely mailboxes for the messages that are selected now, best first: at most `limit`, and none when
  // the first one's probability is below `threshold`. Called off the main queue, while a filter runs.
  virtual std::vector<Mailbox> predict(std::size_t limit, double threshold) = 0;
};

}  // namespace quillbox

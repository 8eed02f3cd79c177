// The suggestion model as the mailbox manager asks it: for the messages that were looked up last.
#pragma once

#include "mailboxes/suggestion_source.h"
#include "suggestions/smart_suggestions_manager.h"

namespace quillbox {

class ModelSuggestions final : public SuggestionSource {
 public:
  // The manager must outlive it.
  explicit ModelSuggestions(SmartSuggestionsManager& manager) : manager_(manager) {}

  std::vector<Mailbox> predict(std::size_t limit, double threshold) override {
    return manager_.predict(manager_.currentExamples(), limit, threshold);
  }

 private:
  SmartSuggestionsManager& manager_;
};

}  // namespace quillbox

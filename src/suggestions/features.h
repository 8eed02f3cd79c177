// What the suggestion model sees of a message: words of the subject, sender or recipients, as plain
// lower-case texts in one shared space.
#pragma once

#include <string>
#include <string_view>
#include <utility>
#include <vector>

#include "suggestions/training_example.h"

namespace quillbox {

// A list of texts in one buffer, meant to be used again for the next example.
class FeatureList {
 public:
  void clear() {
    buffer_.clear();
    ends_.clear();
  }
  void add(std::string_view feature) {
    buffer_ += feature;
    ends_.push_back(buffer_.size());
  }
  std::size_t size() const { return ends_.size(); }
  std::string_view operator[](std::size_t index) const {
    const std::size_t begin = index == 0 ? 0 : ends_[index - 1];
    return std::string_view(buffer_).substr(begin, ends_[index] - begin);
  }

 private:
  std::string buffer_;
  std::vector<std::size_t> ends_;
};

// One of the 114 words that say nothing about a subject ("re", "the", "okay").
bool isSubjectStopword(std::string_view lowercaseWord);

// Adds the subject's words in order, repetitions included: lower-cased, split at everything but letters,
// marks and numbers, without stopwords. "RE: Invoice #123" gives "invoice", "123".
void addSubjectTokens(std::string_view subject, FeatureList& out);

// Replaces `out` by the subject's words followed by, for a received message, sender address, sender domain
// and original account, and for a sent one each recipient and its domain.
void extractFeatures(const TrainingExample& example, FeatureList& out);

}  // namespace quillbox

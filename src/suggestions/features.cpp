#include "suggestions/features.h"

#include <algorithm>
#include <unordered_set>

#include "base/text.h"
#include "suggestions/white_space.h"

namespace quillbox {
namespace {

const std::unordered_set<std::string_view>& stopwords() {
  static const std::unordered_set<std::string_view> words = {
      "re",     "fw",      "fwd",       "a",       "an",         "the",    "and",      "or",
      "but",    "nor",     "so",        "yet",     "about",      "above",  "after",    "against",
      "along",  "among",   "around",    "at",      "before",     "behind", "below",    "beneath",
      "beside", "between", "beyond",    "by",      "down",       "during", "except",   "for",
      "from",   "in",      "inside",    "into",    "near",       "of",     "off",      "on",
      "onto",   "out",     "outside",   "over",    "past",       "since",  "through",  "throughout",
      "till",   "to",      "toward",    "under",   "underneath", "until",  "up",       "upon",
      "with",   "within",  "without",   "i",       "me",         "my",     "myself",   "we",
      "our",    "ours",    "ourselves", "you",     "your",       "yours",  "yourself", "yourselves",
      "he",     "him",     "his",       "himself", "she",        "her",    "hers",     "herself",
      "it",     "its",     "itself",    "they",    "them",       "their",  "theirs",   "themselves",
      "is",     "am",      "are",       "was",     "were",       "be",     "been",     "being",
      "do",     "does",    "did",       "doing",   "will",       "would",  "shall",    "should",
      "can",    "could",   "may",       "might",   "must",       "not",    "no",       "yes",
      "ok",     "okay"};
  return words;
}

void addRecipients(std::string_view recipients, FeatureList& out) {
  while (!recipients.empty()) {
    const std::size_t end = std::min(recipients.find(','), recipients.size());
    const std::string_view piece = recipients.substr(0, end);
    recipients.remove_prefix(std::min(end + 1, recipients.size()));
    if (piece.empty()) continue;
    const std::string recipient = text::lowercase(trimWhiteSpace(piece));
    out.add(recipient);
    const std::size_t last = recipient.find_last_not_of('@');
    if (last == std::string::npos) continue;
    const std::size_t at = recipient.find_last_of('@', last);
    const std::size_t first = at == std::string::npos ? 0 : at + 1;
    out.add(std::string_view(recipient).substr(first, last + 1 - first));
  }
}

}  // namespace

bool isSubjectStopword(std::string_view lowercaseWord) {
  return stopwords().contains(lowercaseWord);
}

void addSubjectTokens(std::string_view subject, FeatureList& out) {
  const std::string lower = text::lowercase(subject);
  const std::string_view rest = lower;
  std::size_t begin = 0;
  const auto end = [&](std::size_t at) {
    const std::string_view token = rest.substr(begin, at - begin);
    if (!token.empty() && !isSubjectStopword(token)) out.add(token);
  };
  for (std::size_t at = 0; at < lower.size();) {
    const std::size_t start = at;
    const auto byte = static_cast<unsigned char>(lower[at]);
    bool inWord = false;
    if (byte < 0x80) {
      inWord = (byte >= 'a' && byte <= 'z') || (byte >= '0' && byte <= '9');
      ++at;
    } else {
      inWord = text::isLetterMarkOrNumber(text::nextCodePoint(lower, at));
    }
    if (inWord) continue;
    end(start);
    begin = at;
  }
  end(lower.size());
}

void extractFeatures(const TrainingExample& example, FeatureList& out) {
  out.clear();
  addSubjectTokens(example.subject, out);
  if (example.isSent) {
    if (example.recipients) addRecipients(*example.recipients, out);
    return;
  }
  out.add(text::lowercase(example.senderAddress));
  out.add(text::lowercase(example.senderDomain));
  out.add(text::lowercase(example.originalAccount));
}

}  // namespace quillbox

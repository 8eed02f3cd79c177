// Examples for the tests of suggestions/.
#pragma once

#include <ostream>
#include <string>
#include <utility>
#include <vector>

#include "suggestions/features.h"
#include "suggestions/training_example.h"

namespace quillbox {

inline void PrintTo(const TrainingExample& example, std::ostream* out) {
  *out << encodeTrainingExample(example);
}

inline TrainingExample received(std::string subject, std::string sender, std::string path = "Inbox",
                                std::string account = "Work") {
  auto [address, domain] = senderParts(sender);
  return {.subject = std::move(subject),
          .fullSender = std::move(sender),
          .senderAddress = std::move(address),
          .senderDomain = std::move(domain),
          .originalAccount = account,
          .messageID = "<id@example.org>",
          .mailboxPath = std::move(path),
          .mailboxAccount = account,
          .recipients = std::nullopt,
          .isSent = false};
}

inline TrainingExample sent(std::string subject, std::string recipients, std::string path = "Inbox",
                            std::string account = "Work") {
  TrainingExample example =
      received(std::move(subject), "Me <me@example.org>", std::move(path), std::move(account));
  example.recipients = std::move(recipients);
  example.isSent = true;
  return example;
}

inline std::vector<std::string> textsOf(const FeatureList& list) {
  std::vector<std::string> texts;
  for (std::size_t i = 0; i < list.size(); ++i) texts.emplace_back(list[i]);
  return texts;
}

// What the example says of its mailbox, in a list that held something else before.
inline std::vector<std::string> featuresOf(const TrainingExample& example) {
  FeatureList list;
  list.add("left over");
  extractFeatures(example, list);
  return textsOf(list);
}

}  // namespace quillbox

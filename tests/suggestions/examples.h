// Examples for the tests of suggestions/.
#pragma once

#include <ostream>
#include <string>
#include <utility>

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

}  // namespace quillbox

// One message's metadata, as the suggestion model learns from it and predicts for it.
#pragma once

#include <functional>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "base/result.h"
#include "platform/descriptor.h"

namespace quillbox {

// All texts are UTF-8.
struct TrainingExample {
  std::string subject;
  std::string fullSender;       // "Ada <ada@example.org>", as the mail client gives it
  std::string senderAddress;    // "ada@example.org", case kept
  std::string senderDomain;     // "example.org", in lower case
  std::string originalAccount;  // the account in which the message lies
  std::string messageID;
  std::string mailboxPath;  // the mailbox it is filed in: what the model learns to tell
  std::string mailboxAccount;
  std::optional<std::string> recipients;  // addresses separated by commas
  bool isSent = false;

  bool operator==(const TrainingExample&) const = default;
};

// One JSON object without line breaks, its keys being the field names; absent recipients are left out. Bytes
// that are not UTF-8 become U+FFFD.
std::string encodeTrainingExample(const TrainingExample& example);

// Every field but `recipients` is required and must have its type; other keys are ignored. Fails with
// error_number::damagedFile, the message names the key or the byte.
Result<TrainingExample> decodeTrainingExample(std::string_view json);

// Decodes one example a line, calling `each` with the line number (from 1) and the example or the error.
// Empty lines are passed over, a carriage return before the line feed is dropped.
void decodeTrainingExamples(
    std::string_view lines,
    const std::function<void(std::size_t line, Result<TrainingExample> example)>& each);

// What the handler of Scripts/generateTrainingData returned: a list of records with the texts subject,
// sender, originalAccount, mailboxPath, mailboxAccount, messageID, and where known recipients and isSent. A
// record without one of the first six is passed over. Fails with "Unexpected return type: ..." for anything
// but a list, and with -128 when `cancelled`, asked before each item, says so.
Result<std::vector<TrainingExample>> parseTrainingData(const Descriptor& result,
                                                       const std::function<bool()>& cancelled = {});

struct SenderParts {
  std::string address;
  std::string domain;
};
// "Ada <Ada@Example.org>" gives {"Ada@Example.org", "example.org"}; a sender without an address is its own
// address and, in lower case, its own domain.
SenderParts senderParts(std::string_view sender);

// After white space, an optional sign and zeroes, "Y", "y", "T", "t" or a digit from 1 to 9 means true;
// anything else false.
bool textIsTrue(std::string_view text);

}  // namespace quillbox

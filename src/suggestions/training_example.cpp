#include "suggestions/training_example.h"

#include <algorithm>
#include <array>

#include <fmt/format.h>

#include "base/error_numbers.h"
#include "base/json.h"
#include "base/text.h"
#include "suggestions/white_space.h"

namespace quillbox {
namespace {

struct TextField {
  std::string_view key;
  std::string TrainingExample::* member;
};

constexpr std::array<TextField, 8> kTextFields = {{
    {"subject", &TrainingExample::subject},
    {"fullSender", &TrainingExample::fullSender},
    {"senderAddress", &TrainingExample::senderAddress},
    {"senderDomain", &TrainingExample::senderDomain},
    {"originalAccount", &TrainingExample::originalAccount},
    {"messageID", &TrainingExample::messageID},
    {"mailboxPath", &TrainingExample::mailboxPath},
    {"mailboxAccount", &TrainingExample::mailboxAccount},
}};

// Takes the members of the one object as they are parsed, without building a tree: a log holds a hundred
// thousand. nlohmann's parser keeps its own stack, so nesting costs no recursion.
class ExampleReader {
 public:
  TrainingExample example;
  std::string problem;

  bool null() { return scalar(Type::null, nullptr, false); }
  bool boolean(bool value) { return scalar(Type::boolean, nullptr, value); }
  bool number_integer(std::int64_t) { return scalar(Type::other, nullptr, false); }
  bool number_unsigned(std::uint64_t) { return scalar(Type::other, nullptr, false); }
  bool number_float(double, const std::string&) { return scalar(Type::other, nullptr, false); }
  bool string(std::string& value) { return scalar(Type::text, &value, false); }
  bool binary(Json::binary_t&) { return scalar(Type::other, nullptr, false); }
  bool start_object(std::size_t) { return open(Type::other); }
  bool start_array(std::size_t) { return open(Type::array); }
  bool end_object() { return close(); }
  bool end_array() { return close(); }
  bool key(std::string& name) {
    if (depth_ == 1) key_ = find(name);
    return true;
  }
  bool parse_error(std::size_t byte, const std::string&, const Json::exception&) {
    problem = fmt::format("not valid JSON (at byte {})", byte);
    return false;
  }

  // Called after the text was parsed whole.
  bool finish() {
    for (std::size_t i = 0; i < kTextFields.size(); ++i) {
      if (!seen_[i]) return report(kTextFields[i].key, "missing");
    }
    if (!seen_[kIsSent]) return report("isSent", "missing");
    return true;
  }

 private:
  enum class Type { null, boolean, text, array, other };
  static constexpr std::size_t kRecipients = kTextFields.size();
  static constexpr std::size_t kIsSent = kRecipients + 1;
  static constexpr std::size_t kUnknown = kIsSent + 1;

  static std::size_t find(std::string_view name) {
    for (std::size_t i = 0; i < kTextFields.size(); ++i) {
      if (kTextFields[i].key == name) return i;
    }
    return name == "recipients" ? kRecipients : name == "isSent" ? kIsSent : kUnknown;
  }

  bool report(std::string_view key, std::string_view what) {
    problem = fmt::format("“{}” is {}", key, what);
    return false;
  }

  bool notAnObject() {
    problem = "not a JSON object";
    return false;
  }

  bool scalar(Type type, std::string* text, bool value) {
    if (depth_ == 0) return notAnObject();
    if (depth_ > 1 || key_ == kUnknown) return true;
    if (key_ < kRecipients) {
      if (type != Type::text) return report(kTextFields[key_].key, "not a text");
      example.*kTextFields[key_].member = std::move(*text);
    } else if (key_ == kRecipients) {
      if (type == Type::text) {
        example.recipients = std::move(*text);
      } else if (type == Type::null) {
        example.recipients.reset();
      } else {
        return report("recipients", "neither a text nor null");
      }
    } else {
      if (type != Type::boolean) return report("isSent", "neither true nor false");
      example.isSent = value;
    }
    seen_[key_] = true;
    return true;
  }

  bool open(Type type) {
    if (depth_ == 0 && type == Type::array) return notAnObject();
    if (depth_ > 0 && !scalar(Type::other, nullptr, false)) return false;
    ++depth_;
    return true;
  }

  bool close() {
    --depth_;
    return true;
  }

  std::size_t depth_ = 0;
  std::size_t key_ = kUnknown;
  std::array<bool, kUnknown> seen_{};
};

std::optional<std::string> textField(const Descriptor& record, std::string_view key) {
  const Descriptor* field = record.field(key);
  if (field == nullptr) return std::nullopt;
  auto value = field->textValue();
  if (value) *value = text::toValidUtf8(*value);
  return value;
}

// The first "<" that a ">" follows on the same line, with everything between, as the expression <.*?> finds
// it.
std::optional<std::string_view> firstBracketed(std::string_view sender) {
  std::size_t open = std::string_view::npos;
  for (std::size_t at = 0; at < sender.size();) {
    const std::size_t start = at;
    const char32_t c = text::nextCodePoint(sender, at);
    if (isLineEnd(c)) {
      open = std::string_view::npos;
    } else if (c == '<' && open == std::string_view::npos) {
      open = start;
    } else if (c == '>' && open != std::string_view::npos) {
      return sender.substr(open, at - open);
    }
  }
  return std::nullopt;
}

std::string lastPiece(std::string_view text) {
  const std::size_t last = text.find_last_not_of('@');
  if (last == std::string_view::npos) return {};
  const std::size_t at = text.find_last_of('@', last);
  const std::size_t first = at == std::string_view::npos ? 0 : at + 1;
  return std::string(text.substr(first, last + 1 - first));
}

}  // namespace

std::string encodeTrainingExample(const TrainingExample& example) {
  Json object = Json::object();
  for (const auto& field : kTextFields) object[std::string(field.key)] = example.*field.member;
  if (example.recipients) object["recipients"] = *example.recipients;
  object["isSent"] = example.isSent;
  return writeJson(object);
}

Result<TrainingExample> decodeTrainingExample(std::string_view json) {
  ExampleReader reader;
  try {
    if (Json::sax_parse(json, &reader) && reader.finish()) return std::move(reader.example);
  } catch (const std::exception& e) {
    reader.problem = e.what();
  }
  return fail(error_number::damagedFile, fmt::format("Not a training example: {}.", reader.problem));
}

void decodeTrainingExamples(
    std::string_view lines,
    const std::function<void(std::size_t line, Result<TrainingExample> example)>& each) {
  std::size_t number = 0;
  while (!lines.empty()) {
    ++number;
    const std::size_t end = lines.find('\n');
    std::string_view line = lines.substr(0, end);
    lines.remove_prefix(end == std::string_view::npos ? lines.size() : end + 1);
    if (line.ends_with('\r')) line.remove_suffix(1);
    if (!line.empty()) each(number, decodeTrainingExample(line));
  }
}

Result<std::vector<TrainingExample>> parseTrainingData(const Descriptor& result,
                                                       const std::function<bool()>& cancelled) {
  if (!result.isList()) return fail(-2700, "Unexpected return type: " + result.description());
  std::vector<TrainingExample> examples;
  examples.reserve(result.count());
  for (const Descriptor& item : result.items()) {
    if (cancelled && cancelled()) return fail(-128, "Cancelled while reading the training data.");
    auto subject = textField(item, "subject");
    auto sender = textField(item, "sender");
    auto originalAccount = textField(item, "originalAccount");
    auto mailboxPath = textField(item, "mailboxPath");
    auto mailboxAccount = textField(item, "mailboxAccount");
    auto messageID = textField(item, "messageID");
    if (!subject || !sender || !originalAccount || !mailboxPath || !mailboxAccount || !messageID) continue;
    auto [address, domain] = senderParts(*sender);
    examples.push_back({.subject = std::move(*subject),
                        .fullSender = std::move(*sender),
                        .senderAddress = std::move(address),
                        .senderDomain = std::move(domain),
                        .originalAccount = std::move(*originalAccount),
                        .messageID = std::move(*messageID),
                        .mailboxPath = std::move(*mailboxPath),
                        .mailboxAccount = std::move(*mailboxAccount),
                        .recipients = textField(item, "recipients"),
                        .isSent = textIsTrue(textField(item, "isSent").value_or(""))});
  }
  return examples;
}

SenderParts senderParts(std::string_view sender) {
  std::string_view address = sender;
  if (const auto bracketed = firstBracketed(sender)) {
    address = *bracketed;
    const std::size_t first = address.find_first_not_of("<>");
    address = first == std::string_view::npos
                  ? std::string_view()
                  : address.substr(first, address.find_last_not_of("<>") - first + 1);
  }
  std::string domain = lastPiece(address);
  return {std::string(address), text::lowercase(domain.empty() ? sender : std::string_view(domain))};
}

bool textIsTrue(std::string_view text) {
  text = trimWhiteSpace(text);
  if (text.starts_with('+') || text.starts_with('-')) text.remove_prefix(1);
  text.remove_prefix(std::min(text.find_first_not_of('0'), text.size()));
  return !text.empty() && std::string_view("YyTt123456789").find(text.front()) != std::string_view::npos;
}

}  // namespace quillbox

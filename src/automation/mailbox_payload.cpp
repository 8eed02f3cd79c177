#include "automation/mailbox_payload.h"

#include "base/result.h"
#include "base/text.h"

namespace quillbox {
namespace {

// Stands for a quote inside a path while the quotes around the path are looked for.
constexpr std::string_view kInnerQuote = "”";

const text::Regex& referencePattern() {
  static const auto pattern =
      text::Regex::compile(R"re(mailbox\s+"([^"]+)"\s+of\s+(?:account id|application)\b)re");
  if (!pattern) fatal("the pattern of mailbox references does not compile");
  return *pattern;
}

// The text under `key`; empty when it is missing, empty or no text.
std::string_view requiredText(const Descriptor& record, std::string_view key, std::string& storage) {
  const auto* value = record.field(key);
  storage = value != nullptr && value->isText() ? value->textValue().value_or("") : std::string();
  return storage;
}

}  // namespace

std::vector<Mailbox> mailboxesFromText(std::string_view mailboxText, std::string_view accountName) {
  const std::string readable = text::replaceAll(std::string(mailboxText), "\\\"", kInnerQuote);
  std::vector<Mailbox> mailboxes;
  for (const auto& match : referencePattern().findAll(readable)) {
    std::string path = text::replaceAll(match.groups[1], kInnerQuote, "\"");
    const auto elements = text::splitNonEmpty(path, '/');
    std::string name = elements.empty() ? path : elements.back();
    mailboxes.push_back(Mailbox::make(std::move(name), std::move(path), std::string(accountName)));
  }
  return mailboxes;
}

std::optional<std::vector<Mailbox>> mailboxesFromListV2(const Descriptor& list) {
  if (!list.isList()) return std::nullopt;
  std::vector<Mailbox> all;
  for (const auto& record : list.items()) {
    std::string account;
    std::string references;
    if (requiredText(record, "accountName", account).empty() ||
        requiredText(record, "mailboxText", references).empty()) {
      return std::nullopt;
    }
    auto mailboxes = mailboxesFromText(references, account);
    if (mailboxes.empty()) return std::nullopt;
    std::move(mailboxes.begin(), mailboxes.end(), std::back_inserter(all));
  }
  return all;
}

std::optional<std::vector<Mailbox>> mailboxesFromList(const Descriptor& list) {
  if (!list.isList()) return std::nullopt;
  std::vector<Mailbox> all;
  for (const auto& record : list.items()) {
    std::string name;
    std::string path;
    std::string account;
    if (requiredText(record, "mailboxName", name).empty() ||
        requiredText(record, "mailboxPath", path).empty() ||
        requiredText(record, "mailboxAccount", account).empty()) {
      return std::nullopt;
    }
    all.push_back(Mailbox::make(std::move(name), std::move(path), std::move(account)));
  }
  return all;
}

}  // namespace quillbox

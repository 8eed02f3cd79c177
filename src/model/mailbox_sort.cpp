#include "model/mailbox_sort.h"

#include <fmt/format.h>

#include "base/error_numbers.h"
#include "base/json.h"

namespace quillbox {
namespace {

Json toJson(const MailboxSort& sort) {
  Json json = Json::object();
  json["path"] = rawText(sort.path);
  json["order"] = rawText(sort.order);
  return json;
}

template <TextEnum E>
Result<E> rawMember(const Json& json, const char* key, std::string_view what) {
  const auto text = textMember(json, key, what);
  if (!text) return forward(text);
  const auto value = fromRawText<E>(*text);
  if (!value) {
    return fail(error_number::damagedFile, fmt::format("\"{}\" of {} is \"{}\", not one of: {}.", key, what,
                                                       *text, fmt::join(RawTexts<E>::values, ", ")));
  }
  return *value;
}

Result<MailboxSort> fromJson(const Json& json, std::string_view what) {
  const auto path = rawMember<MailboxSortPathAppEnum>(json, "path", what);
  if (!path) return forward(path);
  const auto order = rawMember<SortOrder>(json, "order", what);
  if (!order) return forward(order);
  return MailboxSort{*path, *order};
}

}  // namespace

std::string encodeMailboxSorts(const std::vector<MailboxSort>& sorts) {
  return writeJson(arrayOf(sorts, toJson));
}

Result<std::vector<MailboxSort>> decodeMailboxSorts(std::string_view json) {
  return decodeArray<MailboxSort>(json, "sort criterion", fromJson);
}

}  // namespace quillbox

// JSON for codecs. Included by .cpp files only, so that the library stays out of every public header.
#pragma once

#include <cstdint>
#include <nlohmann/json.hpp>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

#include "base/error_numbers.h"
#include "base/result.h"

namespace quillbox {

// Object keys keep the order in which they were written.
using Json = nlohmann::ordered_json;

// Parses one JSON document. Fails with error_number::damagedFile and a message that begins with `what` (what
// the text is, "settings.json") and names the byte at which parsing stopped, or says that it nests deeper
// than 200 levels.
Result<Json> parseJson(std::string_view text, std::string_view what);

// Compact text; bytes that are not UTF-8 become U+FFFD. `indent` of 2 writes the form for files that people
// read.
std::string writeJson(const Json& value, int indent = -1);

// As writeJson, with the keys of every object in byte order, so that equal values give equal bytes.
std::string writeSortedJson(const Json& value, int indent = -1);

// Members that a decoder requires. Each fails with error_number::damagedFile and a sentence that begins with
// `what` (what the object is, "mailbox 3") when `object` is no object, the member is missing or it has
// another type.
Result<std::string> textMember(const Json& object, const char* key, std::string_view what);
Result<std::int64_t> integerMember(const Json& object, const char* key, std::string_view what);
Result<bool> boolMember(const Json& object, const char* key, std::string_view what);
// The member itself, of any type.
Result<const Json*> anyMember(const Json& object, const char* key, std::string_view what);

// A JSON array of toJson(value) for every value.
template <class T, class ToJson>
Json arrayOf(const std::vector<T>& values, const ToJson& toJson) {
  Json array = Json::array();
  for (const auto& value : values) array.push_back(toJson(value));
  return array;
}

// Decodes a JSON array, whole or not at all: the first item that fromJson(item, "mailbox 3") refuses is the
// error. `kind` names one item in messages ("mailbox").
template <class T, class FromJson>
Result<std::vector<T>> decodeArray(std::string_view text, std::string_view kind, const FromJson& fromJson) {
  const std::string what = "The list (" + std::string(kind) + ")";
  const auto array = parseJson(text, what);
  if (!array) return forward(array);
  if (!array->is_array()) return fail(error_number::damagedFile, what + " is not a JSON array.");
  std::vector<T> values;
  values.reserve(array->size());
  for (const auto& item : *array) {
    auto value = fromJson(item, std::string(kind) + " " + std::to_string(values.size() + 1));
    if (!value) return forward(value);
    values.push_back(*std::move(value));
  }
  return values;
}

}  // namespace quillbox

#include "base/json.h"

#include <limits>

#include <fmt/format.h>

#include "base/error_numbers.h"

namespace quillbox {
namespace {

constexpr int kMaxDepth = 200;

// Depth of nesting outside strings, found before parsing: consumers recurse over the values.
bool nestsTooDeep(std::string_view text) {
  int depth = 0;
  bool inString = false;
  for (std::size_t i = 0; i < text.size(); ++i) {
    const char c = text[i];
    if (inString) {
      if (c == '\\') {
        ++i;
      } else if (c == '"') {
        inString = false;
      }
    } else if (c == '"') {
      inString = true;
    } else if (c == '[' || c == '{') {
      if (++depth > kMaxDepth) return true;
    } else if (c == ']' || c == '}') {
      --depth;
    }
  }
  return false;
}

}  // namespace

Result<Json> parseJson(std::string_view text, std::string_view what) {
  if (nestsTooDeep(text)) {
    return fail(error_number::damagedFile, fmt::format("{} nests deeper than {} levels.", what, kMaxDepth));
  }
  try {
    return Json::parse(text);
  } catch (const nlohmann::json::parse_error& e) {
    return fail(error_number::damagedFile, fmt::format("{} is not valid JSON (at byte {}).", what, e.byte));
  } catch (const std::exception&) {
    return fail(error_number::damagedFile, fmt::format("{} is not valid JSON.", what));
  }
}

std::string writeJson(const Json& value, int indent) {
  return value.dump(indent, ' ', false, Json::error_handler_t::replace);
}

std::string writeSortedJson(const Json& value, int indent) {
  return nlohmann::json(value).dump(indent, ' ', false, nlohmann::json::error_handler_t::replace);
}

Result<const Json*> anyMember(const Json& object, const char* key, std::string_view what) {
  if (!object.is_object()) return fail(error_number::damagedFile, fmt::format("{} is not an object.", what));
  const auto member = object.find(key);
  if (member == object.end())
    return fail(error_number::damagedFile, fmt::format("{} has no \"{}\".", what, key));
  return &*member;
}

Result<std::string> textMember(const Json& object, const char* key, std::string_view what) {
  const auto member = anyMember(object, key, what);
  if (!member) return forward(member);
  if (!(*member)->is_string())
    return fail(error_number::damagedFile, fmt::format("\"{}\" of {} is not a text.", key, what));
  return (*member)->get<std::string>();
}

Result<std::int64_t> integerMember(const Json& object, const char* key, std::string_view what) {
  const auto member = anyMember(object, key, what);
  if (!member) return forward(member);
  const bool fits = (*member)->is_number_integer() &&
                    (!(*member)->is_number_unsigned() ||
                     (*member)->get<std::uint64_t>() <= std::numeric_limits<std::int64_t>::max());
  if (!fits)
    return fail(error_number::damagedFile, fmt::format("\"{}\" of {} is not an integer.", key, what));
  return (*member)->get<std::int64_t>();
}

Result<bool> boolMember(const Json& object, const char* key, std::string_view what) {
  const auto member = anyMember(object, key, what);
  if (!member) return forward(member);
  if (!(*member)->is_boolean())
    return fail(error_number::damagedFile, fmt::format("\"{}\" of {} is not true or false.", key, what));
  return (*member)->get<bool>();
}

}  // namespace quillbox

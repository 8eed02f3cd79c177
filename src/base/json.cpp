#include "base/json.h"

#include <algorithm>
#include <cstddef>
#include <limits>
#include <numeric>

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

// The value that a text stands for, in time that grows with its length: the library's own way of building it
// compares every key of an object with all keys before.
class TreeBuilder {
 public:
  Json root;
  std::size_t errorAt = 0;

  bool null() { return add(nullptr); }
  bool boolean(bool value) { return add(value); }
  bool number_integer(Json::number_integer_t value) { return add(value); }
  bool number_unsigned(Json::number_unsigned_t value) { return add(value); }
  bool number_float(Json::number_float_t value, const std::string&) { return add(value); }
  bool string(std::string& value) { return add(std::move(value)); }
  bool binary(Json::binary_t& value) { return add(std::move(value)); }
  bool start_object(std::size_t) { return open(Json::object()); }
  bool start_array(std::size_t) { return open(Json::array()); }
  bool end_array() { return close(); }
  bool end_object() {
    auto& members = open_.back()->get_ref<Json::object_t&>();
    if (members.size() > kFewKeys) keepLastOfEqualKeys(members);
    return close();
  }
  bool key(std::string& name) {
    auto& members = open_.back()->get_ref<Json::object_t&>();
    member_ =
        members.size() < kFewKeys ? &members[name] : &members.emplace_back(std::move(name), nullptr).second;
    return true;
  }
  bool parse_error(std::size_t byte, const std::string&, const nlohmann::json::exception&) {
    errorAt = byte;
    return false;
  }

 private:
  static constexpr std::size_t kFewKeys = 16;

  // Where the value that comes next belongs.
  Json& place() {
    if (open_.empty()) return root;
    if (open_.back()->is_object()) return *member_;
    return open_.back()->get_ref<Json::array_t&>().emplace_back();
  }
  template <class Value>
  bool add(Value&& value) {
    place() = Json(std::forward<Value>(value));
    return true;
  }
  bool open(Json container) {
    Json& place = this->place();
    place = std::move(container);
    open_.push_back(&place);
    return true;
  }
  bool close() {
    open_.pop_back();
    return true;
  }

  // A repeated key counts once, where it stands first, with the value that stands last.
  static void keepLastOfEqualKeys(Json::object_t::Container& members) {
    std::vector<std::size_t> byKey(members.size());
    std::iota(byKey.begin(), byKey.end(), std::size_t{0});
    // Not stable_sort: its library uses a function that clang refuses as deprecated.
    std::ranges::sort(byKey, [&](std::size_t a, std::size_t b) {
      const auto order = members[a].first <=> members[b].first;
      return order != 0 ? order < 0 : a < b;
    });
    std::vector<bool> isRepeated(members.size(), false);
    std::size_t repeated = 0;
    for (std::size_t first = 0; first < byKey.size();) {
      std::size_t next = first + 1;
      for (; next < byKey.size() && members[byKey[next]].first == members[byKey[first]].first; ++next) {
        members[byKey[first]].second = std::move(members[byKey[next]].second);
        isRepeated[byKey[next]] = true;
        ++repeated;
      }
      first = next;
    }
    if (repeated == 0) return;
    Json::object_t::Container kept;
    kept.reserve(members.size() - repeated);
    for (std::size_t i = 0; i < members.size(); ++i) {
      if (!isRepeated[i]) kept.emplace_back(members[i].first, std::move(members[i].second));
    }
    members.swap(kept);
  }

  std::vector<Json*>
      open_;  // the containers around the next value; none of them grows while one inside is open
  Json* member_ = nullptr;
};

}  // namespace

Result<Json> parseJson(std::string_view text, std::string_view what) {
  if (nestsTooDeep(text)) {
    return fail(error_number::damagedFile, fmt::format("{} nests deeper than {} levels.", what, kMaxDepth));
  }
  try {
    TreeBuilder builder;
    if (Json::sax_parse(text, &builder)) return std::move(builder.root);
    return fail(error_number::damagedFile,
                fmt::format("{} is not valid JSON (at byte {}).", what, builder.errorAt));
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

#include "settings/setting_codec.h"

#include <charconv>
#include <cmath>
#include <limits>

#include "base/error_numbers.h"
#include "base/json.h"
#include "base/number.h"
#include "base/text.h"

namespace quillbox::setting_codec {

std::unexpected<Error> refused(std::string_view accepted) {
  return fail(error_number::settingValueInvalid, std::string(accepted));
}

// A file that people may edit writes 1 for true, 12 for 12.0 and 3.0 for 3: what loses nothing is taken.
Result<bool> decodeBool(const DefaultsValue& stored) {
  if (const auto* flag = std::get_if<bool>(&stored)) return *flag;
  if (const auto* number = std::get_if<std::int64_t>(&stored);
      number != nullptr && (*number == 0 || *number == 1))
    return *number == 1;
  return refused("true or false");
}

Result<std::int64_t> decodeInteger(const DefaultsValue& stored) {
  if (const auto* number = std::get_if<std::int64_t>(&stored)) return *number;
  if (const auto* real = std::get_if<double>(&stored)) {
    // 2^63 is the first real beyond the range; it is exact as a double.
    if (std::trunc(*real) == *real && *real >= -0x1p63 && *real < 0x1p63)
      return static_cast<std::int64_t>(*real);
  }
  return refused("a whole number");
}

Result<double> decodeReal(const DefaultsValue& stored) {
  if (const auto* real = std::get_if<double>(&stored); real != nullptr && std::isfinite(*real)) return *real;
  if (const auto* number = std::get_if<std::int64_t>(&stored)) return static_cast<double>(*number);
  return refused("a number");
}

Result<std::string> decodeText(const DefaultsValue& stored) {
  if (const auto* text = std::get_if<std::string>(&stored); text != nullptr && text::isValidUtf8(*text))
    return *text;
  return refused("a text in UTF-8");
}

Result<std::string> decodeBytes(const DefaultsValue& stored, std::string_view typeName) {
  if (const auto* data = std::get_if<Data>(&stored)) return data->bytes;
  return refused(typeName);
}

Result<std::int64_t> parseInteger(std::string_view text) {
  std::int64_t value = 0;
  const auto* end = text.data() + text.size();
  const auto [stop, error] = std::from_chars(text.data(), end, value);
  if (error != std::errc() || stop != end) {
    return refused(fmt::format("a whole number from {} to {}", std::numeric_limits<std::int64_t>::min(),
                               std::numeric_limits<std::int64_t>::max()));
  }
  return value;
}

Result<double> parseFinite(std::string_view text) {
  if (const auto value = parseReal(text)) return *value;
  return refused("a number");
}

std::string quoteJson(std::string_view text) {
  return writeJson(Json(text));
}

std::string realJson(double value) {
  return writeJson(Json(value));
}

Result<std::vector<std::string>> decodeTexts(std::string_view json) {
  return decodeArray<std::string>(
      json, "text", [](const Json& item, std::string_view what) -> Result<std::string> {
        if (!item.is_string()) return fail(error_number::damagedFile, fmt::format("{} is not a text.", what));
        return item.get<std::string>();
      });
}

std::string encodeTexts(const std::vector<std::string>& texts) {
  return writeJson(Json(texts));
}

Result<JsonText> decodeJsonText(std::string_view json) {
  const auto parsed = parseJson(json, "The value");
  if (!parsed) return forward(parsed);
  return JsonText{std::string(json)};
}

}  // namespace quillbox::setting_codec

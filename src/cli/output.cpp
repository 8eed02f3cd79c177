#include "cli/output.h"

#include <algorithm>
#include <charconv>
#include <cstdint>
#include <variant>

#include <unicode/uchar.h>

#include "base/json.h"
#include "base/text.h"

namespace quillbox::cli {
namespace {

std::size_t columnsOf(char32_t codePoint) {
  const auto c = static_cast<UChar32>(codePoint);
  const auto category = u_charType(c);
  if (category == U_NON_SPACING_MARK || category == U_ENCLOSING_MARK || category == U_FORMAT_CHAR) return 0;
  const auto width = u_getIntPropertyValue(c, UCHAR_EAST_ASIAN_WIDTH);
  return width == U_EA_FULLWIDTH || width == U_EA_WIDE ? 2 : 1;
}

Json jsonOf(const Descriptor& value) {
  if (value.isList()) {
    Json array = Json::array();
    for (const auto& item : value.items()) array.push_back(jsonOf(item));
    return array;
  }
  if (value.isRecord()) {
    Json object = Json::object();
    for (const auto& [key, field] : value.fields()) object[key] = jsonOf(field);
    return object;
  }
  if (value.isNull() || value.isMissingValue()) return nullptr;
  if (value.isText()) return value.textValue().value_or("");
  if (value.type() == fourCC("true") || value.type() == fourCC("fals")) return value.booleanValue() == true;
  if (value.type() == fourCC("long")) return value.int32Value().value_or(0);
  if (value.type() == fourCC("comp") || value.type() == fourCC("magn") || value.type() == fourCC("ucom")) {
    const std::string digits = value.textValue().value_or("0");
    std::int64_t number = 0;
    std::from_chars(digits.data(), digits.data() + digits.size(), number);
    return number;
  }
  if (const auto real = value.realValue()) return *real;
  return value.textValue().value_or("");
}

}  // namespace

std::size_t displayWidth(std::string_view utf8) {
  std::size_t width = 0;
  for (std::size_t at = 0; at < utf8.size();) width += columnsOf(text::nextCodePoint(utf8, at));
  return width;
}

std::string table(const std::vector<std::vector<std::string>>& rows) {
  std::vector<std::vector<std::string>> cells;
  std::vector<std::size_t> widths;
  for (const auto& row : rows) {
    auto& line = cells.emplace_back();
    for (const auto& cell : row) line.push_back(text::singleLine(text::toValidUtf8(cell)));
    widths.resize(std::max(widths.size(), line.size()));
    for (std::size_t i = 0; i < line.size(); ++i) widths[i] = std::max(widths[i], displayWidth(line[i]));
  }
  std::string out;
  for (const auto& line : cells) {
    if (!out.empty()) out += '\n';
    std::string padded;
    for (std::size_t i = 0; i < line.size(); ++i) {
      padded += line[i];
      if (i + 1 < line.size()) padded.append(widths[i] - displayWidth(line[i]) + 2, ' ');
    }
    padded.erase(padded.find_last_not_of(' ') + 1);
    out += padded;
  }
  return out;
}

std::string descriptorJson(const Descriptor& value) {
  return writeJson(jsonOf(value));
}

}  // namespace quillbox::cli

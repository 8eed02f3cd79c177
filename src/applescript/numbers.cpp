#include "applescript/numbers.h"

#include <cmath>

#include <fmt/format.h>

#include "base/number.h"
#include "base/text.h"

namespace quillbox::applescript {

std::string formatReal(double value) {
  if (std::isnan(value)) return "NaN";
  if (std::isinf(value)) return value < 0 ? "-INF" : "INF";
  const double size = std::fabs(value);
  const auto withoutZeros = [](std::string digits) {
    digits.erase(digits.find_last_not_of('0') + 1);
    if (digits.back() == '.') digits += '0';
    return digits;
  };
  if (size < 10000 && size > 0.0001) {
    auto text = fmt::format("{:.12f}", value);
    // Rounding may have taken it up to where the exponent begins.
    if (text.find("10000.") == std::string::npos) return withoutZeros(std::move(text));
  }
  const auto text = fmt::format("{:.12e}", value);
  const auto exponentAt = text.find('e');
  auto exponent = text.substr(exponentAt + 2);
  exponent.erase(0, std::min(exponent.find_first_not_of('0'), exponent.size() - 1));
  return withoutZeros(text.substr(0, exponentAt)) + "E" + text[exponentAt + 1] + exponent;
}

std::optional<Value> parseNumber(std::string_view text) {
  auto digits = text::trim(text);
  if (digits.starts_with('+')) digits.remove_prefix(1);
  if (digits.empty() || digits.starts_with('+')) return std::nullopt;
  // Most texts that are read as numbers are short integers.
  const auto unsignedDigits = digits.substr(digits.front() == '-' ? 1 : 0);
  if (!unsignedDigits.empty() && unsignedDigits.size() <= 8) {
    std::int64_t whole = 0;
    bool plain = true;
    for (const char c : unsignedDigits) {
      plain = plain && c >= '0' && c <= '9';
      whole = whole * 10 + (c - '0');
    }
    if (plain) return Value::integer(digits.front() == '-' ? -whole : whole);
  }
  const auto real = parseReal(digits);
  if (!real) return std::nullopt;
  const bool whole = digits.find_first_of(".eE") == std::string_view::npos;
  if (whole && std::fabs(*real) <= static_cast<double>(kLargestInteger))
    return Value::integer(static_cast<std::int64_t>(*real));
  return Value::real(*real);
}

Value roundedNumber(double value) {
  const double rounded = std::nearbyint(value);
  if (std::fabs(rounded) <= static_cast<double>(kLargestInteger))
    return Value::integer(static_cast<std::int64_t>(rounded));
  return Value::real(rounded);
}

}  // namespace quillbox::applescript

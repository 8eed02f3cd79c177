// Numbers as scripts write them.
#pragma once

#include <optional>
#include <string>
#include <string_view>

#include "applescript/value.h"

namespace quillbox::applescript {

// Up to twelve decimals and at least one; from 10,000 up and from 0.0001 down with an exponent: 0.5, 1234.0,
// 0.333333333333, 1.2345E+4, 9.99999999E+8.
std::string formatReal(double value);
// What the text reads as: an integer, a real, or nullopt. White space around it does not count.
std::optional<Value> parseNumber(std::string_view text);
// An integer while it is one that a script can have, a real beyond; halves go to the even neighbour.
Value roundedNumber(double value);
// The largest integer that a script can have; the smallest is its complement.
constexpr std::int64_t kLargestInteger = 536'870'911;
// The same for a whole number that has been computed.
inline Value wholeNumber(std::int64_t value) {
  if (value >= -kLargestInteger - 1 && value <= kLargestInteger) return Value::integer(value);
  return Value::real(static_cast<double>(value));
}

}  // namespace quillbox::applescript

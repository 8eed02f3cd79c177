#include "base/number.h"

#include <cmath>
#include <locale>
#include <sstream>
#include <string>

namespace quillbox {

std::optional<double> parseReal(std::string_view text) {
  // std::from_chars for double is missing from libc++.
  if (text.empty() || text.find_first_not_of("0123456789+-.eE") != std::string_view::npos)
    return std::nullopt;
  std::istringstream in{std::string(text)};
  in.imbue(std::locale::classic());
  double value = 0;
  in >> std::noskipws >> value;
  if (in.fail() || in.peek() != std::istringstream::traits_type::eof() || !std::isfinite(value))
    return std::nullopt;
  return value;
}

}  // namespace quillbox

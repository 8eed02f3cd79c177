#include "platform/localizer.h"

#include <charconv>

namespace quillbox {

std::string Localizer::format(std::string_view key, const std::vector<Argument>& arguments) const {
  const std::string pattern = text(key);
  std::string out;
  std::size_t next = 0;
  for (std::size_t i = 0; i < pattern.size();) {
    if (pattern[i] != '%') {
      out += pattern[i++];
      continue;
    }
    std::size_t at = i + 1;
    if (at < pattern.size() && pattern[at] == '%') {
      out += '%';
      i += 2;
      continue;
    }
    std::size_t index = next;
    bool positional = false;
    const char* end = pattern.data() + pattern.size();
    if (const auto [stop, error] = std::from_chars(pattern.data() + at, end, index);
        error == std::errc() && stop < end && *stop == '$' && index >= 1) {
      --index;
      positional = true;
      at = static_cast<std::size_t>(stop - pattern.data()) + 1;
    } else {
      index = next;
    }
    const std::string_view rest = std::string_view(pattern).substr(at);
    const Argument* argument = index < arguments.size() ? &arguments[index] : nullptr;
    const auto* asText = argument != nullptr ? std::get_if<std::string>(argument) : nullptr;
    const auto* asInteger = argument != nullptr ? std::get_if<std::int64_t>(argument) : nullptr;
    if (rest.starts_with('@') && asText != nullptr) {
      out += *asText;
      i = at + 1;
    } else if (rest.starts_with("lld") && asInteger != nullptr) {
      out += std::to_string(*asInteger);
      i = at + 3;
    } else {
      out += pattern[i++];
      continue;
    }
    if (!positional) ++next;
  }
  return out;
}

}  // namespace quillbox

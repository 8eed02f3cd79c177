// User-visible texts by key.
#pragma once

#include <cstdint>
#include <string>
#include <string_view>
#include <variant>
#include <vector>

namespace quillbox {

// Any thread.
class Localizer {
 public:
  using Argument = std::variant<std::int64_t, std::string>;

  virtual ~Localizer() = default;
  // The text of `key` in the user's language, else in English, else the key itself.
  virtual std::string text(std::string_view key) const = 0;

  // text(key) with its format specifiers filled in order: %@ takes a text, %lld an integer, %% is a percent
  // sign, %2$@ names its argument by position. One without an argument of its kind stays as it is.
  std::string format(std::string_view key, const std::vector<Argument>& arguments) const;
};

}  // namespace quillbox

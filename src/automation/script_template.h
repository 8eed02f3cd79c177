// Fills the $NAME$ places of a fixed script text.
#pragma once

#include <initializer_list>
#include <string>
#include <string_view>
#include <utility>

namespace quillbox::script_texts {

struct Insertion {
  std::string_view name;
  std::string_view value;
};

// One pass from the start to the end, so that an inserted value is never read as a place again. A place that
// no insertion names is a broken invariant.
std::string fillTemplate(std::string_view text, std::initializer_list<Insertion> insertions);

constexpr std::string_view trueOrFalse(bool value) {
  return value ? "true" : "false";
}

inline constexpr std::string_view activateQuillbox = "tell application \"Quillbox 4\" to activate";

}  // namespace quillbox::script_texts

// Values in source form.
#pragma once

#include <string>
#include <string_view>

#include "applescript/value.h"

namespace quillbox::applescript {

// As AppleScript prints it. References drop ` of application "X"` of the application that `omit` is. A list
// inside itself, and what is nested deeper than 200 levels, prints as three dots.
std::string sourceForm(const Value& value, const Application* omit = nullptr);

// The terms of codes: in the given dictionary, else in the standard suite and the language; «class xxxx» when
// no dictionary knows them.
std::string classTerm(Code code, const Terminology* terms);
std::string constantTerm(Code code, const Terminology* terms);
std::string propertyTerm(Code code, const Terminology* terms);
// The text between quotes, with quotes and backslashes escaped.
std::string quoted(std::string_view text);

}  // namespace quillbox::applescript

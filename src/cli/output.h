// What a command prints: JSON for programs, aligned tables for people.
#pragma once

#include <string>
#include <string_view>
#include <vector>

#include "platform/descriptor.h"

namespace quillbox::cli {

enum class OutputForm { text, json };

// Columns that line up, two blanks apart; the first row is the heading. Cells lose their control characters.
// No line break at the end.
std::string table(const std::vector<std::vector<std::string>>& rows);

// A script's result as JSON: lists as arrays, records as objects, missing value and no value as null,
// constants, dates and references as their text.
std::string descriptorJson(const Descriptor& value);

// How many columns of a terminal the text takes: East Asian wide characters and emoji two, combining marks
// none.
std::size_t displayWidth(std::string_view utf8);

}  // namespace quillbox::cli

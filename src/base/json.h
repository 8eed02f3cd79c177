// JSON for codecs. Included by .cpp files only, so that the library stays out of every public header.
#pragma once

#include <nlohmann/json.hpp>
#include <string>
#include <string_view>

#include "base/result.h"

namespace quillbox {

// Object keys keep the order in which they were written.
using Json = nlohmann::ordered_json;

// Parses one JSON document. Fails with error_number::damagedFile and a message that begins with `what` (what
// the text is, "settings.json") and names the byte at which parsing stopped, or says that it nests deeper
// than 200 levels.
Result<Json> parseJson(std::string_view text, std::string_view what);

// Compact text; bytes that are not UTF-8 become U+FFFD. `indent` of 2 writes the form for files that people
// read.
std::string writeJson(const Json& value, int indent = -1);

// As writeJson, with the keys of every object in byte order, so that equal values give equal bytes.
std::string writeSortedJson(const Json& value, int indent = -1);

}  // namespace quillbox

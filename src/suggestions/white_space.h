// White space and line ends as Unicode has them, for the texts that mail headers carry.
#pragma once

#include <string_view>

namespace quillbox {

// LF, VT, FF, CR, NEL, line and paragraph separator.
bool isLineEnd(char32_t codePoint);

// Without white space (general category Zs, tab) and line ends at both ends.
std::string_view trimWhiteSpace(std::string_view utf8);

}  // namespace quillbox

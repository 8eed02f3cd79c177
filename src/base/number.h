// Numbers as text, independent of the process's locale.
#pragma once

#include <optional>
#include <string_view>

namespace quillbox {

// The whole of `text` as a decimal number ("-1.5", "2e3"); nullopt for anything else, infinities and overflow
// included.
std::optional<double> parseReal(std::string_view text);

}  // namespace quillbox

// HTML mail as text that can be read.
#pragma once

#include <string>
#include <string_view>

namespace quillbox::mailclient {

// Tags dropped, blocks and line breaks as lines, entities decoded, scripts and styles left out. `html` is
// UTF-8, well formed or not.
std::string htmlToText(std::string_view html);

}  // namespace quillbox::mailclient

// Which statements' values can become the result of their handler.
#pragma once

#include "applescript/ast.h"

namespace quillbox::applescript {

// Clears keepsResult where another statement surely gives its value later, so that loops need not keep what
// nobody asks for. Nothing is cleared in a handler that reads `result`.
void findResults(HandlerNode& handler);

}  // namespace quillbox::applescript

// Gives every variable of a syntax tree its place, so that running looks nothing up by name that can be known
// before.
#pragma once

#include "applescript/ast.h"

namespace quillbox::applescript {

// A variable is local to its handler when the handler assigns it, unless it is declared global or is a
// property of a script object around it. What the statements at the top assign is global. Handlers of a
// script object inside a handler read the variables of that handler, which then live in cells; what they
// assign is their own.
void resolve(Program& program);

}  // namespace quillbox::applescript

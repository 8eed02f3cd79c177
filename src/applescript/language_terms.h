// The terms that every script has: the language's own and the standard additions, and the standard suite that
// every application is taken to have.
#pragma once

#include "applescript/terminology.h"

namespace quillbox::applescript {

const Terminology& languageTerms();
const Terminology& standardSuite();

}  // namespace quillbox::applescript

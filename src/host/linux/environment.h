// The process's environment, read in one place.
#pragma once

#include <functional>
#include <optional>
#include <string>
#include <vector>

#include "platform/file_system.h"

namespace quillbox {

// A variable's value; nothing when it is not set or empty.
using Environment = std::function<std::optional<std::string>(const char* name)>;

// That of this process.
Environment processEnvironment();

// The languages that the user wants, best first, as BCP 47 tags with their less exact forms behind them:
// LANG=pt_BR.UTF-8 gives {"pt-BR", "pt"}; the C locale gives none. LANGUAGE, LC_ALL, LC_MESSAGES and LANG
// count, as gettext counts them.
std::vector<std::string> preferredLanguages(const Environment& environment);

// The file of the running program.
Path executablePath();

}  // namespace quillbox

// The command groups, each defined in a file of its own (commands_*.cpp).
#pragma once

#include "cli/command.h"

namespace quillbox::cli {

void defineRun(CLI::App& app, Choice& choice);

}  // namespace quillbox::cli

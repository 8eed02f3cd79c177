// From the words of a command line to the command that they choose.
#pragma once

#include <optional>
#include <string>
#include <vector>

#include "base/result.h"
#include "cli/command.h"

namespace quillbox::cli {

struct Invocation {
  std::optional<std::string> profile;  // --profile
  OutputForm form = OutputForm::text;
  Choice choice;     // without an action when `help` is set
  std::string help;  // what to print instead of running anything; ends in a line break
};

// `words` without the program's name. Fails with error_number::wrongUsage and one line that says what is
// wrong.
Result<Invocation> parseCommandLine(const std::vector<std::string>& words);

// One line of a batch: a command without global options; help is its answer as a text.
Result<Choice> parseBatchCommand(const std::vector<std::string>& words);

// The names of all commands, in the order of the help.
std::vector<std::string> commandNames();

}  // namespace quillbox::cli

// The factories of the commands, for script_command.cpp alone.
#pragma once

#include <memory>
#include <string_view>

#include "scripting/script_command.h"

namespace quillbox::scripting {

// UpdateMailboxesWithListV2, UpdateMailboxesWithList, UpdateMailboxesLoadedPercentage,
// ReloadMailboxesScriptingCommand.
std::unique_ptr<ScriptCommand> makeListCommand(std::string_view className, const ScriptingServices& services);
// Everything about filing: the selected mailbox, the keep-open state, the sound, the handlers of the filing
// script, the web-mail modes.
std::unique_ptr<ScriptCommand> makeFilingCommand(std::string_view className,
                                                 const ScriptingServices& services);

}  // namespace quillbox::scripting

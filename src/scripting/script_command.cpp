#include "scripting/script_command.h"

#include <bit>
#include <cstring>

#include "scripting/commands.h"

namespace quillbox {

std::unique_ptr<ScriptCommand> makeScriptCommand(std::string_view className,
                                                 const ScriptingServices& services) {
  if (auto command = scripting::makeListCommand(className, services)) return command;
  return scripting::makeFilingCommand(className, services);
}

std::optional<std::string> filingSoundResource(FilingSoundAppEnum sound, RandomSource& random) {
  const auto& names = RawTexts<FilingSoundAppEnum>::values;
  if (sound == FilingSoundAppEnum::system) return std::nullopt;
  auto index = static_cast<std::size_t>(sound);
  if (sound == FilingSoundAppEnum::random) {
    // The cases between `system` and `random`. 2^64 is no multiple of thirteen, but the skew is below 1e-18.
    const auto candidates = names.size() - 2;
    std::uint64_t chance = 0;
    for (const auto byte : random.bytes16()) chance = chance << 8U | byte;
    index = 1 + chance % candidates;
  }
  return "Sounds/" + std::string(names[index]);
}

}  // namespace quillbox

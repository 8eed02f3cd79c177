// What the application's own scripting definition says for the application rather than for the language:
// which class performs a command and which key a property has.
#pragma once

#include <cstdint>
#include <map>
#include <string>
#include <string_view>

#include "base/result.h"
#include "platform/four_cc.h"

namespace quillbox {

class ScriptingDefinition {
 public:
  // Reads the XML of Resources/Quillbox.sdef. Fails with error_number::damagedFile.
  static Result<ScriptingDefinition> parse(std::string_view xml);

  // The class behind an event; empty for none.
  std::string_view commandClass(FourCC suite, FourCC id) const;
  // The key behind a property's code; empty for none.
  std::string_view propertyKey(FourCC code) const;
  FourCC propertyCode(std::string_view key) const;  // 0 for none

 private:
  std::map<std::uint64_t, std::string> commands_;
  std::map<FourCC, std::string> properties_;
};

}  // namespace quillbox

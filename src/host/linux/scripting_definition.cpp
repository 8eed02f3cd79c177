#include "host/linux/scripting_definition.h"

#include <pugixml.hpp>

#include <fmt/format.h>

#include "base/error_numbers.h"

namespace quillbox {
namespace {

constexpr std::uint64_t eventCode(FourCC suite, FourCC id) {
  return std::uint64_t{suite} << 32U | id;
}

}  // namespace

Result<ScriptingDefinition> ScriptingDefinition::parse(std::string_view xml) {
  pugi::xml_document document;
  const auto parsed = document.load_buffer(xml.data(), xml.size());
  if (!parsed) {
    return fail(error_number::damagedFile,
                fmt::format("The scripting definition cannot be read (at byte {}): {}", parsed.offset,
                            parsed.description()));
  }
  ScriptingDefinition definition;
  for (const auto& found : document.select_nodes("//command")) {
    const auto node = found.node();
    const std::string_view code = node.attribute("code").value();
    const std::string name = node.child("cocoa").attribute("class").value();
    if (code.size() != 8 || name.empty()) {
      return fail(error_number::damagedFile,
                  fmt::format("The command “{}” has no code of eight characters, or no class",
                              node.attribute("name").value()));
    }
    definition.commands_[eventCode(fourCC(code.substr(0, 4)), fourCC(code.substr(4)))] = name;
  }
  for (const auto& found : document.select_nodes("//property[cocoa/@key]")) {
    const auto node = found.node();
    definition.properties_[fourCC(node.attribute("code").value())] =
        node.child("cocoa").attribute("key").value();
  }
  return definition;
}

std::string_view ScriptingDefinition::commandClass(FourCC suite, FourCC id) const {
  const auto it = commands_.find(eventCode(suite, id));
  return it != commands_.end() ? std::string_view(it->second) : std::string_view();
}

std::string_view ScriptingDefinition::propertyKey(FourCC code) const {
  const auto it = properties_.find(code);
  return it != properties_.end() ? std::string_view(it->second) : std::string_view();
}

FourCC ScriptingDefinition::propertyCode(std::string_view key) const {
  for (const auto& [code, name] : properties_) {
    if (name == key) return code;
  }
  return 0;
}

}  // namespace quillbox

#include "model/custom_keyboard_shortcut.h"

#include <utility>

#include <fmt/format.h>

#include "base/error_numbers.h"
#include "base/json.h"
#include "base/text.h"

namespace quillbox {
namespace {

Json toJson(const CustomKeyboardShortcut& shortcut) {
  Json json = Json::object();
  json["action"] = rawText(shortcut.action);
  json["keyEquivalent"] = shortcut.keyEquivalent;
  json["modifiers"] = shortcut.modifiers;
  json["enabled"] = shortcut.enabled;
  return json;
}

Result<CustomKeyboardShortcut> fromJson(const Json& json, std::string_view what) {
  const auto name = textMember(json, "action", what);
  if (!name) return forward(name);
  const auto action = fromRawText<CustomKeyboardShortcutAction>(*name);
  if (!action) {
    return fail(error_number::damagedFile,
                fmt::format("\"{}\" of {} is no action.", text::singleLine(*name), what));
  }
  auto key = textMember(json, "keyEquivalent", what);
  if (!key) return forward(key);
  if (text::countCharacters(*key) != 1) return fail(error_number::damagedFile, "Invalid character string");
  const auto modifiers = integerMember(json, "modifiers", what);
  if (!modifiers) return forward(modifiers);
  const auto enabled = boolMember(json, "enabled", what);
  if (!enabled) return forward(enabled);
  return CustomKeyboardShortcut{*action, *std::move(key), *modifiers, *enabled};
}

}  // namespace

std::string encodeCustomKeyboardShortcuts(const std::vector<CustomKeyboardShortcut>& shortcuts) {
  return writeJson(arrayOf(shortcuts, toJson));
}

Result<std::vector<CustomKeyboardShortcut>> decodeCustomKeyboardShortcuts(std::string_view json) {
  return decodeArray<CustomKeyboardShortcut>(json, "shortcut", fromJson);
}

}  // namespace quillbox

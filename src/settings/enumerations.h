// The enumerations that settings hold. Text enumerations are stored by their raw text, integer ones by their
// number.
#pragma once

#include <array>
#include <cstdint>
#include <optional>
#include <string_view>
#include <utility>

#include "base/raw_enum.h"

namespace quillbox {

// What happens to the query when the window is shown.
enum class SearchOnActivationAppEnum { retain, clear, clearOnAction };
template <>
struct RawTexts<SearchOnActivationAppEnum> {
  static constexpr std::array<std::string_view, 3> values{"retain", "clear", "clearOnAction"};
};

// What one, two or three presses of Escape do.
enum class EscapeModeAppEnum { close, clear, quickFile, nothing };
template <>
struct RawTexts<EscapeModeAppEnum> {
  static constexpr std::array<std::string_view, 4> values{"close", "clear", "quickFile", "nothing"};
};

// What Return does in the search field.
enum class EnterModeAppEnum { file, focus };
template <>
struct RawTexts<EnterModeAppEnum> {
  static constexpr std::array<std::string_view, 2> values{"file", "focus"};
};

// Where long paths are shortened in the list.
enum class TruncationModeEnum { head, middle, tail };
template <>
struct RawTexts<TruncationModeEnum> {
  static constexpr std::array<std::string_view, 3> values{"head", "middle", "tail"};
};

// How a suggested row is marked.
enum class SuggestedMailboxLabelStyle {
  iconOnly,
  iconAndHilite,
  titleOnly,
  titleAndHilite,
  titleAndIcon,
  titleIconAndHilite
};
template <>
struct RawTexts<SuggestedMailboxLabelStyle> {
  static constexpr std::array<std::string_view, 6> values{
      "iconOnly", "iconAndHilite", "titleOnly", "titleAndHilite", "titleAndIcon", "titleIconAndHilite"};
};

// What the filing key does.
enum class FilingActionAppEnum { move, copy, open, train, nothing };
template <>
struct RawTexts<FilingActionAppEnum> {
  static constexpr std::array<std::string_view, 5> values{"move", "copy", "open", "train", "nothing"};
};

enum class FilingSoundAppEnum {
  system,
  bass,
  bloop,
  boba,
  congas,
  milkyYellow,
  orchestra,
  piano,
  pipa,
  pots,
  recorder,
  red,
  silentSwitch,
  spacebar,
  random
};
template <>
struct RawTexts<FilingSoundAppEnum> {
  static constexpr std::array<std::string_view, 15> values{
      "system", "bass", "bloop",    "boba", "congas",       "milkyYellow", "orchestra", "piano",
      "pipa",   "pots", "recorder", "red",  "silentSwitch", "spacebar",    "random"};
};

// What the global hot key does.
enum class KeyboardShortcutActionAppEnum { toggle, focus, show, showAndFocus };
template <>
struct RawTexts<KeyboardShortcutActionAppEnum> {
  static constexpr std::array<std::string_view, 4> values{"toggle", "focus", "show", "showAndFocus"};
};

// The colour label that filed messages get.
enum class MessageLabelAppEnum { none, remove, blue, gray, green, orange, purple, red, yellow };
template <>
struct RawTexts<MessageLabelAppEnum> {
  static constexpr std::array<std::string_view, 9> values{"none",   "remove", "blue", "gray",  "green",
                                                          "orange", "purple", "red",  "yellow"};
};

// Where the window stands against the mail client's window.
enum class AlignWindowPositionAppEnum {
  leftTop,
  top,
  rightTop,
  topLeft,
  left,
  bottomLeft,
  topRight,
  right,
  bottomRight,
  leftBottom,
  bottom,
  rightBottom
};
template <>
struct RawTexts<AlignWindowPositionAppEnum> {
  static constexpr std::array<std::string_view, 12> values{
      "leftTop",  "top",   "rightTop",    "topLeft",    "left",   "bottomLeft",
      "topRight", "right", "bottomRight", "leftBottom", "bottom", "rightBottom"};
};

enum class WindowTypeEnum { floating, standard };
template <>
struct RawTexts<WindowTypeEnum> {
  static constexpr std::array<std::string_view, 2> values{"floating", "standard"};
};

// Specialised for an enumeration that is stored as its number: the cases in order, with their names for
// people.
template <class E>
struct RawNumbers;

template <class E>
concept IntegerEnum = requires { RawNumbers<E>::cases.size(); };

// Nothing for a number that is none of the cases.
template <IntegerEnum E>
constexpr std::optional<E> fromRawNumber(std::int64_t number) {
  for (const auto& [value, name] : RawNumbers<E>::cases) {
    if (static_cast<std::int64_t>(value) == number) return value;
  }
  return std::nullopt;
}

// The flag that filed messages get: the mail client's flag index, or one of two orders.
enum class MessageFlagAppEnum : std::int64_t {
  remove = -2,  // clear the flag
  none = -1,    // leave it
  red = 0,
  orange = 1,
  yellow = 2,
  green = 3,
  blue = 4,
  purple = 5,
  gray = 6
};
template <>
struct RawNumbers<MessageFlagAppEnum> {
  using enum MessageFlagAppEnum;
  static constexpr std::array<std::pair<MessageFlagAppEnum, std::string_view>, 9> cases{{{none, "none"},
                                                                                         {remove, "remove"},
                                                                                         {red, "red"},
                                                                                         {orange, "orange"},
                                                                                         {yellow, "yellow"},
                                                                                         {green, "green"},
                                                                                         {blue, "blue"},
                                                                                         {purple, "purple"},
                                                                                         {gray, "gray"}}};
};

// Where the mail client's selection goes after filing.
enum class MoveSelectionDirectionAppEnum : std::int64_t { up = 0, down = 1 };
template <>
struct RawNumbers<MoveSelectionDirectionAppEnum> {
  using enum MoveSelectionDirectionAppEnum;
  static constexpr std::array<std::pair<MoveSelectionDirectionAppEnum, std::string_view>, 2> cases{
      {{up, "up"}, {down, "down"}}};
};

// The modifier keys that file into a numbered row.
enum class NumberedMailboxesFilingModifier : std::int64_t {
  disabled = 0,
  optionCommand = 1,
  controlOptionCommand = 2,
  command = 3
};
template <>
struct RawNumbers<NumberedMailboxesFilingModifier> {
  using enum NumberedMailboxesFilingModifier;
  static constexpr std::array<std::pair<NumberedMailboxesFilingModifier, std::string_view>, 4> cases{
      {{disabled, "disabled"},
       {optionCommand, "optionCommand"},
       {controlOptionCommand, "controlOptionCommand"},
       {command, "command"}}};
};

}  // namespace quillbox

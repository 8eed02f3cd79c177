// How a value of each settings type is stored, shown and read from a command line.
#pragma once

#include <cstdint>
#include <string>
#include <string_view>
#include <vector>

#include <fmt/format.h>

#include "base/result.h"
#include "model/custom_keyboard_shortcut.h"
#include "model/gmail_filing_mode.h"
#include "model/mailbox.h"
#include "model/mailbox_sort.h"
#include "platform/user_defaults.h"
#include "settings/enumerations.h"

namespace quillbox {

// JSON that is kept as it stands; "[]" when nothing was stored.
struct JsonText {
  std::string text = "[]";
  bool operator==(const JsonText&) const = default;
};

namespace setting_codec {

// SettingCodec<T> has
//   encode(value): what is stored;
//   decode(stored): the value again; the error's message says what would be accepted;
//   json(value): compact JSON;
//   parse(text): the value from a command line's argument;
//   literal type Literal, the form of a default in the constexpr table, and fromLiteral().
template <class T>
struct SettingCodec;

std::unexpected<Error> refused(std::string_view accepted);

Result<bool> decodeBool(const DefaultsValue& stored);
Result<std::int64_t> decodeInteger(const DefaultsValue& stored);
Result<double> decodeReal(const DefaultsValue& stored);
Result<std::string> decodeText(const DefaultsValue& stored);
Result<std::string> decodeBytes(const DefaultsValue& stored, std::string_view typeName);
Result<std::int64_t> parseInteger(std::string_view text);
Result<double> parseFinite(std::string_view text);
std::string quoteJson(std::string_view text);
std::string realJson(double value);
Result<std::vector<std::string>> decodeTexts(std::string_view json);
std::string encodeTexts(const std::vector<std::string>& texts);
Result<JsonText> decodeJsonText(std::string_view json);

template <>
struct SettingCodec<bool> {
  using Literal = bool;
  static bool fromLiteral(bool value) { return value; }
  static DefaultsValue encode(bool value) { return value; }
  static Result<bool> decode(const DefaultsValue& stored) { return decodeBool(stored); }
  static std::string json(bool value) { return value ? "true" : "false"; }
  static Result<bool> parse(std::string_view text) {
    if (text == "true") return true;
    if (text == "false") return false;
    return refused("true or false");
  }
};

template <>
struct SettingCodec<std::int64_t> {
  using Literal = std::int64_t;
  static std::int64_t fromLiteral(std::int64_t value) { return value; }
  static DefaultsValue encode(std::int64_t value) { return value; }
  static Result<std::int64_t> decode(const DefaultsValue& stored) { return decodeInteger(stored); }
  static std::string json(std::int64_t value) { return std::to_string(value); }
  static Result<std::int64_t> parse(std::string_view text) { return parseInteger(text); }
};

template <>
struct SettingCodec<std::uint64_t> {
  using Literal = std::uint64_t;
  static std::uint64_t fromLiteral(std::uint64_t value) { return value; }
  static DefaultsValue encode(std::uint64_t value) { return static_cast<std::int64_t>(value); }
  static Result<std::uint64_t> decode(const DefaultsValue& stored) {
    const auto number = decodeInteger(stored);
    if (!number || *number < 0) return refused("a whole number of 0 or more");
    return static_cast<std::uint64_t>(*number);
  }
  static std::string json(std::uint64_t value) { return std::to_string(value); }
  static Result<std::uint64_t> parse(std::string_view text) {
    const auto number = parseInteger(text);
    if (!number || *number < 0) return refused("a whole number of 0 or more");
    return static_cast<std::uint64_t>(*number);
  }
};

template <>
struct SettingCodec<double> {
  using Literal = double;
  static double fromLiteral(double value) { return value; }
  static DefaultsValue encode(double value) { return value; }
  static Result<double> decode(const DefaultsValue& stored) { return decodeReal(stored); }
  static std::string json(double value) { return realJson(value); }
  static Result<double> parse(std::string_view text) { return parseFinite(text); }
};

template <>
struct SettingCodec<std::string> {
  using Literal = std::string_view;
  static std::string fromLiteral(std::string_view value) { return std::string(value); }
  static DefaultsValue encode(const std::string& value) { return value; }
  static Result<std::string> decode(const DefaultsValue& stored) { return decodeText(stored); }
  static std::string json(const std::string& value) { return quoteJson(value); }
  static Result<std::string> parse(std::string_view text) { return decodeText(std::string(text)); }
};

template <TextEnum E>
struct SettingCodec<E> {
  using Literal = E;
  static E fromLiteral(E value) { return value; }
  static DefaultsValue encode(E value) { return std::string(rawText(value)); }
  static Result<E> decode(const DefaultsValue& stored) {
    const auto* text = std::get_if<std::string>(&stored);
    return parse(text != nullptr ? std::string_view(*text) : std::string_view());
  }
  static std::string json(E value) { return quoteJson(rawText(value)); }
  static Result<E> parse(std::string_view text) {
    if (const auto value = fromRawText<E>(text)) return *value;
    return refused(fmt::format("one of: {}", fmt::join(RawTexts<E>::values, ", ")));
  }
};

template <IntegerEnum E>
struct SettingCodec<E> {
  using Literal = E;
  static E fromLiteral(E value) { return value; }
  static DefaultsValue encode(E value) { return static_cast<std::int64_t>(value); }
  static Result<E> decode(const DefaultsValue& stored) { return fromNumber(decodeInteger(stored)); }
  static std::string json(E value) { return std::to_string(static_cast<std::int64_t>(value)); }
  static Result<E> parse(std::string_view text) { return fromNumber(parseInteger(text)); }

 private:
  static Result<E> fromNumber(const Result<std::int64_t>& number) {
    if (const auto value = number ? fromRawNumber<E>(*number) : std::nullopt) return *value;
    std::string accepted;
    for (const auto& [value, name] : RawNumbers<E>::cases) {
      accepted += fmt::format("{}{} ({})", accepted.empty() ? "one of: " : ", ",
                              static_cast<std::int64_t>(value), name);
    }
    return refused(accepted);
  }
};

struct EmptyList {};

// What is stored as JSON data.
template <class T, auto Encode, auto Decode>
struct DataCodec {
  using Literal = EmptyList;
  static T fromLiteral(EmptyList) { return {}; }
  static DefaultsValue encode(const T& value) { return Data{Encode(value)}; }
  static Result<T> decode(const DefaultsValue& stored) {
    const auto bytes = decodeBytes(stored, "JSON data");
    if (!bytes) return forward(bytes);
    if (bytes->empty()) return T{};
    return Decode(*bytes);
  }
  static std::string json(const T& value) { return Encode(value); }
  static Result<T> parse(std::string_view text) { return Decode(text); }
};

inline std::string encodeJsonText(const JsonText& json) {
  return json.text;
}

template <>
struct SettingCodec<std::vector<Mailbox>>
    : DataCodec<std::vector<Mailbox>, encodeMailboxes, decodeMailboxes> {
  static constexpr std::string_view element = "Mailbox";
};
template <>
struct SettingCodec<std::vector<MailboxSort>>
    : DataCodec<std::vector<MailboxSort>, encodeMailboxSorts, decodeMailboxSorts> {
  static constexpr std::string_view element = "MailboxSort";
};
template <>
struct SettingCodec<std::vector<GmailFilingMode>>
    : DataCodec<std::vector<GmailFilingMode>, encodeGmailFilingModes, decodeGmailFilingModes> {
  static constexpr std::string_view element = "GmailFilingMode";
};
template <>
struct SettingCodec<std::vector<CustomKeyboardShortcut>>
    : DataCodec<std::vector<CustomKeyboardShortcut>, encodeCustomKeyboardShortcuts,
                decodeCustomKeyboardShortcuts> {
  static constexpr std::string_view element = "CustomKeyboardShortcut";
};
template <>
struct SettingCodec<std::vector<std::string>>
    : DataCodec<std::vector<std::string>, encodeTexts, decodeTexts> {
  static constexpr std::string_view element = "String";
};
template <>
struct SettingCodec<JsonText> : DataCodec<JsonText, encodeJsonText, decodeJsonText> {
  static constexpr std::string_view element = "JSON";
};

template <class T>
concept StoredAsData = requires { SettingCodec<T>::element; };

}  // namespace setting_codec
}  // namespace quillbox

#include <cerrno>
#include <cmath>
#include <cstdint>
#include <type_traits>

#include <fmt/format.h>

#include "base/error_numbers.h"
#include "base/json.h"
#include "base/number.h"
#include "base/text.h"
#include "host/linux/cloud_folder.h"

namespace quillbox {
namespace {

constexpr std::string_view kMagic = "quillbox-cloud 1 ";

// FNV-1a, 64 bits: against accidents, not against forgery.
std::string checksum(std::string_view key, std::string_view type, std::string_view payload) {
  std::uint64_t hash = 0xCBF29CE484222325U;
  for (const std::string_view part :
       {key, std::string_view("\0", 1), type, std::string_view("\0", 1), payload}) {
    for (const char c : part) {
      hash ^= static_cast<unsigned char>(c);
      hash *= 0x100000001B3U;
    }
  }
  return fmt::format("{:016x}", hash);
}

std::unexpected<Error> damaged(std::string_view why) {
  return fail(error_number::damagedFile, fmt::format("It is not a whole value: {}.", why));
}

Result<DefaultsValue> valueOf(std::string_view type, std::string_view payload) {
  if (type == "data") return Data{std::string(payload)};
  if (type == "text") {
    if (!text::isValidUtf8(payload)) return damaged("the text is not UTF-8");
    return std::string(payload);
  }
  if (type == "bool" && payload == "true") return true;
  if (type == "bool" && payload == "false") return false;
  if (type == "real") {
    if (const auto number = parseReal(payload)) return *number;
    return damaged("the number does not read");
  }
  if (type == "integer") {
    const auto number = parseJson(payload, "The integer");
    if (number && number->is_number_integer() &&
        (!number->is_number_unsigned() || number->get<std::uint64_t>() <= INT64_MAX))
      return number->get<std::int64_t>();
    return damaged("the integer does not read");
  }
  return damaged("its type is unknown");
}

}  // namespace

std::string cloudFileName(std::string_view key) {
  std::string name = "kv-";
  for (const char c : key) {
    if (c >= 'A' && c <= 'Z') {
      name += '_';
      name += static_cast<char>(c - 'A' + 'a');
    } else if ((c >= 'a' && c <= 'z') || (c >= '0' && c <= '9') || c == '-' || c == '.') {
      name += c;
    } else {
      name += fmt::format("={:02x}", static_cast<unsigned char>(c));
    }
  }
  return name + ".quillbox";
}

Result<std::string> encodeCloudFile(std::string_view key, const DefaultsValue& value) {
  std::string_view type;
  std::string payload;
  std::visit(
      [&](const auto& v) {
        using T = std::decay_t<decltype(v)>;
        if constexpr (std::is_same_v<T, bool>) {
          type = "bool";
          payload = v ? "true" : "false";
        } else if constexpr (std::is_same_v<T, std::int64_t>) {
          type = "integer";
          payload = std::to_string(v);
        } else if constexpr (std::is_same_v<T, double>) {
          type = "real";
          payload = writeJson(v);
        } else if constexpr (std::is_same_v<T, std::string>) {
          type = "text";
          payload = v;
        } else {
          type = "data";
          payload = v.bytes;
        }
      },
      value);
  if (const auto* number = std::get_if<double>(&value); number != nullptr && !std::isfinite(*number))
    return fail(EINVAL, fmt::format("The value of {} is not a finite number", text::singleLine(key)));
  Json header = Json::object();
  header["key"] = std::string(key);
  header["type"] = std::string(type);
  header["length"] = payload.size();
  header["checksum"] = checksum(key, type, payload);
  return fmt::format("{}{}\n{}", kMagic, writeJson(header), payload);
}

Result<CloudFileContents> decodeCloudFile(std::string_view bytes) {
  constexpr std::size_t longestHeader = 2000;
  if (!bytes.starts_with(kMagic)) return damaged("it does not begin as one");
  const auto end = bytes.substr(0, longestHeader).find('\n');
  if (end == std::string_view::npos) return damaged("its header does not end");
  const auto header = parseJson(bytes.substr(kMagic.size(), end - kMagic.size()), "Its header");
  if (!header) return damaged(header.error().message);
  const auto key = textMember(*header, "key", "its header");
  const auto type = textMember(*header, "type", "its header");
  const auto sum = textMember(*header, "checksum", "its header");
  const auto length = integerMember(*header, "length", "its header");
  if (!key || !type || !sum || !length) return damaged("its header lacks a member");
  const auto payload = bytes.substr(end + 1);
  if (*length < 0 || static_cast<std::uint64_t>(*length) != payload.size())
    return damaged(fmt::format("it has {} bytes where {} were written", payload.size(), *length));
  if (*sum != checksum(*key, *type, payload)) return damaged("its checksum does not match");
  auto value = valueOf(*type, payload);
  if (!value) return forward(value);
  return CloudFileContents{*key, *std::move(value)};
}

}  // namespace quillbox

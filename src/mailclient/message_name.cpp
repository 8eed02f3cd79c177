#include "mailclient/message_name.h"

#include <algorithm>
#include <charconv>

namespace quillbox::mailclient {
namespace {

constexpr std::string_view kInfo = ":2,";

// The field that begins with `key` (",U="), from its comma to the next comma or the end; empty when there is
// none.
std::string_view fieldOf(std::string_view base, std::string_view key) {
  const auto begin = base.find(key);
  if (begin == std::string_view::npos) return {};
  const auto end = base.find(',', begin + 1);
  return base.substr(begin, end == std::string_view::npos ? end : end - begin);
}

}  // namespace

std::string_view baseOf(std::string_view fileName) {
  const auto info = fileName.rfind(kInfo);
  return info == std::string_view::npos ? fileName : fileName.substr(0, info);
}

std::string_view infoOf(std::string_view fileName) {
  return fileName.substr(baseOf(fileName).size());
}

MessageName MessageName::parse(std::string_view fileName) {
  MessageName name;
  name.base = std::string(baseOf(fileName));
  if (name.base.size() == fileName.size()) return name;
  name.hasInfo = true;
  const auto info = fileName.substr(name.base.size() + kInfo.size());
  const auto comma = info.find(',');
  if (comma != std::string_view::npos) name.foreign = std::string(info.substr(comma));
  name.flags = std::string(info.substr(0, comma));
  std::ranges::sort(name.flags, {}, [](char c) { return static_cast<unsigned char>(c); });
  const auto repeated = std::ranges::unique(name.flags);
  name.flags.erase(repeated.begin(), repeated.end());
  return name;
}

std::string MessageName::fileName() const {
  if (!hasInfo && flags.empty() && foreign.empty()) return base;
  return base + std::string(kInfo) + flags + foreign;
}

void MessageName::set(char letter, bool on) {
  const auto place = std::ranges::lower_bound(flags, static_cast<unsigned char>(letter), {},
                                              [](char c) { return static_cast<unsigned char>(c); });
  const bool present = place != flags.end() && *place == letter;
  if (on && !present) flags.insert(place, letter);
  if (!on && present) flags.erase(place);
}

bool isMessageFileName(std::string_view fileName) {
  return !fileName.empty() && fileName.front() != '.';
}

std::string withoutUid(std::string_view base) {
  const auto field = fieldOf(base, ",U=");
  if (field.empty()) return std::string(base);
  const auto begin = static_cast<std::size_t>(field.data() - base.data());
  std::string out(base.substr(0, begin));
  out += base.substr(begin + field.size());
  return out;
}

std::string stableId(std::string_view fileName) {
  return withoutUid(baseOf(fileName));
}

int compareStableId(std::string_view fileName, std::string_view id) {
  const auto base = baseOf(fileName);
  const auto field = fieldOf(base, ",U=");
  if (field.empty()) return base.compare(id);
  const auto begin = static_cast<std::size_t>(field.data() - base.data());
  const auto first = base.substr(0, begin);
  if (const auto order = first.compare(id.substr(0, begin)); order != 0) return order;
  return base.substr(begin + field.size()).compare(id.substr(begin));
}

std::int64_t deliveryTime(std::string_view fileName) {
  std::int64_t seconds = 0;
  const auto [end, error] = std::from_chars(fileName.data(), fileName.data() + fileName.size(), seconds);
  if (error != std::errc() || seconds < 0) return 0;
  return seconds;
}

std::optional<std::uint64_t> sizeField(std::string_view fileName) {
  const auto field = fieldOf(baseOf(fileName), ",S=");
  if (field.size() <= 3) return std::nullopt;
  std::uint64_t size = 0;
  const auto [end, error] = std::from_chars(field.data() + 3, field.data() + field.size(), size);
  if (error != std::errc() || end != field.data() + field.size()) return std::nullopt;
  return size;
}

std::string freshBase(std::int64_t seconds, std::string_view randomHex, std::string_view model) {
  const auto base = baseOf(model);
  std::string out = std::to_string(seconds) + ".R" + std::string(randomHex) + ".quillbox";
  out += fieldOf(base, ",S=");
  out += fieldOf(base, ",W=");
  return out;
}

std::int32_t scriptId(std::string_view stableId) {
  std::uint64_t hash = 0xcbf29ce484222325ULL;  // FNV-1a
  for (const char c : stableId) {
    hash ^= static_cast<unsigned char>(c);
    hash *= 0x100000001b3ULL;
  }
  hash ^= hash >> 32;
  return static_cast<std::int32_t>(hash % 536'870'911ULL) + 1;
}

}  // namespace quillbox::mailclient

// The header half of mime.h. The block is split into fields here, so that nothing a message holds in its
// headers (NUL bytes, lines without a colon, no end) hides what comes after it; GMime decodes the values.
#include <algorithm>
#include <cerrno>
#include <chrono>
#include <functional>
#include <mutex>

#include <fmt/format.h>

#include "base/text.h"
#include "mailclient/gmime_handle.h"
#include "mailclient/mime.h"

namespace quillbox::mailclient {
namespace {

constexpr std::uint64_t kFirstRead = 8 << 10;

struct DateRelease {
  void operator()(GDateTime* date) const { g_date_time_unref(date); }
};

bool sameName(std::string_view a, std::string_view b) {
  return std::ranges::equal(a, b, [](char x, char y) {
    const auto lower = [](char c) { return c >= 'A' && c <= 'Z' ? static_cast<char>(c + 32) : c; };
    return lower(x) == lower(y);
  });
}

// Calls `each` with name and unfolded value, a C string without NUL bytes; stops when it returns false.
void forEachField(std::string_view block,
                  const std::function<bool(std::string_view name, std::string_view raw)>& each) {
  std::size_t at = 0;
  while (at < block.size()) {
    std::size_t end = at;
    // A field goes on while the next line begins with white space.
    while (true) {
      end = std::min(block.find('\n', end), block.size());
      if (end + 1 >= block.size() || (block[end + 1] != ' ' && block[end + 1] != '\t')) break;
      ++end;
    }
    const auto field = block.substr(at, end - at);
    at = end + 1;
    const auto colon = field.find(':');
    if (colon == std::string_view::npos || colon == 0) continue;
    const auto name = text::trim(field.substr(0, colon));
    if (name.empty() || name.find_first_of(" \t\n") != std::string_view::npos) continue;
    if (!each(name, field.substr(colon + 1))) return;
  }
}

std::string unfold(std::string_view raw) {
  std::string out;
  for (std::size_t i = 0; i < raw.size(); ++i) {
    const char c = raw[i];
    if (c == '\n' || (c == '\r' && (i + 1 == raw.size() || raw[i + 1] == '\n'))) continue;
    // A line is often folded before a tab, which readers show as a space.
    out += c == '\0' || c == '\t' || c == '\r' ? ' ' : c;
  }
  return std::string(text::trim(out));
}

std::string decode(std::string_view raw) {
  const auto value = unfold(raw);
  const GText decoded(g_mime_utils_header_decode_text(parserOptions(), value.c_str()));
  return decoded ? text::toValidUtf8(decoded.get()) : sourceText(value);
}

void collect(InternetAddressList* list, std::vector<Address>& out) {
  if (list == nullptr) return;
  const int length = internet_address_list_length(list);
  for (int i = 0; i < length; ++i) {
    InternetAddress* const item = internet_address_list_get_address(list, i);
    if (INTERNET_ADDRESS_IS_GROUP(item)) {
      collect(internet_address_group_get_members(INTERNET_ADDRESS_GROUP(item)), out);
    } else if (INTERNET_ADDRESS_IS_MAILBOX(item)) {
      out.push_back(
          {text::toValidUtf8(textOf(internet_address_get_name(item))),
           text::toValidUtf8(textOf(internet_address_mailbox_get_addr(INTERNET_ADDRESS_MAILBOX(item))))});
    }
  }
}

std::vector<Address> addresses(std::string_view raw) {
  std::vector<Address> out;
  const auto value = unfold(raw);
  if (value.empty()) return out;
  const GObjectHandle<InternetAddressList> list(internet_address_list_parse(parserOptions(), value.c_str()));
  collect(list.get(), out);
  return out;
}

std::string shown(const Address& address) {
  if (address.name.empty()) return address.address;
  return address.address.empty() ? address.name : fmt::format("{} <{}>", address.name, address.address);
}

std::string senderOf(std::string_view raw) {
  std::string out;
  for (const auto& address : addresses(raw)) {
    if (!out.empty()) out += ", ";
    out += shown(address);
  }
  return out.empty() ? decode(raw) : out;
}

std::string messageIdOf(std::string_view raw) {
  auto value = sourceText(unfold(raw));
  const auto open = value.find('<');
  if (open != std::string::npos) {
    const auto close = value.find('>', open);
    return value.substr(open + 1, close == std::string::npos ? close : close - open - 1);
  }
  return value;
}

std::optional<std::int64_t> dateOf(std::string_view raw) {
  const auto value = unfold(raw);
  const std::unique_ptr<GDateTime, DateRelease> date(g_mime_utils_header_decode_date(value.c_str()));
  if (!date) return std::nullopt;
  return g_date_time_to_unix(date.get());
}

}  // namespace

GMimeParserOptions* parserOptions() {
  static std::once_flag once;
  static GMimeParserOptions* options = nullptr;
  std::call_once(once, [] {
    g_mime_init();
    options = g_mime_parser_options_new();
    const char* charsets[] = {"utf-8", "windows-1252", nullptr};
    g_mime_parser_options_set_fallback_charsets(options, charsets);
  });
  return options;
}

std::string_view headerBlock(std::string_view message) {
  std::size_t at = 0;
  while (at < message.size()) {
    const auto end = message.find('\n', at);
    const auto line = message.substr(at, end == std::string_view::npos ? end : end - at);
    if (line.empty() || line == "\r") return message.substr(0, at);
    if (end == std::string_view::npos) break;
    at = end + 1;
  }
  return message;
}

Result<std::string> readHeaderBlock(FileSystem& files, const Path& file) {
  auto bytes = files.readRange(file, 0, kFirstRead);
  if (!bytes) return bytes;
  if (bytes->size() == kFirstRead && headerBlock(*bytes).size() == bytes->size()) {
    bytes = files.readRange(file, 0, longestHeader);
    if (!bytes) return bytes;
  }
  bytes->resize(headerBlock(*bytes).size());
  return bytes;
}

HeaderSummary summarize(std::string_view block) {
  HeaderSummary summary;
  bool id = false;
  bool from = false;
  bool subject = false;
  bool date = false;
  std::optional<std::string> references;
  std::optional<std::string> inReplyTo;
  forEachField(block, [&](std::string_view name, std::string_view raw) {
    if (!id && sameName(name, "message-id")) {
      summary.messageId = messageIdOf(raw);
      id = true;
    } else if (!from && sameName(name, "from")) {
      summary.sender = senderOf(raw);
      from = true;
    } else if (!subject && sameName(name, "subject")) {
      summary.subject = decode(raw);
      subject = true;
    } else if (!date && sameName(name, "date")) {
      summary.sent = dateOf(raw);
      date = true;
    } else if (!references && sameName(name, "references")) {
      references = sourceText(unfold(raw));
    } else if (!inReplyTo && sameName(name, "in-reply-to")) {
      inReplyTo = sourceText(unfold(raw));
    }
    return !(id && from && subject && date && references && inReplyTo);
  });
  summary.references = referencedIds(references.value_or(""), inReplyTo.value_or(""));
  return summary;
}

std::vector<Header> allHeaders(std::string_view block) {
  std::vector<Header> headers;
  forEachField(block, [&](std::string_view name, std::string_view raw) {
    headers.push_back({sourceText(name), decode(raw)});
    return true;
  });
  return headers;
}

Recipients recipients(std::string_view block) {
  Recipients result;
  forEachField(block, [&](std::string_view name, std::string_view raw) {
    auto* list = sameName(name, "to")    ? &result.to
                 : sameName(name, "cc")  ? &result.cc
                 : sameName(name, "bcc") ? &result.bcc
                                         : nullptr;
    if (list != nullptr) std::ranges::move(addresses(raw), std::back_inserter(*list));
    return true;
  });
  return result;
}

std::string headerContent(std::string_view block, std::string_view name) {
  std::string content;
  forEachField(block, [&](std::string_view other, std::string_view raw) {
    if (!sameName(name, other)) return true;
    content = decode(raw);
    return false;
  });
  return content;
}

std::string extractName(std::string_view from) {
  const auto list = addresses(from);
  if (list.empty()) return std::string(from);
  return list.front().name.empty() ? list.front().address : list.front().name;
}

std::string extractAddress(std::string_view from) {
  const auto list = addresses(from);
  return list.empty() ? std::string(from) : list.front().address;
}

std::string isoTime(std::int64_t seconds) {
  using namespace std::chrono;
  // The years that four digits can write.
  const auto at =
      sys_seconds(std::chrono::seconds(std::clamp<std::int64_t>(seconds, -62167219200, 253402300799)));
  const auto day = floor<days>(at);
  const year_month_day date(day);
  const hh_mm_ss time(at - day);
  return fmt::format("{:04}-{:02}-{:02}T{:02}:{:02}:{:02}Z", static_cast<int>(date.year()),
                     static_cast<unsigned>(date.month()), static_cast<unsigned>(date.day()),
                     time.hours().count(), time.minutes().count(), time.seconds().count());
}

}  // namespace quillbox::mailclient

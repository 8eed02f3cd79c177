// What a message says: its headers and its text, decoded. Any bytes give an answer; nothing here fails.
#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "base/result.h"
#include "mailclient/message_ids.h"
#include "platform/file_system.h"

namespace quillbox::mailclient {

struct Header {
  std::string name;
  std::string content;  // unfolded and decoded
  bool operator==(const Header&) const = default;
};

struct Address {
  std::string name;  // empty when there is none
  std::string address;
  bool operator==(const Address&) const = default;
};

// What a list of messages shows, and what puts them into conversations.
struct HeaderSummary {
  std::string messageId;  // without angle brackets; empty when the message has none
  std::string sender;     // the From header, decoded: "Ada Lovelace <ada@example.org>"
  std::string subject;
  std::optional<std::int64_t> sent;  // the Date header in seconds since 1970 UTC
  ReferencedIds references{};        // what it answers
  bool operator==(const HeaderSummary&) const = default;
};

struct Recipients {
  std::vector<Address> to;
  std::vector<Address> cc;
  std::vector<Address> bcc;
};

struct Attachment {
  std::string name;
  std::string mimeType;
  std::uint64_t size = 0;  // bytes, decoded
  std::string id;          // its place in the structure: "2.1"
};

struct MessageText {
  std::string text;  // the plain text, or the HTML made readable where there is only HTML
  std::vector<Attachment> attachments;
};

// A header that never ends is cut after this many bytes.
inline constexpr std::uint64_t longestHeader = 1 << 20;

// The header part of a message: everything up to its first empty line, or all of `message` where there is
// none.
std::string_view headerBlock(std::string_view message);
// Reads the header part of a message file, up to longestHeader of it, without reading the rest.
Result<std::string> readHeaderBlock(FileSystem& files, const Path& file);

HeaderSummary summarize(std::string_view headerBlock);
std::vector<Header> allHeaders(std::string_view headerBlock);
Recipients recipients(std::string_view headerBlock);
// The first header of that name, in any case; empty when there is none.
std::string headerContent(std::string_view headerBlock, std::string_view name);

// What lies behind the first 100,000 parts is not looked at.
MessageText readText(std::string_view message);

// Raw bytes as text: what is not UTF-8 is read as windows-1252.
std::string sourceText(std::string_view bytes);

// "Ada <ada@example.org>" gives "Ada" and "ada@example.org"; a text that is only an address gives itself
// twice.
std::string extractName(std::string_view from);
std::string extractAddress(std::string_view from);

// "2026-03-01T08:15:00Z".
std::string isoTime(std::int64_t seconds);

}  // namespace quillbox::mailclient

// Writes the sample mail of samples/mail as Maildirs, for the demonstration and for anyone who wants mail to
// try on.
//   quillbox-sample-store SAMPLES-DIR TARGET-DIR
// makes TARGET-DIR/Work and "Web Mail" (Maildir++), Personal and Local (nested folders). The target must not
// exist.
//
// A sample file holds blocks. A block opens with
//   @ FOLDER | FLAGS | DATE | NAME                    one message
//   @series COUNT | FOLDER | FLAGS | DATE | DAYS | NAME   COUNT messages, DAYS apart, with {n} {week}
//   {number} {people}
//                                                      {cubic} filled in
// then header lines, directives, an empty line and the body. Directives:
//   !reply NAME · !attach FILE TYPE BYTES · !charset CHARSET ENCODING · !html · !no-message-id
// The same input gives the same bytes.
#include <algorithm>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <ctime>
#include <filesystem>
#include <fstream>
#include <iostream>
#include <map>
#include <sstream>
#include <string>
#include <vector>

#include <fmt/format.h>
#include <iconv.h>
#include <sys/stat.h>
#include <sys/time.h>

#include "base/bytes.h"
#include "base/text.h"
#include "mailclient/name_codes.h"

namespace {

namespace fs = std::filesystem;
using quillbox::text::replaceAll;
using quillbox::text::splitNonEmpty;
using quillbox::text::trim;

[[noreturn]] void stop(const std::string& why) {
  std::cerr << "quillbox-sample-store: " << why << "\n";
  std::exit(1);
}

struct Attachment {
  std::string name;
  std::string type;
  std::size_t bytes = 0;
};

struct Message {
  std::string folder;
  std::string flags;
  std::time_t date = 0;
  std::string zone;
  std::string name;
  std::vector<std::string> headers;  // "Name: value", continuation lines included
  std::string body;
  std::string reply;
  std::string charset = "utf-8";
  std::string encoding = "quoted-printable";
  bool html = false;
  bool messageId = true;
  std::vector<Attachment> attachments;
};

bool isAscii(std::string_view text) {
  return std::ranges::all_of(text, [](char c) { return static_cast<unsigned char>(c) < 0x80; });
}

// "2026-03-16 08:02 +0100" -> seconds since 1970, and the zone kept for the Date header.
void readDate(const std::string& text, Message& message) {
  std::tm parts{};
  int zone = 0;
  if (std::sscanf(text.c_str(), "%d-%d-%d %d:%d %d", &parts.tm_year, &parts.tm_mon, &parts.tm_mday,
                  &parts.tm_hour, &parts.tm_min, &zone) != 6) {
    stop(fmt::format("“{}” is not a date", text));
  }
  parts.tm_year -= 1900;
  parts.tm_mon -= 1;
  message.zone = text.substr(text.rfind(' ') + 1);
  message.date = timegm(&parts) - (zone / 100 * 3600 + zone % 100 * 60);
}

std::string dateHeader(const Message& message) {
  const int zone = std::atoi(message.zone.c_str());
  const std::time_t local = message.date + zone / 100 * 3600 + zone % 100 * 60;
  std::tm parts{};
  gmtime_r(&local, &parts);
  char buffer[64];
  std::strftime(buffer, sizeof buffer, "%a, %d %b %Y %H:%M:%S ", &parts);
  return buffer + message.zone;
}

// RFC 2047 encoded words of at most 45 bytes of UTF-8 each, cut between characters.
std::string encodedWords(const std::string& value) {
  if (isAscii(value)) return value;
  std::string out;
  for (std::size_t start = 0; start < value.size();) {
    std::size_t end = std::min(value.size(), start + 45);
    while (end < value.size() && (static_cast<unsigned char>(value[end]) & 0xC0U) == 0x80U) --end;
    if (!out.empty()) out += "\r\n ";
    out += "=?UTF-8?B?" + quillbox::toBase64(std::string_view(value).substr(start, end - start)) + "?=";
    start = end;
  }
  return out;
}

std::string encodedHeader(const std::string& line) {
  const auto colon = line.find(':');
  const std::string name = line.substr(0, colon + 1);
  const std::string value = line.substr(colon + 1);
  if (isAscii(value)) return replaceAll(line, "\n", "\r\n");
  const auto address = value.rfind(" <");
  if (address == std::string::npos) return name + " " + encodedWords(std::string(trim(value)));
  return name + " " + encodedWords(std::string(trim(value.substr(0, address)))) + value.substr(address);
}

std::string converted(const std::string& utf8, const std::string& charset) {
  if (charset == "utf-8") return utf8;
  const iconv_t converter = iconv_open((charset + "//TRANSLIT").c_str(), "UTF-8");
  if (converter == reinterpret_cast<iconv_t>(-1)) stop("unknown charset " + charset);
  std::string in = utf8;
  std::string out(in.size() * 2 + 16, '\0');
  char* from = in.data();
  char* to = out.data();
  std::size_t left = in.size();
  std::size_t room = out.size();
  if (iconv(converter, &from, &left, &to, &room) == static_cast<std::size_t>(-1))
    stop("text does not fit " + charset);
  iconv_close(converter);
  out.resize(out.size() - room);
  return out;
}

std::string wrappedBase64(const std::string& bytes) {
  const std::string all = quillbox::toBase64(bytes);
  std::string out;
  for (std::size_t i = 0; i < all.size(); i += 76) out += all.substr(i, 76) + "\r\n";
  return out;
}

std::string quotedPrintable(const std::string& bytes) {
  std::string out;
  std::size_t column = 0;
  for (std::size_t i = 0; i < bytes.size(); ++i) {
    const auto c = static_cast<unsigned char>(bytes[i]);
    if (c == '\n') {
      out += "\r\n";
      column = 0;
      continue;
    }
    const bool endsLine = i + 1 == bytes.size() || bytes[i + 1] == '\n';
    const bool plain = c >= 0x20 && c < 0x7F && c != '=' && !(c == ' ' && endsLine);
    const std::string piece = plain ? std::string(1, static_cast<char>(c)) : fmt::format("={:02X}", c);
    if (column + piece.size() > 75) {
      out += "=\r\n";
      column = 0;
    }
    out += piece;
    column += piece.size();
  }
  return out;
}

std::string textPart(const Message& message) {
  const std::string bytes = converted(message.body, message.charset);
  std::string out = fmt::format("Content-Type: text/{}; charset={}\r\nContent-Transfer-Encoding: {}\r\n\r\n",
                                message.html ? "html" : "plain", message.charset, message.encoding);
  if (message.encoding == "base64") return out + wrappedBase64(bytes);
  if (message.encoding == "quoted-printable") return out + quotedPrintable(bytes);
  return out + replaceAll(bytes, "\n", "\r\n");
}

// Bytes that look like nothing in particular, the same every time.
std::string filler(const Attachment& attachment) {
  std::uint32_t state = 2166136261U;
  for (const char c : attachment.name) state = (state ^ static_cast<unsigned char>(c)) * 16777619U;
  const bool text = attachment.type.starts_with("text/");
  std::string bytes;
  while (bytes.size() < attachment.bytes) {
    state = state * 1664525U + 1013904223U;
    bytes += text ? fmt::format("{},{}\n", bytes.size(), state >> 16U)
                  : std::string(1, static_cast<char>(state >> 24U));
  }
  return bytes;
}

std::string rendered(const Message& message, const std::map<std::string, std::string>& messageIds) {
  std::string out = "Return-Path: <bounce@example>\r\nDate: " + dateHeader(message) + "\r\n";
  for (const auto& header : message.headers) out += encodedHeader(header) + "\r\n";
  if (message.messageId) out += "Message-ID: <" + messageIds.at(message.name) + ">\r\n";
  if (!message.reply.empty()) {
    const auto parent = messageIds.find(message.reply);
    if (parent == messageIds.end()) stop("no message called " + message.reply);
    out += "In-Reply-To: <" + parent->second + ">\r\nReferences: <" + parent->second + ">\r\n";
  }
  out += "MIME-Version: 1.0\r\n";
  if (message.attachments.empty()) return out + textPart(message);
  const std::string boundary = "=_part_" + message.name;
  out += "Content-Type: multipart/mixed; boundary=\"" + boundary + "\"\r\n\r\n";
  out += "--" + boundary + "\r\n" + textPart(message) + "\r\n";
  for (const auto& attachment : message.attachments) {
    out += fmt::format(
        "--{}\r\nContent-Type: {}; name=\"{}\"\r\nContent-Disposition: attachment; filename=\"{}\"\r\n"
        "Content-Transfer-Encoding: base64\r\n\r\n{}",
        boundary, attachment.type, attachment.name, attachment.name, wrappedBase64(filler(attachment)));
  }
  return out + "--" + boundary + "--\r\n";
}

std::vector<std::string> columns(const std::string& line) {
  std::vector<std::string> cells;
  std::istringstream in(line);
  for (std::string cell; std::getline(in, cell, '|');) cells.emplace_back(trim(cell));
  return cells;
}

void readDirective(const std::string& line, Message& message) {
  std::istringstream words(line.substr(1));
  std::string name;
  words >> name;
  if (name == "reply") {
    words >> message.reply;
  } else if (name == "charset") {
    words >> message.charset >> message.encoding;
  } else if (name == "html") {
    message.html = true;
  } else if (name == "no-message-id") {
    message.messageId = false;
  } else if (name == "attach") {
    const auto size = line.rfind(' ');
    const auto type = line.rfind(' ', size - 1);
    message.attachments.push_back({line.substr(8, type - 8), line.substr(type + 1, size - type - 1),
                                   static_cast<std::size_t>(std::stoul(line.substr(size + 1)))});
  } else {
    stop("unknown directive " + line);
  }
}

std::string filled(std::string text, int n) {
  text = replaceAll(text, "{n}", std::to_string(n));
  text = replaceAll(text, "{week}", std::to_string(n + 1));
  text = replaceAll(text, "{number}", std::to_string(26000 + n * 137));
  text = replaceAll(text, "{people}", std::to_string(3 + n * 7 % 11));
  return replaceAll(text, "{cubic}", std::to_string(12 + n * 23 % 40));
}

std::vector<Message> readSamples(const fs::path& file) {
  std::ifstream in(file);
  if (!in) stop("can't read " + file.string());
  std::vector<Message> messages;
  std::string line;
  std::getline(in, line);
  while (in) {
    if (!line.starts_with('@')) {
      std::getline(in, line);
      continue;
    }
    Message message;
    int count = 1;
    int days = 0;
    if (line.starts_with("@series ")) {
      const auto cells = columns(line.substr(8));
      if (cells.size() != 6) stop("not six columns: " + line);
      count = std::stoi(cells[0]);
      days = std::stoi(cells[4]);
      message.folder = cells[1];
      message.flags = cells[2];
      readDate(cells[3], message);
      message.name = cells[5];
    } else {
      const auto cells = columns(line.substr(2));
      if (cells.size() != 4) stop("not four columns: " + line);
      message.folder = cells[0];
      message.flags = cells[1];
      readDate(cells[2], message);
      message.name = cells[3];
    }
    while (std::getline(in, line) && !line.empty()) {
      if (line.starts_with('!')) {
        readDirective(line, message);
      } else if (line.starts_with(' ') || line.starts_with('\t')) {
        message.headers.back() += "\n" + line;
      } else {
        message.headers.push_back(line);
      }
    }
    while (std::getline(in, line) && !line.starts_with('@')) message.body += line + "\n";
    message.body = std::string(trim(message.body)) + "\n";
    for (int n = 1; n <= count; ++n) {
      Message one = message;
      if (count > 1) {
        one.name += fmt::format("-{}", n);
        one.date += static_cast<std::time_t>(n - 1) * days * 86400;
        for (auto& header : one.headers) header = filled(header, n);
        for (auto& attachment : one.attachments) attachment.name = filled(attachment.name, n);
        one.body = filled(one.body, n);
      }
      messages.push_back(std::move(one));
    }
  }
  return messages;
}

enum class Layout { maildirPlusPlus, nested };

fs::path folderPath(const fs::path& root, const std::string& folder, Layout layout) {
  if (layout == Layout::nested) return root / folder;
  if (folder == "INBOX") return root;
  std::string name;
  for (const auto& element : splitNonEmpty(folder, '/'))
    name += "." + quillbox::mailclient::encodeModifiedUtf7(element);
  return root / name;
}

void makeMaildir(const fs::path& folder) {
  for (const char* part : {"cur", "new", "tmp"}) fs::create_directories(folder / part);
}

void writeStore(const fs::path& samples, const fs::path& root, Layout layout) {
  const auto messages = readSamples(samples);
  std::map<std::string, std::string> messageIds;
  for (const auto& message : messages) messageIds[message.name] = message.name + "@lindqvist.example";
  std::map<std::string, bool> folders;
  int serial = 0;
  for (const auto& message : messages) {
    // Every parent is a folder of its own, as servers make them.
    std::string path;
    for (const auto& element : splitNonEmpty(message.folder, '/')) {
      path += (path.empty() ? "" : "/") + element;
      makeMaildir(folderPath(root, path, layout));
      folders[path] = true;
    }
    const std::string bytes = rendered(message, messageIds);
    const bool isNew = message.flags.empty() && message.folder == "INBOX";
    const std::string name = fmt::format("{}.M{}P7.sample,S={}", message.date, ++serial, bytes.size()) +
                             (isNew ? "" : ":2," + message.flags);
    const auto file = folderPath(root, message.folder, layout) / (isNew ? "new" : "cur") / name;
    std::ofstream(file, std::ios::binary) << bytes;
    const timeval times[2] = {{message.date, 0}, {message.date, 0}};
    if (utimes(file.c_str(), times) != 0) stop("can't set the time of " + file.string());
  }
  if (layout == Layout::maildirPlusPlus) {
    std::ofstream subscriptions(root / "subscriptions");
    for (const auto& [path, present] : folders) {
      if (path == "INBOX") continue;
      subscriptions << folderPath("", path, layout).string().substr(1) << "\n";
    }
  }
  std::cout << root.string() << ": " << messages.size() << " messages in " << folders.size()
            << " mailboxes\n";
}

}  // namespace

int main(int argc, char** argv) {
  if (argc != 3) {
    std::cerr << "usage: quillbox-sample-store SAMPLES-DIR TARGET-DIR\n";
    return 2;
  }
  const fs::path samples = argv[1];
  const fs::path target = argv[2];
  if (fs::exists(target) && !fs::is_empty(target)) stop(target.string() + " is not empty");
  umask(0077);
  writeStore(samples / "work.txt", target / "Work", Layout::maildirPlusPlus);
  writeStore(samples / "personal.txt", target / "Personal", Layout::nested);
  writeStore(samples / "webmail.txt", target / "Web Mail", Layout::maildirPlusPlus);
  writeStore(samples / "local.txt", target / "Local", Layout::nested);
  return 0;
}

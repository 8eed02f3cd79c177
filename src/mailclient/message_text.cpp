// The body half of mime.h.
#include <algorithm>
#include <array>
#include <string>

#include <fmt/format.h>

#include "base/text.h"
#include "mailclient/gmime_handle.h"
#include "mailclient/html_text.h"
#include "mailclient/mime.h"

namespace quillbox::mailclient {
namespace {

constexpr int kDeepest = 64;  // parts inside parts; what lies deeper counts as one attachment
// The parser takes a kilobyte for each part, however short. Nobody writes so many.
constexpr std::size_t kMostParts = 100'000;

// The code points of the bytes 0x80 to 0x9f in windows-1252 (WHATWG Encoding Standard); the rest is Latin-1.
constexpr std::array<char32_t, 32> kWindows1252 = {
    0x20ac, 0x81,   0x201a, 0x0192, 0x201e, 0x2026, 0x2020, 0x2021, 0x02c6, 0x2030, 0x0160,
    0x2039, 0x0152, 0x8d,   0x017d, 0x8f,   0x90,   0x2018, 0x2019, 0x201c, 0x201d, 0x2022,
    0x2013, 0x2014, 0x02dc, 0x2122, 0x0161, 0x203a, 0x0153, 0x9d,   0x017e, 0x0178};

std::string lowercaseAscii(std::string text) {
  std::ranges::transform(text, text.begin(),
                         [](char c) { return c >= 'A' && c <= 'Z' ? static_cast<char>(c + 32) : c; });
  return text;
}

std::string decodedBytes(GMimePart* part) {
  GMimeDataWrapper* const content = g_mime_part_get_content(part);
  if (content == nullptr) return {};
  const GObjectHandle<GMimeStream> sink(g_mime_stream_mem_new());
  g_mime_data_wrapper_write_to_stream(content, sink.get());
  const GByteArray* const bytes = g_mime_stream_mem_get_byte_array(GMIME_STREAM_MEM(sink.get()));
  return {reinterpret_cast<const char*>(bytes->data), bytes->len};
}

std::uint64_t decodedSize(GMimePart* part) {
  GMimeDataWrapper* const content = g_mime_part_get_content(part);
  if (content == nullptr) return 0;
  const GObjectHandle<GMimeStream> sink(g_mime_stream_null_new());
  const auto written = g_mime_data_wrapper_write_to_stream(content, sink.get());
  return written < 0 ? 0 : static_cast<std::uint64_t>(written);
}

// The bytes of a text part as UTF-8. A charset that nobody knows, and bytes that are not in it, are read as
// UTF-8 or windows-1252, so that something readable always comes back.
std::string inUtf8(const std::string& bytes, std::string charset) {
  charset = lowercaseAscii(std::move(charset));
  if (!charset.empty() && charset != "utf-8" && charset != "utf8" && charset != "us-ascii") {
    gsize length = 0;
    const GText converted(g_convert_with_fallback(bytes.data(), static_cast<gssize>(bytes.size()), "UTF-8",
                                                  g_mime_charset_iconv_name(charset.c_str()), "?", nullptr,
                                                  &length, nullptr));
    if (converted) return {converted.get(), length};
  }
  return sourceText(bytes);
}

class BodyReader {
 public:
  MessageText read(GMimeObject* root) {
    visit(root, "", 0);
    return std::move(result_);
  }

 private:
  void visit(GMimeObject* object, const std::string& id, int depth) {
    if (GMIME_IS_MULTIPART(object) && depth < kDeepest) {
      multipart(GMIME_MULTIPART(object), id, depth);
    } else if (GMIME_IS_TEXT_PART(object) && !isAttached(object)) {
      add(readText(GMIME_PART(object)));
    } else {
      attach(object, id);
    }
  }

  static std::string childId(const std::string& id, int index) {
    return id.empty() ? fmt::format("{}", index + 1) : fmt::format("{}.{}", id, index + 1);
  }

  void multipart(GMimeMultipart* multipart, const std::string& id, int depth) {
    const int count = g_mime_multipart_get_count(multipart);
    const auto* type = g_mime_object_get_content_type(GMIME_OBJECT(multipart));
    const bool alternative =
        g_mime_content_type_is_type(const_cast<GMimeContentType*>(type), "multipart", "alternative");
    if (!alternative) {
      for (int i = 0; i < count; ++i)
        visit(g_mime_multipart_get_part(multipart, i), childId(id, i), depth + 1);
      return;
    }
    // Each alternative on its own; the text of the plainest one that says something is taken, the attachments
    // of all.
    std::string best;
    for (const bool plain : {true, false}) {
      for (int i = 0; i < count; ++i) {
        GMimeObject* const part = g_mime_multipart_get_part(multipart, i);
        const bool isPlain =
            g_mime_content_type_is_type(g_mime_object_get_content_type(part), "text", "plain") != FALSE;
        if (isPlain != plain) continue;
        BodyReader alone;
        alone.visit(part, childId(id, i), depth + 1);
        if (text::trim(best).empty()) best = std::move(alone.result_.text);
        std::ranges::move(alone.result_.attachments, std::back_inserter(result_.attachments));
      }
    }
    add(best);
  }

  static bool isAttached(GMimeObject* object) {
    const auto disposition = lowercaseAscii(textOf(g_mime_object_get_disposition(object)));
    if (disposition == "attachment") return true;
    return disposition.empty() && g_mime_part_get_filename(GMIME_PART(object)) != nullptr;
  }

  static std::string readText(GMimePart* part) {
    GMimeContentType* const type = g_mime_object_get_content_type(GMIME_OBJECT(part));
    auto decoded = inUtf8(decodedBytes(part), textOf(g_mime_content_type_get_parameter(type, "charset")));
    decoded = text::replaceAll(text::toValidUtf8(decoded), "\r\n", "\n");
    return g_mime_content_type_is_type(type, "text", "html") ? htmlToText(decoded) : decoded;
  }

  void add(const std::string& text) {
    if (text.empty()) return;
    if (!result_.text.empty() && result_.text.back() != '\n') result_.text += '\n';
    result_.text += text;
  }

  void attach(GMimeObject* object, const std::string& id) {
    Attachment attachment;
    attachment.id = id.empty() ? "1" : id;
    const GText type(g_mime_content_type_get_mime_type(g_mime_object_get_content_type(object)));
    attachment.mimeType = text::toValidUtf8(textOf(type.get()));
    if (GMIME_IS_PART(object)) {
      attachment.name = text::toValidUtf8(textOf(g_mime_part_get_filename(GMIME_PART(object))));
      attachment.size = decodedSize(GMIME_PART(object));
    } else if (GMIME_IS_MESSAGE_PART(object)) {
      if (GMimeMessage* const inner = g_mime_message_part_get_message(GMIME_MESSAGE_PART(object))) {
        attachment.name = text::toValidUtf8(textOf(g_mime_message_get_subject(inner)));
        const GText source(g_mime_object_to_string(GMIME_OBJECT(inner), nullptr));
        attachment.size = textOf(source.get()).size();
      }
    }
    if (attachment.name.empty()) attachment.name = fmt::format("Attachment {}", attachment.id);
    result_.attachments.push_back(std::move(attachment));
  }

  MessageText result_;
};

bool isOneText(std::string_view header) {
  const auto type = lowercaseAscii(headerContent(header, "content-type"));
  return !type.starts_with("multipart/") && !type.starts_with("message/");
}

// The message with every header longer than longestHeader cut there, at the end of a line where there is one;
// in `storage` when there are such. Headers are taken for what follows the line of a boundary, or the header
// of a part that is a message itself, up to the next empty line.
std::string_view withShortHeaders(std::string_view message, std::string& storage) {
  std::size_t copied = 0;
  for (std::size_t at = 0; at < message.size();) {
    const auto header = headerBlock(message.substr(at));
    auto kept = header.substr(0, longestHeader);
    if (header.size() > longestHeader) {
      if (const auto end = kept.rfind('\n'); end != std::string_view::npos) kept = kept.substr(0, end);
      storage.append(message.substr(copied, at + kept.size() - copied)).append(1, '\n');
      copied = at + header.size();
    }
    if (at == 0 && isOneText(kept)) break;
    at += header.size();
    const bool holdsMessage = lowercaseAscii(std::string(kept)).find("message/") != std::string::npos;
    const auto next = holdsMessage ? message.find('\n', at) : message.find("\n--", at == 0 ? 0 : at - 1);
    if (next == std::string_view::npos) break;
    at = next + 1;
  }
  if (copied == 0) return message;
  storage += message.substr(copied);
  return storage;
}

// The message up to where it may have had its last part. A message that is one text has none.
std::string_view withFewParts(std::string_view message) {
  const auto header = headerBlock(message);
  if (isOneText(header)) return message;
  std::size_t at = header.size();
  for (std::size_t parts = 0; parts < kMostParts; ++parts) {
    at = message.find("\n--", at);
    if (at == std::string_view::npos) return message;
    ++at;
  }
  return message.substr(0, at);
}

}  // namespace

MessageText readText(std::string_view message) {
  // The parser takes twenty times the memory of the headers that it reads.
  std::string storage;
  message = withFewParts(withShortHeaders(message, storage));
  auto* const options = parserOptions();
  const GObjectHandle<GMimeStream> stream(g_mime_stream_mem_new_with_buffer(message.data(), message.size()));
  const GObjectHandle<GMimeParser> parser(g_mime_parser_new_with_stream(stream.get()));
  const GObjectHandle<GMimeMessage> parsed(g_mime_parser_construct_message(parser.get(), options));
  GMimeObject* const root = parsed ? g_mime_message_get_mime_part(parsed.get()) : nullptr;
  if (root == nullptr) return {};
  return BodyReader().read(root);
}

std::string sourceText(std::string_view bytes) {
  if (text::isValidUtf8(bytes)) return std::string(bytes);
  std::string out;
  for (const char c : bytes) {
    const auto byte = static_cast<unsigned char>(c);
    text::appendUtf8(out, byte >= 0x80 && byte < 0xa0 ? kWindows1252[byte - 0x80U] : byte);
  }
  return out;
}

}  // namespace quillbox::mailclient

// Any bytes as a message: reading never fails, what comes back is UTF-8, and the header part is a prefix.
#include <cstdint>
#include <string_view>

#include "base/text.h"
#include "mailclient/html_text.h"
#include "mailclient/mime.h"
#include "require.h"

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  using namespace quillbox;
  using namespace quillbox::mailclient;
  const std::string_view bytes(reinterpret_cast<const char*>(data), size);
  const auto block = headerBlock(bytes);
  require(bytes.starts_with(block));
  const auto summary = summarize(block);
  for (const auto& text : {summary.messageId, summary.sender, summary.subject})
    require(text::isValidUtf8(text));
  for (const auto& header : allHeaders(block)) {
    require(!header.name.empty() && text::isValidUtf8(header.name) && text::isValidUtf8(header.content));
  }
  const auto people = recipients(block);
  for (const auto& address : people.to)
    require(text::isValidUtf8(address.name) && text::isValidUtf8(address.address));
  const auto read = readText(bytes);
  require(text::isValidUtf8(read.text));
  for (const auto& attachment : read.attachments) {
    require(!attachment.name.empty() && text::isValidUtf8(attachment.name));
  }
  require(text::isValidUtf8(htmlToText(text::toValidUtf8(bytes))));
  require(text::isValidUtf8(sourceText(bytes)));
  return 0;
}

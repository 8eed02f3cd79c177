// Any bytes as names on disk: reading and writing them again changes nothing that belongs to others.
#include <cstdint>
#include <string>
#include <string_view>

#include "base/text.h"
#include "mailclient/folders.h"
#include "mailclient/keywords.h"
#include "mailclient/message_name.h"
#include "mailclient/name_codes.h"
#include "require.h"

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  using namespace quillbox;
  using namespace quillbox::mailclient;
  const std::string bytes(reinterpret_cast<const char*>(data), size);

  auto name = MessageName::parse(bytes);
  require(MessageName::parse(name.fileName()).fileName() == name.fileName());
  require(name.fileName().size() <= bytes.size());
  const auto id = stableId(bytes);
  const auto foreign = name.foreign;
  for (const bool on : {true, false}) {
    name.set(flag::seen, on);
    require(name.has(flag::seen) == on && stableId(name.fileName()) == id);
    require(MessageName::parse(name.fileName()).foreign == foreign);
  }
  require(scriptId(id) > 0 && scriptId(id) < (1 << 29));

  const auto table = KeywordTable::parse(bytes);
  const auto marks = Marks::read(MessageName::parse(bytes), table);
  require(Marks::read(MessageName::parse(withMarks(MessageName::parse(bytes), marks, table).fileName()),
                      table) == marks);

  const auto readable = readableBytes(bytes);
  require(text::isValidUtf8(readable) && bytesOfReadable(readable) == bytes);
  if (const auto decoded = decodeModifiedUtf7(bytes)) require(encodeModifiedUtf7(*decoded) == bytes);
  if (text::isValidUtf8(bytes)) {
    require(decodeModifiedUtf7(encodeModifiedUtf7(bytes)) == bytes);
    (void)checkNewPath(Layout::maildirPlusPlus, bytes);
    (void)checkNewPath(Layout::nested, bytes);
  }
  return 0;
}

// Names on disk: modified UTF-7, readable bytes, the parts of a message's file name.
#include <string>
#include <vector>

#include <gtest/gtest.h>
#include <rapidcheck.h>
#include <rapidcheck/gtest.h>

#include "base/text.h"
#include "mailclient/message_name.h"
#include "mailclient/name_codes.h"

namespace quillbox::mailclient {
namespace {

std::string anyText() {
  std::string out;
  for (const auto c : *rc::gen::container<std::vector<char32_t>>(
           rc::gen::oneOf(rc::gen::inRange<char32_t>(1, 0x80), rc::gen::inRange<char32_t>(0xa0, 0xd7ff),
                          rc::gen::inRange<char32_t>(0xe000, 0x110000)))) {
    text::appendUtf8(out, c);
  }
  return out;
}

TEST(ModifiedUtf7, IsWrittenAsTheStandardSays) {
  const std::vector<std::pair<std::string, std::string>> table = {
      {"Entwürfe", "Entw&APw-rfe"},
      {"R&D", "R&-D"},
      {"~peter/mail/台北/日本語", "~peter/mail/&U,BTFw-/&ZeVnLIqe-"},  // RFC 3501, section 5.1.3
      {"😀", "&2D3eAA-"},
      {"", ""},
  };
  for (const auto& [text, name] : table) {
    EXPECT_EQ(encodeModifiedUtf7(text), name);
    EXPECT_EQ(decodeModifiedUtf7(name), text);
  }
  for (const std::string name :
       {"&", "&AP", "&Jjo", "caf\xe9", "&U,BTFw-&ZeVnLIqe-", "&AGE-", "&2D0-", "a\tb", "&APx-"}) {
    EXPECT_EQ(decodeModifiedUtf7(name), std::nullopt) << name;
  }
}

RC_GTEST_PROP(ModifiedUtf7, ComesBackFromAnyText, ()) {
  const auto text = anyText();
  const auto name = encodeModifiedUtf7(text);
  for (const char c : name) RC_ASSERT(c >= 0x20 && c <= 0x7e);
  RC_ASSERT(decodeModifiedUtf7(name) == text);
}

RC_GTEST_PROP(ReadableBytes, KeepEveryByteApart, (const std::string& a, const std::string& b)) {
  RC_ASSERT(text::isValidUtf8(readableBytes(a)));
  RC_ASSERT(bytesOfReadable(readableBytes(a)) == a);
  RC_ASSERT((readableBytes(a) == readableBytes(b)) == (a == b));
}

TEST(MessageNames, AreTakenApartAndPutTogether) {
  struct Case {
    std::string file;
    std::string id;
    std::string flags;
    std::string foreign;
    std::string written;  // with S set and F cleared
  };
  const std::vector<Case> cases = {
      {"1.a:2,FS", "1.a", "FS", "", "1.a:2,S"},
      {"1.a", "1.a", "", "", "1.a:2,S"},
      {"1.a:2,", "1.a", "", "", "1.a:2,S"},
      {"1.a,S=5,W=6,U=7:2,SaF", "1.a,S=5,W=6", "FSa", "", "1.a,S=5,W=6,U=7:2,Sa"},
      {"1.a,U=7,S=5:2,b,x=1,y", "1.a,S=5", "b", ",x=1,y", "1.a,U=7,S=5:2,Sb,x=1,y"},
      {"1.a:1,old:2,T", "1.a:1,old", "T", "", "1.a:1,old:2,ST"},
      {"1.a:2,SS?F", "1.a", "?FS", "", "1.a:2,?S"},
  };
  for (const auto& c : cases) {
    auto name = MessageName::parse(c.file);
    EXPECT_EQ(stableId(c.file), c.id);
    EXPECT_EQ(name.flags, c.flags) << c.file;
    EXPECT_EQ(name.foreign, c.foreign) << c.file;
    name.set(flag::seen, true);
    name.set(flag::flagged, false);
    EXPECT_EQ(name.fileName(), c.written);
  }
  EXPECT_EQ(MessageName::parse("plain").fileName(), "plain") << "a name without info stays without";
  EXPECT_EQ(deliveryTime("1700000000.M1.host:2,"), 1'700'000'000);
  EXPECT_EQ(deliveryTime("host.1"), 0);
  EXPECT_EQ(deliveryTime("99999999999999999999999.x"), 0);
  EXPECT_EQ(sizeField("1.a,W=3,S=12,U=1:2,S"), 12U);
  EXPECT_EQ(sizeField("1.a,S=x"), std::nullopt);
  EXPECT_EQ(freshBase(7, "abc", "1.a,U=3,W=9,S=8:2,S"), "7.Rabc.quillbox,S=8,W=9");
}

}  // namespace
}  // namespace quillbox::mailclient

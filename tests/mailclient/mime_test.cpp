// Messages as they come: good ones, odd ones, and those that hold no end.
#include "mailclient/mime.h"

#include <string>
#include <vector>

#include <gtest/gtest.h>

#include "mailclient/html_text.h"
#include "tests_support.h"

namespace quillbox::mailclient {
namespace {

TEST(Headers, AreReadFromAnything) {
  struct Case {
    std::string block;
    std::string messageId;
    std::string sender;
    std::string subject;
  };
  const std::vector<Case> cases = {
      {"Message-ID: <a@b>\nFrom: =?utf-8?Q?J=C3=BCrgen?= <j@x.org>\nSubject: =?iso-8859-1?Q?Gr=FC=DFe?=\n",
       "a@b", "Jürgen <j@x.org>", "Grüße"},
      {"message-id:no-brackets@b \r\nFROM: \"Doe, Jane\" <jane@x.org>\r\nsubject: folded\r\n\tline\r\n",
       "no-brackets@b", "Doe, Jane <jane@x.org>", "folded line"},
      {"From: a@x.org, B <b@x.org>\nSubject: raw \xfc\xdf\n", "", "a@x.org, B <b@x.org>", "raw üß"},
      {"Subject: raw ü\nFrom: nobody at all\n", "", "nobody at all", "raw ü"},
      {std::string("Subject: nul\0in it\nX: y", 22), "", "", "nul in it"},
      {"no colon here\n: no name\nSubject: after noise\nSubject: second\n", "", "", "after noise"},
      {"From sender Thu Jan  1 00:00:00 1970\nSubject: mbox line\n", "", "", "mbox line"},
      {"", "", "", ""},
  };
  for (const auto& c : cases) {
    const auto summary = summarize(c.block);
    EXPECT_EQ(summary.messageId, c.messageId) << c.block;
    EXPECT_EQ(summary.sender, c.sender) << c.block;
    EXPECT_EQ(summary.subject, c.subject) << c.block;
  }
  EXPECT_EQ(summarize("Date: Sun, 1 Mar 2026 09:15:00 +0100\n").sent, 1'772'352'900);
  EXPECT_EQ(summarize("Date: last Tuesday or so\n").sent, std::nullopt);
  EXPECT_EQ(isoTime(1'772'352'900), "2026-03-01T08:15:00Z");
  EXPECT_EQ(isoTime(INT64_MAX), "9999-12-31T23:59:59Z");
  EXPECT_EQ(headerBlock("A: b\r\n\r\nbody"), "A: b\r\n");
  EXPECT_EQ(headerBlock("\nonly body"), "");
  EXPECT_EQ(headerBlock("A: b\nno end"), "A: b\nno end");
}

TEST(Headers, AreReadWithoutTheBody) {
  TestMail mail;
  const std::string huge(3 << 20, 'x');
  mail.disk.put("/a", "Subject: big body\n\n" + huge);
  mail.disk.put("/b", "Subject: long\nX: " + std::string(20'000, 'y') + "\nMessage-ID: <far@away>\n\nbody");
  mail.disk.put("/c", "Subject: endless\nX: " + huge);
  std::uint64_t longest = 0;
  EXPECT_EQ(readHeaderBlock(mail.disk, "/a"), "Subject: big body\n");
  EXPECT_EQ(summarize(*readHeaderBlock(mail.disk, "/b")).messageId, "far@away");
  longest = readHeaderBlock(mail.disk, "/c")->size();
  EXPECT_LE(longest, 1U << 20);
  EXPECT_EQ(summarize(*readHeaderBlock(mail.disk, "/c")).subject, "endless");
}

TEST(Recipients, AreListedByKind) {
  const auto people = recipients(
      "To: Ada <ada@x.org>, team: b@x.org, =?utf-8?B?w6k=?= <e@x.org>;\nCc: c@x.org\nTo: late@x.org\nBcc: "
      "d@x.org\n");
  EXPECT_EQ(people.to, (std::vector<Address>{
                           {"Ada", "ada@x.org"}, {"", "b@x.org"}, {"é", "e@x.org"}, {"", "late@x.org"}}));
  EXPECT_EQ(people.cc, (std::vector<Address>{{"", "c@x.org"}}));
  EXPECT_EQ(people.bcc, (std::vector<Address>{{"", "d@x.org"}}));
  EXPECT_EQ(extractName("Ada L <ada@x.org>"), "Ada L");
  EXPECT_EQ(extractAddress("Ada L <ada@x.org>"), "ada@x.org");
  EXPECT_EQ(extractName("ada@x.org"), "ada@x.org");
}

TEST(Texts, AreTakenFromWhateverIsThere) {
  struct Case {
    std::string name;
    std::string message;
    std::string text;
    std::size_t attachments;
  };
  std::string parts;
  for (int i = 0; i < 1'000'000; ++i) parts += "--q\n\n";
  const std::string longHeader =
      "X: " + std::string(3 << 20, 'x') + "\nY: " + std::string(3 << 20, 'y') + "\n";
  const std::string mixed =
      "MIME-Version: 1.0\nContent-Type: multipart/mixed; boundary=m\n\n--m\n"
      "Content-Type: multipart/alternative; boundary=a\n\n--a\nContent-Type: text/html\n\n<p>rich</p>\n--a\n"
      "Content-Type: text/plain; charset=iso-8859-1\nContent-Transfer-Encoding: "
      "quoted-printable\n\nsch=F6n\n--a--\n"
      "--m\nContent-Type: text/plain; name=notes.txt\nContent-Disposition: attachment; "
      "filename=notes.txt\n\nnotes\n"
      "--m\nContent-Type: message/rfc822\n\nSubject: inner\n\ninner text\n--m--\n";
  const std::vector<Case> cases = {
      {"plain", "Subject: x\n\nhello\n", "hello\n", 0},
      {"crlf", "Subject: x\r\n\r\nhello\r\nthere\r\n", "hello\nthere\n", 0},
      {"8-bit without charset", "Subject: x\n\nsch\xf6n\n", "schön\n", 0},
      {"unknown charset", "Content-Type: text/plain; charset=x-nobody\n\nsch\xc3\xb6n", "schön", 0},
      {"base64", "Content-Type: text/plain; charset=utf-8\nContent-Transfer-Encoding: base64\n\naMOkbGxv\n",
       "hällo", 0},
      {"html only",
       "Content-Type: text/html; charset=utf-8\n\n<html><head><style>x</style></head><body>One<br>two &amp; "
       "three<p>four</body>",
       "One\ntwo & three\n\nfour", 0},
      {"mixed", mixed, "schön", 2},
      {"empty", "", "", 0},
      {"headers only", "Subject: x\n", "", 0},
      {"boundary never ends", "Content-Type: multipart/mixed; boundary=q\n\n--q\n\nstill here", "still here",
       0},
      {"a million parts and one",
       "Content-Type: multipart/mixed; boundary=q\n\n--q\n\nfirst\n" + parts + "last\n", "first", 0},
      {"header of many MB", "Content-Type: text/html\n" + longHeader + "\n<p>body", "body", 0},
      {"a part's header of many MB",
       "Content-Type: multipart/mixed; boundary=q\n\n--q\nContent-Type: text/html\n" + longHeader +
           "Content-Disposition: attachment\n\n<p>body\n--q\nContent-Type: message/rfc822\n\n" + longHeader +
           "\ninner\n--q--\n",
       "body", 1},
      {"header of one line of many MB", longHeader.substr(0, longHeader.size() - 1), "", 0},
      {"nul", std::string("Subject: x\n\na\0b", 15), std::string("a\0b", 3), 0},
  };
  for (const auto& c : cases) {
    const auto read = readText(c.message);
    EXPECT_EQ(read.text, c.text) << c.name;
    EXPECT_EQ(read.attachments.size(), c.attachments) << c.name;
  }
  const auto read = readText(mixed);
  EXPECT_EQ(read.attachments[0].name, "notes.txt");
  EXPECT_EQ(read.attachments[0].size, 5U);
  EXPECT_EQ(read.attachments[1].mimeType, "message/rfc822");

  std::string deep;
  for (int i = 0; i < 2000; ++i)
    deep += "Content-Type: multipart/mixed; boundary=b" + std::to_string(i) + "\n\n--b" + std::to_string(i) +
            "\n";
  (void)readText(deep + "\nbottom");
}

TEST(Html, BecomesText) {
  const std::vector<std::pair<std::string, std::string>> cases = {
      {"a  b\n c", "a b c"},
      {"<ul><li>one<li>two</ul>", "- one\n- two"},
      {"<p>a<p>b", "a\n\nb"},
      {"x<script>var a='<p>';</script>y", "xy"},
      {"1 < 2 &lt; 3 &#x20AC; &#8364; &nosuch; &", "1 < 2 < 3 € € &nosuch; &"},
      {"<a href=\"x>y\">link</a><!-- <b>no</b> -->", "link"},
      {"<p title='never closed>text", "text"},
      {"<pre>a\n  b</pre>", "a\n  b"},
      {"<td>a</td><td>b</td>", "a b"},
      {"&#0;&#xD800;&#x110000;", "���"},
  };
  for (const auto& [html, text] : cases) EXPECT_EQ(htmlToText(html), text) << html;
}

}  // namespace
}  // namespace quillbox::mailclient

// Random mailboxes and queries that meet each other often.
#pragma once

#include <string>
#include <vector>

#include <rapidcheck.h>

#include "base/text.h"
#include "model/mailbox.h"

namespace quillbox {

// A small alphabet: hits are frequent, and every character is one that some step treats specially.
inline rc::Gen<std::string> genPiece() {
  return rc::gen::elementOf(std::vector<std::string>{"a",
                                                     "A",
                                                     "b",
                                                     "s",
                                                     "S",
                                                     "ss",
                                                     "i",
                                                     "I",
                                                     "f",
                                                     "n",
                                                     "x",
                                                     "1",
                                                     "2",
                                                     "10",
                                                     " ",
                                                     "/",
                                                     ".",
                                                     "-",
                                                     "Ab",
                                                     "sS",
                                                     "fi",
                                                     "ß",
                                                     "ẞ",
                                                     "ſ",
                                                     "ı",
                                                     "İ",
                                                     "ﬁ",
                                                     "ﬀ",
                                                     "ﬃ",
                                                     "ﬆ",
                                                     "ŉ",
                                                     "և",
                                                     "é",
                                                     "e\u0301",
                                                     "É",
                                                     "ü",
                                                     "u\u0308",
                                                     "Å",
                                                     "\u212B",
                                                     "\u212A",
                                                     "k",
                                                     "Σ",
                                                     "σ",
                                                     "ς",
                                                     "ᾈ",
                                                     "α",
                                                     "Ω",
                                                     "\u2126",
                                                     "Д",
                                                     "д",
                                                     "ё",
                                                     "한",
                                                     "\u1112\u1161\u11AB",
                                                     "하",
                                                     "日",
                                                     "本",
                                                     "が",
                                                     "か\u3099",
                                                     "👩‍👩‍👧",
                                                     "😀",
                                                     "\u0301",
                                                     "\u00A0",
                                                     "\u200D",
                                                     "\t",
                                                     "\n",
                                                     "\r",
                                                     "\r\n",
                                                     "\u0085",
                                                     "\u2028",
                                                     "\v",
                                                     "\x01",
                                                     "\x7F",
                                                     "(",
                                                     ")",
                                                     "[",
                                                     "]",
                                                     "*",
                                                     "+",
                                                     "?",
                                                     "^",
                                                     "|",
                                                     "\\",
                                                     "\"",
                                                     "$",
                                                     "{",
                                                     "}",
                                                     "𝐀",
                                                     "Ꭰ",
                                                     "ꭰ",
                                                     "\xFF",
                                                     "\xC3"});
}

inline rc::Gen<std::string> genText(int longest) {
  return rc::gen::map(rc::gen::resize(longest, rc::gen::container<std::vector<std::string>>(genPiece())),
                      [](const std::vector<std::string>& pieces) {
                        std::string text;
                        for (const auto& piece : pieces) text += piece;
                        return text;
                      });
}

// With a path whose last element is the name, or, where `names` says so, sometimes a name of its own.
enum class Names { endPaths, any };
inline rc::Gen<Mailbox> genMailbox(Names names) {
  return rc::gen::map(
      rc::gen::tuple(genText(12), genText(6),
                     rc::gen::elementOf(std::vector<std::string>{"Work", "Home", "On My Mac"}),
                     rc::gen::weightedElement<int>({{8, 0}, {1, 1}, {1, 2}})),
      [names](const std::tuple<std::string, std::string, std::string, int>& parts) {
        const auto& [parent, name, account, form] = parts;
        if (form == 1 && names == Names::any) return Mailbox::make(name, parent, account);
        const bool joined = parent.empty() || (form == 2 && names == Names::any);
        return Mailbox::make(name, joined ? parent + name : parent + "/" + name, account);
      });
}

// A tree in the order of a walk: each mailbox lies below an earlier one, beside it, or elsewhere, so that
// neighbours begin alike.
inline rc::Gen<std::vector<Mailbox>> genMailboxTree() {
  const auto step = rc::gen::tuple(genText(4), rc::gen::inRange(0, 4), rc::gen::inRange(0, 3));
  return rc::gen::map(rc::gen::container<std::vector<std::tuple<std::string, int, int>>>(step),
                      [](const std::vector<std::tuple<std::string, int, int>>& steps) {
                        std::vector<Mailbox> list;
                        std::string folder;
                        for (const auto& [name, up, account] : steps) {
                          if (up == 0 && !list.empty()) folder = list.back().path + "/";
                          for (int i = 1; i < up && !folder.empty(); ++i) {
                            const auto slash = folder.rfind('/', folder.size() - 2);
                            folder.resize(slash == std::string::npos ? 0 : slash + 1);
                          }
                          list.push_back(Mailbox::make(name, folder + name, account == 0 ? "Home" : "Work"));
                        }
                        return list;
                      });
}

// Ids may repeat.
inline rc::Gen<std::vector<Mailbox>> genMailboxes() {
  return rc::gen::oneOf(genMailboxTree(), rc::gen::container<std::vector<Mailbox>>(genMailbox(Names::any)),
                        rc::gen::container<std::vector<Mailbox>>(genMailbox(Names::endPaths)));
}

// Pieces with the words, repetitions and anchors of which queries consist.
inline rc::Gen<std::string> genQuery() {
  return rc::gen::map(
      rc::gen::resize(
          6, rc::gen::container<std::vector<std::string>>(rc::gen::weightedOneOf<std::string>(
                 {{12, genPiece()},
                  {2, rc::gen::just(std::string(" "))},
                  {1, rc::gen::elementOf(std::vector<std::string>{"{0}", "{2}", "{1,2}", "a{0}", "$", "{",
                                                                  "x{1", "  ", "a b", "s s"})}}))),
      [](const std::vector<std::string>& pieces) {
        std::string text;
        for (const auto& piece : pieces) text += piece;
        return text;
      });
}

// A query out of one of the texts: characters in their order, with gaps.
inline std::string queryWithin(const std::string& text) {
  std::string query;
  for (std::size_t at = 0; at < text.size();) {
    const std::size_t start = at;
    text::nextCodePoint(text, at);
    const int what = *rc::gen::inRange(0, 6);
    if (what < 4) query.append(text, start, at - start);
    if (what == 4) query += ' ';
  }
  return query;
}

}  // namespace quillbox

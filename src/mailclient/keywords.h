// A message's marks: the flags and keywords that its name holds, what they mean to a mail client (read, flag
// colours, label colours, junk), and the dovecot-keywords file that gives a folder's keyword letters their
// names.
#pragma once

#include <array>
#include <cstdint>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "base/result.h"
#include "mailclient/environment.h"
#include "mailclient/message_name.h"

namespace quillbox::mailclient {

// The names behind the letters a to z of one folder: lines "0 name" to "25 name".
class KeywordTable {
 public:
  static KeywordTable parse(std::string_view text);

  // Empty when the letter has no name.
  std::string_view nameOf(char letter) const;
  // Keywords compare without regard to ASCII case, as in IMAP.
  std::optional<char> letterOf(std::string_view name) const;
  // Gives `name` the first free letter that is not among `inUse`, or nothing when all 26 are taken.
  std::optional<char> add(std::string_view name, std::string_view inUse);
  // The text as it was read, with a line for every name added since; lines that do not parse are kept.
  const std::string& text() const { return text_; }

 private:
  std::array<std::string, 26> names_;
  std::string text_;
};

// The folder's table; an empty one when it has no dovecot-keywords.
Result<KeywordTable> readKeywords(FileSystem& files, const Path& folder);

// The folder's table with a letter for each of `names`; those without one are added to the file, under the
// lock by which Dovecot keeps it (dovecot-uidlist.lock) where Dovecot serves the folder. A letter that
// messages of the folder carry without a name for it is given to nothing: it would mark them all. Fails with
// ENOSPC when there are more than 26.
Result<KeywordTable> requireKeywords(const Environment& environment, const Path& folder,
                                     const std::vector<std::string>& names, std::string_view token);
// Removes what a run that died while it did this under `token` has left.
void removeKeywordLeftovers(FileSystem& files, const Path& folder, std::string_view token);

enum class LabelColor { none, blue, gray, green, orange, purple, red, yellow };
// The colour's term in scripts: "none", "blue" ...
std::string_view labelTerm(LabelColor color);
std::optional<LabelColor> labelFromTerm(std::string_view term);

inline constexpr int noFlagIndex = -1;
inline constexpr int lastFlagIndex = 6;

// A message's marks without the letters of a particular folder.
struct Marks {
  std::string flags;                  // D F P R S T and others that are no keywords, in ASCII order
  std::vector<std::string> keywords;  // names, sorted
  std::string unnamed;                // keyword letters to which the folder gives no name
  std::string foreign;                // other programs' text behind the flags

  static Marks read(const MessageName& name, const KeywordTable& table);

  bool has(char flag) const { return flags.find(flag) != std::string::npos; }
  bool hasKeyword(std::string_view name) const;
  // -1 none, 0 red, 1 orange, 2 yellow, 3 green, 4 blue, 5 purple, 6 gray: \Flagged with the keywords
  // $MailFlagBit0 (1), $MailFlagBit1 (2) and $MailFlagBit2 (4).
  int flagIndex() const;
  // The keyword $QuillboxLabelYellow and so on.
  LabelColor label() const;
  bool junk() const;  // the keyword $Junk (or Junk) without $NotJunk

  bool operator==(const Marks&) const = default;
};

// What shall become of a message's marks; what it does not name stays.
class MarkChange {
 public:
  static MarkChange flag(char letter, bool on);
  static MarkChange flagIndex(int index);
  static MarkChange label(LabelColor color);
  static MarkChange junk(bool on);
  // What turns `from` into `to`, but for other programs' text.
  static MarkChange between(const Marks& from, const Marks& to);

  // This change, then `later`.
  void then(const MarkChange& later);
  void apply(Marks& marks) const;
  bool isEmpty() const { return *this == MarkChange(); }
  bool operator==(const MarkChange&) const = default;

 private:
  void set(char letter, bool on);
  void setKeyword(std::string_view name, bool on);

  std::string on_;
  std::string off_;
  std::string unnamedOn_;  // letters without a name come from between() only
  std::string unnamedOff_;
  // Our own keywords, one bit for each, as most changes know no others; and all others by name.
  std::uint32_t ownAdded_ = 0;
  std::uint32_t ownRemoved_ = 0;
  std::vector<std::string> added_;
  std::vector<std::string> removed_;
};

// The info part that `marks` have in the folder of `table`; every keyword has a letter there. Letters without
// a name stay when they have no name in this folder either.
MessageName withMarks(MessageName name, const Marks& marks, const KeywordTable& table);

}  // namespace quillbox::mailclient

#include "mailclient/keywords.h"

#include <algorithm>
#include <cerrno>
#include <charconv>

#include <fmt/format.h>

#include "mailclient/dot_lock.h"
#include "mailclient/name_codes.h"

namespace quillbox::mailclient {
namespace {

constexpr std::string_view kFile = "dovecot-keywords";
constexpr std::uint64_t kFileLimit = 1 << 20;
constexpr std::array<std::string_view, 3> kFlagBits = {"$MailFlagBit0", "$MailFlagBit1", "$MailFlagBit2"};

struct Label {
  LabelColor color;
  std::string_view term;
  std::string_view keyword;
};
constexpr std::array<Label, 8> kLabels = {{{LabelColor::none, "none", ""},
                                           {LabelColor::blue, "blue", "$QuillboxLabelBlue"},
                                           {LabelColor::gray, "gray", "$QuillboxLabelGray"},
                                           {LabelColor::green, "green", "$QuillboxLabelGreen"},
                                           {LabelColor::orange, "orange", "$QuillboxLabelOrange"},
                                           {LabelColor::purple, "purple", "$QuillboxLabelPurple"},
                                           {LabelColor::red, "red", "$QuillboxLabelRed"},
                                           {LabelColor::yellow, "yellow", "$QuillboxLabelYellow"}}};

// The keywords that a MarkChange knows by their place here.
constexpr std::array<std::string_view, 13> kOwn = {kFlagBits[0],
                                                   kFlagBits[1],
                                                   kFlagBits[2],
                                                   kLabels[1].keyword,
                                                   kLabels[2].keyword,
                                                   kLabels[3].keyword,
                                                   kLabels[4].keyword,
                                                   kLabels[5].keyword,
                                                   kLabels[6].keyword,
                                                   kLabels[7].keyword,
                                                   "$Junk",
                                                   "$NotJunk",
                                                   "Junk"};

template <class Use>
void forEachOwn(std::uint32_t set, Use&& use) {
  for (std::size_t i = 0; set != 0; ++i, set >>= 1U) {
    if ((set & 1U) != 0) use(kOwn[i]);
  }
}

bool sameKeyword(std::string_view a, std::string_view b) {
  return std::ranges::equal(a, b, [](char x, char y) {
    const auto lower = [](char c) { return c >= 'A' && c <= 'Z' ? static_cast<char>(c + 32) : c; };
    return lower(x) == lower(y);
  });
}

bool contains(const std::vector<std::string>& names, std::string_view name) {
  return std::ranges::any_of(names, [&](const std::string& other) { return sameKeyword(other, name); });
}

void erase(std::vector<std::string>& names, std::string_view name) {
  std::erase_if(names, [&](const std::string& other) { return sameKeyword(other, name); });
}

bool isKeywordLetter(char c) {
  return c >= 'a' && c <= 'z';
}

// Servers keep this lock while they give out letters; without one, the file has a lock of its own.
Path lockedFile(FileSystem& files, const Path& folder) {
  const Path uidList = folder / "dovecot-uidlist";
  return files.info(uidList) ? uidList : folder / kFile;
}

// The keyword letters that messages of the folder carry, each once.
std::string lettersInUse(FileSystem& files, const Path& folder) {
  std::string letters;
  for (const auto* part : {"cur", "new"}) {
    // A folder that cannot be listed shows nobody its messages.
    (void)files.list(folder / part, [&](std::string_view name, FileKind) {
      for (const char letter : MessageName::parse(name).flags) {
        if (isKeywordLetter(letter) && letters.find(letter) == std::string::npos) letters += letter;
      }
      return true;
    });
  }
  return letters;
}

}  // namespace

KeywordTable KeywordTable::parse(std::string_view text) {
  KeywordTable table;
  table.text_ = std::string(text);
  while (!text.empty()) {
    const auto end = text.find('\n');
    const auto line = text.substr(0, end);
    text = end == std::string_view::npos ? std::string_view() : text.substr(end + 1);
    std::size_t index = 0;
    const auto [rest, error] = std::from_chars(line.data(), line.data() + line.size(), index);
    if (error != std::errc() || index >= table.names_.size()) continue;
    if (rest == line.data() + line.size() || *rest != ' ') continue;
    table.names_[index] = std::string(rest + 1, line.data() + line.size());
  }
  return table;
}

std::string_view KeywordTable::nameOf(char letter) const {
  return isKeywordLetter(letter) ? std::string_view(names_[static_cast<std::size_t>(letter - 'a')])
                                 : std::string_view();
}

std::optional<char> KeywordTable::letterOf(std::string_view name) const {
  for (std::size_t i = 0; i < names_.size(); ++i) {
    if (!names_[i].empty() && sameKeyword(names_[i], name)) return static_cast<char>('a' + i);
  }
  return std::nullopt;
}

std::optional<char> KeywordTable::add(std::string_view name, std::string_view inUse) {
  for (std::size_t i = 0; i < names_.size(); ++i) {
    const auto letter = static_cast<char>('a' + i);
    if (!names_[i].empty() || inUse.find(letter) != std::string_view::npos) continue;
    names_[i] = std::string(name);
    if (!text_.empty() && text_.back() != '\n') text_ += '\n';
    text_ += fmt::format("{} {}\n", i, name);
    return letter;
  }
  return std::nullopt;
}

Result<KeywordTable> readKeywords(FileSystem& files, const Path& folder) {
  auto text = files.read(folder / kFile, kFileLimit);
  if (text) return KeywordTable::parse(*text);
  if (text.error().number == ENOENT || text.error().number == ENOTDIR) return KeywordTable();
  return forward(text);
}

Result<KeywordTable> requireKeywords(const Environment& environment, const Path& folder,
                                     const std::vector<std::string>& names, std::string_view token) {
  const auto complete = [&](const KeywordTable& table) {
    return std::ranges::all_of(names,
                               [&](const std::string& name) { return table.letterOf(name).has_value(); });
  };
  auto table = readKeywords(environment.files, folder);
  if (!table || complete(*table)) return table;
  auto lock = DotLock::take(environment, lockedFile(environment.files, folder), token);
  if (!lock) return forward(lock);
  table = readKeywords(environment.files, folder);
  if (!table) return table;
  const auto inUse = lettersInUse(environment.files, folder);
  for (const auto& name : names) {
    if (table->letterOf(name) || table->add(name, inUse)) continue;
    return fail(ENOSPC, fmt::format("The folder {} has no room for the keyword {}: all 26 are in use",
                                    readableBytes(folder.string()), name));
  }
  if (auto written = lock->replace(folder / kFile, table->text()); !written) return forward(written);
  return table;
}

void removeKeywordLeftovers(FileSystem& files, const Path& folder, std::string_view token) {
  for (const auto* name : {"dovecot-keywords", "dovecot-uidlist"}) {
    DotLock::removeLeftover(files, folder / name, token);
  }
}

std::string_view labelTerm(LabelColor color) {
  return std::ranges::find(kLabels, color, &Label::color)->term;
}

std::optional<LabelColor> labelFromTerm(std::string_view term) {
  const auto found = std::ranges::find(kLabels, term, &Label::term);
  return found == kLabels.end() ? std::nullopt : std::optional(found->color);
}

Marks Marks::read(const MessageName& name, const KeywordTable& table) {
  Marks marks;
  marks.foreign = name.foreign;
  for (const char letter : name.flags) {
    if (!isKeywordLetter(letter)) {
      marks.flags += letter;
    } else if (const auto keyword = table.nameOf(letter); !keyword.empty()) {
      // A damaged table may give two letters one name.
      if (!contains(marks.keywords, keyword)) marks.keywords.emplace_back(keyword);
    } else {
      marks.unnamed += letter;
    }
  }
  std::ranges::sort(marks.keywords);
  return marks;
}

bool Marks::hasKeyword(std::string_view name) const {
  return contains(keywords, name);
}

int Marks::flagIndex() const {
  if (!has(flag::flagged)) return noFlagIndex;
  int index = 0;
  for (std::size_t bit = 0; bit < kFlagBits.size(); ++bit) {
    if (hasKeyword(kFlagBits[bit])) index |= 1 << bit;
  }
  return index > lastFlagIndex ? 0 : index;
}

LabelColor Marks::label() const {
  for (const auto& label : kLabels) {
    if (!label.keyword.empty() && hasKeyword(label.keyword)) return label.color;
  }
  return LabelColor::none;
}

bool Marks::junk() const {
  return (hasKeyword("$Junk") || hasKeyword("Junk")) && !hasKeyword("$NotJunk");
}

namespace {

void setLetters(std::string& letters, std::string_view on, std::string_view off) {
  for (const char letter : on) {
    if (letters.find(letter) == std::string::npos) letters += letter;
  }
  for (const char letter : off) std::erase(letters, letter);
  std::ranges::sort(letters);
}

}  // namespace

void MarkChange::set(char letter, bool on) {
  std::erase(on_, letter);
  std::erase(off_, letter);
  (on ? on_ : off_) += letter;
}

void MarkChange::setKeyword(std::string_view name, bool on) {
  erase(added_, name);
  erase(removed_, name);
  for (std::size_t i = 0; i < kOwn.size(); ++i) {
    const auto bit = std::uint32_t{1} << i;
    if (((ownAdded_ | ownRemoved_) & bit) != 0 && sameKeyword(kOwn[i], name)) {
      ownAdded_ &= ~bit;
      ownRemoved_ &= ~bit;
    }
  }
  if (const auto own = std::ranges::find(kOwn, name); own != kOwn.end()) {
    (on ? ownAdded_ : ownRemoved_) |= std::uint32_t{1} << (own - kOwn.begin());
  } else {
    (on ? added_ : removed_).emplace_back(name);
  }
}

MarkChange MarkChange::flag(char letter, bool on) {
  MarkChange change;
  change.set(letter, on);
  return change;
}

MarkChange MarkChange::flagIndex(int index) {
  MarkChange change;
  change.set(flag::flagged, index != noFlagIndex);
  for (std::size_t bit = 0; bit < kFlagBits.size(); ++bit) {
    change.setKeyword(kFlagBits[bit], index != noFlagIndex && (index >> bit & 1) != 0);
  }
  return change;
}

MarkChange MarkChange::label(LabelColor color) {
  MarkChange change;
  for (const auto& label : kLabels) {
    if (!label.keyword.empty()) change.setKeyword(label.keyword, label.color == color);
  }
  return change;
}

MarkChange MarkChange::junk(bool on) {
  MarkChange change;
  change.setKeyword("$Junk", on);
  change.setKeyword("$NotJunk", !on);
  change.setKeyword("Junk", false);
  return change;
}

MarkChange MarkChange::between(const Marks& from, const Marks& to) {
  MarkChange change;
  for (const char letter : to.flags) {
    if (!from.has(letter)) change.set(letter, true);
  }
  for (const char letter : from.flags) {
    if (!to.has(letter)) change.set(letter, false);
  }
  change.unnamedOn_ = to.unnamed;
  std::erase_if(change.unnamedOn_,
                [&](char letter) { return from.unnamed.find(letter) != std::string::npos; });
  change.unnamedOff_ = from.unnamed;
  std::erase_if(change.unnamedOff_,
                [&](char letter) { return to.unnamed.find(letter) != std::string::npos; });
  for (const auto& name : to.keywords) {
    if (!from.hasKeyword(name)) change.setKeyword(name, true);
  }
  for (const auto& name : from.keywords) {
    if (!to.hasKeyword(name)) change.setKeyword(name, false);
  }
  return change;
}

void MarkChange::then(const MarkChange& later) {
  for (const char letter : later.on_) set(letter, true);
  for (const char letter : later.off_) set(letter, false);
  setLetters(unnamedOn_, later.unnamedOn_, later.unnamedOff_);
  setLetters(unnamedOff_, later.unnamedOff_, later.unnamedOn_);
  forEachOwn(later.ownAdded_, [&](std::string_view name) { setKeyword(name, true); });
  forEachOwn(later.ownRemoved_, [&](std::string_view name) { setKeyword(name, false); });
  for (const auto& name : later.added_) setKeyword(name, true);
  for (const auto& name : later.removed_) setKeyword(name, false);
}

void MarkChange::apply(Marks& marks) const {
  setLetters(marks.flags, on_, off_);
  setLetters(marks.unnamed, unnamedOn_, unnamedOff_);
  const auto add = [&](std::string_view name) {
    if (!marks.hasKeyword(name)) marks.keywords.emplace_back(name);
  };
  forEachOwn(ownAdded_, add);
  std::ranges::for_each(added_, add);
  forEachOwn(ownRemoved_, [&](std::string_view name) { erase(marks.keywords, name); });
  for (const auto& name : removed_) erase(marks.keywords, name);
  std::ranges::sort(marks.keywords);
}

MessageName withMarks(MessageName name, const Marks& marks, const KeywordTable& table) {
  name.flags.clear();
  name.foreign = marks.foreign;
  name.hasInfo = true;
  for (const char letter : marks.flags) name.set(letter, true);
  for (const auto& keyword : marks.keywords) {
    if (const auto letter = table.letterOf(keyword)) name.set(*letter, true);
  }
  for (const char letter : marks.unnamed) {
    if (table.nameOf(letter).empty()) name.set(letter, true);
  }
  return name;
}

}  // namespace quillbox::mailclient

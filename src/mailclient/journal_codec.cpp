#include "mailclient/journal_codec.h"

#include <algorithm>
#include <array>
#include <utility>

#include <fmt/format.h>

#include "base/error_numbers.h"
#include "base/json.h"
#include "mailclient/mime.h"
#include "mailclient/name_codes.h"

namespace quillbox::mailclient {
namespace {

// 2 since "moves"; the lines of 1 are as they were.
constexpr int kVersion = 2;

constexpr std::array<std::pair<JournalRecord::Kind, std::string_view>, 6> kKinds = {
    {{JournalRecord::Kind::plan, "plan"},
     {JournalRecord::Kind::move, "move"},
     {JournalRecord::Kind::copy, "copy"},
     {JournalRecord::Kind::marks, "marks"},
     {JournalRecord::Kind::mailbox, "mailbox"},
     {JournalRecord::Kind::keywords, "keywords"}}};

constexpr std::array<std::pair<const char*, Subfolder>, 2> kSubfolders = {
    {{"cur", Subfolder::current}, {"new", Subfolder::fresh}}};

void quote(std::string_view utf8, std::string& out) {
  out += '"';
  for (std::size_t at = 0; at < utf8.size(); ++at) {
    const auto plain = std::ranges::find_if(utf8.substr(at), [](char c) {
      return static_cast<unsigned char>(c) < 0x20 || c == '"' || c == '\\';
    });
    const auto length = static_cast<std::size_t>(plain - utf8.substr(at).begin());
    out += utf8.substr(at, length);
    at += length;
    if (at == utf8.size()) break;
    const char c = utf8[at];
    if (static_cast<unsigned char>(c) < 0x20) {
      out += fmt::format("\\u{:04x}", static_cast<unsigned>(c));
    } else {
      out += '\\';
      out += c;
    }
  }
  out += '"';
}

// Nearly all names are plain ASCII: these need no second look.
void quoteBytes(std::string_view bytes, std::string& out) {
  const bool isPlain =
      std::ranges::all_of(bytes, [](char c) { return c >= 0x20 && c < 0x7f && c != '"' && c != '\\'; });
  if (!isPlain) return quote(readableBytes(bytes), out);
  out.append(1, '"').append(bytes).append(1, '"');
}

// One line, member by member. A filing writes one for every message, so it is put together without a tree in
// between.
class Line {
 public:
  Line() : out_("{") {}
  Line& text(std::string_view key, std::string_view bytes) {
    begin(key);
    quoteBytes(bytes, out_);
    return *this;
  }
  Line& texts(std::string_view key, const std::vector<std::string>& values) {
    begin(key);
    out_ += '[';
    for (std::size_t i = 0; i < values.size(); ++i) {
      if (i > 0) out_ += ',';
      quoteBytes(values[i], out_);
    }
    out_ += ']';
    return *this;
  }
  // Leaves the list open, for those who go on by themselves.
  std::string openList(std::string_view key) && {
    begin(key);
    return std::move(out_) + "[";
  }
  template <class Fill>
  Line& object(std::string_view key, Fill&& fill) {
    begin(key);
    out_ += '{';
    fill(*this);
    out_ += '}';
    return *this;
  }
  template <class Items, class Fill>
  Line& objects(std::string_view key, const Items& items, Fill&& fill) {
    begin(key);
    out_ += '[';
    for (const auto& item : items) {
      out_ += out_.back() == '[' ? "{" : ",{";
      fill(*this, item);
      out_ += '}';
    }
    out_ += ']';
    return *this;
  }
  std::string end() && { return std::move(out_) + "}\n"; }

 private:
  void begin(std::string_view key) {
    if (out_.back() != '{') out_ += ',';
    quote(key, out_);
    out_ += ':';
  }

  std::string out_;
};

void putFolder(Line& line, const JournalPlace& place) {
  line.text("account", place.mailbox.account);
  line.text("mailbox", place.mailbox.path);
  line.text("folder", place.folder.native());
}

void putPlace(Line& line, const JournalPlace& place) {
  putFolder(line, place);
  line.text("sub", place.file.subfolder == Subfolder::current ? "cur" : "new");
  line.text("name", place.file.name);
}

void putMarks(Line& line, const Marks& marks) {
  line.text("flags", marks.flags);
  line.texts("keywords", marks.keywords);
  line.text("unnamed", marks.unnamed);
  line.text("foreign", marks.foreign);
}

std::string bytesAt(const Json& object, const char* key) {
  return bytesOfReadable(object.at(key).get_ref<const std::string&>());
}

JournalPlace decodeFolder(const Json& json) {
  JournalPlace place;
  place.mailbox = {json.at("account").get<std::string>(), bytesAt(json, "mailbox")};
  place.folder = bytesAt(json, "folder");
  return place;
}

JournalPlace decodePlace(const Json& json) {
  auto place = decodeFolder(json);
  place.file.name = bytesAt(json, "name");
  place.file.subfolder = json.at("sub") == "new" ? Subfolder::fresh : Subfolder::current;
  return place;
}

Marks decodeMarks(const Json& json) {
  Marks marks;
  marks.flags = bytesAt(json, "flags");
  marks.unnamed = json.at("unnamed").get<std::string>();
  marks.foreign = bytesAt(json, "foreign");
  for (const auto& keyword : json.at("keywords")) {
    marks.keywords.push_back(bytesOfReadable(keyword.get_ref<const std::string&>()));
  }
  return marks;
}

JournalRecord decodeRecord(const Json& json, JournalRecord::Kind kind) {
  JournalRecord record;
  record.kind = kind;
  if (kind == JournalRecord::Kind::mailbox) {
    record.root = bytesAt(json, "root");
    record.layout = json.at("layout") == "nested" ? Layout::nested : Layout::maildirPlusPlus;
    for (const auto& folder : json.at("folders")) {
      record.folders.push_back({bytesAt(folder, "path"), Path(bytesAt(folder, "folder"))});
    }
    return record;
  }
  if (kind == JournalRecord::Kind::keywords) {
    record.to.folder = bytesAt(json, "folder");
    return record;
  }
  if (kind == JournalRecord::Kind::plan) {
    record.from = decodeFolder(json.at("from"));
    record.to = decodeFolder(json.at("to"));
    for (const auto& [sub, subfolder] : kSubfolders) {
      for (const auto& name : json.at(sub)) {
        record.files.push_back({bytesOfReadable(name.get_ref<const std::string&>()), subfolder});
      }
    }
    return record;
  }
  record.from = decodePlace(json.at("from"));
  record.to = decodePlace(json.at("to"));
  record.before = decodeMarks(json.at("before"));
  record.after = decodeMarks(json.at("after"));
  if (json.contains("draft")) record.draft = bytesAt(json, "draft");
  return record;
}

// A record for each of the moves.
void takeMoves(JournalEntry& entry, const Json& json) {
  JournalRecord record;
  record.kind = JournalRecord::Kind::move;
  record.from = decodeFolder(json.at("from"));
  record.to = decodeFolder(json.at("to"));
  record.before = decodeMarks(json.at("before"));
  record.after = decodeMarks(json.at("after"));
  for (const auto& move : json.at("files")) {
    record.from.file = {bytesOfReadable(move.at(0).get_ref<const std::string&>()),
                        move.size() > 2 && move.at(2) == "new" ? Subfolder::fresh : Subfolder::current};
    record.to.file = {bytesOfReadable(move.at(1).get_ref<const std::string&>()), Subfolder::current};
    entry.records.push_back(record);
  }
}

// One line into the entry; false when the line is not one of ours.
bool takeLine(JournalEntry& entry, const Json& json) {
  if (!json.is_object()) return false;
  if (const auto number = json.find("void"); number != json.end()) {
    const auto index = number->get<std::size_t>();
    if (index >= entry.records.size()) return false;
    entry.records[index].isVoid = true;
    return true;
  }
  if (json.contains("undo")) {
    entry.undoStart = std::min(entry.undoStart, entry.records.size());
    return true;
  }
  const auto action = json.find("do");
  if (action == json.end() || !action->is_string()) return false;
  if (*action == "moves") {
    takeMoves(entry, json);
    return true;
  }
  const auto kind = std::ranges::find(kKinds, action->get_ref<const std::string&>(),
                                      &std::pair<JournalRecord::Kind, std::string_view>::second);
  if (kind == kKinds.end()) return false;
  entry.records.push_back(decodeRecord(json, kind->first));
  return true;
}

}  // namespace

std::string encodeHead(std::string_view token, std::chrono::nanoseconds started) {
  const auto seconds = std::chrono::duration_cast<std::chrono::seconds>(started).count();
  return writeJson(Json{{"journal", kVersion}, {"token", token}, {"started", isoTime(seconds)}}) + "\n";
}

std::string encodeRecord(const JournalRecord& record) {
  using Kind = JournalRecord::Kind;
  Line line;
  line.text("do", std::ranges::find(kKinds, record.kind, &std::pair<Kind, std::string_view>::first)->second);
  switch (record.kind) {
    case Kind::mailbox:
      line.text("root", record.root.native());
      line.text("layout", record.layout == Layout::nested ? "nested" : "maildir++");
      line.objects("folders", record.folders, [](Line& one, const Folder& folder) {
        one.text("path", folder.path);
        one.text("folder", folder.directory.native());
      });
      break;
    case Kind::keywords:
      line.text("folder", record.to.folder.native());
      break;
    case Kind::plan:
      line.object("from", [&](Line& from) { putFolder(from, record.from); });
      line.object("to", [&](Line& to) { putFolder(to, record.to); });
      for (const auto& [sub, subfolder] : kSubfolders) {
        std::vector<std::string> names;
        for (const auto& file : record.files) {
          if (file.subfolder == subfolder) names.push_back(file.name);
        }
        line.texts(sub, names);
      }
      break;
    case Kind::move:
    case Kind::copy:
    case Kind::marks:
      line.object("from", [&](Line& from) { putPlace(from, record.from); });
      line.object("to", [&](Line& to) { putPlace(to, record.to); });
      line.object("before", [&](Line& marks) { putMarks(marks, record.before); });
      line.object("after", [&](Line& marks) { putMarks(marks, record.after); });
      if (!record.draft.empty()) line.text("draft", record.draft);
      break;
  }
  return std::move(line).end();
}

std::string encodeMovesHead(const MoveGroup& group) {
  Line line;
  line.text("do", "moves");
  line.object("from", [&](Line& from) { putFolder(from, group.from); });
  line.object("to", [&](Line& to) { putFolder(to, group.to); });
  line.object("before", [&](Line& marks) { putMarks(marks, group.before); });
  line.object("after", [&](Line& marks) { putMarks(marks, group.after); });
  return std::move(line).openList("files");
}

void encodeMove(const MessageFile& from, const std::string& toName, std::string& out) {
  out += '[';
  quoteBytes(from.name, out);
  out += ',';
  quoteBytes(toName, out);
  out += from.subfolder == Subfolder::fresh ? ",\"new\"]" : "]";
}

std::string_view encodeMovesEnd() {
  return "]}\n";
}

std::string encodeVoid(std::size_t number) {
  return writeJson(Json{{"void", number}}) + "\n";
}

std::string encodeUndo() {
  return writeJson(Json{{"undo", true}}) + "\n";
}

Result<JournalEntry> decodeEntry(std::string_view text, std::string_view what) {
  // What was appended but not synced before a power cut may be there as zeros.
  text = text.substr(0, text.find('\0'));
  JournalEntry entry;
  int line = 0;
  const auto damaged = [&](std::string_view why) {
    return fail(error_number::damagedFile, fmt::format("{}, line {}: {}", what, line, why));
  };
  while (!text.empty()) {
    ++line;
    const auto end = text.find('\n');
    const auto content = text.substr(0, end);
    const bool last = end == std::string_view::npos || end + 1 == text.size();
    text = end == std::string_view::npos ? std::string_view() : text.substr(end + 1);
    if (content.empty()) continue;
    const auto json = parseJson(content, what);
    // A line is whole when its line feed is there; what a crash cut off in the middle was never acted on.
    const bool torn = end == std::string_view::npos || (!json && (last || text.starts_with('\n')));
    if (torn && entry.token.empty()) {
      constexpr std::string_view head = "{\"journal\":";
      const auto common = std::min(head.size(), content.size());
      if (content.substr(0, common) != head.substr(0, common)) return damaged("it is no journal of filings");
    }
    if (torn) continue;
    if (!json) return damaged("it is no JSON");
    try {
      if (entry.token.empty()) {
        if (!json->is_object() || !json->contains("journal")) return damaged("it is no journal of filings");
        if (json->at("journal") != 1 && json->at("journal") != kVersion)
          return damaged("it was written by another version");
        entry.token = json->at("token").get<std::string>();
        if (entry.token.empty()) return damaged("it has no token");
      } else if (!takeLine(entry, *json)) {
        return damaged("it says nothing that is known");
      }
    } catch (const Json::exception&) {
      return damaged("a field is missing or of the wrong type");
    }
  }
  return entry;
}

}  // namespace quillbox::mailclient

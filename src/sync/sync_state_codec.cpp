#include "sync/sync_state_codec.h"

#include <algorithm>
#include <array>
#include <limits>
#include <span>
#include <utility>

#include <fmt/format.h>

#include "base/json.h"

namespace quillbox {
namespace {

// --- writing

void appendText(std::string& out, std::string_view text) {
  const bool plain =
      std::ranges::all_of(text, [](char c) { return c >= 0x20 && c < 0x7F && c != '"' && c != '\\'; });
  if (plain) {
    out += '"';
    out += text;
    out += '"';
  } else {
    out += writeJson(std::string(text));
  }
}

void appendRevision(std::string& out, const FavoriteMailboxSyncState::Revision& revision) {
  fmt::format_to(std::back_inserter(out), R"({{"counter":{},"writer":)", revision.counter);
  appendText(out, revision.writer);
  out += '}';
}

void appendEntry(std::string& out, const FavoriteMailboxSyncState::Entry& entry) {
  out += R"({"mailbox":{"account":)";
  appendText(out, entry.mailbox.account);
  out += R"(,"name":)";
  appendText(out, entry.mailbox.name);
  out += R"(,"path":)";
  appendText(out, entry.mailbox.path);
  out += entry.removed ? R"(},"removed":true,"revision":)" : R"(},"removed":false,"revision":)";
  appendRevision(out, entry.revision);
  out += '}';
}

// --- reading

enum class Place { state, entries, entry, mailbox, revision, order, list };
enum class Kind { text, integer, boolean, object, array };

// What stands where. A member without a name is every member (or element) of its place.
struct Member {
  Place place;
  std::string_view name;
  Kind kind;
  Place opens;
};

constexpr Place kNone = Place::state;
constexpr std::array kMembers{
    Member{Place::state, "version", Kind::integer, kNone},
    Member{Place::state, "entries", Kind::object, Place::entries},
    Member{Place::state, "order", Kind::array, Place::order},
    Member{Place::state, "orderRevision", Kind::object, Place::revision},
    Member{Place::entries, "", Kind::object, Place::entry},
    Member{Place::entry, "mailbox", Kind::object, Place::mailbox},
    Member{Place::entry, "removed", Kind::boolean, kNone},
    Member{Place::entry, "revision", Kind::object, Place::revision},
    Member{Place::mailbox, "name", Kind::text, kNone},
    Member{Place::mailbox, "path", Kind::text, kNone},
    Member{Place::mailbox, "account", Kind::text, kNone},
    Member{Place::revision, "counter", Kind::integer, kNone},
    Member{Place::revision, "writer", Kind::text, kNone},
    Member{Place::order, "", Kind::text, kNone},
    Member{Place::list, "", Kind::object, Place::mailbox},
};

std::string_view nameOf(Place place) {
  constexpr std::array<std::string_view, 7> names{"the state",  "the entries", "an entry", "a mailbox",
                                                  "a revision", "the order",   "the list"};
  return names[static_cast<std::size_t>(place)];
}

std::string_view nameOf(Kind kind) {
  constexpr std::array<std::string_view, 5> names{"a text", "an integer", "true or false", "an object",
                                                  "an array"};
  return names[static_cast<std::size_t>(kind)];
}

// Receives the parser's events. Every callback returns whether to go on.
class Reader {
 public:
  using number_integer_t = nlohmann::json::number_integer_t;
  using number_unsigned_t = nlohmann::json::number_unsigned_t;
  using number_float_t = nlohmann::json::number_float_t;
  using string_t = nlohmann::json::string_t;
  using binary_t = nlohmann::json::binary_t;

  explicit Reader(Place root) : root_(root) {}

  FavoriteMailboxSyncState state;
  std::vector<Mailbox> list;
  std::string problem;

  bool null() { return other("null"); }
  bool number_float(number_float_t, const string_t&) { return other("a fraction"); }
  bool binary(binary_t&) { return other("binary"); }

  bool boolean(bool value) {
    const Member* member = nullptr;
    if (!take(Kind::boolean, member)) return false;
    if (member != nullptr) entry_.removed = value;
    return true;
  }

  bool number_integer(number_integer_t value) {
    const Member* member = nullptr;
    if (!take(Kind::integer, member)) return false;
    if (member != nullptr) (member->place == Place::state ? state.version : revision_.counter) = value;
    return true;
  }

  bool number_unsigned(number_unsigned_t value) {
    if (value > static_cast<number_unsigned_t>(std::numeric_limits<number_integer_t>::max()))
      return other("too large");
    return number_integer(static_cast<number_integer_t>(value));
  }

  bool string(string_t& value) {
    const Member* member = nullptr;
    if (!take(Kind::text, member)) return false;
    if (member == nullptr) return true;
    if (member->place == Place::order) {
      state.order.push_back(std::move(value));
    } else if (member->place == Place::revision) {
      revision_.writer = std::move(value);
    } else if (member->name == "name") {
      mailbox_.name = std::move(value);
    } else if (member->name == "path") {
      mailbox_.path = std::move(value);
    } else {
      mailbox_.account = std::move(value);
    }
    return true;
  }

  bool start_object(std::size_t) { return open(Kind::object); }
  bool start_array(std::size_t) { return open(Kind::array); }
  bool end_object() { return close(); }
  bool end_array() { return close(); }

  bool key(string_t& name) {
    if (skipping_ == 0) frames_.back().key = std::move(name);
    return true;
  }

  bool parse_error(std::size_t position, const std::string&, const nlohmann::detail::exception&) {
    problem = fmt::format("it is not valid JSON (at byte {})", position);
    return false;
  }

 private:
  struct Frame {
    Place place;
    unsigned seen = 0;  // a bit for each of kMembers
    std::string key;
  };

  // The known member that the next value is, or nothing.
  const Member* expected() const {
    const Frame& frame = frames_.back();
    const auto it = std::ranges::find_if(kMembers, [&](const Member& member) {
      return member.place == frame.place && (member.name.empty() || member.name == frame.key);
    });
    return it == kMembers.end() ? nullptr : &*it;
  }

  bool wrong(std::string_view wanted) {
    problem = frames_.empty() ? fmt::format("it is not {}", wanted)
                              : fmt::format("\"{}\" of {} is not {}", frames_.back().key,
                                            nameOf(frames_.back().place), wanted);
    return false;
  }

  // Leaves `member` null where the value is of no interest.
  bool take(Kind kind, const Member*& member) {
    if (skipping_ > 0) return true;
    if (frames_.empty()) return wrong(nameOf(rootKind()));
    member = expected();
    if (member == nullptr) return true;
    if (member->kind != kind) return wrong(nameOf(member->kind));
    frames_.back().seen |= 1U << static_cast<unsigned>(member - kMembers.data());
    return true;
  }

  // A value of a kind that no member has.
  bool other(std::string_view) {
    if (skipping_ > 0) return true;
    if (frames_.empty()) return wrong(nameOf(rootKind()));
    const Member* member = expected();
    return member == nullptr || wrong(nameOf(member->kind));
  }

  Kind rootKind() const { return root_ == Place::list ? Kind::array : Kind::object; }

  bool open(Kind kind) {
    if (skipping_ > 0) {
      ++skipping_;
      return true;
    }
    if (frames_.empty()) {
      if (kind != rootKind()) return wrong(nameOf(rootKind()));
      frames_.push_back({root_, 0, {}});
      return true;
    }
    const Member* member = nullptr;
    if (!take(kind, member)) return false;
    if (member == nullptr) {
      skipping_ = 1;
      return true;
    }
    switch (member->opens) {
      case Place::entries:
        state.entries.clear();
        break;
      case Place::order:
        state.order.clear();
        break;
      case Place::entry:
        entry_ = {};
        break;
      case Place::mailbox:
        mailbox_ = {};
        break;
      case Place::revision:
        revision_ = {};
        break;
      case Place::state:
      case Place::list:
        break;
    }
    frames_.push_back({member->opens, 0, {}});
    return true;
  }

  bool close() {
    if (skipping_ > 0) {
      --skipping_;
      return true;
    }
    const Frame frame = std::move(frames_.back());
    frames_.pop_back();
    for (std::size_t i = 0; i < kMembers.size(); ++i) {
      const Member& member = kMembers[i];
      if (member.place != frame.place || member.name.empty() || (frame.seen >> i & 1U) != 0) continue;
      problem = fmt::format("{} has no \"{}\"", nameOf(frame.place), member.name);
      return false;
    }
    if (frames_.empty()) return true;
    const Frame& parent = frames_.back();
    if (frame.place == Place::mailbox) {
      auto mailbox =
          Mailbox::make(std::move(mailbox_.name), std::move(mailbox_.path), std::move(mailbox_.account));
      if (parent.place == Place::list) {
        list.push_back(std::move(mailbox));
      } else {
        entry_.mailbox = std::move(mailbox);
      }
    } else if (frame.place == Place::revision) {
      (parent.place == Place::state ? state.orderRevision : entry_.revision) = std::move(revision_);
    } else if (frame.place == Place::entry) {
      // Written in key order, so the end is where it belongs.
      const auto hint = state.entries.insert_or_assign(state.entries.end(), parent.key, std::move(entry_));
      (void)hint;
    }
    return true;
  }

  Place root_;
  std::vector<Frame> frames_;
  std::size_t skipping_ = 0;  // depth inside a value of no interest
  FavoriteMailboxSyncState::Entry entry_;
  FavoriteMailboxSyncState::Revision revision_;
  Mailbox mailbox_;
};

Result<Reader> read(std::string_view json, Place root, std::string_view what) {
  Reader reader(root);
  bool read = false;
  try {
    read = nlohmann::json::sax_parse(json, &reader);
  } catch (const std::exception& e) {
    reader.problem = e.what();
  }
  if (!read)
    return fail(error_number::damagedFile, fmt::format("{} does not decode: {}.", what, reader.problem));
  return reader;
}

}  // namespace

std::string encodeSyncState(const FavoriteMailboxSyncState& state) {
  std::string out = R"({"entries":{)";
  bool first = true;
  for (const auto& [id, entry] : state.entries) {
    if (!std::exchange(first, false)) out += ',';
    appendText(out, id);
    out += ':';
    appendEntry(out, entry);
  }
  out += R"(},"order":[)";
  first = true;
  for (const std::string& id : state.order) {
    if (!std::exchange(first, false)) out += ',';
    appendText(out, id);
  }
  out += R"(],"orderRevision":)";
  appendRevision(out, state.orderRevision);
  fmt::format_to(std::back_inserter(out), R"(,"version":{}}})", state.version);
  return out;
}

Result<FavoriteMailboxSyncState> decodeSyncState(std::string_view json) {
  auto reader = read(json, Place::state, "The synced favourites");
  if (!reader) return forward(reader);
  return std::move(reader->state);
}

Result<std::vector<Mailbox>> decodeSyncedList(std::string_view json) {
  auto reader = read(json, Place::list, "The list of favourites");
  if (!reader) return forward(reader);
  return std::move(reader->list);
}

}  // namespace quillbox

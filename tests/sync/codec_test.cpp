// The bytes between machines: what is written, and what is made of anything else.
#include <functional>
#include <string>
#include <string_view>
#include <vector>

#include <gtest/gtest.h>

#include "base/error_numbers.h"
#include "base/json.h"
#include "sync/machines.h"
#include "sync/sync_state_codec.h"

namespace quillbox {
namespace {

using State = FavoriteMailboxSyncState;
using synctest::box;

State sample() {
  State state;
  state.recordEdit({box("b"), box("a")}, {}, "W1");
  state.recordEdit({box("b"), box("Ümläut \"q\" \\ \n\x01 📫/x", "On My Mac")}, {box("b"), box("a")}, "W2");
  state.seed({box("z")});
  return state;
}

TEST(SyncStateCodec, WritesSortedKeysExactly) {
  State state;
  EXPECT_EQ(encodeSyncState(state),
            R"({"entries":{},"order":[],"orderRevision":{"counter":0,"writer":""},"version":2})");
  state.recordEdit({Mailbox::make("b", "a/b", "Work")}, {box("c")}, "W");
  EXPECT_EQ(
      encodeSyncState(state),
      R"({"entries":{"Work/a/b":{"mailbox":{"account":"Work","name":"b","path":"a/b"},"removed":false,)"
      R"("revision":{"counter":1,"writer":"W"}},"Work/c":{"mailbox":{"account":"Work","name":"c","path":"c"},)"
      R"("removed":true,"revision":{"counter":1,"writer":"W"}}},"order":["Work/a/b"],)"
      R"("orderRevision":{"counter":1,"writer":"W"},"version":2})");
  const auto bytes = encodeSyncState(sample());
  EXPECT_EQ(bytes, writeSortedJson(*parseJson(bytes, "the state")));
  EXPECT_EQ(*decodeSyncState(bytes), sample());
}

TEST(SyncStateCodec, ReadsWhateverJsonSaysTheSame) {
  const auto bytes = encodeSyncState(sample());
  auto json = *parseJson(bytes, "the state");
  json["future"] = Json::parse(R"([{"version":7,"entries":[[[]]]},null,1.5,{"order":"x"}])");
  for (auto& [id, entry] : json["entries"].items()) {
    entry["mailbox"]["id"] = "not asked for";
    entry["revision"]["note"] = Json::array({1, "writer", false});
  }
  EXPECT_EQ(*decodeSyncState(writeJson(json, 2)), sample());
  // The last of two members counts.
  EXPECT_EQ(
      decodeSyncState(R"({"version":1,"entries":{"x":1,"y":2},"entries":{},"order":["a"],"order":["b"],)"
                      R"("orderRevision":{"counter":1,"writer":"A"},"version":2})")
          .has_value(),
      false);
  const auto twice =
      decodeSyncState(R"({"version":1,"entries":{},"order":["a"],"order":["b"],)"
                      R"("orderRevision":{"counter":1,"writer":"A","writer":"B"},"version":2})");
  ASSERT_TRUE(twice);
  EXPECT_EQ(twice->order, std::vector<std::string>{"b"});
  EXPECT_EQ(twice->orderRevision, (State::Revision{1, "B"}));
  EXPECT_EQ(twice->version, 2);
}

TEST(SyncStateCodec, RefusesWhatIsNoState) {
  const auto good = *parseJson(encodeSyncState(sample()), "the state");
  const std::string id = good["entries"].begin().key();
  using Change = std::function<void(Json&)>;
  const struct {
    const char* why;  // part of the message
    Change change;
  } cases[] = {
      {"no \"version\"", [](Json& s) { s.erase("version"); }},
      {"no \"entries\"", [](Json& s) { s.erase("entries"); }},
      {"no \"order\"", [](Json& s) { s.erase("order"); }},
      {"no \"orderRevision\"", [](Json& s) { s.erase("orderRevision"); }},
      {"\"version\" of the state is not an integer", [](Json& s) { s["version"] = "2"; }},
      {"is not an integer", [](Json& s) { s["version"] = 2.5; }},
      {"is not an integer", [](Json& s) { s["version"] = nullptr; }},
      {"is not an integer", [](Json& s) { s["version"] = Json::array({2}); }},
      {"\"entries\" of the state is not an object", [](Json& s) { s["entries"] = Json::array(); }},
      {"\"order\" of the state is not an array", [](Json& s) { s["order"] = Json::object(); }},
      {"of the order is not a text", [](Json& s) { s["order"].push_back(1); }},
      {"of the order is not a text", [](Json& s) { s["order"].push_back(Json::array()); }},
      {"is not an object", [](Json& s) { s["orderRevision"] = 3; }},
      {"a revision has no \"writer\"", [](Json& s) { s["orderRevision"].erase("writer"); }},
      {"\"writer\" of a revision is not a text", [](Json& s) { s["orderRevision"]["writer"] = false; }},
      {"is not an integer", [](Json& s) { s["orderRevision"]["counter"] = 9223372036854775808U; }},
      {"is not an integer", [](Json& s) { s["orderRevision"]["counter"] = 1e300; }},
      {"is not an object", [&](Json& s) { s["entries"][id] = true; }},
      {"an entry has no \"mailbox\"", [&](Json& s) { s["entries"][id].erase("mailbox"); }},
      {"an entry has no \"revision\"", [&](Json& s) { s["entries"][id].erase("revision"); }},
      {"is not true or false", [&](Json& s) { s["entries"][id]["removed"] = 0; }},
      {"a mailbox has no \"path\"", [&](Json& s) { s["entries"][id]["mailbox"].erase("path"); }},
      {"\"account\" of a mailbox is not a text",
       [&](Json& s) { s["entries"][id]["mailbox"]["account"] = nullptr; }},
  };
  for (const auto& [why, change] : cases) {
    auto json = good;
    change(json);
    const auto state = decodeSyncState(writeJson(json));
    ASSERT_FALSE(state) << why;
    EXPECT_EQ(state.error().number, error_number::damagedFile);
    EXPECT_NE(state.error().message.find(why), std::string::npos) << state.error().message;
  }
}

TEST(SyncStateCodec, SurvivesAnyBytes) {
  const auto good = encodeSyncState(sample());
  for (std::size_t length = 0; length < good.size(); ++length)
    EXPECT_FALSE(decodeSyncState(std::string_view(good).substr(0, length))) << length;
  for (std::size_t at = 0; at < good.size(); ++at) {
    for (const char c : {'\0', '"', '}', ']', '\xFF', '9'}) {
      auto bytes = good;
      bytes[at] = c;
      if (const auto state = decodeSyncState(bytes)) (void)encodeSyncState(*state);
    }
  }
  const std::string hostile[] = {
      "",
      "null",
      "[]",
      "2",
      "\"x\"",
      "{",
      "{}",
      good + "x",
      "\xEF\xBB\xBF{}",
      std::string(1000, '\0'),
      std::string(1'000'000, '['),
      "{\"future\":" + std::string(1'000'000, '[') + std::string(1'000'000, ']') + "}"};
  for (const auto& bytes : hostile) EXPECT_FALSE(decodeSyncState(bytes)) << bytes.substr(0, 20);

  // As many keys as fit must not take quadratic time: this would run for hours.
  std::string keys = "{\"future\":{";
  for (int i = 0; i < 300'000; ++i) keys += "\"" + std::to_string(i) + "\":0,";
  keys += "\"\":0}}";
  EXPECT_FALSE(decodeSyncState(keys));
}

TEST(SyncStateCodec, ValidityIsMoreThanDecoding) {
  const auto bytes = encodeSyncState(sample());
  const auto with = [&](std::string_view from, std::string_view to) {
    auto changed = bytes;
    changed.replace(changed.find(from), from.size(), to);
    return decodeSyncState(changed);
  };
  EXPECT_TRUE(decodeSyncState(bytes)->isValid());
  EXPECT_FALSE(with("\"version\":2", "\"version\":1")->isValid());
  EXPECT_FALSE(with("\"version\":2", "\"version\":3")->isValid());
  EXPECT_FALSE(with("\"orderRevision\":{\"counter\":2", "\"orderRevision\":{\"counter\":-1")->isValid());
  EXPECT_FALSE(with("\"Work/a\":", "\"Work/A\":")->isValid());
  EXPECT_FALSE(with("\"path\":\"b\"", "\"path\":\"c\"")->isValid());
  EXPECT_TRUE(with("\"counter\":1", "\"counter\":-9")->isValid())
      << "only the order's counter is held to that";
}

TEST(SyncStateCodec, ListsOfOlderVersions) {
  const std::vector<Mailbox> list{box("b"), box("ä/\"c")};
  EXPECT_EQ(*decodeSyncedList(encodeMailboxes(list)), list);
  EXPECT_EQ(*decodeSyncedList("[]"), std::vector<Mailbox>{});
  for (const char* bytes : {"", "{}", "[1]", "[[]]", "[null]", R"([{"name":"a","path":"a"}])",
                            R"([{"name":"a","path":"a","account":1}])", "[{}]", "[{]"})
    EXPECT_FALSE(decodeSyncedList(bytes)) << bytes;
}

}  // namespace
}  // namespace quillbox

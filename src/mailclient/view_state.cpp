#include "mailclient/view_state.h"

#include <algorithm>
#include <cerrno>
#include <charconv>
#include <map>

#include <fmt/format.h>

#include "base/error_numbers.h"
#include "base/json.h"
#include "mailclient/name_codes.h"

namespace quillbox::mailclient {
namespace {

constexpr int kVersion = 1;
constexpr std::uint64_t kLargest = 256 << 20;

Json encodeMailbox(const MailboxKey& key) {
  return Json{{"account", key.account}, {"path", readableBytes(key.path)}};
}

Json encodeMessage(const MessageKey& key) {
  auto json = encodeMailbox(key.mailbox);
  json["id"] = readableBytes(key.id);
  return json;
}

Json encodeConversation(const std::vector<std::uint64_t>& ids) {
  Json json = Json::array();
  for (const auto id : ids) json.push_back(fmt::format("{:012x}", id));
  return json;
}

Result<std::vector<std::uint64_t>> decodeConversation(const Json& json) {
  std::vector<std::uint64_t> ids;
  for (const auto& item : json) {
    const auto digits = item.get<std::string>();
    std::uint64_t id = 0;
    const auto [end, failed] = std::from_chars(digits.data(), digits.data() + digits.size(), id, 16);
    if (failed != std::errc() || end != digits.data() + digits.size()) {
      return fail(error_number::damagedFile, "state.json: an expanded conversation has no hexadecimal id");
    }
    ids.push_back(id);
  }
  return ids;
}

MailboxKey decodeMailbox(const Json& json) {
  return {json.at("account").get<std::string>(), bytesOfReadable(json.at("path").get<std::string>())};
}

Json encodeViewer(const Viewer& viewer) {
  Json json{{"id", viewer.id},
            {"windowId", viewer.windowId},
            {"bounds", viewer.bounds},
            {"visible", viewer.visible},
            {"miniaturized", viewer.miniaturized},
            {"zoomed", viewer.zoomed},
            {"sortColumn", viewer.sortColumn},
            {"sortedAscending", viewer.sortedAscending},
            {"mailboxListVisible", viewer.mailboxListVisible},
            {"previewPaneVisible", viewer.previewPaneVisible}};
  json["mailboxes"] = Json::array();
  for (const auto& key : viewer.mailboxes) json["mailboxes"].push_back(encodeMailbox(key));
  json["selected"] = Json::array();
  for (const auto& key : viewer.selected) json["selected"].push_back(encodeMessage(key));
  json["byConversation"] = viewer.byConversation;
  json["expanded"] = Json::array();
  for (const auto& ids : viewer.expanded) json["expanded"].push_back(encodeConversation(ids));
  return json;
}

Result<Viewer> decodeViewer(const Json& json) {
  Viewer viewer;
  viewer.id = json.at("id").get<int>();
  viewer.windowId = json.at("windowId").get<int>();
  viewer.bounds = json.at("bounds").get<std::array<int, 4>>();
  viewer.visible = json.at("visible").get<bool>();
  viewer.miniaturized = json.at("miniaturized").get<bool>();
  viewer.zoomed = json.at("zoomed").get<bool>();
  viewer.sortColumn = json.at("sortColumn").get<std::string>();
  viewer.sortedAscending = json.at("sortedAscending").get<bool>();
  viewer.mailboxListVisible = json.at("mailboxListVisible").get<bool>();
  viewer.previewPaneVisible = json.at("previewPaneVisible").get<bool>();
  for (const auto& key : json.at("mailboxes")) viewer.mailboxes.push_back(decodeMailbox(key));
  for (const auto& key : json.at("selected")) {
    viewer.selected.push_back({decodeMailbox(key), bytesOfReadable(key.at("id").get<std::string>())});
  }
  // Not in files of before there were conversations.
  if (const auto field = json.find("byConversation"); field != json.end()) {
    viewer.byConversation = field->get<bool>();
  }
  if (const auto field = json.find("expanded"); field != json.end()) {
    for (const auto& conversation : field->get_ref<const Json::array_t&>()) {
      auto ids = decodeConversation(conversation);
      if (!ids) return forward(ids);
      viewer.expanded.push_back(std::move(*ids));
    }
  }
  return viewer;
}

Result<ViewState> decodeState(const std::string& text) {
  const auto json = parseJson(text, "state.json");
  if (!json) return forward(json);
  try {
    if (json->at("version") != kVersion) {
      return fail(error_number::damagedFile, "state.json: it was written by another version");
    }
    ViewState state;
    state.nextId = json->at("nextId").get<int>();
    for (const auto& item : json->at("viewers")) {
      auto viewer = decodeViewer(item);
      if (!viewer) return forward(viewer);
      state.viewers.push_back(std::move(*viewer));
    }
    return state;
  } catch (const Json::exception&) {
    return fail(error_number::damagedFile, "state.json: a field is missing or of the wrong type");
  }
}

ViewState firstState() {
  ViewState state;
  state.open();
  return state;
}

}  // namespace

Viewer& ViewState::open() {
  Viewer viewer;
  viewer.id = nextId++;
  viewer.windowId = nextId++;
  // A little beside the one in front, so that both can be seen.
  if (!viewers.empty()) {
    viewer.bounds = viewers.front().bounds;
    for (auto& edge : viewer.bounds) edge += 24;
  }
  viewers.insert(viewers.begin(), viewer);
  return viewers.front();
}

Viewer* ViewState::find(int viewerId) {
  const auto found = std::ranges::find(viewers, viewerId, &Viewer::id);
  return found == viewers.end() ? nullptr : &*found;
}

Viewer* ViewState::front() {
  return const_cast<Viewer*>(std::as_const(*this).front());
}

const Viewer* ViewState::front() const {
  const auto visible = std::ranges::find_if(
      viewers, [](const Viewer& viewer) { return viewer.visible && !viewer.miniaturized; });
  if (visible != viewers.end()) return &*visible;
  return viewers.empty() ? nullptr : &viewers.front();
}

void ViewState::bringToFront(int windowId) {
  const auto found = std::ranges::find(viewers, windowId, &Viewer::windowId);
  if (found != viewers.end()) std::rotate(viewers.begin(), found, found + 1);
}

void ViewState::follow(const Transaction::Moves& moves) {
  if (moves.empty()) return;
  std::map<MessageKey, MessageKey> places;
  // Later moves of the same message go on from where the earlier ones ended.
  for (auto move = moves.rbegin(); move != moves.rend(); ++move) {
    const auto further = places.find(move->second);
    places[move->first] = further == places.end() ? move->second : further->second;
  }
  for (auto& viewer : viewers) {
    for (auto& key : viewer.selected) {
      if (const auto place = places.find(key); place != places.end()) key = place->second;
    }
  }
}

Result<ViewState> ViewStateStore::read() {
  auto& files = environment_.files;
  const auto info = files.info(file());
  if (!info) {
    if (info.error().number != ENOENT) return forward(info);
    seen_.reset();
    return firstState();
  }
  if (seen_ && seen_->inode == info->inode && seen_->modified == info->modified &&
      seen_->size == info->size) {
    return known_;
  }
  const auto text = files.read(file(), kLargest);
  if (!text) return forward(text);
  auto state = decodeState(*text);
  if (!state) {
    const auto aside = keepDamagedFileAside(files, file());
    if (!aside) return forward(aside);
    environment_.log.error(
        fmt::format("The state of the mail windows could not be read and was kept as {}: {}", aside->string(),
                    state.error().message));
    seen_.reset();
    return firstState();
  }
  known_ = *state;
  seen_ = *info;
  return state;
}

void ViewStateStore::removeDrafts() {
  const auto lock = environment_.files.lock(environment_.directory / "state.lock", std::chrono::seconds(10));
  if (lock) removeDraftsOf(environment_.files, file());
}

Result<void> ViewStateStore::change(const std::function<Result<void>(ViewState&)>& change) {
  auto& files = environment_.files;
  if (auto made = makeDirectories(files, environment_.directory, 0700); !made) return made;
  const auto lock = files.lock(environment_.directory / "state.lock", std::chrono::seconds(10));
  if (!lock) return forward(lock);
  auto state = read();
  if (!state) return forward(state);
  const auto before = *state;
  if (auto done = change(*state); !done) return done;
  if (*state == before) return {};
  Json viewers = Json::array();
  for (const auto& viewer : state->viewers) viewers.push_back(encodeViewer(viewer));
  const auto text =
      writeJson(Json{{"version", kVersion}, {"nextId", state->nextId}, {"viewers", std::move(viewers)}}) +
      "\n";
  if (auto written = writeAtomically(files, file(), text, 0600, environment_.token()); !written)
    return written;
  known_ = *state;
  const auto info = files.info(file());
  seen_ = info ? std::optional(*info) : std::nullopt;
  return {};
}

}  // namespace quillbox::mailclient

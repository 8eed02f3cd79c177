#include "mailclient/mail_session.h"

#include <algorithm>
#include <chrono>
#include <optional>
#include <utility>
#include <vector>

#include <fmt/format.h>

#include "mailclient/mime.h"
#include "mailclient/script_model.h"
#include "platform/workspace.h"

namespace quillbox::mailclient {

namespace as = applescript;

namespace {

// What a command is about: one object or a list of them. Nothing when it is about something else.
std::optional<std::vector<ObjectRef>> objectsOf(const as::Event& event) {
  if (event.direct.isNothing()) return std::vector<ObjectRef>{event.target};
  if (event.direct.is(as::Kind::Live)) return std::vector<ObjectRef>{event.direct.asLive()};
  if (!event.direct.isList()) return std::nullopt;
  std::vector<ObjectRef> objects;
  for (const auto& item : event.direct.items()) {
    if (!item.is(as::Kind::Live)) return std::nullopt;
    objects.push_back(item.asLive());
  }
  return objects;
}

}  // namespace

MailSession::MailSession(MailClient& client, std::shared_ptr<const as::Terminology> terminology)
    : client_(client),
      terminology_(std::move(terminology)),
      model_(std::make_unique<MailModel>(client, *this)) {}

MailSession::~MailSession() {
  if (const auto finished = finish(); !finished) {
    client_.environment_.log.error(
        fmt::format("A filing could not be finished: {}", finished.error().message));
  }
}

Result<void> MailSession::finish() {
  const std::lock_guard lock(client_.mutex_);
  return model_->finish();
}

Outcome<void> MailSession::navigate(Navigation way) {
  return model_->navigate(way);
}

const std::string& MailSession::name() const {
  static const std::string name = "Mail";
  return name;
}

std::string MailSession::identifier() const {
  return std::string(mailBundleIdentifier);
}

Outcome<void> MailSession::beginEvent(std::chrono::nanoseconds timeout) {
  if (!client_.mutex_.try_lock_for(timeout)) return as::failure(as::error::timedOut);
  return {};
}

void MailSession::endEvent() {
  client_.mutex_.unlock();
}

as::ObjectRef MailSession::root() {
  return applicationObject(*model_);
}

Outcome<Value> MailSession::perform(const as::Event& event) {
  const auto suite = event.command->suite;
  const auto id = event.command->id;
  if (suite == code("emal")) {
    // Mail comes and goes by other programs.
    if (id == code("chma") || id == code("syac")) return Value::nothing();
    if (id == code("eafn") || id == code("eaua")) {
      if (!event.direct.isText()) return as::failure(as::error::wrongType, {}, event.direct);
      const auto text = event.direct.asText();
      return Value::text(id == code("eafn") ? extractName(text) : extractAddress(text));
    }
  }
  // It runs as long as this process does.
  const bool runs = id == code("noop") || id == code("oapp") || id == code("rapp") || id == code("quit");
  if ((suite == code("misc") && id == code("actv")) || runs || id == code("save")) {
    return Value::nothing();
  }
  if (suite == code("core") && id == code("clos")) return close(event);
  if (suite == code("aevt") && id == code("odoc")) return open(event);
  return as::failure(as::error::notUnderstood);
}

// Nothing is closed when one of the objects cannot be.
Outcome<Value> MailSession::close(const as::Event& event) {
  const auto objects = objectsOf(event);
  if (!objects) return as::failure(as::error::notUnderstood);
  for (const auto& object : *objects) {
    if (object->classCode() != code("cwin") && object->classCode() != code("mvwr")) {
      return as::failure(as::error::notUnderstood);
    }
  }
  for (const auto& object : *objects) {
    if (auto closed = object->remove(); !closed) return std::unexpected(closed.error());
  }
  return Value::nothing();
}

// In the viewer in front, or in a new one: the mailboxes named and those of the messages named, which are
// selected.
Outcome<Value> MailSession::open(const as::Event& event) {
  const auto objects = objectsOf(event);
  if (!objects) return as::failure(as::error::notUnderstood);
  std::vector<MailboxKey> shown;
  std::vector<MessageKey> selected;
  for (const auto& object : *objects) {
    std::vector<MailboxKey> keys;
    if (const auto* message = messageOf(object)) {
      selected.push_back(*message);
      keys = {message->mailbox};
    } else {
      auto mailboxes = mailboxesOf(object);
      if (!mailboxes) return std::unexpected(mailboxes.error());
      if (!*mailboxes) return as::failure(as::error::notUnderstood);
      keys = std::move(**mailboxes);
    }
    for (auto& key : keys) {
      if (std::ranges::find(shown, key) == shown.end()) shown.push_back(std::move(key));
    }
  }
  if (shown.empty()) return Value::nothing();
  auto done = model_->changeViews([&](ViewState& state) -> Result<void> {
    auto& viewer = state.viewers.empty() ? state.open() : *state.front();
    viewer.mailboxes = shown;
    viewer.selected = selected;
    return {};
  });
  if (!done) return std::unexpected(done.error());
  return Value::nothing();
}

}  // namespace quillbox::mailclient

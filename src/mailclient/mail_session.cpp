#include "mailclient/mail_session.h"

#include <chrono>

#include <fmt/format.h>

#include "mailclient/mime.h"
#include "mailclient/script_model.h"
#include "platform/workspace.h"

namespace quillbox::mailclient {

namespace as = applescript;

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
  const auto direct = [&] { return event.direct.is(as::Kind::Live) ? event.direct.asLive() : nullptr; };
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
  if (suite == code("core") && id == code("clos")) {
    const auto object = direct() ? direct() : event.target;
    if (!object || (object->classCode() != code("cwin") && object->classCode() != code("mvwr"))) {
      return as::failure(as::error::notUnderstood);
    }
    if (auto closed = object->remove(); !closed) return std::unexpected(closed.error());
    return Value::nothing();
  }
  if (suite == code("aevt") && id == code("odoc")) {
    // Shown in the viewer in front, or in a new one.
    const auto* mailbox = mailboxOf(direct());
    const auto* message = messageOf(direct());
    if (mailbox == nullptr && message == nullptr) return as::failure(as::error::notUnderstood);
    auto shown = model_->changeViews([&](ViewState& state) -> Result<void> {
      auto& viewer = state.viewers.empty() ? state.open() : *state.front();
      viewer.mailboxes = {mailbox != nullptr ? *mailbox : message->mailbox};
      viewer.selected.clear();
      if (message != nullptr) viewer.selected = {*message};
      return {};
    });
    if (!shown) return std::unexpected(shown.error());
    return Value::nothing();
  }
  return as::failure(as::error::notUnderstood);
}

}  // namespace quillbox::mailclient

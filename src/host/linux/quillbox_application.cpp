#include "host/linux/quillbox_application.h"

#include <algorithm>
#include <condition_variable>
#include <mutex>
#include <optional>
#include <utility>

#include <fmt/format.h>

#include "host/linux/script_values.h"
#include "platform/workspace.h"

namespace quillbox {
namespace {

namespace as = applescript;
using as::failure;
using as::Outcome;
using as::Value;

constexpr std::chrono::nanoseconds kLongest = std::chrono::hours(24);

// How long the event of this thread may take; set by beginEvent().
thread_local std::chrono::nanoseconds eventTimeout = kLongest;

as::Failure failureOf(const Error& error) {
  return failure(error.number, error.message).error();
}

// One reply, waited for by the thread of the script.
class PendingReply {
 public:
  void set(Result<Descriptor> reply) {
    const std::lock_guard guard(mutex_);
    reply_ = std::move(reply);
    arrived_.notify_all();
  }
  // Nothing when it did not come in time.
  std::optional<Result<Descriptor>> wait(std::chrono::nanoseconds most) {
    std::unique_lock lock(mutex_);
    arrived_.wait_for(lock, most, [this] { return reply_.has_value(); });
    return reply_;
  }

 private:
  std::mutex mutex_;
  std::condition_variable arrived_;
  std::optional<Result<Descriptor>> reply_;
};

}  // namespace

// The application object: its properties.
class QuillboxApplication::Root final : public as::ScriptObject {
 public:
  explicit Root(QuillboxApplication& application) : application_(application) {}

  as::Code classCode() const override { return as::code("capp"); }
  Value specifier() const override { return Value::application(application_); }

  Outcome<Value> property(as::Code property) override {
    if (property == as::code("pnam")) return Value::text(application_.name_);
    if (property == as::code("vers")) return Value::text(application_.parts_.version);
    if (property == as::code("pisf")) {
      bool frontmost = false;
      application_.parts_.dispatch.syncMain([&] { frontmost = application_.parts_.isFrontmost(); });
      return Value::boolean(frontmost);
    }
    const auto key = application_.definition_.propertyKey(property);
    if (!application_.properties_.handlesKey(key)) return failure(as::error::noSuchObject);
    std::optional<Result<Descriptor>> value;
    application_.parts_.dispatch.syncMain([&] { value = application_.properties_.value(key); });
    if (!*value) return std::unexpected(failureOf(value->error()));
    return valueOf(**value);
  }

  Outcome<void> setProperty(as::Code property, const Value& value) override {
    const auto key = application_.definition_.propertyKey(property);
    if (!application_.properties_.handlesKey(key)) return failure(as::error::noSuchObject);
    const auto descriptor = descriptorOf(value);
    std::optional<Result<void>> done;
    application_.parts_.dispatch.syncMain([&] { done = application_.properties_.setValue(key, descriptor); });
    if (!*done) return std::unexpected(failureOf(done->error()));
    return {};
  }

  Outcome<std::vector<as::ObjectRef>> elements(as::Code) override { return failure(as::error::noSuchObject); }

 private:
  QuillboxApplication& application_;
};

Result<std::unique_ptr<QuillboxApplication>> QuillboxApplication::make(std::string_view sdef,
                                                                       const Parts& parts) {
  auto terminology = as::Terminology::parse(sdef);
  if (!terminology) return forward(terminology);
  auto definition = ScriptingDefinition::parse(sdef);
  if (!definition) return forward(definition);
  return std::unique_ptr<QuillboxApplication>(
      new QuillboxApplication(parts, std::move(*terminology), std::move(*definition)));
}

QuillboxApplication::QuillboxApplication(const Parts& parts,
                                         std::shared_ptr<const as::Terminology> terminology,
                                         ScriptingDefinition definition)
    : parts_(parts),
      terminology_(std::move(terminology)),
      definition_(std::move(definition)),
      properties_(parts_.services) {}

std::string QuillboxApplication::identifier() const {
  return std::string(quillboxBundleIdentifier);
}

Outcome<void> QuillboxApplication::beginEvent(std::chrono::nanoseconds timeout) {
  eventTimeout = std::min(timeout, kLongest);
  return {};
}

as::ObjectRef QuillboxApplication::root() {
  return std::make_shared<Root>(*this);
}

Outcome<Value> QuillboxApplication::perform(const as::Event& event) {
  const auto suite = event.command->suite;
  const auto id = event.command->id;
  if (suite == as::code("misc") && id == as::code("actv")) {
    parts_.dispatch.syncMain([this] { parts_.activate(); });
    return Value::nothing();
  }
  const auto className = definition_.commandClass(suite, id);
  if (className.empty()) return failure(as::error::notUnderstood);

  ScriptCommand::Arguments arguments;
  if (!event.direct.isNothing()) arguments.emplace_back("", descriptorOf(event.direct));
  for (const auto& [code, value] : event.parameters) {
    for (const auto& parameter : event.command->parameters) {
      if (parameter.code == code) arguments.emplace_back(parameter.name, descriptorOf(value));
    }
  }
  auto pending = std::make_shared<PendingReply>();
  parts_.dispatch.main([this, pending, name = std::string(className),
                        arguments = std::move(arguments)]() mutable {
    std::shared_ptr<ScriptCommand> command = makeScriptCommand(name, parts_.services);
    if (!command) {
      return pending->set(fail(as::error::notUnderstood, fmt::format("There is no command class {}.", name)));
    }
    command->setEvaluatedArguments(std::move(arguments));
    // The command lives until it has replied.
    command->performDefaultImplementation(
        [pending, command](Result<Descriptor> reply) { pending->set(std::move(reply)); });
  });
  const auto reply = pending->wait(eventTimeout);
  if (!reply) return failure(as::error::timedOut);
  if (!*reply) return std::unexpected(failureOf(reply->error()));
  return valueOf(**reply);
}

}  // namespace quillbox

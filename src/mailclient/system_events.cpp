#include "mailclient/system_events.h"

#include <algorithm>
#include <array>
#include <optional>
#include <utility>
#include <vector>

#include <fmt/format.h>

#include "applescript/objects.h"
#include "base/text.h"

namespace quillbox::mailclient {
namespace {

namespace as = applescript;
using as::Code;
using as::code;
using as::ObjectRef;
using as::Outcome;
using as::Value;

// Virtual key codes of the arrow keys.
constexpr std::array<std::pair<std::int64_t, Navigation>, 4> kKeys = {
    {{123, Navigation::collapseConversation},
     {124, Navigation::expandConversation},
     {125, Navigation::selectMessageDown},
     {126, Navigation::selectMessageUp}}};

constexpr Code kProcess = code("prcs");
constexpr Code kApplicationProcess = code("pcap");

std::unexpected<as::Failure> notRunning() {
  return as::failure(as::error::notRunning);
}

// Can be told, and answers nothing.
class Silent : public as::ScriptObject {
 public:
  Outcome<Value> property(Code) override { return notRunning(); }
  Outcome<void> setProperty(Code, const Value&) override { return notRunning(); }
  Outcome<std::vector<ObjectRef>> elements(Code) override { return notRunning(); }
  Outcome<ObjectRef> make(Code, const Value&, const as::Place&) override { return notRunning(); }
  Outcome<void> remove() override { return notRunning(); }
  Outcome<ObjectRef> moveTo(const as::Place&) override { return notRunning(); }
  Outcome<ObjectRef> duplicateTo(const std::optional<as::Place>&, const Value&) override {
    return notRunning();
  }
};

class Process final : public Silent {
 public:
  Process(as::Application& owner, std::string name) : owner_(owner), name_(std::move(name)) {}
  Code classCode() const override { return kApplicationProcess; }
  Value specifier() const override {
    return as::element::named(Value::application(owner_), classCode(), name_);
  }

 private:
  as::Application& owner_;
  const std::string name_;
};

class Root final : public Silent {
 public:
  Root(as::Application& owner, const std::string& process) : owner_(owner), process_(process) {}
  Code classCode() const override { return code("capp"); }
  Value specifier() const override { return Value::application(owner_); }
  Outcome<ObjectRef> named(Code elementClass, std::string_view name) override {
    if (elementClass != kProcess && elementClass != kApplicationProcess) return notRunning();
    if (text::foldCase(name) != text::foldCase(process_)) return ObjectRef();
    return std::make_shared<Process>(owner_, process_);
  }

 private:
  as::Application& owner_;
  const std::string& process_;
};

// What stands behind `using`: one modifier key or a list of them; nothing when it is something else.
std::optional<std::vector<std::string>> modifiers(const Value* given, const as::Terminology& terms) {
  std::vector<std::string> names;
  if (given == nullptr) return names;
  const auto take = [&](const Value& item) {
    if (!item.is(as::Kind::Constant)) return false;
    names.push_back(std::string(terms.enumeratorName(item.asCode())));
    return true;
  };
  if (!given->isList()) return take(*given) ? std::optional(names) : std::nullopt;
  return std::ranges::all_of(given->items(), take) ? std::optional(names) : std::nullopt;
}

}  // namespace

const std::string& SystemEvents::name() const {
  static const std::string name = "System Events";
  return name;
}

ObjectRef SystemEvents::root() {
  return std::make_shared<Root>(*this, mail_.name());
}

Outcome<Value> SystemEvents::perform(const as::Event& event) {
  if (event.command->suite != code("prcs") || event.command->id != code("kcod")) return notRunning();
  if (!event.direct.is(as::Kind::Integer)) return as::failure(as::error::wrongType, {}, event.direct);
  const auto number = event.direct.asInteger();
  const auto* with = event.parameter(code("faal"));
  const auto held = modifiers(with, *terminology_);
  if (!held) return as::failure(as::error::wrongType, {}, *with);
  const auto key = std::ranges::find(kKeys, number, &std::pair<std::int64_t, Navigation>::first);
  if (key == kKeys.end() || !held->empty()) {
    return as::failure(as::error::handlerFailed,
                       fmt::format("Mail does nothing for the key with code {}{}{}", number,
                                   held->empty() ? "" : " and ", fmt::join(*held, ", ")));
  }
  if (auto done = mail_.navigate(key->second); !done) return std::unexpected(done.error());
  return Value::nothing();
}

}  // namespace quillbox::mailclient

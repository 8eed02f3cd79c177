#include "applescript/host.h"

#include "base/text.h"

namespace quillbox::applescript {

namespace {

template <class Same>
Outcome<ObjectRef> findWhere(ScriptObject& container, Code elementClass, Code property, Same same) {
  auto all = container.elements(elementClass);
  if (!all) return std::unexpected(std::move(all.error()));
  for (const auto& element : *all) {
    const auto value = element->property(property);
    if (value && same(*value)) return element;
  }
  return ObjectRef();
}

}  // namespace

Outcome<Value> ScriptObject::property(Code) {
  return failure(error::noSuchObject);
}

Outcome<void> ScriptObject::setProperty(Code property, const Value&) {
  // Readable but not settable, or unknown altogether?
  const auto present = this->property(property);
  return failure(present ? error::accessNotAllowed : present.error().number);
}

Outcome<std::vector<ObjectRef>> ScriptObject::elements(Code) {
  return failure(error::noSuchObject);
}

Outcome<std::size_t> ScriptObject::count(Code elementClass) {
  const auto all = elements(elementClass);
  if (!all) return std::unexpected(all.error());
  return all->size();
}

Outcome<ObjectRef> ScriptObject::at(Code elementClass, std::size_t index) {
  const auto all = elements(elementClass);
  if (!all) return std::unexpected(all.error());
  return index < all->size() ? (*all)[index] : nullptr;
}

Outcome<ObjectRef> ScriptObject::named(Code elementClass, std::string_view name) {
  const auto wanted = text::foldCase(name);
  return findWhere(*this, elementClass, code("pnam"),
                   [&](const Value& value) { return text::foldCase(value.asText()) == wanted; });
}

Outcome<ObjectRef> ScriptObject::identified(Code elementClass, const Value& id) {
  return findWhere(*this, elementClass, code("ID  "), [&](const Value& value) {
    if (value.isNumber() && id.isNumber()) return value.asReal() == id.asReal();
    return value.isText() && id.isText() && value.asText() == id.asText();
  });
}

Outcome<ObjectRef> ScriptObject::make(Code, const Value&, const Place&) {
  return failure(error::cannotMakeClass);
}
Outcome<void> ScriptObject::remove() {
  return failure(error::handlerFailed);
}
Outcome<ObjectRef> ScriptObject::moveTo(const Place&) {
  return failure(error::cannotMoveThere);
}
Outcome<ObjectRef> ScriptObject::duplicateTo(const std::optional<Place>&, const Value&) {
  return failure(error::cannotMoveThere);
}

}  // namespace quillbox::applescript

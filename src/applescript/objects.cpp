#include "applescript/objects.h"

#include "applescript/text_index.h"

namespace quillbox::applescript {

TextObject::TextObject(std::string utf8)
    : HeapObject(sizeof(TextObject) + utf8.capacity()), utf8_(std::move(utf8)) {}

TextObject::~TextObject() = default;

void TextObject::append(std::string_view more) {
  index_.reset();
  if (utf8_.size() + more.size() > utf8_.capacity()) {
    // Charged before it is taken, so that a text that doubles for ever meets the limit and not the machine's.
    const auto wanted = std::max(utf8_.size() + more.size(), utf8_.capacity() * 2);
    charge(sizeof(TextObject) + wanted);
    utf8_.reserve(wanted);
  }
  utf8_.append(more);
}

const TextIndex& TextObject::index() const {
  if (!index_) index_ = std::make_unique<TextIndex>(utf8_);
  return *index_;
}

ListObject::ListObject(std::vector<Value> items)
    : HeapObject(sizeof(ListObject) + items.capacity() * sizeof(Value)), items_(std::move(items)) {}

void ListObject::chargeItems() {
  charge(sizeof(ListObject) + items_.capacity() * sizeof(Value));
}

void ListObject::insert(std::size_t index, Value value) {
  items_.insert(items_.begin() + static_cast<std::ptrdiff_t>(index), std::move(value));
  chargeItems();
}

void ListObject::reserveAndAppend(const std::vector<Value>& more) {
  // By index, since a list may be appended to itself.
  const auto count = more.size();
  items_.reserve(std::max(items_.size() + count, items_.size() * 2));
  chargeItems();
  for (std::size_t i = 0; i < count; ++i) items_.push_back(more[i]);
}

RecordObject::RecordObject(Value::Fields fields)
    : HeapObject(sizeof(RecordObject) + fields.capacity() * sizeof(Value::Fields::value_type)),
      fields_(std::move(fields)) {}

const Value* RecordObject::find(const Name& name) const {
  for (const auto& [key, value] : fields_) {
    if (key == name) return &value;
  }
  return nullptr;
}

void RecordObject::set(const Name& name, Value value) {
  for (auto& [key, old] : fields_) {
    if (key == name) {
      // Swapped, not assigned: the old value goes when the record is whole again.
      old.swap(value);
      return;
    }
  }
  fields_.emplace_back(name, std::move(value));
  charge(sizeof(RecordObject) + fields_.capacity() * sizeof(Value::Fields::value_type));
}

const Value& SpecifierObject::root() const {
  const Value* value = &container;
  while (value->is(Kind::Specifier)) value = &value->as<SpecifierObject>().container;
  return *value;
}

void SpecifierObject::dropChildren() noexcept {
  container = {};
  key = {};
  secondKey = {};
}

void TestObject::dropChildren() noexcept {
  left = {};
  right = {};
}

namespace element {
namespace {
Value specifier(SpecifierForm form, Value container, Code code, Value key = {}) {
  return Value::object(Kind::Specifier,
                       make<SpecifierObject>(form, std::move(container), code, Name(), std::move(key)));
}
}  // namespace

Value property(Value container, Code property) {
  return specifier(SpecifierForm::Property, std::move(container), property);
}
Value indexed(Value container, Code classCode, std::int64_t index) {
  return specifier(SpecifierForm::Index, std::move(container), classCode, Value::integer(index));
}
Value named(Value container, Code classCode, std::string name) {
  return specifier(SpecifierForm::Named, std::move(container), classCode, Value::text(std::move(name)));
}
Value identified(Value container, Code classCode, Value id) {
  return specifier(SpecifierForm::Identified, std::move(container), classCode, std::move(id));
}
Value every(Value container, Code classCode) {
  return specifier(SpecifierForm::Every, std::move(container), classCode);
}
}  // namespace element

}  // namespace quillbox::applescript

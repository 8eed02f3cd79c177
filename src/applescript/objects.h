// The counted objects behind the larger values.
#pragma once

#include <memory>
#include <optional>
#include <string>
#include <vector>

#include "applescript/value.h"

namespace quillbox::applescript {

struct TextIndex;

// UTF-8. What its characters, words and paragraphs are is worked out once, when first asked for.
class TextObject final : public HeapObject {
 public:
  explicit TextObject(std::string utf8);
  ~TextObject() override;

  const std::string& utf8() const { return utf8_; }
  // Only while nobody else holds the object.
  void append(std::string_view more);
  // Made when first asked for; valid until append().
  const TextIndex& index() const;

 private:
  std::string utf8_;
  mutable std::unique_ptr<TextIndex> index_;
};

class ListObject final : public HeapObject {
 public:
  explicit ListObject(std::vector<Value> items);

  const std::vector<Value>& items() const { return items_; }
  void set(std::size_t index, Value value) { items_[index] = std::move(value); }
  Value& at(std::size_t index) { return items_[index]; }
  void append(Value value) {
    const auto before = items_.capacity();
    items_.push_back(std::move(value));
    if (items_.capacity() != before) chargeItems();
  }
  void insert(std::size_t index, Value value);
  void reserveAndAppend(const std::vector<Value>& more);

 protected:
  void dropChildren() noexcept override { items_.clear(); }

 private:
  void chargeItems();
  std::vector<Value> items_;
};

class RecordObject final : public HeapObject {
 public:
  explicit RecordObject(Value::Fields fields);

  const Value::Fields& fields() const { return fields_; }
  const Value* find(const Name& name) const;
  // Adds the field when there is none.
  void set(const Name& name, Value value);

 protected:
  void dropChildren() noexcept override { fields_.clear(); }

 private:
  Value::Fields fields_;
};

// Mutable: `set day of d to 1` is seen by everyone who holds the date.
class DateObject final : public HeapObject {
 public:
  explicit DateObject(std::int64_t localSeconds) : HeapObject(sizeof(DateObject)), seconds(localSeconds) {}
  std::int64_t seconds;
};

class LiveObject final : public HeapObject {
 public:
  explicit LiveObject(ObjectRef object) : HeapObject(sizeof(LiveObject)), object_(std::move(object)) {}
  const ObjectRef& object() const { return object_; }

 protected:
  void dropChildren() noexcept override { object_.reset(); }

 private:
  ObjectRef object_;
};

enum class SpecifierForm : std::uint8_t {
  Property,  // code or name of the container
  Index,     // key: integer, negative from the end
  Middle,    // the ordinals that no number can stand for
  Some,
  Named,       // key: text
  Identified,  // key: the id
  Every,
  Range,   // key, secondKey: the ends, themselves specifiers or indices
  Before,  // the element of the class before key
  After,
  Filter,     // key: a test
  Beginning,  // insertion points of the container
  End,
  PointBefore,  // insertion points beside the container
  PointAfter,
  Variable,  // the contents of a variable: key is its cell
};

class SpecifierObject final : public HeapObject {
 public:
  SpecifierObject(SpecifierForm itsForm, Value itsContainer, Code itsCode, Name itsName = {},
                  Value itsKey = {}, Value itsSecondKey = {})
      : HeapObject(sizeof(SpecifierObject)),
        form(itsForm),
        code(itsCode),
        name(std::move(itsName)),
        container(std::move(itsContainer)),
        key(std::move(itsKey)),
        secondKey(std::move(itsSecondKey)) {}

  const SpecifierForm form;
  const Code code;  // of the property or the class
  const Name name;  // of a property that a script declares
  Value container;  // a specifier, an application, an examined object, or a plain value
  Value key;
  Value secondKey;

  // Where the chain of containers ends.
  const Value& root() const;

 protected:
  void dropChildren() noexcept override;
};

enum class TestOperator : std::uint8_t {
  Equal,
  NotEqual,
  Less,
  LessOrEqual,
  Greater,
  GreaterOrEqual,
  Contains,
  IsIn,
  BeginsWith,
  EndsWith,
  And,
  Or,
  Not,
};

// The condition behind `whose`: operands are tests (of and, or, not), values, or specifiers of the examined
// object.
class TestObject final : public HeapObject {
 public:
  TestObject(TestOperator itsOperation, Value itsLeft, Value itsRight)
      : HeapObject(sizeof(TestObject)),
        operation(itsOperation),
        left(std::move(itsLeft)),
        right(std::move(itsRight)) {}

  const TestOperator operation;
  Value left;
  Value right;

 protected:
  void dropChildren() noexcept override;
};

// What an application builds the canonical references of its objects with:
//   element::named(account->specifier(), code("mbxp"), "INBOX")
namespace element {
Value property(Value container, Code property);
Value indexed(Value container, Code classCode, std::int64_t index);
Value named(Value container, Code classCode, std::string name);
Value identified(Value container, Code classCode, Value id);
Value every(Value container, Code classCode);
}  // namespace element

}  // namespace quillbox::applescript

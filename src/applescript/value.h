// A value of the language: 16 bytes, small ones in place, the others counted objects that assignments share.
#pragma once

#include <cstdint>
#include <memory>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

#include "applescript/code.h"
#include "applescript/heap.h"

namespace quillbox::applescript {

class ScriptObject;
class Application;
class Terminology;
class TextObject;
class ListObject;
class RecordObject;
class DateObject;
class ScriptInstance;
class HandlerObject;
class SpecifierObject;
class TestObject;
class Value;

using ObjectRef = std::shared_ptr<ScriptObject>;

enum class Kind : std::uint8_t {
  Nothing,  // no result at all; not the same as missing value
  MissingValue,
  Boolean,
  Integer,
  Real,
  ClassName,  // `text`, `mailbox`
  Constant,   // `yellow`, `Monday`
  Application,
  Examined,  // inside a filter: the object that is being tested
  // From here on the payload is a counted object.
  Text,
  List,
  Record,
  Date,
  Script,     // a script object
  Handler,    // a handler as a value
  Specifier,  // a reference that nobody has resolved yet
  Test,       // the condition of a filter
  Live,       // an application's object, only while an event is being answered
  Cell,       // a variable that closures share; never seen by scripts
};

// The key of a record field, or a name in general: a property of some dictionary (code), or a word of the
// script's own. Two keys are the same when their codes are, or their names without regard to case.
class Name {
 public:
  Name() = default;
  explicit Name(std::string_view text, Code code = 0);

  std::string_view text() const;    // as first written
  std::string_view folded() const;  // lower case
  Code code() const { return code_; }
  bool operator==(const Name& other) const;

 private:
  struct Spelling final : HeapObject {
    Spelling(std::string_view written, std::string lower);
    std::string text;
    std::string folded;
    std::size_t hash;
  };
  Ref<Spelling> spelling_;
  Code code_ = 0;
};

// Everything here runs on the thread of the run. A value must not outlive its Interpreter: what is left of
// lists and records then is empty. Reading a value as a kind that it is not gives the empty one (0, "", no
// items).
class Value {
 public:
  using Fields = std::vector<std::pair<Name, Value>>;

  Value() noexcept : integer_(0) {}
  static Value nothing() { return {}; }
  static Value missing() { return Value(Kind::MissingValue); }
  static Value boolean(bool value);
  static Value integer(std::int64_t value);
  static Value real(double value);
  static Value text(std::string value);  // UTF-8
  static Value list(std::vector<Value> items);
  static Value record(Fields fields);
  // Seconds of local wall-clock time since 1970-01-01 00:00.
  static Value date(std::int64_t localSeconds);
  // Of the dictionary that knows the term; nullptr is the language's own, and what an application returns
  // without one gets that application's.
  static Value className(Code code, const Terminology* terms = nullptr);
  static Value constant(Code code, const Terminology* terms = nullptr);
  static Value application(Application& application);
  // An object of the application that answers the present event. The script sees its specifier().
  static Value live(ObjectRef object);
  static Value examined() { return Value(Kind::Examined); }
  template <class T>
  static Value object(Kind kind, Ref<T> object);

  Value(const Value& other) noexcept : word_(other.word_), integer_(other.integer_) {
    if (isCounted()) object_->retain();
  }
  Value(Value&& other) noexcept : word_(other.word_), integer_(other.integer_) {
    other.word_ = {};
    other.integer_ = 0;
  }
  ~Value() {
    if (isCounted()) object_->release();
  }
  Value& operator=(const Value& other) noexcept {
    Value copy(other);
    swap(copy);
    return *this;
  }
  Value& operator=(Value&& other) noexcept {
    Value moved(std::move(other));
    swap(moved);
    return *this;
  }
  void swap(Value& other) noexcept {
    std::swap(word_, other.word_);
    std::swap(integer_, other.integer_);
  }

  Kind kind() const noexcept { return word_.kind; }
  bool is(Kind kind) const noexcept { return word_.kind == kind; }
  bool isNothing() const noexcept { return is(Kind::Nothing); }
  bool isMissing() const noexcept { return is(Kind::MissingValue); }
  bool isText() const noexcept { return is(Kind::Text); }
  bool isList() const noexcept { return is(Kind::List); }
  bool isRecord() const noexcept { return is(Kind::Record); }
  bool isNumber() const noexcept { return is(Kind::Integer) || is(Kind::Real); }

  // Of an integer: another one in its place, when it lies within ±largest. False leaves it as it was.
  bool replaceInteger(std::int64_t value, std::int64_t largest) noexcept {
    if (value > largest || value < -largest) return false;
    integer_ = value;
    return true;
  }

  bool asBoolean() const noexcept { return is(Kind::Boolean) && integer_ != 0; }
  std::int64_t asInteger() const noexcept { return is(Kind::Integer) ? integer_ : 0; }
  double asReal() const noexcept;  // of integers too
  std::string_view asText() const noexcept;
  const std::vector<Value>& items() const noexcept;  // of a list
  const Fields& fields() const noexcept;             // of a record
  // The field of a record by its name without regard to case, or by its property code; nullptr without one.
  const Value* field(std::string_view name) const noexcept;
  const Value* field(Code code) const noexcept;
  std::int64_t asDate() const noexcept;
  Code asCode() const noexcept { return word_.code; }  // of a class name or a constant
  const Terminology* terms() const noexcept;           // of a class name or a constant
  Application* asApplication() const noexcept;
  ObjectRef asLive() const noexcept;

  template <class T>
  T& as() const noexcept {
    return *static_cast<T*>(object_);
  }

 private:
  struct Word {
    Kind kind = Kind::Nothing;
    Code code = 0;
  };

  explicit Value(Kind kind) noexcept : word_{kind, 0}, integer_(0) {}
  bool isCounted() const noexcept { return word_.kind >= Kind::Text; }

  Word word_;
  union {
    std::int64_t integer_;
    double real_;
    HeapObject* object_;
    const Terminology* terms_;
    Application* application_;
  };
};

static_assert(sizeof(Value) == 16);

inline Value Value::boolean(bool value) {
  Value result(Kind::Boolean);
  result.integer_ = value ? 1 : 0;
  return result;
}

inline Value Value::integer(std::int64_t value) {
  Value result(Kind::Integer);
  result.integer_ = value;
  return result;
}

inline Value Value::real(double value) {
  Value result(Kind::Real);
  result.real_ = value;
  return result;
}

inline double Value::asReal() const noexcept {
  if (is(Kind::Real)) return real_;
  return is(Kind::Integer) ? static_cast<double>(integer_) : 0.0;
}

template <class T>
Value Value::object(Kind kind, Ref<T> object) {
  Value result(kind);
  result.object_ = object.get();
  result.object_->retain();
  return result;
}

}  // namespace quillbox::applescript

// Finds the objects behind references while an application answers an event.
#pragma once

#include <string>
#include <vector>

#include "applescript/evaluator.h"
#include "applescript/host.h"
#include "applescript/objects.h"

namespace quillbox::applescript {

// Lives for one event, between beginEvent() and endEvent(). What goes wrong is thrown as Refused.
class ObjectResolver {
 public:
  // A failure of the application, with the reference that it concerns.
  struct Refused {
    Failure failure;
    Value about;
    Value value;  // what should have been set there
  };

  ObjectResolver(Evaluator& evaluator, Application& application, std::chrono::nanoseconds deadline)
      : evaluator_(evaluator), application_(application), deadline_(deadline), root_(application.root()) {}

  // Live objects, lists of them, or plain values. References to other applications stay as they are, as do
  // local ones.
  Value resolve(const Value& value);
  // A list of the objects meant, also for one.
  std::vector<ObjectRef> objects(const Value& reference);
  Place place(const Value& location);
  std::size_t count(const Value& reference, Code each);
  void set(const Value& reference, const Value& value);
  // What a script may keep: references for live objects, terms of this application for constants without any.
  Value seal(const Value& value) const;
  // As the application sees a value of the script: its own references resolved, also inside lists and
  // records.
  Value argument(const Value& value);
  void checkDeadline();

 private:
  Value specifier(const SpecifierObject& specifier, const Value& self);
  Value property(const Value& container, const SpecifierObject& specifier, const Value& self);
  Value properties(const ObjectRef& object, const Value& self);
  Value element(const Value& container, const SpecifierObject& specifier, const Value& self);
  Value elementOfObject(const ObjectRef& object, const SpecifierObject& specifier, const Value& self);
  Value itemOf(const std::vector<Value>& items, const SpecifierObject& specifier, const Value& self);
  Value filtered(const ObjectRef& object, const SpecifierObject& specifier, const Value& self);
  bool holds(const TestObject& test, const ObjectRef& object);
  Value operand(const Value& value, const ObjectRef& object);
  std::vector<ObjectRef> all(const ObjectRef& object, Code elementClass, const Value& self);
  std::size_t indexIn(const std::vector<ObjectRef>& all, const Value& end, const SpecifierObject& specifier,
                      const ObjectRef& container, const Value& self);
  template <class T>
  T checked(Outcome<T> outcome, const Value& about);
  [[noreturn]] void refuse(std::int64_t number, const Value& about);

  Evaluator& evaluator_;
  Application& application_;
  std::chrono::nanoseconds deadline_;
  ObjectRef root_;
  ObjectRef examined_;
};

template <class T>
T ObjectResolver::checked(Outcome<T> outcome, const Value& about) {
  if (!outcome) throw Refused{std::move(outcome.error()), about, {}};
  if constexpr (!std::is_void_v<T>) return std::move(*outcome);
}

}  // namespace quillbox::applescript

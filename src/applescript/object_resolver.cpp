#include "applescript/object_resolver.h"

#include <algorithm>

namespace quillbox::applescript {

namespace {

bool isListOfObjects(const Value& value) {
  return value.isList() && !value.items().empty() &&
         std::ranges::all_of(value.items(), [](const Value& item) { return item.is(Kind::Live); });
}

Value listOf(std::vector<ObjectRef> objects) {
  std::vector<Value> items;
  items.reserve(objects.size());
  for (auto& object : objects) items.push_back(Value::live(std::move(object)));
  return Value::list(std::move(items));
}

}  // namespace

template <class T>
T ObjectResolver::checked(Outcome<T> outcome, const Value& about) {
  if (!outcome) throw Refused{std::move(outcome.error()), about, {}};
  if constexpr (!std::is_void_v<T>) return std::move(*outcome);
}

void ObjectResolver::refuse(std::int64_t number, const Value& about) {
  Failure failure;
  failure.number = number;
  throw Refused{std::move(failure), about, {}};
}

void ObjectResolver::checkDeadline() {
  if (evaluator_.host_.steady() > deadline_) refuse(error::timedOut, {});
}

Value ObjectResolver::resolve(const Value& value) {
  if (value.is(Kind::Application)) return value.asApplication() == &application_ ? Value::live(root_) : value;
  if (value.is(Kind::Examined)) return examined_ ? Value::live(examined_) : value;
  if (!value.is(Kind::Specifier)) return value;
  const auto& reference = value.as<SpecifierObject>();
  const auto& root = reference.root();
  const bool mine = root.asApplication() == &application_ || (root.is(Kind::Examined) && examined_);
  return mine ? specifier(reference, value) : value;
}

Value ObjectResolver::specifier(const SpecifierObject& reference, const Value& self) {
  // `item 3 of every account`, as loops ask for it, without making the list each time.
  if (reference.form == SpecifierForm::Index && reference.code == code("cobj") &&
      reference.container.is(Kind::Specifier)) {
    const auto& every = reference.container.as<SpecifierObject>();
    if (every.form == SpecifierForm::Every) {
      const auto container = resolve(every.container);
      if (container.is(Kind::Live)) {
        const SpecifierObject direct(SpecifierForm::Index, every.container, every.code, Name(),
                                     reference.key);
        return elementOfObject(container.asLive(), direct, self);
      }
    }
  }
  const auto container = resolve(reference.container);
  if (reference.form == SpecifierForm::Property) return property(container, reference, self);
  return element(container, reference, self);
}

Value ObjectResolver::property(const Value& container, const SpecifierObject& reference, const Value& self) {
  if (container.is(Kind::Live)) {
    const auto object = container.asLive();
    auto value = object->property(reference.code);
    if (value) return std::move(*value);
    if (value.error().number == error::noSuchObject) {
      // What can be answered for any object.
      if (reference.code == code("pcls")) return Value::className(object->classCode());
      if (reference.code == code("pcnt")) return container;
      if (object == root_) {
        if (reference.code == code("pnam")) return Value::text(application_.name());
        if (reference.code == code("ID  ")) return Value::text(application_.identifier());
        if (reference.code == code("prun")) return Value::boolean(application_.isRunning());
      }
    }
    throw Refused{std::move(value.error()), self, {}};
  }
  const bool ofList = reference.code == code("leng") || reference.code == code("rvse") ||
                      reference.code == code("rest") || reference.code == code("pcls");
  if (container.isList() && (!ofList || isListOfObjects(container)) &&
      !(ofList && reference.code != code("pcls"))) {
    std::vector<Value> values;
    values.reserve(container.items().size());
    for (const auto& item : container.items()) {
      checkDeadline();
      values.push_back(property(item, reference, self));
    }
    return Value::list(std::move(values));
  }
  // `length of subject of message 1`: the language knows what that is.
  return evaluator_.propertyOf(container, Name(reference.name.text(), reference.code));
}

Value ObjectResolver::element(const Value& container, const SpecifierObject& reference, const Value& self) {
  if (container.is(Kind::Live)) return elementOfObject(container.asLive(), reference, self);
  if (container.isList()) {
    const bool overItems = reference.container.is(Kind::Specifier) &&
                           reference.container.as<SpecifierObject>().form >= SpecifierForm::Every &&
                           reference.container.as<SpecifierObject>().form != SpecifierForm::Before &&
                           reference.container.as<SpecifierObject>().form != SpecifierForm::After;
    const bool sameClass = overItems && reference.container.as<SpecifierObject>().code == reference.code;
    if (reference.code == code("cobj") || sameClass) return itemOf(container.items(), reference, self);
    if (isListOfObjects(container)) {
      // `every message of every mailbox` is a list for each mailbox.
      std::vector<Value> values;
      for (const auto& item : container.items()) {
        checkDeadline();
        values.push_back(elementOfObject(item.asLive(), reference, self));
      }
      return Value::list(std::move(values));
    }
  }
  return evaluator_.elementOf(container,
                              {reference.form, reference.code, reference.key, reference.secondKey});
}

Value ObjectResolver::itemOf(const std::vector<Value>& items, const SpecifierObject& reference,
                             const Value& self) {
  const auto at = [&](const Value& key) {
    const auto found = evaluator_.position(key, items.size());
    if (!found) refuse(error::invalidIndex, self);
    return *found;
  };
  switch (reference.form) {
    case SpecifierForm::Every:
      return Value::list(items);
    case SpecifierForm::Index:
      return items[at(reference.key)];
    case SpecifierForm::Middle:
      if (items.empty()) refuse(error::invalidIndex, self);
      return items[(items.size() - 1) / 2];
    case SpecifierForm::Some:
      if (items.empty()) refuse(error::invalidIndex, self);
      return items[evaluator_.host_.random() % items.size()];
    case SpecifierForm::Range: {
      auto from = at(reference.key);
      auto to = at(reference.secondKey);
      if (from > to) std::swap(from, to);
      return Value::list({items.begin() + static_cast<std::ptrdiff_t>(from),
                          items.begin() + static_cast<std::ptrdiff_t>(to) + 1});
    }
    case SpecifierForm::Named:
    case SpecifierForm::Identified: {
      const auto wanted = reference.form == SpecifierForm::Named ? code("pnam") : code("ID  ");
      for (const auto& item : items) {
        if (!item.is(Kind::Live)) continue;
        const auto value = item.asLive()->property(wanted);
        if (value && evaluator_.equal(*value, reference.key)) return item;
      }
      refuse(error::noSuchObject, self);
    }
    default:
      refuse(error::noSuchObject, self);
  }
}

std::vector<ObjectRef> ObjectResolver::all(const ObjectRef& object, Code elementClass, const Value& self) {
  checkDeadline();
  return checked(object->elements(elementClass), self);
}

// The place of one end of a range, or of the neighbour in `message after x`.
std::size_t ObjectResolver::indexIn(const std::vector<ObjectRef>& objects, const Value& end,
                                    const SpecifierObject& reference, const ObjectRef& container,
                                    const Value& self) {
  Value key = end;
  if (key.is(Kind::Specifier) && key.as<SpecifierObject>().container.isNothing()) {
    const auto& inner = key.as<SpecifierObject>();
    const SpecifierObject here(inner.form, Value(), inner.code, Name(), inner.key, inner.secondKey);
    key = elementOfObject(container, here, self);
  } else {
    key = resolve(key);
  }
  if (key.is(Kind::Live)) {
    const auto wanted = key.asLive();
    for (std::size_t i = 0; i < objects.size(); ++i) {
      if (objects[i] == wanted) return i;
    }
    const auto name = wanted->specifier();
    for (std::size_t i = 0; i < objects.size(); ++i) {
      if (evaluator_.equal(objects[i]->specifier(), name)) return i;
    }
    refuse(error::noSuchObject, self);
  }
  if (key.isText()) {
    const auto found = checked(container->named(reference.code, key.asText()), self);
    for (std::size_t i = 0; i < objects.size(); ++i) {
      if (found && objects[i] == found) return i;
    }
    refuse(error::noSuchObject, self);
  }
  const auto found = evaluator_.position(key, objects.size());
  if (!found) refuse(error::invalidIndex, self);
  return *found;
}

Value ObjectResolver::elementOfObject(const ObjectRef& object, const SpecifierObject& reference,
                                      const Value& self) {
  const auto elementClass = reference.code;
  const auto found = [&](ObjectRef element, std::int64_t number) {
    if (!element) refuse(number, self);
    return Value::live(std::move(element));
  };
  switch (reference.form) {
    case SpecifierForm::Every:
      return listOf(all(object, elementClass, self));
    case SpecifierForm::Filter:
      return filtered(object, reference, self);
    case SpecifierForm::Named:
      return found(checked(object->named(elementClass, reference.key.asText()), self), error::noSuchObject);
    case SpecifierForm::Identified:
      return found(checked(object->identified(elementClass, reference.key), self), error::noSuchObject);
    case SpecifierForm::Index: {
      const auto number = evaluator_.toInteger(reference.key);
      if (number > 0)
        return found(checked(object->at(elementClass, static_cast<std::size_t>(number - 1)), self),
                     error::invalidIndex);
      const auto size = checked(object->count(elementClass), self);
      const auto at = evaluator_.position(Value::integer(number), size);
      if (!at) refuse(error::invalidIndex, self);
      return found(checked(object->at(elementClass, *at), self), error::invalidIndex);
    }
    case SpecifierForm::Middle:
    case SpecifierForm::Some: {
      const auto size = checked(object->count(elementClass), self);
      if (size == 0) refuse(error::invalidIndex, self);
      const auto at =
          reference.form == SpecifierForm::Middle ? (size - 1) / 2 : evaluator_.host_.random() % size;
      return found(checked(object->at(elementClass, at), self), error::invalidIndex);
    }
    case SpecifierForm::Range: {
      auto objects = all(object, elementClass, self);
      auto from = indexIn(objects, reference.key, reference, object, self);
      auto to = indexIn(objects, reference.secondKey, reference, object, self);
      if (from > to) std::swap(from, to);
      return listOf({objects.begin() + static_cast<std::ptrdiff_t>(from),
                     objects.begin() + static_cast<std::ptrdiff_t>(to) + 1});
    }
    case SpecifierForm::Before:
    case SpecifierForm::After: {
      const auto objects = all(object, elementClass, self);
      const auto at = indexIn(objects, reference.key, reference, object, self);
      const bool before = reference.form == SpecifierForm::Before;
      if (before ? at == 0 : at + 1 >= objects.size()) refuse(error::noSuchObject, self);
      return Value::live(objects[before ? at - 1 : at + 1]);
    }
    default:
      refuse(error::noSuchObject, self);
  }
}

Value ObjectResolver::filtered(const ObjectRef& object, const SpecifierObject& reference, const Value& self) {
  std::vector<ObjectRef> chosen;
  const auto previous = examined_;
  for (auto& candidate : all(object, reference.code, self)) {
    checkDeadline();
    examined_ = candidate;
    const bool passes = holds(reference.key.as<TestObject>(), candidate);
    examined_ = previous;
    if (passes) chosen.push_back(std::move(candidate));
  }
  return listOf(std::move(chosen));
}

Value ObjectResolver::operand(const Value& value, const ObjectRef& object) {
  examined_ = object;
  auto resolved = resolve(value);
  return resolved;
}

bool ObjectResolver::holds(const TestObject& test, const ObjectRef& object) {
  switch (test.operation) {
    case TestOperator::And:
      return holds(test.left.as<TestObject>(), object) && holds(test.right.as<TestObject>(), object);
    case TestOperator::Or:
      return holds(test.left.as<TestObject>(), object) || holds(test.right.as<TestObject>(), object);
    case TestOperator::Not:
      return !holds(test.right.as<TestObject>(), object);
    default:
      break;
  }
  const auto left = operand(test.left, object);
  const auto right = operand(test.right, object);
  switch (test.operation) {
    case TestOperator::Equal:
      return evaluator_.equal(left, right);
    case TestOperator::NotEqual:
      return !evaluator_.equal(left, right);
    case TestOperator::Contains:
      return evaluator_.contains(left, right);
    case TestOperator::IsIn:
      return evaluator_.contains(right, left);
    case TestOperator::BeginsWith:
      return evaluator_.beginsWith(left, right);
    case TestOperator::EndsWith:
      return evaluator_.endsWith(left, right);
    default:
      break;
  }
  // What has no value comes before and after nothing.
  if (left.isMissing() || right.isMissing()) return false;
  const auto operation = test.operation == TestOperator::Less          ? Operator::Less
                         : test.operation == TestOperator::LessOrEqual ? Operator::LessOrEqual
                         : test.operation == TestOperator::Greater     ? Operator::Greater
                                                                       : Operator::GreaterOrEqual;
  return evaluator_.ordered(operation, left, right);
}

std::vector<ObjectRef> ObjectResolver::objects(const Value& reference) {
  std::vector<ObjectRef> found;
  const auto add = [&](const Value& value, const auto& self) -> void {
    const auto resolved = resolve(value.is(Kind::Specifier) ? evaluator_.dereferenced(value) : value);
    if (resolved.is(Kind::Live)) {
      found.push_back(resolved.asLive());
    } else if (resolved.isList()) {
      for (const auto& item : resolved.items()) self(item, self);
    } else {
      refuse(error::noSuchObject, value);
    }
  };
  // A list that holds itself would never end.
  if (reference.isList()) {
    for (const auto& item : reference.items()) {
      if (item.isList()) refuse(error::wrongType, item);
      add(item, add);
    }
    return found;
  }
  add(reference, add);
  return found;
}

Place ObjectResolver::place(const Value& location) {
  Place place;
  Value target = location;
  if (location.is(Kind::Specifier)) {
    const auto& point = location.as<SpecifierObject>();
    if (point.form >= SpecifierForm::Beginning && point.form <= SpecifierForm::PointAfter) {
      target = point.container;
      switch (point.form) {
        case SpecifierForm::Beginning:
          place.position = Place::Position::Beginning;
          break;
        case SpecifierForm::End:
          place.position = Place::Position::End;
          break;
        case SpecifierForm::PointBefore:
          place.position = Place::Position::Before;
          break;
        default:
          place.position = Place::Position::After;
          break;
      }
      const bool beside =
          place.position == Place::Position::Before || place.position == Place::Position::After;
      const auto resolved = resolve(target);
      if (beside) {
        if (!resolved.is(Kind::Live)) refuse(error::noSuchObject, target);
        place.sibling = resolved.asLive();
        target = target.is(Kind::Specifier) ? target.as<SpecifierObject>().container : target;
      } else if (target.is(Kind::Specifier) && target.as<SpecifierObject>().form == SpecifierForm::Every) {
        // `end of mailboxes of account 1`: the account is what gets a new element.
        target = target.as<SpecifierObject>().container;
      }
    } else if (point.form == SpecifierForm::Every) {
      target = point.container;
    }
  }
  const auto resolved = resolve(target);
  if (!resolved.is(Kind::Live)) refuse(error::cannotMoveThere, {});
  place.container = resolved.asLive();
  return place;
}

std::size_t ObjectResolver::count(const Value& reference, Code each) {
  if (each == 0 && reference.is(Kind::Specifier)) {
    const auto& specifier = reference.as<SpecifierObject>();
    if (specifier.form == SpecifierForm::Every) {
      const auto container = resolve(specifier.container);
      if (container.is(Kind::Live)) return checked(container.asLive()->count(specifier.code), reference);
    }
  }
  const auto resolved = resolve(reference);
  if (each != 0 && resolved.is(Kind::Live)) return checked(resolved.asLive()->count(each), reference);
  if (resolved.is(Kind::Live)) {
    // The objects of an application are not counted by themselves: its windows are, or its accounts.
    if (resolved.asLive() == root_) refuse(error::notUnderstood, reference);
    return 1;
  }
  return evaluator_.countOf(resolved, each != 0 ? each : resolved.isText() ? code("cha ") : code("cobj"));
}

void ObjectResolver::set(const Value& reference, const Value& value) {
  if (!reference.is(Kind::Specifier)) refuse(error::cannotSet, reference);
  const auto& target = reference.as<SpecifierObject>();
  if (target.form != SpecifierForm::Property) {
    Failure failure;
    failure.number = error::cannotSet;
    throw Refused{std::move(failure), reference, value};
  }
  const auto given = argument(value);
  for (const auto& object : objects(target.container)) {
    checkDeadline();
    auto done = object->setProperty(target.code, given);
    if (!done) throw Refused{std::move(done.error()), reference, value};
  }
}

Value ObjectResolver::seal(const Value& value) const {
  switch (value.kind()) {
    case Kind::Live:
      return value.asLive()->specifier();
    case Kind::List: {
      std::vector<Value> items;
      items.reserve(value.items().size());
      for (const auto& item : value.items()) items.push_back(seal(item));
      return Value::list(std::move(items));
    }
    case Kind::Record: {
      Value::Fields fields;
      for (const auto& [name, field] : value.fields()) fields.emplace_back(name, seal(field));
      return Value::record(std::move(fields));
    }
    case Kind::Constant:
      return value.terms() ? value : Value::constant(value.asCode(), &application_.terminology());
    case Kind::ClassName:
      return value.terms() ? value : Value::className(value.asCode(), &application_.terminology());
    default:
      return value;
  }
}

Value ObjectResolver::argument(const Value& value) {
  const auto plain = value.is(Kind::Specifier) ? evaluator_.dereferenced(value) : value;
  if (plain.isList() || plain.isRecord()) {
    evaluator_.enterCall();
    struct Depth {
      std::size_t& depth;
      ~Depth() { --depth; }
    } depth{++evaluator_.depth_};
    if (plain.isList()) {
      std::vector<Value> items;
      items.reserve(plain.items().size());
      for (const auto& item : plain.items()) items.push_back(argument(item));
      return Value::list(std::move(items));
    }
    Value::Fields fields;
    for (const auto& [name, field] : plain.fields()) fields.emplace_back(name, argument(field));
    return Value::record(std::move(fields));
  }
  return plain.is(Kind::Application) ? plain : resolve(plain);
}

}  // namespace quillbox::applescript

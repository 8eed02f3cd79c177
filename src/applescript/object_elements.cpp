// Elements of an application's objects: by index, name, id, range, relation and filter.
#include <algorithm>

#include "applescript/object_resolver.h"

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

}  // namespace quillbox::applescript

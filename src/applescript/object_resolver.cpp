#include "applescript/object_resolver.h"

#include <algorithm>

namespace quillbox::applescript {

namespace {

bool isListOfObjects(const Value& value) {
  return value.isList() && !value.items().empty() &&
         std::ranges::all_of(value.items(), [](const Value& item) { return item.is(Kind::Live); });
}

}  // namespace

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
      if (reference.code == code("pALL")) return properties(object, self);
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

// `properties of m`: a record of all that the dictionary lists and the object answers.
Value ObjectResolver::properties(const ObjectRef& object, const Value& self) {
  const auto& terms = application_.terminology();
  Value::Fields fields;
  fields.emplace_back(Name("class", code("pcls")), Value::className(object->classCode()));
  for (const auto property : terms.propertiesOf(object->classCode())) {
    if (property == code("pcls")) continue;
    checkDeadline();
    auto value = object->property(property);
    if (value) {
      fields.emplace_back(Name(terms.propertyName(property), property), std::move(*value));
    } else if (value.error().number != error::noSuchObject) {
      throw Refused{std::move(value.error()), self, {}};
    }
  }
  return Value::record(std::move(fields));
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

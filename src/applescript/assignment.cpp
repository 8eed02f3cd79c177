// `set` and `copy`.
#include <algorithm>
#include <array>
#include <span>
#include <vector>

#include <fmt/format.h>

#include "applescript/dates.h"
#include "applescript/evaluator.h"
#include "applescript/in_place.h"
#include "applescript/objects.h"
#include "applescript/printing.h"

namespace quillbox::applescript {

void Evaluator::cannotSet(const Value& object, const Value& value, std::int64_t number) {
  raise(number, wording(number, {sourceForm(object), sourceForm(value)}), object);
}

void Evaluator::assign(const Node& target, Value value) {
  switch (target.kind) {
    case NodeKind::Variable:
      return assignVariable(static_cast<const VariableNode&>(target), std::move(value));
    case NodeKind::List: {
      // set {a, b} to {1, 2}
      const auto& pattern = static_cast<const ListNode&>(target);
      const auto source = operand(value);
      if (!source.isList()) cannotMake(source, code("list"));
      // What is taken apart must not change on the way: set {item 1 of x, item 2 of x} to x.
      const bool plain = std::ranges::all_of(
          pattern.items, [](const NodePtr& item) { return item->kind == NodeKind::Variable; });
      const auto apart = plain ? source : Value::list(source.items());
      const auto& items = apart.items();
      for (std::size_t i = 0; i < pattern.items.size(); ++i) {
        if (i >= items.size())
          cannotGetElement(
              source,
              {SpecifierForm::Index, code("cobj"), Value::integer(static_cast<std::int64_t>(i) + 1), {}});
        assign(*pattern.items[i], items[i]);
      }
      return;
    }
    case NodeKind::Record: {
      const auto source = operand(value);
      for (const auto& [name, part] : static_cast<const RecordNode&>(target).fields)
        assign(*part, propertyOf(source, name));
      return;
    }
    case NodeKind::Property: {
      const auto& property = static_cast<const PropertyNode&>(target);
      if (property.name.code() == code("txdl")) {
        delimiters_ = dereferenced(value);
        return;
      }
      if (property.name.code() == code("pcnt") && property.container) {
        // set contents of x to y: what x refers to.
        const auto reference = eval(*property.container);
        if (reference.is(Kind::Specifier)) {
          if (isApplicationReference(reference)) return setIn(reference, value);
          return assignReference(reference.as<SpecifierObject>(), std::move(value));
        }
      }
      const auto container = containerOf(property.container.get());
      site_ = &target;
      if (isApplicationReference(container)) {
        return setIn(
            Value::object(Kind::Specifier, make<SpecifierObject>(SpecifierForm::Property, container,
                                                                 property.name.code(), property.name)),
            value);
      }
      return assignProperty(container, property.name, std::move(value));
    }
    case NodeKind::Element: {
      const auto& element = static_cast<const ElementNode&>(target);
      auto container = containerOf(element.container.get());
      site_ = &target;
      if (isApplicationReference(container)) return setIn(access(element, std::move(container)), value);
      ElementKey key{element.form, element.classCode, {}, {}};
      if (element.key) key.key = operand(eval(*element.key));
      if (element.secondKey) key.secondKey = operand(eval(*element.secondKey));
      return assignElement(container, key, std::move(value));
    }
    case NodeKind::Point: {
      const auto& point = static_cast<const PointNode&>(target);
      const auto container = containerOf(point.container.get());
      site_ = &target;
      return assignPoint(point.form, container, std::move(value));
    }
    case NodeKind::Result:
      frame_->result = std::move(value);
      return;
    default:
      fatal("a target that the parser does not let through");
  }
}

void Evaluator::assignVariable(const VariableNode& node, Value value) {
  if (auto* slot = variableSlot(node.location)) {
    slot->swap(value);
    return;
  }
  if (frame_->me.is(Kind::Script) && assignMember(frame_->me, node.name, std::move(value))) return;
  site_ = &node;
  raise(error::notDefined, wording(error::notDefined, {node.name.text()}));
}

bool Evaluator::assignMember(const Value& script, const Name& name, Value value) {
  Value current = script;
  for (int depth = 0; current.is(Kind::Script) && depth < 100; ++depth) {
    auto& instance = current.as<ScriptInstance>();
    if (const auto member = instance.node.member(name)) {
      instance.slots[*member].swap(value);
      return true;
    }
    if (!instance.outer) {
      if (auto* global = instance.globals->find(name)) {
        global->swap(value);
        return true;
      }
    }
    if (name.code() == code("pare")) {
      instance.parent = std::move(value);
      return true;
    }
    current = instance.parent;
  }
  return false;
}

// set t to t & more, without copying t: the work of building a long text stays proportional to its length.
bool Evaluator::appendInPlace(const SetNode& node) {
  auto* slot = variableSlot(static_cast<const VariableNode&>(*node.target).location);
  if (!slot || (!slot->isText() && !slot->isList())) return false;
  const auto& operands = static_cast<const ConcatNode&>(*node.value).operands;
  auto grown = *slot;
  // All are evaluated before anything grows; a few need no memory of their own.
  std::array<Value, 8> few;
  std::vector<Value> many;
  const auto count = operands.size() - 1;
  if (count > few.size()) many.resize(count);
  const std::span<Value> more(count > few.size() ? many.data() : few.data(), count);
  for (std::size_t i = 0; i < count; ++i) {
    const auto* place = inPlace(*operands[i + 1]);
    more[i] = place && place->isText() ? *place : operand(needed(eval(*operands[i + 1])));
  }
  site_ = &node;
  for (auto& next : more) {
    // Held by the variable and by `grown`, nobody else can see it change.
    const bool own = &slot->as<HeapObject>() == &grown.as<HeapObject>() && slot->kind() == grown.kind() &&
                     grown.as<HeapObject>().references() == 2;
    if (own && grown.isText() && next.isText()) {
      grown.as<TextObject>().append(next.asText());
    } else if (own && grown.isText() && next.is(Kind::Integer)) {
      const fmt::format_int digits(next.asInteger());
      grown.as<TextObject>().append({digits.data(), digits.size()});
    } else if (own && grown.isText()) {
      const auto text = tryText(next);
      if (text) {
        grown.as<TextObject>().append(*text);
      } else {
        grown = concat(std::move(grown), next);
      }
    } else if (own && grown.isList()) {
      extend(grown.as<ListObject>(), next);
    } else {
      grown = concat(std::move(grown), next);
    }
  }
  *slot = grown;
  if (node.keepsResult) frame_->result = std::move(grown);
  return true;
}

void Evaluator::assignProperty(const Value& container, const Name& name, Value value) {
  if (container.isRecord()) {
    auto& record = container.as<RecordObject>();
    if (!record.find(name)) {
      // A record keeps the fields that it was made with.
      cannotSet(Value::object(Kind::Specifier,
                              make<SpecifierObject>(SpecifierForm::Property, container, name.code(), name)),
                value);
    }
    record.set(name, std::move(value));
    return;
  }
  if (container.is(Kind::Script) && assignMember(container, name, value)) return;
  if (container.is(Kind::Date)) return assignDate(container, name.code(), value);
  cannotSet(Value::object(Kind::Specifier,
                          make<SpecifierObject>(SpecifierForm::Property, container, name.code(), name)),
            value);
}

void Evaluator::assignElement(const Value& container, const ElementKey& element, Value value) {
  if (container.isList() && (element.form == SpecifierForm::Index || element.form == SpecifierForm::Middle)) {
    auto& list = container.as<ListObject>();
    const auto& items = list.items();
    std::optional<std::size_t> at;
    if (element.classCode == code("cobj")) {
      at = element.form == SpecifierForm::Index ? position(element.key, items.size())
                                                : std::optional((items.size() - 1) / 2);
    } else {
      // `set text 2 of L`: the second of that class.
      std::vector<std::size_t> places;
      for (std::size_t i = 0; i < items.size(); ++i) {
        if (isOfClass(items[i], element.classCode)) places.push_back(i);
      }
      if (const auto chosen = position(element.key, places.size())) at = places[*chosen];
    }
    if (at && *at < items.size()) {
      list.set(*at, std::move(value));
      return;
    }
  }
  cannotSet(Value::object(Kind::Specifier, make<SpecifierObject>(element.form, container, element.classCode,
                                                                 Name(), element.key, element.secondKey)),
            value);
}

void Evaluator::assignPoint(SpecifierForm form, const Value& container, Value value) {
  if (container.isList()) {
    auto& list = container.as<ListObject>();
    if (form == SpecifierForm::End) return list.append(std::move(value));
    if (form == SpecifierForm::Beginning) return list.insert(0, std::move(value));
  }
  cannotSet(Value::object(Kind::Specifier, make<SpecifierObject>(form, container, 0)), value);
}

void Evaluator::assignReference(const SpecifierObject& specifier, Value value) {
  if (specifier.form == SpecifierForm::Variable) {
    if (!specifier.key.is(Kind::Cell)) cannotSet(specifier.key, value);
    specifier.key.as<CellObject>().value = std::move(value);
    return;
  }
  const auto container = dereferenced(specifier.container);
  if (specifier.form == SpecifierForm::Property && specifier.code == code("txdl")) {
    delimiters_ = dereferenced(value);
    return;
  }
  if (specifier.form == SpecifierForm::Property)
    return assignProperty(container, specifier.name, std::move(value));
  assignElement(container, {specifier.form, specifier.code, specifier.key, specifier.secondKey},
                std::move(value));
}

void Evaluator::assignDate(const Value& date, Code property, const Value& value) {
  auto& seconds = date.as<DateObject>().seconds;
  const auto parts = partsOf(seconds);
  const auto number = [&] {
    const auto whole = toInteger(value);
    // Within what the calendar can be computed for.
    if (whole > 1'000'000'000 || whole < -1'000'000'000) cannotMake(value, code("long"));
    return whole;
  };
  switch (property) {
    case code("year"):
      seconds = secondsOf(number(), parts.month, parts.day, parts.time);
      return;
    case code("mnth"):
      seconds = secondsOf(parts.year, number(), parts.day, parts.time);
      return;
    case code("day "):
      seconds = secondsOf(parts.year, parts.month, number(), parts.time);
      return;
    case code("time"):
      seconds = secondsOf(parts.year, parts.month, parts.day, number());
      return;
    case code("hour"):
      seconds += (number() - parts.time / 3600) * 3600;
      return;
    case code("min "):
      seconds += (number() - parts.time / 60 % 60) * 60;
      return;
    case code("scnd"):
      seconds += number() - parts.time % 60;
      return;
    default:
      cannotSet(
          Value::object(Kind::Specifier, make<SpecifierObject>(SpecifierForm::Property, date, property)),
          value);
  }
}

}  // namespace quillbox::applescript

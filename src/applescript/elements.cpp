// Elements of values that belong to no application.
#include <algorithm>

#include "applescript/evaluator.h"
#include "applescript/objects.h"
#include "applescript/printing.h"
#include "applescript/text_index.h"

namespace quillbox::applescript {

void Evaluator::cannotGetElement(const Value& container, const ElementKey& element, std::int64_t number) {
  // `item 3 of {1, 2}`; what a script asks of itself names no container.
  const Value shown =
      container.is(Kind::Script) && &container.as<ScriptInstance>() == main_.get() ? Value() : container;
  const auto reference = Value::object(
      Kind::Specifier,
      make<SpecifierObject>(element.form, shown, element.classCode, Name(), element.key, element.secondKey));
  raise(number, wording(number, {sourceForm(reference)}), reference);
}

bool Evaluator::isOfClass(const Value& value, Code classCode) {
  if (classCode == code("cobj") || classCode == code("****")) return true;
  if (classCode == code("nmbr")) return value.isNumber();
  return classOf(value) == classCode;
}

// The 0-based place of a key that counts from 1, or from the end when it is negative.
std::optional<std::size_t> Evaluator::position(const Value& key, std::size_t count) {
  const auto number = key.is(Kind::Integer) ? key.asInteger() : toInteger(key);
  const auto size = static_cast<std::int64_t>(count);
  if (number >= 1 && number <= size) return static_cast<std::size_t>(number - 1);
  if (number <= -1 && number >= -size) return static_cast<std::size_t>(size + number);
  return std::nullopt;
}

// `word after word 1`: the neighbour of an element of the same class.
Value Evaluator::neighbour(const Value& container, const ElementKey& element) {
  const bool holds = container.isList() || container.isText();
  if (holds && element.key.is(Kind::Specifier)) {
    const auto& beside = element.key.as<SpecifierObject>();
    if (beside.code == element.classCode && beside.form == SpecifierForm::Index) {
      const auto count = countOf(container, element.classCode);
      const auto at = position(beside.key, count);
      const bool before = element.form == SpecifierForm::Before;
      if (at && (before ? *at > 0 : *at + 1 < count)) {
        const auto number = static_cast<std::int64_t>(before ? *at : *at + 2);
        return elementOf(container, {SpecifierForm::Index, element.classCode, Value::integer(number), {}});
      }
    }
  }
  cannotGetElement(container, element);
}

Value Evaluator::elementOf(const Value& container, const ElementKey& element) {
  if (element.form == SpecifierForm::Before || element.form == SpecifierForm::After)
    return neighbour(container, element);
  if (container.isList()) return listElement(container, element);
  if (container.isText()) return textElement(container, element);
  if (container.is(Kind::Script) && element.form == SpecifierForm::Named &&
      element.classCode == code("scpt")) {
    bool found = false;
    auto value = scriptProperty(container, Name(element.key.asText()), found);
    if (found) return value;
  }
  // A single value is a list of one wherever its items are wanted.
  if (container.isRecord() && element.form == SpecifierForm::Every && element.classCode == code("cobj"))
    return coerce(container, code("list"), {});
  cannotGetElement(container, element);
}

Value Evaluator::listElement(const Value& list, const ElementKey& element) {
  const auto& all = list.items();
  // Only the items of the class count, which for `item` are all of them.
  std::vector<Value> chosen;
  const bool filtered = element.classCode != code("cobj");
  if (filtered) {
    for (const auto& item : all) {
      const auto plain = item.is(Kind::Specifier) ? dereferenced(item) : item;
      if (isOfClass(plain, element.classCode)) chosen.push_back(plain);
    }
  }
  const auto& items = filtered ? chosen : all;
  switch (element.form) {
    case SpecifierForm::Index:
      if (const auto at = position(element.key, items.size())) return items[*at];
      break;
    case SpecifierForm::Every:
      return filtered ? Value::list(std::move(chosen)) : Value::list(all);
    case SpecifierForm::Middle:
      if (!items.empty()) return items[(items.size() - 1) / 2];
      break;
    case SpecifierForm::Some:
      if (!items.empty()) return items[host_.random() % items.size()];
      break;
    case SpecifierForm::Range: {
      auto from = position(element.key, items.size());
      auto to = position(element.secondKey, items.size());
      if (!from || !to) break;
      if (*from > *to) std::swap(from, to);
      return Value::list({items.begin() + static_cast<std::ptrdiff_t>(*from),
                          items.begin() + static_cast<std::ptrdiff_t>(*to) + 1});
    }
    default:
      break;
  }
  cannotGetElement(list, element);
}

std::size_t Evaluator::countOf(const Value& container, Code classCode) {
  if (container.isList()) {
    if (classCode == code("cobj")) return container.items().size();
    return static_cast<std::size_t>(std::ranges::count_if(container.items(), [&](const Value& item) {
      return isOfClass(item.is(Kind::Specifier) ? dereferenced(item) : item, classCode);
    }));
  }
  if (container.isRecord()) return container.fields().size();
  if (container.isText()) return countOfText(container, classCode);
  raise(error::notUnderstood, wording(error::notUnderstood, {sourceForm(container), "count"}), container);
}

}  // namespace quillbox::applescript

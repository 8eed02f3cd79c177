// Properties of values that belong to no application.
#include <algorithm>

#include "applescript/dates.h"
#include "applescript/evaluator.h"
#include "applescript/objects.h"
#include "applescript/printing.h"
#include "applescript/text_index.h"
#include "base/text.h"

namespace quillbox::applescript {

namespace {

Value integer(std::size_t value) {
  return Value::integer(static_cast<std::int64_t>(value));
}

}  // namespace

Value Evaluator::propertyOf(const Value& container, const Name& name) {
  const auto property = name.code();
  bool found = true;
  Value value;
  switch (container.kind()) {
    case Kind::Script:
      value = scriptProperty(container, name, found);
      break;
    case Kind::Record:
      if (const auto* field = container.as<RecordObject>().find(name)) return *field;
      if (property == code("leng")) return integer(container.fields().size());
      found = false;
      break;
    case Kind::Text:
      value = textProperty(container, name, found);
      break;
    case Kind::Date:
      value = dateProperty(container, property, found);
      break;
    case Kind::List: {
      const auto& items = container.items();
      if (property == code("leng")) return integer(items.size());
      if (property == code("rvse")) return Value::list({items.rbegin(), items.rend()});
      if (property == code("rest")) {
        if (items.empty()) {
          found = false;
          break;
        }
        return Value::list({items.begin() + 1, items.end()});
      }
      found = false;
      break;
    }
    case Kind::ClassName:
      found = container.asCode() == code("ascr");
      if (found && property == code("vers")) return Value::text("2.8");
      if (found && property == code("pnam")) return Value::text("AppleScript");
      found = false;
      break;
    default:
      found = false;
      break;
  }
  if (found) return value;
  if (property == code("pcls")) return Value::className(classOf(container));
  if (property == code("pcnt")) return container;
  if (container.is(Kind::Examined)) return container;
  auto reference = make<SpecifierObject>(SpecifierForm::Property, container, property, name);
  cannotGet(Value::object(Kind::Specifier, reference));
}

Value Evaluator::textProperty(const Value& text, const Name& name, bool& found) {
  const auto& utf8 = text.as<TextObject>().utf8();
  switch (name.code()) {
    case code("leng"):
      return integer(text.as<TextObject>().index().characterCount());
    case code("ctxt"):
      return text;
    case code("ID  "): {
      std::vector<Value> ids;
      for (std::size_t at = 0; at < utf8.size();)
        ids.push_back(Value::integer(static_cast<std::int64_t>(text::nextCodePoint(utf8, at))));
      return ids.size() == 1 ? ids.front() : Value::list(std::move(ids));
    }
    case code("strq"): {
      std::string quotedForm = "'";
      quotedForm += text::replaceAll(utf8, "'", "'\\''");
      return Value::text(quotedForm + "'");
    }
    case code("rvse"):
      if (auto pieces = elementsOfText(text, code("cha ")); true) {
        std::ranges::reverse(pieces);
        return Value::list(std::move(pieces));
      }
      break;
    case code("rest"): {
      auto pieces = elementsOfText(text, code("cha "));
      if (pieces.empty()) break;
      pieces.erase(pieces.begin());
      return Value::list(std::move(pieces));
    }
    default:
      break;
  }
  found = false;
  return {};
}

Value Evaluator::dateProperty(const Value& date, Code property, bool& found) {
  const auto seconds = date.asDate();
  const auto parts = partsOf(seconds);
  switch (property) {
    case code("year"):
      return Value::integer(parts.year);
    case code("mnth"):
      return Value::constant(monthCode(parts.month));
    case code("day "):
      return Value::integer(parts.day);
    case code("wkdy"):
      return Value::constant(weekdayCode(parts.weekday));
    case code("time"):
      return Value::integer(parts.time);
    case code("hour"):
      return Value::integer(parts.time / 3600);
    case code("min "):
      return Value::integer(parts.time / 60 % 60);
    case code("scnd"):
      return Value::integer(parts.time % 60);
    case code("dstr"):
      return Value::text(dateString(seconds));
    case code("tstr"):
      return Value::text(timeString(seconds));
    case code("shdt"):
      return Value::text(shortDateString(seconds));
    default:
      found = false;
      return {};
  }
}

// A property, a handler as a value, or what a parent has of these.
Value Evaluator::scriptProperty(const Value& script, const Name& name, bool& found, Members members) {
  found = true;
  Value current = script;
  // Parents may form a circle.
  for (int depth = 0; current.is(Kind::Script) && depth < 100; ++depth) {
    auto& instance = current.as<ScriptInstance>();
    if (const auto member = instance.node.member(name)) return instance.slots[*member];
    if (const auto* handler = instance.node.handler(name))
      return Value::object(Kind::Handler, make<HandlerObject>(*handler, &instance));
    if (!instance.outer && members == Members::WithGlobals) {
      if (const auto* global = instance.globals->find(name); global && !global->isNothing()) return *global;
    }
    if (name.code() == code("pnam") && !instance.node.name.text().empty())
      return Value::text(std::string(instance.node.name.text()));
    if (name.code() == code("pare") || name.folded() == "parent")
      return instance.parent.isNothing() ? Value::className(code("ascr")) : instance.parent;
    if (instance.parent.isNothing() || !instance.parent.is(Kind::Script)) {
      // What a parent that is no script object knows.
      if (!instance.parent.isNothing() && !instance.parent.is(Kind::ClassName)) {
        if (isApplicationReference(instance.parent)) {
          return getFrom(Value::object(
              Kind::Specifier,
              make<SpecifierObject>(SpecifierForm::Property, instance.parent, name.code(), name)));
        }
        return propertyOf(instance.parent, name);
      }
      // Without a parent of its own a script object inherits from the one around it.
      if (!instance.outer) break;
      current = Value::object(Kind::Script, instance.outer);
      continue;
    }
    current = instance.parent;
  }
  found = false;
  return {};
}

}  // namespace quillbox::applescript

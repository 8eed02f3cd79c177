// `as`, and the coercions that operators make.
#include <cmath>
#include <unordered_map>

#include "applescript/dates.h"
#include "applescript/evaluator.h"
#include "applescript/numbers.h"
#include "applescript/objects.h"
#include "applescript/printing.h"
#include "applescript/stack.h"

namespace quillbox::applescript {

namespace {

bool isTextType(Code type) {
  return type == code("ctxt") || type == code("TEXT") || type == code("utxt") || type == code("utf8") ||
         type == code("ut16") || type == code("itxt") || type == code("stxt") || type == code("rtf ");
}

}  // namespace

Code Evaluator::classOf(const Value& value) {
  switch (value.kind()) {
    case Kind::Boolean:
      return code("bool");
    case Kind::Integer:
      return code("long");
    case Kind::Real:
      return code("doub");
    case Kind::Text:
      return code("ctxt");
    case Kind::List:
      return code("list");
    case Kind::Record:
      return code("reco");
    case Kind::Date:
      return code("ldt ");
    case Kind::Script:
      return code("scpt");
    case Kind::Handler:
      return code("hand");
    case Kind::Application:
      return code("capp");
    case Kind::Constant:
      return code("enum");
    case Kind::Specifier:
      return code("obj ");
    case Kind::Live:
      return value.asLive()->classCode();
    default:
      return code("type");
  }
}

std::optional<std::string> Evaluator::tryText(const Value& value, int depth) {
  switch (value.kind()) {
    case Kind::Text:
      return std::string(value.asText());
    case Kind::Integer:
      return std::to_string(value.asInteger());
    case Kind::Real:
      return formatReal(value.asReal());
    case Kind::Boolean:
      return value.asBoolean() ? "true" : "false";
    case Kind::MissingValue:
      return "missing value";
    case Kind::ClassName:
      return classTerm(value.asCode(), value.terms());
    case Kind::Constant:
      return constantTerm(value.asCode(), value.terms());
    case Kind::Date:
      return dateText(value.asDate());
    case Kind::List: {
      if (depth > 200) return std::nullopt;
      std::string between;
      const auto delimiters = operand(delimiters_);
      if (delimiters.isList() && !delimiters.items().empty())
        between = tryText(delimiters.items().front(), 201).value_or("");
      if (delimiters.isText()) between = delimiters.asText();
      std::string joined;
      bool first = true;
      for (const auto& item : value.items()) {
        if (!first) joined += between;
        first = false;
        if (item.isText()) {
          joined += item.asText();
          continue;
        }
        // A list of an application's objects has no text; asking for each would be no answer but a flood.
        const auto plain = item.is(Kind::Specifier) ? dereferenced(item) : item;
        const auto text = tryText(plain, depth + 1);
        if (!text) return std::nullopt;
        joined += *text;
      }
      return joined;
    }
    default:
      return std::nullopt;
  }
}

std::string Evaluator::toText(const Value& value) {
  const auto plain = operand(value);
  if (auto text = tryText(plain)) return std::move(*text);
  cannotMake(plain, code("ctxt"));
}

Value Evaluator::toNumber(const Value& value) {
  if (value.isNumber()) return value;
  const auto plain = operand(value);
  if (auto number = tryCoerce(plain, code("nmbr"))) return *number;
  cannotMake(plain, code("nmbr"));
}

bool Evaluator::toBoolean(const Value& value) {
  if (value.is(Kind::Boolean)) return value.asBoolean();
  const auto plain = operand(value);
  if (const auto truth = tryCoerce(plain, code("bool"))) return truth->asBoolean();
  cannotMake(plain, code("bool"));
}

std::int64_t Evaluator::toInteger(const Value& value) {
  if (value.is(Kind::Integer)) return value.asInteger();
  const auto plain = operand(value);
  const auto number = tryCoerce(plain, code("long"));
  if (!number || !number->is(Kind::Integer)) cannotMake(plain, code("long"));
  return number->asInteger();
}

Value Evaluator::coerce(const Value& value, Code type, const Value& typeValue) {
  if (type == code("obj ") && value.is(Kind::Specifier)) return value;
  if (auto made = tryCoerce(value, type)) return *made;
  const auto plain = operand(value);
  if (typeValue.is(Kind::ClassName) || typeValue.isNothing()) cannotMake(plain, type);
  // `x as y` where y is no class at all.
  raise(error::wrongType, wording(error::wrongType, {sourceForm(typeValue)}), typeValue);
}

std::optional<Value> Evaluator::tryCoerce(const Value& original, Code type) {
  auto value = operand(original);
  if (type == code("****") || type == code("cobj") || classOf(value) == type) return value;
  if (isTextType(type)) {
    if (auto text = tryText(value)) return Value::text(std::move(*text));
    return std::nullopt;
  }
  if (type == code("list")) {
    if (!value.isRecord()) return value.isList() ? value : Value::list({value});
    std::vector<Value> items;
    for (const auto& field : value.fields()) items.push_back(field.second);
    return Value::list(std::move(items));
  }
  // A list of one gives what its item gives.
  if (value.isList()) {
    return value.items().size() == 1 && !value.items().front().isList()
               ? tryCoerce(value.items().front(), type)
               : std::nullopt;
  }
  const bool wantsNumber = type == code("nmbr") || type == code("long") || type == code("doub");
  if (wantsNumber) {
    std::optional<Value> number;
    if (value.isNumber()) number = value;
    if (value.is(Kind::Boolean)) number = Value::integer(value.asBoolean() ? 1 : 0);
    if (value.isText()) number = parseNumber(value.asText());
    if (value.is(Kind::Constant)) {
      const auto position = monthOf(value.asCode()) + weekdayOf(value.asCode());
      if (position > 0) number = Value::integer(position);
    }
    if (!number) return std::nullopt;
    if (type == code("long")) return number->is(Kind::Integer) ? *number : roundedNumber(number->asReal());
    if (type == code("doub")) return Value::real(number->asReal());
    return number;
  }
  if (type == code("bool")) {
    if (value.isText()) {
      if (texts_.equal(value.asText(), "true")) return Value::boolean(true);
      if (texts_.equal(value.asText(), "false")) return Value::boolean(false);
    }
    if (value.isNumber() && (value.asReal() == 0 || value.asReal() == 1))
      return Value::boolean(value.asReal() == 1);
    return std::nullopt;
  }
  if (type == code("ldt ") && value.isText()) {
    if (const auto date = parseDate(value.asText(), localNow())) return Value::date(*date);
  }
  return std::nullopt;
}

namespace {

// Copies what can be changed, each object once, so that a list that holds itself stays one.
class Copier {
 public:
  explicit Copier(const char* stackStart, std::size_t stackBytes)
      : stackStart_(stackStart), stackBytes_(stackBytes) {}

  // False when the nesting is too deep.
  bool tooDeep() const { return tooDeep_; }

  Value copy(const Value& value) {
    switch (value.kind()) {
      case Kind::Date:
        return once(value, [&] { return Value::date(value.asDate()); });
      case Kind::List:
      case Kind::Record:
      case Kind::Script:
        break;
      default:
        return value;
    }
    if (const auto known = done_.find(&value.as<HeapObject>()); known != done_.end()) return known->second;
    if (stackUsedSince(stackStart_) > stackBytes_) {
      tooDeep_ = true;
      return value;
    }
    if (value.is(Kind::List)) {
      auto fresh = Value::list(value.items());
      done_.emplace(&value.as<HeapObject>(), fresh);
      for (std::size_t i = 0; i < value.items().size(); ++i)
        fresh.as<ListObject>().set(i, copy(value.items()[i]));
      return fresh;
    }
    if (value.is(Kind::Record)) {
      auto fresh = Value::record(value.fields());
      done_.emplace(&value.as<HeapObject>(), fresh);
      for (const auto& [name, field] : value.fields()) fresh.as<RecordObject>().set(name, copy(field));
      return fresh;
    }
    const auto& script = value.as<ScriptInstance>();
    auto instance = make<ScriptInstance>(script.node, script.outer.get(), script.globals);
    auto fresh = Value::object(Kind::Script, instance);
    done_.emplace(&value.as<HeapObject>(), fresh);
    instance->parent = script.parent;
    instance->captures = script.captures;
    for (std::size_t i = 0; i < script.slots.size(); ++i) instance->slots[i] = copy(script.slots[i]);
    return fresh;
  }

 private:
  template <class Make>
  Value once(const Value& value, Make create) {
    const auto [known, added] = done_.try_emplace(&value.as<HeapObject>());
    if (added) known->second = create();
    return known->second;
  }

  const char* stackStart_;
  std::size_t stackBytes_;
  bool tooDeep_ = false;
  std::unordered_map<const HeapObject*, Value> done_;
};

}  // namespace

Value Evaluator::copy(const Value& value) {
  Copier copier(stackStart_, stackBytes_);
  auto result = copier.copy(dereferenced(value));
  if (copier.tooDeep()) raise(error::stackOverflow, wording(error::stackOverflow));
  return result;
}

}  // namespace quillbox::applescript

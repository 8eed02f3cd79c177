// Expressions: variables, literals, operators.
#include <cmath>
#include <optional>

#include "applescript/evaluator.h"
#include "applescript/in_place.h"
#include "applescript/numbers.h"
#include "applescript/objects.h"
#include "applescript/printing.h"

namespace quillbox::applescript {

Value Evaluator::eval(const Node& node) {
  switch (node.kind) {
    case NodeKind::Literal:
      return static_cast<const LiteralNode&>(node).value;
    case NodeKind::Variable:
      return readVariable(static_cast<const VariableNode&>(node));
    case NodeKind::Binary:
      return evalBinary(static_cast<const BinaryNode&>(node));
    case NodeKind::Call:
      return evalCall(static_cast<const CallNode&>(node));
    case NodeKind::Property: {
      const auto& property = static_cast<const PropertyNode&>(node);
      auto container = containerOf(property.container.get());
      site_ = &node;
      if (property.otherwise.isNothing() || property.container) return access(property, std::move(container));
      return propertyOrClass(property, std::move(container));
    }
    case NodeKind::Element: {
      const auto& element = static_cast<const ElementNode&>(node);
      if (element.isItemOfVariable) {
        if (const auto* item = itemInPlace(element)) return *item;
      }
      auto container = containerOf(element.container.get());
      site_ = &node;
      const bool symbolic = isApplicationReference(container);
      auto value = access(element, std::move(container));
      return symbolic && applicationOf(value) ? getFrom(value) : value;
    }
    case NodeKind::List:
      return evalList(static_cast<const ListNode&>(node));
    case NodeKind::Record:
      return evalRecord(static_cast<const RecordNode&>(node));
    case NodeKind::It:
      return frame_->it;
    case NodeKind::Me:
      return frame_->me;
    case NodeKind::Result:
      if (frame_->result.isNothing()) {
        site_ = &node;
        raise(error::notDefined, wording(error::notDefined, {"result"}));
      }
      return frame_->result;
    case NodeKind::LanguageObject:
      return Value::className(code("ascr"));
    case NodeKind::Negate:
      return evalNegate(static_cast<const UnaryNode&>(node));
    case NodeKind::Not:
      return Value::boolean(!truth(*static_cast<const UnaryNode&>(node).operand));
    case NodeKind::Concat: {
      const auto& concatenation = static_cast<const ConcatNode&>(node);
      return evalConcat(concatenation, needed(eval(*concatenation.operands.front())), 1);
    }
    case NodeKind::Coerce:
      return evalCoerce(static_cast<const CoerceNode&>(node));
    case NodeKind::Point:
      return evalPoint(static_cast<const PointNode&>(node));
    case NodeKind::ReferenceTo:
      return referenceTo(*static_cast<const UnaryNode&>(node).operand);
    case NodeKind::Application:
      return evalApplication(static_cast<const ApplicationNode&>(node));
    case NodeKind::LabelledCall:
      return evalLabelledCall(static_cast<const LabelledCallNode&>(node));
    case NodeKind::Command:
      return evalCommand(static_cast<const CommandNode&>(node));
    case NodeKind::Continue:
      return evalContinue(static_cast<const UnaryNode&>(node));
    case NodeKind::Script:
      return execScript(static_cast<const ScriptNode&>(node));
    default:
      break;
  }
  fatal("a statement stands where an expression should");
}

// For places that cannot do without a value.
Value Evaluator::needed(Value value) {
  if (value.isNothing()) raise(error::noResult, wording(error::noResult));
  return value;
}

// What is neither of the frame nor of the run.
Value* Evaluator::distantSlot(const Location& location) {
  switch (location.kind) {
    case Location::Kind::Cell:
      return &frame_->slots[location.slot].as<CellObject>().value;
    case Location::Kind::Property:
    case Location::Kind::Capture: {
      auto* script = frame_->home;
      for (auto hops = location.hops; hops > 0 && script; --hops) script = script->outer.get();
      if (!script) return nullptr;
      return location.kind == Location::Kind::Property ? &script->slots[location.slot]
                                                       : &script->captures[location.slot]->value;
    }
    default:
      return nullptr;
  }
}

Value Evaluator::readVariable(const VariableNode& node) {
  if (const auto* slot = variableSlot(node.location)) {
    if (!slot->isNothing()) return *slot;
    site_ = &node;
    raise(error::notDefined, wording(error::notDefined, {node.name.text()}),
          Value::text(std::string(node.name.text())));
  }
  site_ = &node;
  return readDynamic(node.name);
}

// A name that the source does not place: a property of a parent, a handler, a constant of the language.
Value Evaluator::readDynamic(const Name& name) {
  for (const Value& start : {frame_->me, frame_->it}) {
    if (!start.is(Kind::Script)) continue;
    bool found = false;
    auto value = scriptProperty(start, name, found, Members::Declared);
    if (found) return value;
  }
  if (frame_->home) {
    if (const auto found = findHandlerAround(frame_->home, name); found.handler)
      return Value::object(Kind::Handler, make<HandlerObject>(*found.handler, found.home));
  }
  if (frame_->it.isRecord()) {
    if (const auto* value = frame_->it.as<RecordObject>().find(name)) return *value;
  }
  if (name.folded() == "days") return Value::integer(86400);
  if (name.folded() == "weeks") return Value::integer(604800);
  raise(error::notDefined, wording(error::notDefined, {name.text()}), Value::text(std::string(name.text())));
}

Value Evaluator::evalList(const ListNode& node) {
  struct Restore {
    Value& it;
    Value previous;
    ~Restore() { it.swap(previous); }
  } restore{frame_->it, frame_->it};
  if (node.container) frame_->it = containerOf(node.container.get());
  std::vector<Value> items;
  items.reserve(node.items.size());
  for (const auto& item : node.items) items.push_back(needed(eval(*item)));
  return Value::list(std::move(items));
}

Value Evaluator::evalRecord(const RecordNode& node) {
  Value::Fields fields;
  fields.reserve(node.fields.size());
  for (const auto& [name, value] : node.fields) {
    auto field = needed(eval(*value));
    bool known = false;
    for (auto& [key, old] : fields) {
      if (!(key == name)) continue;
      old = field;
      known = true;
    }
    if (!known) fields.emplace_back(name, std::move(field));
  }
  return Value::record(std::move(fields));
}

Value Evaluator::evalConcat(const ConcatNode& node, Value first, std::size_t from) {
  for (std::size_t i = from; i < node.operands.size(); ++i) {
    const auto next = needed(eval(*node.operands[i]));
    site_ = &node;
    first = concat(std::move(first), next);
  }
  return first;
}

bool Evaluator::truthOfAny(const Node& node) {
  if (node.kind == NodeKind::Binary) {
    const auto& binary = static_cast<const BinaryNode&>(node);
    if (binary.operation == Operator::And) return truth(*binary.left) && truth(*binary.right);
    if (binary.operation == Operator::Or) return truth(*binary.left) || truth(*binary.right);
  }
  const auto value = eval(node);
  if (value.is(Kind::Boolean)) return value.asBoolean();
  site_ = &node;
  return toBoolean(needed(value));
}

Value Evaluator::evalNegate(const UnaryNode& node) {
  const auto value = toNumber(needed(eval(*node.operand)));
  if (value.is(Kind::Integer)) return wholeNumber(-value.asInteger());
  return Value::real(-value.asReal());
}

Value Evaluator::evalBinary(const BinaryNode& node) {
  if (node.operation == Operator::And || node.operation == Operator::Or) return Value::boolean(truth(node));
  const auto* leftPlace = inPlace(*node.left);
  if (const auto* rightPlace = leftPlace ? inPlace(*node.right) : nullptr) {
    if (auto result = ofNumbers(node.operation, *leftPlace, *rightPlace); !result.isNothing()) return result;
  }
  // Held, for what stands on the right may change the variable on the left.
  const Value left = leftPlace ? *leftPlace : eval(*node.left);
  const Value right = eval(*node.right);
  if (auto result = ofNumbers(node.operation, left, right); !result.isNothing()) return result;
  site_ = &node;
  if (left.isNothing() || right.isNothing()) raise(error::noResult, wording(error::noResult));
  if (node.operation <= Operator::Power) return arithmetic(node.operation, left, right);
  return Value::boolean(compare(node.operation, left, right));
}

Value Evaluator::evalCoerce(const CoerceNode& node) {
  auto value = needed(eval(*node.operand));
  const auto type = eval(*node.type);
  site_ = &node;
  if (type.isList()) {
    // The first class of several that the value can be made into.
    for (const auto& candidate : type.items()) {
      if (auto made = tryCoerce(value, candidate.asCode())) return *made;
    }
    cannotMake(value, type.items().empty() ? code("****") : type.items().front().asCode());
  }
  return coerce(value, type.asCode(), type);
}

}  // namespace quillbox::applescript

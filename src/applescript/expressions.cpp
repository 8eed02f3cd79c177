// Expressions: variables, literals, operators.
#include <cmath>
#include <optional>

#include "applescript/evaluator.h"
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
      if (const auto* list = listOfItem(element)) {
        // item i of xs
        Value temporary;
        const auto& key = peek(*element.key, temporary);
        const auto at = key.asInteger() - 1;
        list = variableHere(*element.container);
        if (key.is(Kind::Integer) && list && at >= 0 && at < static_cast<std::int64_t>(list->items().size()))
          return list->items()[static_cast<std::size_t>(at)];
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

Value* Evaluator::variableSlot(const Location& location) {
  switch (location.kind) {
    case Location::Kind::Local:
      return &frame_->slots[location.slot];
    case Location::Kind::Global:
      return &frame_->globals[location.slot];
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
    case Location::Kind::Dynamic:
      return nullptr;
  }
  return nullptr;
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

bool Evaluator::truth(const Node& node) {
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

const Value* Evaluator::variableHere(const Node& node) {
  if (node.kind != NodeKind::Variable) return nullptr;
  const auto* slot = variableSlot(static_cast<const VariableNode&>(node).location);
  return slot && !slot->isNothing() ? slot : nullptr;
}

const Value& Evaluator::peek(const Node& node, Value& temporary) {
  if (node.kind == NodeKind::Literal) return static_cast<const LiteralNode&>(node).value;
  if (const auto* value = variableHere(node)) return *value;
  temporary = eval(node);
  return temporary;
}

namespace {

bool isSimple(const Node& node) {
  return node.kind == NodeKind::Literal || node.kind == NodeKind::Variable;
}

}  // namespace

const Value* Evaluator::listOfItem(const ElementNode& node) {
  if (node.form != SpecifierForm::Index || node.classCode != code("cobj") || !node.container || node.test)
    return nullptr;
  // A key that may be computed again when this turns out not to be the common case.
  const auto& key = *node.key;
  const bool again =
      isSimple(key) || (key.kind == NodeKind::Binary && isSimple(*static_cast<const BinaryNode&>(key).left) &&
                        isSimple(*static_cast<const BinaryNode&>(key).right));
  if (!again) return nullptr;
  const auto* list = variableHere(*node.container);
  return list && list->isList() ? list : nullptr;
}

namespace {

// Arithmetic and order of two numbers; nullopt leaves the rest (other operators, overflow, division by zero)
// to others.
std::optional<Value> ofNumbers(Operator operation, const Value& left, const Value& right) {
  if (left.is(Kind::Integer) && right.is(Kind::Integer)) {
    const auto a = left.asInteger();
    const auto b = right.asInteger();
    std::int64_t exact = 0;
    switch (operation) {
      case Operator::Add:
        if (!__builtin_add_overflow(a, b, &exact)) return wholeNumber(exact);
        return std::nullopt;
      case Operator::Subtract:
        if (!__builtin_sub_overflow(a, b, &exact)) return wholeNumber(exact);
        return std::nullopt;
      case Operator::Multiply:
        if (!__builtin_mul_overflow(a, b, &exact)) return wholeNumber(exact);
        return std::nullopt;
      case Operator::IntegerDivide:
        if (b > 0) return wholeNumber(a / b);
        return std::nullopt;
      case Operator::Modulo:
        if (b > 0) return Value::integer(a % b);
        return std::nullopt;
      case Operator::Less:
        return Value::boolean(a < b);
      case Operator::LessOrEqual:
        return Value::boolean(a <= b);
      case Operator::Greater:
        return Value::boolean(a > b);
      case Operator::GreaterOrEqual:
        return Value::boolean(a >= b);
      case Operator::Equal:
        return Value::boolean(a == b);
      case Operator::NotEqual:
        return Value::boolean(a != b);
      default:
        return std::nullopt;
    }
  }
  const double a = left.asReal();
  const double b = right.asReal();
  double real = 0;
  switch (operation) {
    case Operator::Add:
      real = a + b;
      break;
    case Operator::Subtract:
      real = a - b;
      break;
    case Operator::Multiply:
      real = a * b;
      break;
    case Operator::Less:
      return Value::boolean(a < b);
    case Operator::LessOrEqual:
      return Value::boolean(a <= b);
    case Operator::Greater:
      return Value::boolean(a > b);
    case Operator::GreaterOrEqual:
      return Value::boolean(a >= b);
    case Operator::Equal:
      return Value::boolean(a == b);
    case Operator::NotEqual:
      return Value::boolean(a != b);
    default:
      return std::nullopt;
  }
  if (!std::isfinite(real)) return std::nullopt;
  return Value::real(real);
}

}  // namespace

Value Evaluator::evalBinary(const BinaryNode& node) {
  if (node.operation == Operator::And) return Value::boolean(truth(*node.left) && truth(*node.right));
  if (node.operation == Operator::Or) return Value::boolean(truth(*node.left) || truth(*node.right));
  Value leftTemporary;
  Value rightTemporary;
  // The left variable may be looked at in place unless what stands on the right could change it.
  const bool simple = isSimple(*node.right);
  if (!simple) leftTemporary = eval(*node.left);
  const Value& left = simple ? peek(*node.left, leftTemporary) : leftTemporary;
  const Value& right = peek(*node.right, rightTemporary);
  if (left.isNumber() && right.isNumber()) {
    if (auto result = ofNumbers(node.operation, left, right)) return std::move(*result);
  }
  site_ = &node;
  if (left.isNothing() || right.isNothing()) raise(error::noResult, wording(error::noResult));
  // Held, for the operators may ask an application, and that a handler.
  const Value heldLeft = left;
  const Value heldRight = right;
  if (node.operation <= Operator::Power) return arithmetic(node.operation, heldLeft, heldRight);
  return Value::boolean(compare(node.operation, heldLeft, heldRight));
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

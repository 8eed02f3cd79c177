// Reading values where they lie: what most expressions of a loop are made of, without copying or counting.
#pragma once

#include <array>
#include <cmath>

#include "applescript/evaluator.h"
#include "applescript/numbers.h"
#include "applescript/objects.h"

namespace quillbox::applescript {

// Which orders of the operands make a comparison true: bit 0 below, bit 1 equal, bit 2 above. 0 for what is
// not a comparison. A table, since a jump for each operator would be guessed wrongly in every other loop.
constexpr auto kTrueOrders = [] {
  std::array<std::uint8_t, static_cast<std::size_t>(Operator::Or) + 1> orders{};
  const auto put = [&](Operator operation, std::uint8_t bits) {
    orders[static_cast<std::size_t>(operation)] = bits;
  };
  put(Operator::Less, 1);
  put(Operator::Equal, 2);
  put(Operator::LessOrEqual, 3);
  put(Operator::Greater, 4);
  put(Operator::NotEqual, 5);
  put(Operator::GreaterOrEqual, 6);
  return orders;
}();

constexpr bool isComparison(Operator operation) {
  return kTrueOrders[static_cast<std::size_t>(operation)] != 0;
}

template <class Number>
constexpr bool compared(Operator operation, Number a, Number b) {
  const auto order = static_cast<unsigned>(1 + (a > b) - (a < b));
  return (kTrueOrders[static_cast<std::size_t>(operation)] >> order & 1U) != 0;
}

// Arithmetic and order of two numbers; Nothing leaves the rest (other operators, overflow, division by zero)
// to others.
inline Value ofNumbers(Operator operation, const Value& left, const Value& right) {
  if (left.is(Kind::Integer) && right.is(Kind::Integer)) {
    const auto a = left.asInteger();
    const auto b = right.asInteger();
    std::int64_t exact = 0;
    switch (operation) {
      case Operator::Add:
        return __builtin_add_overflow(a, b, &exact) ? Value() : wholeNumber(exact);
      case Operator::Subtract:
        return __builtin_sub_overflow(a, b, &exact) ? Value() : wholeNumber(exact);
      case Operator::Multiply:
        return __builtin_mul_overflow(a, b, &exact) ? Value() : wholeNumber(exact);
      case Operator::IntegerDivide:
        return b > 0 ? wholeNumber(a / b) : Value();
      case Operator::Modulo:
        return b > 0 ? Value::integer(a % b) : Value();
      default:
        return isComparison(operation) ? Value::boolean(compared(operation, a, b)) : Value();
    }
  }
  if (!left.isNumber() || !right.isNumber()) return {};
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
    default:
      return isComparison(operation) ? Value::boolean(compared(operation, a, b)) : Value();
  }
  return std::isfinite(real) ? Value::real(real) : Value();
}

// The place in a list that a key names, from 1; 0 when it is not one that can be read here.
inline std::int64_t Evaluator::indexInPlace(const Node& key) {
  const auto integer = [this](const Node& node) -> const Value* {
    if (node.kind == NodeKind::Literal) return &static_cast<const LiteralNode&>(node).value;
    return node.kind == NodeKind::Variable ? variableSlot(static_cast<const VariableNode&>(node).location)
                                           : nullptr;
  };
  if (const auto* value = integer(key)) return value->asInteger();
  if (key.kind != NodeKind::Binary) return 0;
  const auto& sum = static_cast<const BinaryNode&>(key);
  const auto* left = integer(*sum.left);
  const auto* right = integer(*sum.right);
  if (!left || !right || !left->is(Kind::Integer) || !right->is(Kind::Integer)) return 0;
  // Integers of scripts are far from the ends of 64 bits.
  return sum.operation == Operator::Add ? left->asInteger() + right->asInteger()
                                        : left->asInteger() - right->asInteger();
}

inline Value* Evaluator::itemInPlace(const ElementNode& node) {
  const auto* list = variableSlot(static_cast<const VariableNode&>(*node.container).location);
  if (!list || !list->isList()) return nullptr;
  auto& items = list->as<ListObject>();
  const auto index = indexInPlace(*node.key);
  if (index < 1 || static_cast<std::size_t>(index) > items.items().size()) return nullptr;
  return &items.at(static_cast<std::size_t>(index) - 1);
}

inline const Value* Evaluator::inPlace(const Node& node) {
  switch (node.kind) {
    case NodeKind::Literal:
      return &static_cast<const LiteralNode&>(node).value;
    case NodeKind::Variable: {
      const auto* slot = variableSlot(static_cast<const VariableNode&>(node).location);
      return slot && !slot->isNothing() ? slot : nullptr;
    }
    case NodeKind::Element: {
      const auto& element = static_cast<const ElementNode&>(node);
      return element.isItemOfVariable ? itemInPlace(element) : nullptr;
    }
    default:
      return nullptr;
  }
}

inline bool Evaluator::truth(const Node& node) {
  if (node.kind == NodeKind::Binary) {
    const auto& binary = static_cast<const BinaryNode&>(node);
    if (isComparison(binary.operation)) {
      const auto* left = inPlace(*binary.left);
      const auto* right = left ? inPlace(*binary.right) : nullptr;
      if (right && left->is(Kind::Integer) && right->is(Kind::Integer))
        return compared(binary.operation, left->asInteger(), right->asInteger());
    }
  }
  return truthOfAny(node);
}

// `set i to i + 1` and its like, where all are integers: nothing has to be let go of. False when it is not
// that.
inline bool Evaluator::countInPlace(const SetNode& node) {
  const auto& sum = static_cast<const BinaryNode&>(*node.value);
  if (sum.operation != Operator::Add && sum.operation != Operator::Subtract) return false;
  auto* slot = variableSlot(static_cast<const VariableNode&>(*node.target).location);
  if (!slot || !slot->is(Kind::Integer)) return false;
  const auto* left = inPlace(*sum.left);
  const auto* right = left ? inPlace(*sum.right) : nullptr;
  if (!right || !left->is(Kind::Integer) || !right->is(Kind::Integer)) return false;
  const auto result = sum.operation == Operator::Add ? left->asInteger() + right->asInteger()
                                                     : left->asInteger() - right->asInteger();
  return slot->replaceInteger(result, kLargestInteger);
}

}  // namespace quillbox::applescript

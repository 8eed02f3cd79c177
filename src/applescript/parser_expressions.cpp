// Operators and their precedence.
#include "applescript/parser.h"

namespace quillbox::applescript {

namespace {

constexpr int kOr = 1;
constexpr int kAnd = 2;
constexpr int kEquality = 4;
constexpr int kComparison = 5;
constexpr int kCoercion = 6;
constexpr int kConcat = 7;
constexpr int kSum = 8;
constexpr int kProduct = 9;
constexpr int kPower = 10;

struct SymbolOperator {
  std::string_view symbol;
  Operator operation;
  int precedence;
};

constexpr SymbolOperator kSymbols[] = {
    {"=", Operator::Equal, kEquality},
    {"≠", Operator::NotEqual, kEquality},
    {"<", Operator::Less, kComparison},
    {"≤", Operator::LessOrEqual, kComparison},
    {">", Operator::Greater, kComparison},
    {"≥", Operator::GreaterOrEqual, kComparison},
    {"+", Operator::Add, kSum},
    {"-", Operator::Subtract, kSum},
    {"*", Operator::Multiply, kProduct},
    {"/", Operator::Divide, kProduct},
    {"^", Operator::Power, kPower},
};

// What a comparison means when `not` stands before it.
Operator negated(Operator operation) {
  switch (operation) {
    case Operator::Equal:
      return Operator::NotEqual;
    case Operator::Less:
      return Operator::GreaterOrEqual;
    case Operator::LessOrEqual:
      return Operator::Greater;
    case Operator::Greater:
      return Operator::LessOrEqual;
    case Operator::GreaterOrEqual:
      return Operator::Less;
    case Operator::Contains:
      return Operator::NotContains;
    case Operator::IsIn:
      return Operator::IsNotIn;
    case Operator::BeginsWith:
      return Operator::NotBeginsWith;
    case Operator::EndsWith:
      return Operator::NotEndsWith;
    default:
      return operation;
  }
}

}  // namespace

std::optional<Parser::OperatorMatch> Parser::operatorHere() const {
  const auto& here = token();
  if (here.kind == TokenKind::Symbol) {
    if (here.text == "&") return OperatorMatch{Operator::Add, kConcat, 1, true, false};
    for (const auto& row : kSymbols) {
      if (here.text == row.symbol) return OperatorMatch{row.operation, row.precedence, 1};
    }
    return std::nullopt;
  }
  return here.kind == TokenKind::Word ? wordOperator() : std::nullopt;
}

std::optional<Parser::OperatorMatch> Parser::wordOperator() const {
  std::size_t n = 0;
  const auto accept = [&](std::string_view word) {
    if (!isWord(word, n)) return false;
    ++n;
    return true;
  };
  const auto result = [&](Operator operation, int precedence) {
    return OperatorMatch{operation, precedence, n};
  };
  if (accept("and")) return result(Operator::And, kAnd);
  if (accept("or")) return result(Operator::Or, kOr);
  if (accept("div")) return result(Operator::IntegerDivide, kProduct);
  if (accept("mod")) return result(Operator::Modulo, kProduct);
  if (accept("as")) {
    auto match = result(Operator::Add, kCoercion);
    match.isCoercion = true;
    return match;
  }
  // "[or] equal [to]" behind a comparison that it weakens.
  const auto orEqual = [&] {
    const auto before = n;
    if (accept("or") && (accept("equal") || accept("equals"))) {
      accept("to");
      return true;
    }
    n = before;
    return false;
  };
  const auto ordering = [&]() -> std::optional<Operator> {
    const auto before = n;
    if (accept("less") && accept("than")) return orEqual() ? Operator::LessOrEqual : Operator::Less;
    n = before;
    if (accept("greater") && accept("than")) return orEqual() ? Operator::GreaterOrEqual : Operator::Greater;
    n = before;
    return std::nullopt;
  };
  bool negative = false;
  if (accept("does")) {
    if (!accept("not")) return std::nullopt;
    negative = true;
  } else if (accept("doesn't")) {
    negative = true;
  }
  const auto signedResult = [&](Operator operation, int precedence) {
    return result(negative ? negated(operation) : operation, precedence);
  };
  if (n == 0 && (isWord("is") || isWord("isn't"))) {
    negative = isWord("isn't");
    ++n;
    if (!negative && accept("not")) negative = true;
    const auto afterNot = n;
    if (const auto order = ordering()) return signedResult(*order, kComparison);
    if (accept("equal")) {
      accept("to");
      return signedResult(Operator::Equal, kEquality);
    }
    if (accept("in")) return signedResult(Operator::IsIn, kComparison);
    if (accept("contained") && accept("by")) return signedResult(Operator::IsIn, kComparison);
    n = afterNot;
    return signedResult(Operator::Equal, kEquality);
  }
  if (accept("equals")) return signedResult(Operator::Equal, kEquality);
  if (accept("equal")) {
    accept("to");
    return signedResult(Operator::Equal, kEquality);
  }
  if (accept("contains") || accept("contain")) return signedResult(Operator::Contains, kComparison);
  const auto start = n;
  if ((accept("starts") || accept("start") || accept("begins") || accept("begin")) && accept("with"))
    return signedResult(Operator::BeginsWith, kComparison);
  n = start;
  if ((accept("ends") || accept("end")) && accept("with"))
    return signedResult(Operator::EndsWith, kComparison);
  n = start;
  if (accept("comes") || accept("come")) {
    if (accept("before")) return signedResult(Operator::Less, kComparison);
    if (accept("after")) return signedResult(Operator::Greater, kComparison);
  }
  n = start;
  if (!negative) {
    if (const auto order = ordering()) return result(*order, kComparison);
  }
  return std::nullopt;
}

NodePtr Parser::expression(Stops stops) {
  return binary(kOr, stops);
}

NodePtr Parser::binary(int minimum, Stops stops) {
  auto left = unary(stops);
  for (;;) {
    const auto match = operatorHere();
    if (!match || match->precedence < minimum) return left;
    std::size_t words = 0;
    if (match->isCoercion && stops.command && parameterLabel(*stops.command, words)) return left;
    const auto& place = token();
    at_ += match->words;
    const bool equality = match->operation == Operator::Equal || match->operation == Operator::NotEqual;
    if (equality && (left->kind == NodeKind::Application || left->kind == NodeKind::It) &&
        isWord("running") && !isOf(stops, 1)) {
      // `application "Mail" is running` asks for a property.
      ++at_;
      auto property = build<PropertyNode>(place, Name("running", code("prun")));
      deepen(*property, left.get());
      property->container = std::move(left);
      left = std::move(property);
      if (match->operation == Operator::NotEqual)
        left = build<UnaryNode>(place, NodeKind::Not, std::move(left));
      continue;
    }
    if (match->isCoercion) {
      auto node = build<CoerceNode>(place, nullptr, typeName());
      deepen(*node, left.get());
      node->operand = std::move(left);
      left = std::move(node);
      continue;
    }
    // The power associates to the right.
    auto right = binary(match->operation == Operator::Power ? kPower : match->precedence + 1, stops);
    if (match->isConcat) {
      if (left->kind == NodeKind::Concat) {
        deepen(*left, right.get());
        static_cast<ConcatNode&>(*left).operands.push_back(std::move(right));
        continue;
      }
      auto node = build<ConcatNode>(place);
      deepen(*node, left.get());
      deepen(*node, right.get());
      node->operands.push_back(std::move(left));
      node->operands.push_back(std::move(right));
      left = std::move(node);
      continue;
    }
    auto node = build<BinaryNode>(place, match->operation, nullptr, nullptr);
    deepen(*node, left.get());
    deepen(*node, right.get());
    node->left = std::move(left);
    node->right = std::move(right);
    left = std::move(node);
    if (match->precedence == kEquality || match->precedence == kComparison) {
      const auto next = operatorHere();
      if (next && next->precedence == match->precedence) wrong("end of line, etc.");
    }
  }
}

NodePtr Parser::unary(Stops stops) {
  guardStack();
  const auto& start = token();
  if (acceptSymbol("-")) {
    auto operand = unary(stops);
    if (operand->kind == NodeKind::Literal) {
      auto& value = static_cast<LiteralNode&>(*operand).value;
      if (value.is(Kind::Integer))
        value = Value::integer(-value.asInteger());
      else if (value.is(Kind::Real))
        value = Value::real(-value.asReal());
      if (value.isNumber()) return operand;
    }
    return build<UnaryNode>(start, NodeKind::Negate, std::move(operand));
  }
  if (acceptSymbol("+")) return unary(stops);
  if (acceptWord("not")) return build<UnaryNode>(start, NodeKind::Not, binary(kEquality, stops));
  return reference(stops);
}

}  // namespace quillbox::applescript

// Arithmetic and concatenation.
#include <cmath>

#include "applescript/evaluator.h"
#include "applescript/lexer.h"
#include "applescript/numbers.h"
#include "applescript/objects.h"
#include "applescript/printing.h"

namespace quillbox::applescript {

// The value behind any reference, so that operators look through it.
Value Evaluator::operand(Value value) {
  if (!value.is(Kind::Specifier)) return value;
  value = dereferenced(value);
  return isApplicationReference(value) && value.is(Kind::Specifier) ? getFrom(value) : value;
}

Value Evaluator::arithmetic(Operator operation, const Value& leftValue, const Value& rightValue) {
  const auto left = operand(leftValue);
  const auto right = operand(rightValue);
  if (left.is(Kind::Date)) {
    if (operation == Operator::Subtract && right.is(Kind::Date))
      return wholeNumber(left.asDate() - right.asDate());
    if (operation == Operator::Add || operation == Operator::Subtract) {
      const double seconds = std::round(toNumber(right).asReal());
      if (std::fabs(seconds) > 1e12) raise(error::numberTooLarge, wording(error::numberTooLarge));
      const auto whole = static_cast<std::int64_t>(seconds);
      return Value::date(left.asDate() + (operation == Operator::Add ? whole : -whole));
    }
    cannotMake(left, code("nmbr"));
  }
  const auto a = toNumber(left);
  const auto b = toNumber(right);
  const bool whole = a.is(Kind::Integer) && b.is(Kind::Integer);
  const double x = a.asReal();
  const double y = b.asReal();
  const auto divisor = [&] {
    if (y == 0) raise(error::divideByZero, wording(error::divideByZero, {formatReal(x)}), a);
  };
  const auto finite = [&](double value) {
    if (!std::isfinite(value)) raise(error::numberTooLarge, wording(error::numberTooLarge));
    return Value::real(value);
  };
  std::int64_t exact = 0;
  switch (operation) {
    case Operator::Add:
      if (whole && !__builtin_add_overflow(a.asInteger(), b.asInteger(), &exact)) return wholeNumber(exact);
      return finite(x + y);
    case Operator::Subtract:
      if (whole && !__builtin_sub_overflow(a.asInteger(), b.asInteger(), &exact)) return wholeNumber(exact);
      return finite(x - y);
    case Operator::Multiply:
      if (whole && !__builtin_mul_overflow(a.asInteger(), b.asInteger(), &exact)) return wholeNumber(exact);
      return finite(x * y);
    case Operator::Divide:
      divisor();
      return finite(x / y);
    case Operator::IntegerDivide:
      divisor();
      if (whole && b.asInteger() != -1) return wholeNumber(a.asInteger() / b.asInteger());
      return roundedNumber(std::trunc(x / y));
    case Operator::Modulo:
      divisor();
      if (whole) return Value::integer(b.asInteger() == -1 ? 0 : a.asInteger() % b.asInteger());
      return finite(std::fmod(x, y));
    case Operator::Power:
      return finite(std::pow(x, y));
    default:
      fatal("an operator that is not arithmetic");
  }
}

// What `& more` adds to a list: of a list and of a record what they hold, of anything else itself.
void Evaluator::extend(ListObject& list, const Value& more) {
  if (more.isList()) {
    list.reserveAndAppend(more.items());
  } else if (more.isRecord()) {
    for (const auto& [name, value] : more.fields()) list.append(value);
  } else {
    list.append(more);
  }
}

Value Evaluator::concat(Value left, const Value& rightValue) {
  left = operand(std::move(left));
  const auto right = operand(rightValue);
  if (left.isText()) {
    std::string converted;
    std::string_view more;
    if (right.isText()) {
      more = right.asText();
    } else if (auto text = tryText(right)) {
      converted = std::move(*text);
      more = converted;
    } else {
      auto both = Value::list({left});
      extend(both.as<ListObject>(), right);
      return both;
    }
    auto& text = left.as<TextObject>();
    if (!text.isShared()) {
      text.append(more);
      return left;
    }
    std::string joined;
    joined.reserve(text.utf8().size() + more.size());
    joined += text.utf8();
    joined += more;
    return Value::text(std::move(joined));
  }
  if (left.isRecord() && right.isRecord()) {
    auto fields = left.fields();
    auto merged = make<RecordObject>(std::move(fields));
    for (const auto& [name, value] : right.fields()) {
      if (!merged->find(name)) merged->set(name, value);
    }
    return Value::object(Kind::Record, merged);
  }
  if (left.isList()) {
    auto& list = left.as<ListObject>();
    if (list.isShared()) {
      std::vector<Value> items;
      items.reserve(list.items().size() + (right.isList() ? right.items().size() : 1));
      items = list.items();
      left = Value::list(std::move(items));
    }
  } else {
    auto first = Value::list({});
    extend(first.as<ListObject>(), left);
    left = std::move(first);
  }
  extend(left.as<ListObject>(), right);
  return left;
}

}  // namespace quillbox::applescript

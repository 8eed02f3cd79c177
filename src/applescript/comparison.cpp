// Equality, order and containment.
#include <algorithm>

#include "applescript/evaluator.h"
#include "applescript/in_place.h"
#include "applescript/objects.h"
#include "applescript/printing.h"

namespace quillbox::applescript {

namespace {

constexpr int kDeepestComparison = 400;

}  // namespace

// Nothing is coerced, and a reference is only equal to a reference of the same structure.
bool Evaluator::equal(const Value& left, const Value& right, int depth) {
  if (left.isNumber() && right.isNumber()) return left.asReal() == right.asReal();
  if (left.isText() && right.isText()) return texts_.equal(left.asText(), right.asText());
  // A constant is equal to its term, so that a script can be given either.
  if (left.is(Kind::Constant) && right.isText())
    return texts_.equal(constantTerm(left.asCode(), left.terms()), right.asText());
  if (right.is(Kind::Constant) && left.isText()) return equal(right, left, depth);
  if (left.kind() != right.kind()) return false;
  if (depth > kDeepestComparison) raise(error::stackOverflow, wording(error::stackOverflow));
  switch (left.kind()) {
    case Kind::Nothing:
    case Kind::MissingValue:
    case Kind::Examined:
      return true;
    case Kind::Boolean:
      return left.asBoolean() == right.asBoolean();
    case Kind::ClassName:
    case Kind::Constant:
      return left.asCode() == right.asCode();
    case Kind::Application:
      return left.asApplication() == right.asApplication();
    case Kind::Date:
      return left.asDate() == right.asDate();
    case Kind::Live:
      return left.asLive() == right.asLive() ||
             equal(left.asLive()->specifier(), right.asLive()->specifier());
    case Kind::List: {
      const auto& a = left.items();
      const auto& b = right.items();
      if (&a == &b) return true;
      if (a.size() != b.size()) return false;
      for (std::size_t i = 0; i < a.size(); ++i) {
        if (!equal(a[i], b[i], depth + 1)) return false;
      }
      return true;
    }
    case Kind::Record: {
      const auto& a = left.as<RecordObject>();
      const auto& b = right.as<RecordObject>();
      if (&a == &b) return true;
      if (a.fields().size() != b.fields().size()) return false;
      return std::ranges::all_of(a.fields(), [&](const auto& field) {
        const auto* other = b.find(field.first);
        return other && equal(field.second, *other, depth + 1);
      });
    }
    case Kind::Specifier: {
      const auto& a = left.as<SpecifierObject>();
      const auto& b = right.as<SpecifierObject>();
      if (&a == &b) return true;
      return a.form == b.form && a.code == b.code && a.name.folded() == b.name.folded() &&
             equal(a.key, b.key, depth + 1) && equal(a.secondKey, b.secondKey, depth + 1) &&
             equal(a.container, b.container, depth + 1);
    }
    default:
      return &left.as<HeapObject>() == &right.as<HeapObject>();
  }
}

bool Evaluator::ordered(Operator operation, const Value& left, const Value& rightValue) {
  int order = 0;
  if (left.isNumber()) {
    const auto right = toNumber(rightValue);
    const double a = left.asReal();
    const double b = right.asReal();
    order = a < b ? -1 : a > b ? 1 : 0;
  } else if (left.isText()) {
    order = texts_.compare(left.asText(), toText(rightValue));
  } else if (left.is(Kind::Date)) {
    const auto right = coerce(rightValue, code("ldt "), {});
    order = left.asDate() < right.asDate() ? -1 : left.asDate() > right.asDate() ? 1 : 0;
  } else {
    // Lists of one and constants compare as the numbers or texts that they stand for.
    if (const auto number = tryCoerce(left, code("nmbr"))) return ordered(operation, *number, rightValue);
    if (left.is(Kind::Constant)) return ordered(operation, Value::text(toText(left)), rightValue);
    cannotMake(left, code("nmbr"));
  }
  return compared(operation, order, 0);
}

namespace {

// Where `part` stands in `whole` item by item, with `same` to compare; from a given place only when `at` says
// so.
template <class Same>
bool standsAt(const std::vector<Value>& whole, const std::vector<Value>& part, std::size_t at, Same same) {
  for (std::size_t i = 0; i < part.size(); ++i) {
    if (!same(whole[at + i], part[i])) return false;
  }
  return true;
}

}  // namespace

bool Evaluator::contains(const Value& whole, const Value& part) {
  if (whole.isList()) {
    const auto same = [&](const Value& a, const Value& b) { return equal(a, b); };
    if (!part.isList()) {
      return std::ranges::any_of(whole.items(), [&](const Value& item) { return equal(item, part); });
    }
    const auto& items = whole.items();
    const auto& parts = part.items();
    for (std::size_t at = 0; at + parts.size() <= items.size(); ++at) {
      if (standsAt(items, parts, at, same)) return true;
    }
    return false;
  }
  if (whole.isRecord()) {
    if (!part.isRecord()) cannotMake(part, code("reco"));
    return std::ranges::all_of(part.fields(), [&](const auto& field) {
      const auto* own = whole.as<RecordObject>().find(field.first);
      return own && equal(*own, field.second);
    });
  }
  return texts_.contains(toText(whole), toText(part));
}

bool Evaluator::beginsWith(const Value& whole, const Value& part) {
  if (!whole.isList()) return texts_.beginsWith(toText(whole), toText(part));
  const auto parts = part.isList() ? part : Value::list({part});
  return parts.items().size() <= whole.items().size() &&
         standsAt(whole.items(), parts.items(), 0,
                  [&](const Value& a, const Value& b) { return equal(a, b); });
}

bool Evaluator::endsWith(const Value& whole, const Value& part) {
  if (!whole.isList()) return texts_.endsWith(toText(whole), toText(part));
  const auto parts = part.isList() ? part : Value::list({part});
  return parts.items().size() <= whole.items().size() &&
         standsAt(whole.items(), parts.items(), whole.items().size() - parts.items().size(),
                  [&](const Value& a, const Value& b) { return equal(a, b); });
}

bool Evaluator::compare(Operator operation, const Value& left, const Value& right) {
  switch (operation) {
    case Operator::Equal:
      return equal(left, right);
    case Operator::NotEqual:
      return !equal(left, right);
    default:
      break;
  }
  const auto a = operand(left);
  const auto b = operand(right);
  switch (operation) {
    case Operator::Contains:
      return contains(a, b);
    case Operator::NotContains:
      return !contains(a, b);
    case Operator::IsIn:
      return contains(b, a);
    case Operator::IsNotIn:
      return !contains(b, a);
    case Operator::BeginsWith:
      return beginsWith(a, b);
    case Operator::NotBeginsWith:
      return !beginsWith(a, b);
    case Operator::EndsWith:
      return endsWith(a, b);
    case Operator::NotEndsWith:
      return !endsWith(a, b);
    default:
      return ordered(operation, a, b);
  }
}

}  // namespace quillbox::applescript

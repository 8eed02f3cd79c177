// Loops.
#include "applescript/evaluator.h"
#include "applescript/in_place.h"
#include "applescript/numbers.h"

namespace quillbox::applescript {

Flow Evaluator::execRepeat(const RepeatNode& node) {
  auto flow = Flow::Next;
  const auto pass = [&] {
    step();
    flow = exec(node.body);
    return flow == Flow::Next;
  };
  switch (node.form) {
    case RepeatNode::Form::Counting:
      return execCounting(node);
    case RepeatNode::Form::Items:
      return execItems(node);
    case RepeatNode::Form::Forever:
      while (pass()) {
      }
      break;
    case RepeatNode::Form::Times: {
      const auto times = toInteger(eval(*node.first));
      for (std::int64_t i = 0; i < times && pass(); ++i) {
      }
      break;
    }
    case RepeatNode::Form::While:
      while (truth(*node.first) && pass()) {
      }
      break;
    case RepeatNode::Form::Until:
      while (!truth(*node.first) && pass()) {
      }
      break;
  }
  return flow == Flow::Return ? flow : Flow::Next;
}

Flow Evaluator::execCounting(const RepeatNode& node) {
  const auto& variable = static_cast<const VariableNode&>(*node.variable);
  auto first = toNumber(eval(*node.first));
  const auto last = toNumber(eval(*node.last));
  const auto step = node.step ? toNumber(eval(*node.step)) : Value::integer(1);
  const bool whole = first.is(Kind::Integer) && step.is(Kind::Integer);
  if (step.asReal() == 0) return Flow::Next;
  const double end = last.asReal();
  const bool up = step.asReal() > 0;
  double real = first.asReal();
  std::int64_t integer = first.asInteger();
  auto* const slot = variableSlot(variable.location);
  for (;;) {
    const double now = whole ? static_cast<double>(integer) : real;
    if (up ? now > end : now < end) return Flow::Next;
    this->step();
    // The body may change the variable; the count goes on all the same.
    if (!whole || !slot || !slot->is(Kind::Integer) || !slot->replaceInteger(integer, kLargestInteger)) {
      auto value = whole ? wholeNumber(integer) : Value::real(real);
      if (slot) {
        slot->swap(value);
      } else {
        assignVariable(variable, std::move(value));
      }
    }
    const auto flow = exec(node.body);
    if (flow == Flow::Return) return flow;
    if (flow == Flow::ExitRepeat) return Flow::Next;
    if (whole) {
      integer += step.asInteger();
    } else {
      real += step.asReal();
    }
  }
}

// The variable is a reference to item n, so that `contents of x` can also be set.
Flow Evaluator::execItems(const RepeatNode& node) {
  const auto& variable = static_cast<const VariableNode&>(*node.variable);
  auto whole = dereferenced(eval(*node.first));
  std::int64_t count = 0;
  if (isApplicationReference(whole)) {
    count = countIn(whole, 0);
  } else if (whole.isList() || whole.isRecord()) {
    if (whole.isRecord()) {
      std::vector<Value> items;
      for (const auto& field : whole.fields()) items.push_back(field.second);
      whole = Value::list(std::move(items));
    }
    count = static_cast<std::int64_t>(whole.items().size());
  } else if (whole.isText()) {
    count = static_cast<std::int64_t>(countOfText(whole, code("cha ")));
  } else {
    whole = Value::list({whole});
    count = 1;
  }
  for (std::int64_t i = 1; i <= count; ++i) {
    step();
    auto reference = element::indexed(whole, code("cobj"), i);
    if (auto* slot = variableSlot(variable.location)) {
      *slot = std::move(reference);
    } else {
      assignVariable(variable, std::move(reference));
    }
    const auto flow = exec(node.body);
    if (flow == Flow::Return) return flow;
    if (flow == Flow::ExitRepeat) return Flow::Next;
  }
  return Flow::Next;
}

}  // namespace quillbox::applescript

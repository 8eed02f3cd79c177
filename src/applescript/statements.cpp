// Statements, but for loops and errors.
#include "applescript/evaluator.h"
#include "applescript/frame_scope.h"
#include "applescript/in_place.h"
#include "applescript/objects.h"
#include "applescript/printing.h"

namespace quillbox::applescript {

Flow Evaluator::exec(const Block& block) {
  for (const auto& statement : block) {
    if (statement->kind == NodeKind::Set) {
      step();
      dropResult();
      execSet(static_cast<const SetNode&>(*statement));
      continue;
    }
    const auto flow = exec(*statement);
    if (flow != Flow::Next) return flow;
  }
  return Flow::Next;
}

// What the last statement gave is kept only as long as it must be: a text that grows in a loop has to have
// one owner.
void Evaluator::dropResult() {
  if (!frame_->result.isNothing() && !(frame_->handler && frame_->handler->usesResult)) frame_->result = {};
}

Flow Evaluator::exec(const Node& node) {
  step();
  site_ = &node;
  switch (node.kind) {
    case NodeKind::If:
      return execIf(static_cast<const IfNode&>(node));
    case NodeKind::Repeat:
      return execRepeat(static_cast<const RepeatNode&>(node));
    case NodeKind::Tell:
      return execTell(static_cast<const TellNode&>(node));
    case NodeKind::Try:
      return execTry(static_cast<const TryNode&>(node));
    case NodeKind::Considering:
      return execConsidering(static_cast<const ConsideringNode&>(node));
    case NodeKind::Timeout:
      return execTimeout(static_cast<const TimeoutNode&>(node));
    case NodeKind::Exit:
      return Flow::ExitRepeat;
    case NodeKind::Declaration:
      return Flow::Next;
    case NodeKind::Error:
      execError(static_cast<const ErrorNode&>(node));
    case NodeKind::Return: {
      const auto& operand = static_cast<const UnaryNode&>(node).operand;
      returned_ = operand ? eval(*operand) : Value();
      return Flow::Return;
    }
    default:
      break;
  }
  dropResult();
  auto value = eval(node);
  if (node.keepsResult) frame_->result = std::move(value);
  return Flow::Next;
}

void Evaluator::execSet(const SetNode& node) {
  site_ = &node;
  if (node.counts && !node.keepsResult && countInPlace(node)) return;
  if (node.appends && appendInPlace(node)) return;
  Value value;
  if (node.value->kind == NodeKind::Binary) {
    value = evalBinary(static_cast<const BinaryNode&>(*node.value));
  } else if (const auto* place = inPlace(*node.value)) {
    value = *place;
  } else {
    value = needed(eval(*node.value));
  }
  site_ = &node;
  if (node.copies) value = copy(value);
  if (node.keepsResult) frame_->result = value;
  if (node.target->kind == NodeKind::Variable) {
    const auto& variable = static_cast<const VariableNode&>(*node.target);
    if (auto* slot = variableSlot(variable.location)) {
      slot->swap(value);
      return;
    }
  }
  // The two ways in which loops change lists, without asking for a reference first.
  if (node.target->kind == NodeKind::Point) {
    const auto& point = static_cast<const PointNode&>(*node.target);
    const auto* list =
        point.form == SpecifierForm::End && point.container ? inPlace(*point.container) : nullptr;
    if (list && list->isList()) return list->as<ListObject>().append(std::move(value));
  }
  if (node.target->kind == NodeKind::Element) {
    const auto& element = static_cast<const ElementNode&>(*node.target);
    if (auto* item = element.isItemOfVariable ? itemInPlace(element) : nullptr) return item->swap(value);
  }
  assign(*node.target, std::move(value));
}

Flow Evaluator::execIf(const IfNode& node) {
  for (const auto& [condition, body] : node.branches) {
    if (truth(*condition)) return exec(body);
  }
  return exec(node.otherwise);
}

Flow Evaluator::execTell(const TellNode& node) {
  auto target = evalReference(*node.target);
  struct Restore {
    Value& it;
    Value previous;
    ~Restore() { it.swap(previous); }
  } restore{frame_->it, std::move(target)};
  restore.it.swap(restore.previous);
  return exec(node.body);
}

Flow Evaluator::execConsidering(const ConsideringNode& node) {
  struct Restore {
    Considering& now;
    Considering previous;
    ~Restore() { now = previous; }
  } restore{texts_.considering, texts_.considering};
  const auto apply = [&](Attribute attribute, bool& setting) {
    if ((node.considered & static_cast<std::uint8_t>(attribute)) != 0) setting = true;
    if ((node.ignored & static_cast<std::uint8_t>(attribute)) != 0) setting = false;
  };
  auto& now = texts_.considering;
  apply(Attribute::Case, now.letterCase);
  apply(Attribute::Diacriticals, now.diacriticals);
  apply(Attribute::Hyphens, now.hyphens);
  apply(Attribute::NumericStrings, now.numericStrings);
  apply(Attribute::Punctuation, now.punctuation);
  apply(Attribute::WhiteSpace, now.whiteSpace);
  return exec(node.body);
}

Flow Evaluator::execTimeout(const TimeoutNode& node) {
  struct Restore {
    std::chrono::nanoseconds& now;
    std::chrono::nanoseconds previous;
    ~Restore() { now = previous; }
  } restore{timeout_, timeout_};
  if (node.seconds) {
    const auto seconds = toNumber(eval(*node.seconds)).asReal();
    // Longer than anything that will be waited for, and within what nanoseconds can count.
    const double bounded = seconds < 0 ? 0 : std::min(seconds, 1e9);
    timeout_ = std::chrono::nanoseconds(static_cast<std::int64_t>(bounded * 1e9));
  }
  return exec(node.body);
}

Value Evaluator::execScript(const ScriptNode& node) {
  auto value = Value::object(Kind::Script, instantiate(node, frame_, frame_->home->globals));
  if (node.variable) {
    if (auto* slot = variableSlot(*node.variable)) *slot = value;
  }
  return value;
}

}  // namespace quillbox::applescript

// Errors raised and caught.
#include <new>

#include "applescript/evaluator.h"
#include "applescript/printing.h"

namespace quillbox::applescript {

Flow Evaluator::execTry(const TryNode& node) {
  Failure failure;
  auto* const frame = frame_;
  const auto considering = texts_.considering;
  const auto depth = depth_;
  try {
    return exec(node.body);
  } catch (Raised& raised) {
    if (raised.final) throw;
    failure = std::move(raised.failure);
  } catch (const OutOfScriptMemory&) {
    failure.number = error::outOfMemory;
    failure.message = wording(error::outOfMemory);
  } catch (const std::bad_alloc&) {
    failure.number = error::outOfMemory;
    failure.message = wording(error::outOfMemory);
  }
  // Scopes have unwound; this holds for everything that is not one.
  frame_ = frame;
  texts_.considering = considering;
  depth_ = depth;
  if (!node.hasHandler) return Flow::Next;
  if (!bindError(node, failure)) raise(std::move(failure));
  return exec(node.handler);
}

// False when a literal in the pattern says that this is not the error meant.
bool Evaluator::bindError(const TryNode& node, const Failure& failure) {
  const auto part = [&](const NodePtr& pattern, const Value& value) {
    if (!pattern) return true;
    switch (pattern->kind) {
      case NodeKind::Variable:
      case NodeKind::Property:
      case NodeKind::List:
        return true;
      default:
        return equal(eval(*pattern), value);
    }
  };
  const auto message = Value::text(failure.message);
  const auto number = Value::integer(failure.number);
  const Value object = failure.object.isNothing() ? Value::missing() : failure.object;
  const Value type = failure.expectedClass.isNothing() ? Value::missing() : failure.expectedClass;
  const Value partial = failure.partialResult.isNothing() ? Value::list({}) : failure.partialResult;
  if (!part(node.message, message) || !part(node.number, number) || !part(node.from, object) ||
      !part(node.to, type) || !part(node.partialResult, partial))
    return false;
  const auto bindPart = [&](const NodePtr& pattern, const Value& value) {
    if (pattern && (pattern->kind == NodeKind::Variable || pattern->kind == NodeKind::Property))
      assign(*pattern, value);
  };
  bindPart(node.message, message);
  bindPart(node.number, number);
  bindPart(node.from, object);
  bindPart(node.to, type);
  bindPart(node.partialResult, partial);
  return true;
}

void Evaluator::execError(const ErrorNode& node) {
  Failure failure;
  if (node.message) failure.message = toText(eval(*node.message));
  if (node.number) failure.number = toInteger(eval(*node.number));
  if (node.from) failure.object = evalReference(*node.from);
  if (node.to) failure.expectedClass = eval(*node.to);
  if (node.partialResult) failure.partialResult = eval(*node.partialResult);
  if (!node.message) failure.message = wording(failure.number);
  site_ = &node;
  raise(std::move(failure));
}

}  // namespace quillbox::applescript

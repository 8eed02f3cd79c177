#include "applescript/results.h"

namespace quillbox::applescript {

namespace {

void mark(Block& block, bool needed);

// Whether every way through the statement ends in a value.
bool surelyGives(const Node& node) {
  switch (node.kind) {
    case NodeKind::If:
    case NodeKind::Repeat:
    case NodeKind::Tell:
    case NodeKind::Try:
    case NodeKind::Considering:
    case NodeKind::Timeout:
    case NodeKind::Declaration:
    case NodeKind::Exit:
      return false;
    default:
      return true;
  }
}

bool leaves(const Block& block);

// `exit repeat` skips the statements that would have given a later value.
bool leaves(const Node& node) {
  switch (node.kind) {
    case NodeKind::Exit:
      return true;
    case NodeKind::If: {
      const auto& choice = static_cast<const IfNode&>(node);
      for (const auto& [condition, body] : choice.branches) {
        if (leaves(body)) return true;
      }
      return leaves(choice.otherwise);
    }
    case NodeKind::Tell:
      return leaves(static_cast<const TellNode&>(node).body);
    case NodeKind::Considering:
      return leaves(static_cast<const ConsideringNode&>(node).body);
    case NodeKind::Timeout:
      return leaves(static_cast<const TimeoutNode&>(node).body);
    // An error may leave a `try` anywhere.
    case NodeKind::Try:
      return true;
    default:
      return false;
  }
}

bool leaves(const Block& block) {
  for (const auto& statement : block) {
    if (leaves(*statement)) return true;
  }
  return false;
}

void mark(Node& node, bool needed) {
  node.keepsResult = needed;
  switch (node.kind) {
    case NodeKind::If: {
      auto& choice = static_cast<IfNode&>(node);
      for (auto& [condition, body] : choice.branches) mark(body, needed);
      mark(choice.otherwise, needed);
      break;
    }
    case NodeKind::Repeat:
      mark(static_cast<RepeatNode&>(node).body, needed);
      break;
    case NodeKind::Tell:
      mark(static_cast<TellNode&>(node).body, needed);
      break;
    case NodeKind::Considering:
      mark(static_cast<ConsideringNode&>(node).body, needed);
      break;
    case NodeKind::Timeout:
      mark(static_cast<TimeoutNode&>(node).body, needed);
      break;
    case NodeKind::Try:
      mark(static_cast<TryNode&>(node).body, needed);
      mark(static_cast<TryNode&>(node).handler, needed);
      break;
    default:
      break;
  }
}

void mark(Block& block, bool needed) {
  bool later = false;
  for (auto statement = block.rbegin(); statement != block.rend(); ++statement) {
    if (leaves(**statement)) later = false;
    mark(**statement, needed && !later);
    if (surelyGives(**statement)) later = true;
  }
}

}  // namespace

void findResults(HandlerNode& handler) {
  if (!handler.usesResult) mark(handler.body, true);
}

}  // namespace quillbox::applescript

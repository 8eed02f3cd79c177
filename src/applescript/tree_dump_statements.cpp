// The statements of a tree.
#include "applescript/tree_dump.h"

namespace quillbox::applescript {

void TreeDump::statement(const Node& node) {
  switch (node.kind) {
    case NodeKind::Set: {
      const auto& set = static_cast<const SetNode&>(node);
      line(node, set.copies ? "copy" : set.appends ? "set, by appending" : "set");
      const Deeper deeper(*this);
      child("target", set.target);
      child("value", set.value);
      break;
    }
    case NodeKind::If: {
      const auto& choice = static_cast<const IfNode&>(node);
      line(node, "if");
      const Deeper deeper(*this);
      for (const auto& [condition, body] : choice.branches) {
        child("condition", condition);
        block("then", node, body);
      }
      block("else", node, choice.otherwise);
      break;
    }
    case NodeKind::Repeat: {
      const auto& repeat = static_cast<const RepeatNode&>(node);
      constexpr std::string_view kForms[] = {"forever", "times", "while", "until", "counting", "items"};
      line(node, fmt::format("repeat {}", kForms[static_cast<std::size_t>(repeat.form)]));
      const Deeper deeper(*this);
      child("with", repeat.variable);
      child("first", repeat.first);
      child("last", repeat.last);
      child("step", repeat.step);
      block("body", node, repeat.body);
      break;
    }
    case NodeKind::Tell: {
      line(node, "tell");
      const Deeper deeper(*this);
      child("target", static_cast<const TellNode&>(node).target);
      block("body", node, static_cast<const TellNode&>(node).body);
      break;
    }
    case NodeKind::Try: {
      const auto& attempt = static_cast<const TryNode&>(node);
      line(node, "try");
      const Deeper deeper(*this);
      block("body", node, attempt.body);
      child("message", attempt.message);
      child("number", attempt.number);
      child("from", attempt.from);
      child("to", attempt.to);
      child("partial result", attempt.partialResult);
      block("on error", node, attempt.handler);
      break;
    }
    case NodeKind::Error: {
      const auto& raised = static_cast<const ErrorNode&>(node);
      line(node, "error");
      const Deeper deeper(*this);
      child("message", raised.message);
      child("number", raised.number);
      child("from", raised.from);
      child("to", raised.to);
      child("partial result", raised.partialResult);
      break;
    }
    case NodeKind::Considering: {
      const auto& considering = static_cast<const ConsideringNode&>(node);
      line(node,
           fmt::format("considering {:06b} ignoring {:06b}", considering.considered, considering.ignored));
      const Deeper deeper(*this);
      block("body", node, considering.body);
      break;
    }
    case NodeKind::Timeout: {
      line(node, "with timeout");
      const Deeper deeper(*this);
      child("seconds", static_cast<const TimeoutNode&>(node).seconds);
      block("body", node, static_cast<const TimeoutNode&>(node).body);
      break;
    }
    case NodeKind::Declaration: {
      const auto& declaration = static_cast<const DeclarationNode&>(node);
      std::string names;
      for (const auto& name : declaration.names) names += fmt::format(" {}", name.text());
      line(node, (declaration.isGlobal ? "global" : "local") + names);
      break;
    }
    default:
      break;
  }
}

}  // namespace quillbox::applescript

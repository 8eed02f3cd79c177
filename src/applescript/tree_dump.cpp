// The expressions of a tree, and script objects and handlers.
#include "applescript/tree_dump.h"

#include "applescript/printing.h"

namespace quillbox::applescript {

namespace {

std::string_view operatorName(Operator operation) {
  constexpr std::string_view kNames[] = {"+",
                                         "-",
                                         "*",
                                         "/",
                                         "div",
                                         "mod",
                                         "^",
                                         "=",
                                         "≠",
                                         "<",
                                         "≤",
                                         ">",
                                         "≥",
                                         "contains",
                                         "not contains",
                                         "is in",
                                         "is not in",
                                         "begins with",
                                         "not begins with",
                                         "ends with",
                                         "not ends with",
                                         "and",
                                         "or"};
  return kNames[static_cast<std::size_t>(operation)];
}

std::string_view formName(SpecifierForm form) {
  constexpr std::string_view kNames[] = {
      "property", "index", "middle", "some",      "named", "id",           "every",       "range",
      "before",   "after", "filter", "beginning", "end",   "point before", "point after", "variable"};
  return kNames[static_cast<std::size_t>(form)];
}

std::string place(const Location& location) {
  switch (location.kind) {
    case Location::Kind::Dynamic:
      return "by name";
    case Location::Kind::Local:
      return fmt::format("local {}", location.slot);
    case Location::Kind::Cell:
      return fmt::format("shared local {}", location.slot);
    case Location::Kind::Capture:
      return fmt::format("captured {} hops {}", location.slot, location.hops);
    case Location::Kind::Property:
      return fmt::format("property {} hops {}", location.slot, location.hops);
    case Location::Kind::Global:
      return fmt::format("global {}", location.slot);
  }
  return "";
}

}  // namespace

void TreeDump::visit(const Node& node) {
  switch (node.kind) {
    case NodeKind::Literal:
      line(node, "literal " + sourceForm(static_cast<const LiteralNode&>(node).value));
      break;
    case NodeKind::Variable: {
      const auto& variable = static_cast<const VariableNode&>(node);
      line(node, fmt::format("variable {} ({})", variable.name.text(), place(variable.location)));
      break;
    }
    case NodeKind::It:
      line(node, "it");
      break;
    case NodeKind::Me:
      line(node, "me");
      break;
    case NodeKind::Result:
      line(node, "result");
      break;
    case NodeKind::LanguageObject:
      line(node, "AppleScript");
      break;
    case NodeKind::Exit:
      line(node, "exit repeat");
      break;
    case NodeKind::Negate:
      unary(node, "-");
      break;
    case NodeKind::Not:
      unary(node, "not");
      break;
    case NodeKind::ReferenceTo:
      unary(node, "a reference to");
      break;
    case NodeKind::Continue:
      unary(node, "continue");
      break;
    case NodeKind::Return:
      unary(node, "return");
      break;
    case NodeKind::List: {
      line(node, "list");
      const Deeper deeper(*this);
      for (const auto& item : static_cast<const ListNode&>(node).items) visit(*item);
      child("of", static_cast<const ListNode&>(node).container);
      break;
    }
    case NodeKind::Record: {
      line(node, "record");
      const Deeper deeper(*this);
      for (const auto& [name, value] : static_cast<const RecordNode&>(node).fields) child(name.text(), value);
      break;
    }
    case NodeKind::Binary: {
      const auto& binary = static_cast<const BinaryNode&>(node);
      line(node, std::string(operatorName(binary.operation)));
      const Deeper deeper(*this);
      visit(*binary.left);
      visit(*binary.right);
      break;
    }
    case NodeKind::Concat: {
      line(node, "&");
      const Deeper deeper(*this);
      for (const auto& operand : static_cast<const ConcatNode&>(node).operands) visit(*operand);
      break;
    }
    case NodeKind::Coerce: {
      line(node, "as");
      const Deeper deeper(*this);
      visit(*static_cast<const CoerceNode&>(node).operand);
      visit(*static_cast<const CoerceNode&>(node).type);
      break;
    }
    case NodeKind::Property: {
      const auto& property = static_cast<const PropertyNode&>(node);
      line(node, fmt::format("property {}", property.name.text()));
      const Deeper deeper(*this);
      child("of", property.container);
      break;
    }
    case NodeKind::Element: {
      const auto& element = static_cast<const ElementNode&>(node);
      line(node, fmt::format("element {} by {}", codeText(element.classCode), formName(element.form)));
      const Deeper deeper(*this);
      child("key", element.key);
      child("to", element.secondKey);
      child("whose", element.test);
      child("of", element.container);
      break;
    }
    case NodeKind::Point: {
      line(node, std::string(formName(static_cast<const PointNode&>(node).form)));
      const Deeper deeper(*this);
      child("of", static_cast<const PointNode&>(node).container);
      break;
    }
    case NodeKind::Application: {
      line(node, "application");
      const Deeper deeper(*this);
      child("", static_cast<const ApplicationNode&>(node).name);
      break;
    }
    case NodeKind::Call: {
      const auto& call = static_cast<const CallNode&>(node);
      line(node, fmt::format("call {}{}", call.name.text(),
                             call.handler ? fmt::format(" (hops {})", call.hops) : ""));
      const Deeper deeper(*this);
      for (const auto& argument : call.arguments) visit(*argument);
      child("of", call.target);
      break;
    }
    case NodeKind::LabelledCall: {
      const auto& call = static_cast<const LabelledCallNode&>(node);
      line(node, fmt::format("call {}", call.name.text()));
      const Deeper deeper(*this);
      child("direct", call.direct);
      for (const auto& [label, value] : call.labels) child(label.text(), value);
      child("of", call.target);
      break;
    }
    case NodeKind::Command: {
      const auto& command = static_cast<const CommandNode&>(node);
      line(node, fmt::format("command {} {}{}", command.command->name, codeText(command.command->suite),
                             codeText(command.command->id)));
      const Deeper deeper(*this);
      child("direct", command.direct);
      for (const auto& [parameter, value] : command.parameters) child(parameter->name, value);
      break;
    }
    case NodeKind::Script:
      script(static_cast<const ScriptNode&>(node));
      break;
    case NodeKind::Handler:
      handler(static_cast<const HandlerNode&>(node), "handler");
      break;
    default:
      statement(node);
      break;
  }
}

}  // namespace quillbox::applescript

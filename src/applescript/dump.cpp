// Tokens and syntax trees as texts, for people who look for a fault.
#include <fmt/format.h>

#include "applescript/ast.h"
#include "applescript/host.h"
#include "applescript/interpreter.h"
#include "applescript/lexer.h"
#include "applescript/printing.h"
#include "base/text.h"

namespace quillbox::applescript {

namespace {

std::string_view kindName(TokenKind kind) {
  switch (kind) {
    case TokenKind::Word:
      return "word";
    case TokenKind::Piped:
      return "piped";
    case TokenKind::Integer:
      return "integer";
    case TokenKind::Real:
      return "real";
    case TokenKind::Ordinal:
      return "ordinal";
    case TokenKind::String:
      return "string";
    case TokenKind::Raw:
      return "raw";
    case TokenKind::Symbol:
      return "symbol";
    case TokenKind::NewLine:
      return "newline";
    case TokenKind::End:
      return "end";
  }
  return "";
}

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

class TreeDump {
 public:
  std::string take() { return std::move(out_); }

  void script(const ScriptNode& node) {
    line(node, fmt::format("script {}", node.name.text()));
    const Deeper deeper(*this);
    child("parent", node.parent);
    for (const auto& member : node.members) {
      line(node, fmt::format("property {}", member.name.text()));
      const Deeper inner(*this);
      visit(*member.initial);
    }
    for (const auto& itsHandler : node.handlers) handler(*itsHandler, "handler");
    if (node.statements) handler(*node.statements, "statements");
  }

 private:
  struct Deeper {
    explicit Deeper(TreeDump& dump) : dump_(dump) { ++dump_.depth_; }
    ~Deeper() { --dump_.depth_; }
    Deeper(const Deeper&) = delete;
    Deeper& operator=(const Deeper&) = delete;
    TreeDump& dump_;
  };

  void line(const Node& node, const std::string& text) {
    out_.append(depth_ * 2, ' ');
    out_ += text::singleLine(text);
    out_ += fmt::format("  [{}:{}]\n", node.line, node.column);
  }

  void child(std::string_view role, const NodePtr& node) {
    if (!node) return;
    if (role.empty()) return visit(*node);
    line(*node, fmt::format("{}:", role));
    const Deeper deeper(*this);
    visit(*node);
  }

  void block(std::string_view role, const Node& owner, const Block& statements) {
    if (statements.empty()) return;
    line(owner, fmt::format("{}:", role));
    const Deeper deeper(*this);
    for (const auto& statement : statements) visit(*statement);
  }

  void handler(const HandlerNode& node, std::string_view what) {
    line(node, fmt::format("{} {} ({} locals)", what, node.name.text(), node.slots));
    const Deeper deeper(*this);
    for (const auto& parameter : node.parameters) {
      child(parameter.label.text().empty() ? "parameter" : parameter.label.text(), parameter.target);
      child("otherwise", parameter.fallback);
    }
    for (const auto& statement : node.body) visit(*statement);
  }

  void unary(const Node& node, std::string_view name) {
    line(node, std::string(name));
    const Deeper deeper(*this);
    child("", static_cast<const UnaryNode&>(node).operand);
  }

  void visit(const Node& node);
  void statement(const Node& node);

  std::string out_;
  std::size_t depth_ = 0;
};

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

}  // namespace

std::string dumpTokens(std::string_view source) {
  std::vector<Token> tokens;
  const auto done = tokenize(source, tokens);
  std::string out;
  for (const auto& token : tokens) {
    out += fmt::format("{}:{} {} {}", token.line, token.column, kindName(token.kind),
                       text::singleLine(token.text));
    while (out.back() == ' ') out.pop_back();
    out += '\n';
  }
  if (!done) {
    out += fmt::format("{}:{} error {} ({})\n", done.error().line, done.error().column, done.error().message,
                       done.error().number);
  }
  return out;
}

std::string dumpTree(const Program& program) {
  TreeDump dump;
  dump.script(*program.script);
  return dump.take();
}

}  // namespace quillbox::applescript

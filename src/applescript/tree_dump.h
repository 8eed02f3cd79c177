// A syntax tree as text.
#pragma once

#include <string>
#include <string_view>

#include <fmt/format.h>

#include "applescript/ast.h"
#include "base/text.h"

namespace quillbox::applescript {

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

}  // namespace quillbox::applescript

// The pass over a tree that places its variables.
#pragma once

#include <map>
#include <string>
#include <unordered_map>

#include "applescript/ast.h"
#include "applescript/results.h"

namespace quillbox::applescript {

struct ScriptScope;

struct Variable {
  std::uint32_t slot = 0;
  bool captured = false;
  std::vector<Location*> uses;
};

// The variables of one handler, or of the initial values of a script's properties (node is null).
struct HandlerScope {
  HandlerNode* node = nullptr;
  ScriptScope* script = nullptr;
  bool top = false;  // the statements at the top of the whole script: their variables are global
  std::unordered_map<std::string, Variable> locals;
  std::unordered_map<std::string, bool> globals;  // declared here
  std::uint32_t slots = 0;
};

struct ScriptScope {
  ScriptNode* node = nullptr;
  HandlerScope* around = nullptr;  // the handler whose statement makes the object
  ScriptScope* outer = nullptr;
  std::map<std::string, std::uint32_t> captures;  // variable of `around`, index in captures
};

class Resolver {
 public:
  explicit Resolver(Program& program) : program_(program) {}

  void run() {
    declareGlobals(*program_.script);
    script(*program_.script, nullptr, nullptr);
  }

 private:
  static std::string key(const Name& name) { return std::string(name.folded()); }

  // `global x` outside handlers holds for the whole script.
  void declareGlobals(const ScriptNode& node) {
    if (!node.statements) return;
    for (const auto& statement : node.statements->body) {
      if (statement->kind != NodeKind::Declaration) continue;
      const auto& declaration = static_cast<const DeclarationNode&>(*statement);
      if (!declaration.isGlobal) continue;
      for (const auto& name : declaration.names) declaredGlobal_[key(name)] = true;
    }
  }

  std::uint32_t globalSlot(const Name& name) {
    const auto [found, added] =
        globals_.try_emplace(key(name), static_cast<std::uint32_t>(program_.globals.size()));
    if (added) program_.globals.push_back(name);
    return found->second;
  }

  void script(ScriptNode& node, HandlerScope* around, ScriptScope* outer) {
    ScriptScope scope;
    scope.node = &node;
    scope.around = around;
    scope.outer = outer;
    HandlerScope initial;
    initial.script = &scope;
    if (node.parent) visit(*node.parent, initial);
    for (auto& member : node.members) visit(*member.initial, initial);
    for (auto& itsHandler : node.handlers) handler(*itsHandler, scope, false);
    if (node.statements) handler(*node.statements, scope, outer == nullptr);
    node.captures.resize(scope.captures.size());
    for (const auto& [name, index] : scope.captures) node.captures[index] = around->locals.at(name).slot;
  }

  void handler(HandlerNode& node, ScriptScope& scope, bool top) {
    HandlerScope own;
    own.node = &node;
    own.script = &scope;
    own.top = top;
    node.plainParameters = node.form == HandlerNode::Form::Positional;
    for (auto& parameter : node.parameters) {
      node.plainParameters &= parameter.target->kind == NodeKind::Variable;
      declareTargets(*parameter.target, own);
    }
    // Two parameters of one name share a slot, so that the count tells whether the order is plain.
    node.plainParameters &= own.slots == node.parameters.size();
    collect(node.body, own);
    for (auto& parameter : node.parameters) {
      visit(*parameter.target, own);
      if (parameter.fallback) visit(*parameter.fallback, own);
    }
    visit(node.body, own);
    node.slots = own.slots;
    findResults(node);
    for (auto& [name, variable] : own.locals) {
      if (!variable.captured) continue;
      node.cells.push_back(variable.slot);
      for (auto* use : variable.uses) use->kind = Location::Kind::Cell;
    }
  }

  void declareLocal(const Name& name, HandlerScope& scope) {
    const auto [found, added] = scope.locals.try_emplace(key(name));
    if (added) found->second.slot = scope.slots++;
  }

  void declareTargets(const Node& target, HandlerScope& scope) {
    if (target.kind == NodeKind::Variable) declareLocal(static_cast<const VariableNode&>(target).name, scope);
    if (target.kind == NodeKind::List) {
      for (const auto& item : static_cast<const ListNode&>(target).items) declareTargets(*item, scope);
    }
    if (target.kind == NodeKind::Record) {
      for (const auto& [name, item] : static_cast<const RecordNode&>(target).fields)
        declareTargets(*item, scope);
    }
  }

  bool isMemberAround(const Name& name, const HandlerScope& scope) const {
    for (const auto* script = scope.script; script; script = script->outer) {
      if (script->node->member(name)) return true;
    }
    return false;
  }

  // A variable that a statement assigns, before any use is looked at.
  void assigned(const Node& target, HandlerScope& scope) {
    if (target.kind == NodeKind::Variable) {
      const auto& name = static_cast<const VariableNode&>(target).name;
      const auto folded = key(name);
      if (scope.locals.contains(folded) || scope.globals.contains(folded)) return;
      if (declaredGlobal_.contains(folded) || isMemberAround(name, scope)) return;
      if (scope.top) {
        globalSlot(name);
      } else {
        declareLocal(name, scope);
      }
    }
    // `set my x to 1` makes a variable of the script.
    if (target.kind == NodeKind::Property) {
      const auto& property = static_cast<const PropertyNode&>(target);
      if (property.container && property.container->kind == NodeKind::Me && property.name.code() == 0 &&
          !isMemberAround(property.name, scope))
        globalSlot(property.name);
    }
    if (target.kind == NodeKind::List) {
      for (const auto& item : static_cast<const ListNode&>(target).items) assigned(*item, scope);
    }
    if (target.kind == NodeKind::Record) {
      for (const auto& [name, item] : static_cast<const RecordNode&>(target).fields) assigned(*item, scope);
    }
  }

  void collect(const Block& block, HandlerScope& scope) {
    for (const auto& statement : block) collect(*statement, scope);
  }

  void collect(const Node& node, HandlerScope& scope) {
    switch (node.kind) {
      case NodeKind::Declaration: {
        const auto& declaration = static_cast<const DeclarationNode&>(node);
        for (const auto& name : declaration.names) {
          if (declaration.isGlobal) {
            scope.globals[key(name)] = true;
            globalSlot(name);
          } else {
            declareLocal(name, scope);
          }
        }
        break;
      }
      case NodeKind::Set:
        assigned(*static_cast<const SetNode&>(node).target, scope);
        break;
      case NodeKind::If:
        for (const auto& [condition, body] : static_cast<const IfNode&>(node).branches) collect(body, scope);
        collect(static_cast<const IfNode&>(node).otherwise, scope);
        break;
      case NodeKind::Repeat: {
        const auto& repeat = static_cast<const RepeatNode&>(node);
        if (repeat.variable) assigned(*repeat.variable, scope);
        collect(repeat.body, scope);
        break;
      }
      case NodeKind::Tell:
        collect(static_cast<const TellNode&>(node).body, scope);
        break;
      case NodeKind::Try: {
        const auto& attempt = static_cast<const TryNode&>(node);
        collect(attempt.body, scope);
        for (const auto* target :
             {&attempt.message, &attempt.number, &attempt.from, &attempt.to, &attempt.partialResult}) {
          if (*target) assigned(**target, scope);
        }
        collect(attempt.handler, scope);
        break;
      }
      case NodeKind::Considering:
        collect(static_cast<const ConsideringNode&>(node).body, scope);
        break;
      case NodeKind::Timeout:
        collect(static_cast<const TimeoutNode&>(node).body, scope);
        break;
      case NodeKind::Script: {
        const auto& name = static_cast<const ScriptNode&>(node).name;
        if (name.text().empty()) break;
        if (scope.top) {
          globalSlot(name);
        } else {
          declareLocal(name, scope);
        }
        break;
      }
      default:
        break;
    }
  }

  // Where a name leads from inside a handler.
  Location locate(const Name& name, HandlerScope& scope, Location* use) {
    const auto folded = key(name);
    if (const auto found = scope.locals.find(folded); found != scope.locals.end()) {
      if (use) found->second.uses.push_back(use);
      return {Location::Kind::Local, 0, found->second.slot};
    }
    if (scope.globals.contains(folded)) return {Location::Kind::Global, 0, globalSlot(name)};
    std::uint16_t hops = 0;
    for (auto* script = scope.script; script; script = script->outer, ++hops) {
      if (const auto member = script->node->member(name)) return {Location::Kind::Property, hops, *member};
      auto* around = script->around;
      if (!around) continue;
      if (const auto found = around->locals.find(folded); found != around->locals.end()) {
        found->second.captured = true;
        const auto index = static_cast<std::uint32_t>(script->captures.size());
        return {Location::Kind::Capture, hops, script->captures.try_emplace(folded, index).first->second};
      }
      if (around->globals.contains(folded)) return {Location::Kind::Global, 0, globalSlot(name)};
    }
    if (declaredGlobal_.contains(folded)) return {Location::Kind::Global, 0, globalSlot(name)};
    // The statements at the top see their own variables, handlers only what is declared.
    const auto* outermost = &scope;
    while (outermost->script->around) outermost = outermost->script->around;
    if (outermost->top && globals_.contains(folded)) return {Location::Kind::Global, 0, globalSlot(name)};
    return {};
  }

  void visit(const Block& block, HandlerScope& scope) {
    for (const auto& node : block) visit(*node, scope);
  }
  void visitIf(const NodePtr& node, HandlerScope& scope) {
    if (node) visit(*node, scope);
  }

  void visit(Node& node, HandlerScope& scope);
  void visitCall(CallNode& node, HandlerScope& scope);

  Program& program_;
  std::unordered_map<std::string, std::uint32_t> globals_;
  std::unordered_map<std::string, bool> declaredGlobal_;
};

}  // namespace quillbox::applescript

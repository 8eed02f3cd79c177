// What each kind of node asks of the resolver.
#include "applescript/resolver_pass.h"

namespace quillbox::applescript {

namespace {

bool isPlain(const Node& node) {
  return node.kind == NodeKind::Literal || node.kind == NodeKind::Variable;
}

bool isItemOfVariable(const ElementNode& node) {
  if (node.form != SpecifierForm::Index || node.classCode != code("cobj") || node.test) return false;
  if (!node.container || node.container->kind != NodeKind::Variable) return false;
  if (isPlain(*node.key)) return true;
  if (node.key->kind != NodeKind::Binary) return false;
  const auto& sum = static_cast<const BinaryNode&>(*node.key);
  return (sum.operation == Operator::Add || sum.operation == Operator::Subtract) && isPlain(*sum.left) &&
         isPlain(*sum.right);
}

}  // namespace

void Resolver::visitCall(CallNode& node, HandlerScope& scope) {
  for (const auto& argument : node.arguments) visit(*argument, scope);
  visitIf(node.target, scope);
  if (node.target && node.target->kind != NodeKind::Me) return;
  std::uint16_t hops = 0;
  for (auto* script = scope.script; script; script = script->outer, ++hops) {
    if (const auto* found = script->node->handler(node.name)) {
      node.handler = found;
      node.hops = hops;
      return;
    }
  }
  if (!node.target) {
    node.variable.emplace();
    *node.variable = locate(node.name, scope, &*node.variable);
  }
}

void Resolver::visit(Node& node, HandlerScope& scope) {
  switch (node.kind) {
    case NodeKind::Literal:
    case NodeKind::It:
    case NodeKind::Me:
    case NodeKind::LanguageObject:
    case NodeKind::Exit:
    case NodeKind::Declaration:
    case NodeKind::Handler:
      break;
    case NodeKind::Result:
      if (scope.node) scope.node->usesResult = true;
      break;
    case NodeKind::List:
      for (const auto& item : static_cast<ListNode&>(node).items) visit(*item, scope);
      visitIf(static_cast<ListNode&>(node).container, scope);
      break;
    case NodeKind::Record:
      for (const auto& [name, value] : static_cast<RecordNode&>(node).fields) visit(*value, scope);
      break;
    case NodeKind::Variable: {
      auto& variable = static_cast<VariableNode&>(node);
      variable.location = locate(variable.name, scope, &variable.location);
      break;
    }
    case NodeKind::Negate:
    case NodeKind::Not:
    case NodeKind::ReferenceTo:
    case NodeKind::Continue:
    case NodeKind::Return:
      visitIf(static_cast<UnaryNode&>(node).operand, scope);
      break;
    case NodeKind::Binary:
      visit(*static_cast<BinaryNode&>(node).left, scope);
      visit(*static_cast<BinaryNode&>(node).right, scope);
      break;
    case NodeKind::Concat:
      for (const auto& operand : static_cast<ConcatNode&>(node).operands) visit(*operand, scope);
      break;
    case NodeKind::Coerce:
      visit(*static_cast<CoerceNode&>(node).operand, scope);
      visit(*static_cast<CoerceNode&>(node).type, scope);
      break;
    case NodeKind::Property:
      visitIf(static_cast<PropertyNode&>(node).container, scope);
      break;
    case NodeKind::Element: {
      auto& element = static_cast<ElementNode&>(node);
      for (const auto* part : {&element.key, &element.secondKey, &element.test, &element.container})
        visitIf(*part, scope);
      element.isItemOfVariable = isItemOfVariable(element);
      break;
    }
    case NodeKind::Point:
      visitIf(static_cast<PointNode&>(node).container, scope);
      break;
    case NodeKind::Application:
      visitIf(static_cast<ApplicationNode&>(node).name, scope);
      break;
    case NodeKind::Call:
      visitCall(static_cast<CallNode&>(node), scope);
      break;
    case NodeKind::LabelledCall: {
      auto& call = static_cast<LabelledCallNode&>(node);
      visitIf(call.direct, scope);
      for (const auto& [label, value] : call.labels) visit(*value, scope);
      visitIf(call.target, scope);
      break;
    }
    case NodeKind::Command: {
      auto& command = static_cast<CommandNode&>(node);
      visitIf(command.direct, scope);
      for (const auto& [parameter, value] : command.parameters) visit(*value, scope);
      break;
    }
    case NodeKind::Set: {
      auto& set = static_cast<SetNode&>(node);
      visit(*set.value, scope);
      visit(*set.target, scope);
      set.counts =
          !set.copies && set.target->kind == NodeKind::Variable && set.value->kind == NodeKind::Binary;
      if (set.copies || set.target->kind != NodeKind::Variable || set.value->kind != NodeKind::Concat) break;
      const auto& first = static_cast<ConcatNode&>(*set.value).operands.front();
      set.appends = first->kind == NodeKind::Variable &&
                    static_cast<VariableNode&>(*first).name == static_cast<VariableNode&>(*set.target).name;
      break;
    }
    case NodeKind::If: {
      auto& choice = static_cast<IfNode&>(node);
      for (const auto& [condition, body] : choice.branches) {
        visit(*condition, scope);
        visit(body, scope);
      }
      visit(choice.otherwise, scope);
      break;
    }
    case NodeKind::Repeat: {
      auto& repeat = static_cast<RepeatNode&>(node);
      for (const auto* part : {&repeat.variable, &repeat.first, &repeat.last, &repeat.step})
        visitIf(*part, scope);
      visit(repeat.body, scope);
      break;
    }
    case NodeKind::Tell:
      visit(*static_cast<TellNode&>(node).target, scope);
      visit(static_cast<TellNode&>(node).body, scope);
      break;
    case NodeKind::Try: {
      auto& attempt = static_cast<TryNode&>(node);
      visit(attempt.body, scope);
      for (const auto* part :
           {&attempt.message, &attempt.number, &attempt.from, &attempt.to, &attempt.partialResult})
        visitIf(*part, scope);
      visit(attempt.handler, scope);
      break;
    }
    case NodeKind::Error: {
      auto& raised = static_cast<ErrorNode&>(node);
      for (const auto* part :
           {&raised.message, &raised.number, &raised.from, &raised.to, &raised.partialResult})
        visitIf(*part, scope);
      break;
    }
    case NodeKind::Considering:
      visit(static_cast<ConsideringNode&>(node).body, scope);
      break;
    case NodeKind::Timeout:
      visitIf(static_cast<TimeoutNode&>(node).seconds, scope);
      visit(static_cast<TimeoutNode&>(node).body, scope);
      break;
    case NodeKind::Script: {
      auto& nested = static_cast<ScriptNode&>(node);
      // A member of the script around it is kept by that; a statement of a handler in a variable.
      if (scope.node && !nested.name.text().empty()) {
        nested.variable.emplace();
        *nested.variable = locate(nested.name, scope, &*nested.variable);
      }
      script(nested, scope.node ? &scope : nullptr, scope.script);
      break;
    }
  }
}

}  // namespace quillbox::applescript

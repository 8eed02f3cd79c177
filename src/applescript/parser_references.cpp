// Chains of `of`, `in` and 's, and filters.
#include "applescript/parser.h"

namespace quillbox::applescript {

namespace {

// Where the container of a node goes; nullptr when it cannot have one.
NodePtr* containerSlot(Node& node) {
  switch (node.kind) {
    case NodeKind::Property:
      return &static_cast<PropertyNode&>(node).container;
    case NodeKind::Element:
      return &static_cast<ElementNode&>(node).container;
    case NodeKind::List:
      return &static_cast<ListNode&>(node).container;
    case NodeKind::Point:
      return &static_cast<PointNode&>(node).container;
    case NodeKind::Call:
      return &static_cast<CallNode&>(node).target;
    case NodeKind::LabelledCall:
      return &static_cast<LabelledCallNode&>(node).target;
    default:
      return nullptr;
  }
}

}  // namespace

// A whole reference: the chain, its filter, and `exists` behind it.
NodePtr Parser::reference(Stops stops) {
  auto node = chain(stops);
  if (!stops.whose) filter(node, stops);
  if (isWord("exists")) {
    if (const auto term = meaning(); term && term->command && beginsKey() == false) {
      auto exists = build<CommandNode>(token(), *term->command);
      ++at_;
      exists->direct = std::move(node);
      return exists;
    }
  }
  return node;
}

NodePtr Parser::chain(Stops stops) {
  guardStack();
  auto node = primary(stops);
  while (isSymbol("'s")) {
    ++at_;
    node = possessive(std::move(node), stops);
  }
  const auto& place = token();
  if (!isOf(stops)) return node;
  // `pi of AppleScript`: the constants are the language's own anyway.
  if (node->kind == NodeKind::Literal && isWord("applescript", 1) && !isOf(stops, 2)) {
    at_ += 2;
    return node;
  }
  if (node->kind != NodeKind::Variable) {
    auto* slot = containerSlot(*node);
    if (!slot || *slot) return node;
  }
  ++at_;
  // The words behind `in` and `of` take their own chain, so that a of b of c is a of (b of c).
  Stops inner = stops;
  inner.whose = true;
  return attach(std::move(node), chain(inner), place);
}

NodePtr Parser::attach(NodePtr node, NodePtr container, const Token& place) {
  if (node->kind == NodeKind::Variable) {
    // `x of y` asks y for what it calls x.
    auto property = placed(std::make_unique<PropertyNode>(static_cast<VariableNode&>(*node).name), place);
    property->line = node->line;
    property->column = node->column;
    deepen(*property, container.get());
    property->container = std::move(container);
    return property;
  }
  auto* slot = containerSlot(*node);
  if (!slot || *slot) wrong("end of line, etc.");
  if (node->kind == NodeKind::List) {
    // {name, size} of x: each of these, of x.
    for (auto& item : static_cast<ListNode&>(*node).items) {
      if (item->kind != NodeKind::Variable) continue;
      auto property = std::make_unique<PropertyNode>(static_cast<VariableNode&>(*item).name);
      property->line = item->line;
      property->column = item->column;
      item = std::move(property);
    }
  }
  deepen(*node, container.get());
  *slot = std::move(container);
  return node;
}

// `x's name`, `x's every word`, `x's increment()`
NodePtr Parser::possessive(NodePtr container, Stops stops) {
  const auto& place = token();
  if (const auto term = meaning(); term && term->command && term->property == 0 && term->classCode == 0 &&
                                   term->command->id == code("cnte")) {
    auto node = build<CommandNode>(place, *term->command);
    at_ += term->words;
    deepen(*node, container.get());
    node->direct = std::move(container);
    return node;
  }
  const Token& start = token();
  // The dictionary of the application in front also names what stands behind.
  const auto* application = container->kind == NodeKind::Application
                                ? static_cast<const ApplicationNode&>(*container).application
                                : nullptr;
  if (application) scope_.enter(application->terminology());
  auto member = primary(stops);
  if (application) scope_.leave();
  if (container->kind == NodeKind::LanguageObject && member->kind == NodeKind::Literal) return member;
  return attach(std::move(member), std::move(container), start);
}

// `every message of m whose read status is false`: the filter belongs to the first element of the chain.
void Parser::filter(NodePtr& node, Stops stops) {
  while (isWord("whose") || isWord("where") || (isWord("that") && !atLineEnd())) {
    const auto& place = token();
    Node* found = node.get();
    while (found && found->kind != NodeKind::Element) {
      auto* slot =
          found->kind == NodeKind::Property ? &static_cast<PropertyNode&>(*found).container : nullptr;
      found = slot ? slot->get() : nullptr;
    }
    if (!found || static_cast<ElementNode&>(*found).test) wrong("end of line, etc.");
    ++at_;
    Stops inner = stops;
    inner.whose = true;
    auto test = expression(inner);
    auto& element = static_cast<ElementNode&>(*found);
    deepen(element, test.get());
    element.test = std::move(test);
    if (!element.container && isOf(stops)) {
      ++at_;
      inner.whose = true;
      auto container = chain(inner);
      deepen(element, container.get());
      element.container = std::move(container);
    }
    deepen(*node, found == node.get() ? nullptr : found);
    static_cast<void>(place);
  }
}

}  // namespace quillbox::applescript

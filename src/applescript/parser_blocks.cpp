// The statements that hold others.
#include <fmt/format.h>

#include "applescript/host.h"
#include "applescript/parser.h"

namespace quillbox::applescript {

namespace {

// The application at the end of a chain of references, when the source names a known one.
const Application* applicationOf(const Node* node) {
  while (node) {
    switch (node->kind) {
      case NodeKind::Application:
        return static_cast<const ApplicationNode*>(node)->application;
      case NodeKind::Property:
        node = static_cast<const PropertyNode*>(node)->container.get();
        break;
      case NodeKind::Element:
        node = static_cast<const ElementNode*>(node)->container.get();
        break;
      case NodeKind::Point:
        node = static_cast<const PointNode*>(node)->container.get();
        break;
      case NodeKind::ReferenceTo:
        node = static_cast<const UnaryNode*>(node)->operand.get();
        break;
      default:
        return nullptr;
    }
  }
  return nullptr;
}

}  // namespace

// The statements up to `end`, `else` or `on error`, which are left for the caller.
Block Parser::block() {
  expectLineEnd();
  Block statements;
  for (skipLines(); token().kind != TokenKind::End; skipLines()) {
    if (isWord("end") || isWord("else") || (isWord("on") && isWord("error", 1))) break;
    if (isWord("on") || (isWord("to") && isIdentifier(1))) wrong("“end”");
    statements.push_back(statement());
    expectLineEnd();
  }
  return statements;
}

void Parser::blockEnd(std::initializer_list<std::string_view> names) {
  expectWord("end");
  for (const auto& name : names) {
    if (acceptWord(name)) return;
  }
  if (!atLineEnd()) wrong(fmt::format("“{}”", *names.begin()));
}

Block Parser::oneStatement() {
  Block statements;
  statements.push_back(statement());
  return statements;
}

NodePtr Parser::ifStatement() {
  auto node = build<IfNode>(tokens_[at_++]);
  auto condition = expression();
  acceptWord("then");
  const bool oneLine = !atLineEnd();
  node->branches.emplace_back(std::move(condition), oneLine ? oneStatement() : block());
  for (;;) {
    if (!acceptWord("else")) break;
    if (acceptWord("if")) {
      auto next = expression();
      acceptWord("then");
      const bool line = oneLine && !atLineEnd();
      node->branches.emplace_back(std::move(next), line || !atLineEnd() ? oneStatement() : block());
      if (!oneLine) skipLines();
      continue;
    }
    node->otherwise = atLineEnd() ? block() : oneStatement();
    if (!oneLine) skipLines();
    break;
  }
  if (!oneLine) blockEnd({"if"});
  return node;
}

NodePtr Parser::repeatStatement() {
  auto node = build<RepeatNode>(tokens_[at_++]);
  if (acceptWord("while")) {
    node->form = RepeatNode::Form::While;
    node->first = expression();
  } else if (acceptWord("until")) {
    node->form = RepeatNode::Form::Until;
    node->first = expression();
  } else if (acceptWord("with")) {
    const auto& start = token();
    node->variable = build<VariableNode>(start, identifier());
    if (acceptWord("from")) {
      node->form = RepeatNode::Form::Counting;
      node->first = expression();
      expectWord("to");
      node->last = expression();
      if (acceptWord("by")) node->step = expression();
    } else {
      expectWord("in");
      node->form = RepeatNode::Form::Items;
      node->first = expression();
    }
  } else if (!atLineEnd()) {
    node->form = RepeatNode::Form::Times;
    node->first = expression();
    acceptWord("times");
  }
  node->body = block();
  blockEnd({"repeat"});
  return node;
}

NodePtr Parser::tellStatement() {
  auto node = build<TellNode>(tokens_[at_++]);
  node->target = reference({});
  const auto* application = applicationOf(node->target.get());
  if (application) scope_.enter(application->terminology());
  ++tellDepth_;
  if (acceptWord("to")) {
    node->body = oneStatement();
  } else {
    node->body = block();
    blockEnd({"tell"});
  }
  --tellDepth_;
  if (application) scope_.leave();
  return node;
}

NodePtr Parser::tryStatement() {
  auto node = build<TryNode>(tokens_[at_++]);
  node->body = block();
  if (acceptWords({"on", "error"})) {
    node->hasHandler = true;
    const auto isPart = [&] {
      return isWord("number") || isWord("from") || isWord("to") || (isWord("partial") && isWord("result", 1));
    };
    if (!atLineEnd() && !isPart()) node->message = reference({});
    while (!atLineEnd()) {
      if (acceptWord("number")) {
        node->number = unary({});
      } else if (acceptWord("from")) {
        node->from = reference({});
      } else if (acceptWord("to")) {
        node->to = reference({});
      } else if (acceptWords({"partial", "result"})) {
        node->partialResult = reference({});
      } else {
        wrong("end of line");
      }
    }
    node->handler = block();
  }
  blockEnd({"try", "error"});
  return node;
}

NodePtr Parser::consideringStatement() {
  auto node = build<ConsideringNode>(token());
  bool considering = isWord("considering");
  ++at_;
  struct Row {
    std::string_view first;
    std::string_view second;
    Attribute attribute;
  };
  constexpr Row kRows[] = {{"case", "", Attribute::Case},
                           {"diacriticals", "", Attribute::Diacriticals},
                           {"hyphens", "", Attribute::Hyphens},
                           {"numeric", "strings", Attribute::NumericStrings},
                           {"punctuation", "", Attribute::Punctuation},
                           {"white", "space", Attribute::WhiteSpace}};
  const auto attribute = [&] {
    for (const auto& row : kRows) {
      if (!isWord(row.first) || (!row.second.empty() && !isWord(row.second, 1))) continue;
      at_ += row.second.empty() ? 1 : 2;
      (considering ? node->considered : node->ignored) |= static_cast<std::uint8_t>(row.attribute);
      return;
    }
    // Says whether the script waits for applications to answer, which it always does.
    if (acceptWords({"application", "responses"})) return;
    wrong("application constant or consideration");
  };
  attribute();
  for (;;) {
    if (acceptWord("but")) {
      considering = isWord("considering");
      if (!considering && !isWord("ignoring")) wrong("“ignoring”");
      ++at_;
      attribute();
    } else if (acceptSymbol(",")) {
      acceptWord("and");
      attribute();
    } else if (acceptWord("and")) {
      attribute();
    } else {
      break;
    }
  }
  node->body = block();
  blockEnd({"considering", "ignoring"});
  return node;
}

NodePtr Parser::withStatement() {
  auto node = build<TimeoutNode>(tokens_[at_++]);
  if (acceptWord("timeout")) {
    acceptWord("of");
    // The word behind the number would make a property of it.
    node->seconds = expression();
    if (!acceptWord("seconds")) acceptWord("second");
    node->body = block();
    blockEnd({"timeout"});
    return node;
  }
  if (!acceptWord("transaction")) wrong("“timeout”");
  if (!atLineEnd()) expression();
  node->body = block();
  blockEnd({"transaction"});
  return node;
}

}  // namespace quillbox::applescript

// Scripts, declarations, and the statements of one line.
#include <algorithm>

#include "applescript/parser.h"

namespace quillbox::applescript {

namespace {

// What `set` can fill: also the parts of a list or a record that it takes apart.
bool canBeSet(const Node& target) {
  switch (target.kind) {
    case NodeKind::Variable:
    case NodeKind::Property:
    case NodeKind::Element:
    case NodeKind::Point:
    case NodeKind::Result:
      return true;
    case NodeKind::List:
      return std::ranges::all_of(static_cast<const ListNode&>(target).items,
                                 [](const NodePtr& item) { return canBeSet(*item); });
    case NodeKind::Record:
      return std::ranges::all_of(static_cast<const RecordNode&>(target).fields,
                                 [](const auto& field) { return canBeSet(*field.second); });
    default:
      return false;
  }
}

}  // namespace

void Parser::scriptBody(ScriptNode& script, bool top) {
  Block statements;
  for (skipLines(); token().kind != TokenKind::End; skipLines()) {
    if (!top && isWord("end")) break;
    scriptItem(script, statements);
    expectLineEnd();
  }
  if (statements.empty()) return;
  script.statements = build<HandlerNode>(token());
  script.statements->name = Name("run");
  script.statements->line = statements.front()->line;
  script.statements->column = statements.front()->column;
  script.statements->body = std::move(statements);
}

void Parser::scriptItem(ScriptNode& script, Block& statements) {
  guardStack();
  const bool named = !meaning() || meaning()->words == 1;
  if (named && (isWord("property") || isWord("prop")) && !isWord("of", 1)) return propertyDeclaration(script);
  if (isWord("use") && !meaning()) return useStatement();
  if (named && (isWord("on") || isWord("to"))) {
    script.handlers.push_back(handler());
    return;
  }
  if (isWord("script") && named) {
    auto nested = scriptStatement();
    if (nested->name.text().empty()) {
      statements.push_back(std::move(nested));
    } else {
      const auto name = nested->name;
      script.members.push_back({name, std::move(nested)});
    }
    return;
  }
  if (isWord("using") && isWord("terms", 1)) {
    usingTermsStatement(&script, &statements);
    return;
  }
  statements.push_back(statement());
}

void Parser::propertyDeclaration(ScriptNode& script) {
  ++at_;
  noteLineApplications();
  const auto name = memberName();
  expectSymbol(":");
  auto initial = expression();
  if (name.folded() == "parent") {
    script.parent = std::move(initial);
    return;
  }
  script.members.push_back({name, std::move(initial)});
}

void Parser::useStatement() {
  const auto& start = tokens_[at_++];
  const auto skipRest = [&] {
    while (!atLineEnd()) ++at_;
  };
  if (isWord("applescript")) return skipRest();
  if (acceptWords({"scripting", "additions"})) return skipRest();
  if (isIdentifier() && token(1).isSymbol(":")) at_ += 2;
  if (acceptWord("application") || acceptWord("app")) {
    acceptWord("id");
    if (token().kind != TokenKind::String) wrong("“\"”");
    if (const auto* application = applicationNamed(tokens_[at_++].text))
      scope_.import(application->terminology());
    return skipRest();
  }
  wrongAt(start, error::notOffered,
          wording(error::notOffered, {std::string("use ") + std::string(spelling(token()))}));
}

std::unique_ptr<ScriptNode> Parser::scriptStatement() {
  guardStack();
  auto script = build<ScriptNode>(token());
  ++at_;
  if (!atLineEnd()) script->name = memberName();
  expectLineEnd();
  const int outerTells = tellDepth_;
  tellDepth_ = 0;
  scriptBody(*script, false);
  tellDepth_ = outerTells;
  expectWord("end");
  if (!acceptWord("script") && !atLineEnd() && script->name == Name(spelling(token()))) ++at_;
  return script;
}

NodePtr Parser::usingTermsStatement(ScriptNode* script, Block* statements) {
  at_ += 2;
  expectWord("from");
  noteLineApplications();
  auto source = reference({});
  const auto* application = source->kind == NodeKind::Application
                                ? static_cast<const ApplicationNode&>(*source).application
                                : nullptr;
  if (application) scope_.enter(application->terminology());
  expectLineEnd();
  // Unlike `tell` it says nothing about where events go, so its statements simply join those around it.
  auto inner = std::make_unique<TimeoutNode>();
  inner->line = source->line;
  inner->column = source->column;
  for (skipLines(); token().kind != TokenKind::End && !isWord("end"); skipLines()) {
    if (script) {
      scriptItem(*script, *statements);
    } else {
      inner->body.push_back(statement());
    }
    expectLineEnd();
  }
  if (application) scope_.leave();
  expectWord("end");
  if (acceptWord("using")) {
    expectWord("terms");
    acceptWord("from");
  }
  return inner;
}

NodePtr Parser::declaration(bool global) {
  const auto& start = tokens_[at_++];
  auto node = build<DeclarationNode>(start, global);
  do {
    node->names.push_back(memberName());
  } while (acceptSymbol(","));
  return node;
}

NodePtr Parser::statement() {
  guardStack();
  noteLineApplications();
  const auto& start = token();
  if (start.kind == TokenKind::Word) {
    const auto term = meaning();
    // `set the clipboard to x` is a command of its own.
    if (!term || term->words == 1) {
      if (isWord("if")) return ifStatement();
      if (isWord("repeat")) return repeatStatement();
      if (isWord("tell")) return tellStatement();
      if (isWord("try")) return tryStatement();
      if (isWord("considering") || isWord("ignoring")) return consideringStatement();
      if (isWord("with")) return withStatement();
      if (isWord("using") && isWord("terms", 1)) return usingTermsStatement(nullptr, nullptr);
      if (isWord("script")) return scriptStatement();
      return simpleStatement();
    }
  }
  return expression();
}

NodePtr Parser::simpleStatement() {
  const auto& start = token();
  if (isWord("set")) return setStatement(false);
  if (isWord("copy")) return setStatement(true);
  if (isWord("error")) return errorStatement();
  if (isWord("global")) return declaration(true);
  if (isWord("local")) return declaration(false);
  // `return` is also a constant, the carriage return.
  if (isWord("return") && !token(1).isSymbol("&")) {
    ++at_;
    return build<UnaryNode>(start, NodeKind::Return, beginsExpression() ? expression() : nullptr);
  }
  if (acceptWord("exit")) {
    acceptWord("repeat");
    return build<PlainNode>(start, NodeKind::Exit);
  }
  if (isWord("continue")) {
    ++at_;
    return build<UnaryNode>(start, NodeKind::Continue, expression());
  }
  if (isWord("on") || isWord("to")) wrong("expression");
  return expression();
}

NodePtr Parser::setStatement(bool copies) {
  const auto& start = tokens_[at_++];
  NodePtr target;
  NodePtr value;
  if (copies) {
    value = expression();
    // `copy x` alone, to the clipboard, is nothing that a script can do here.
    if (!acceptWord("to")) acceptWord("into") ? void() : expectWord("to");
    target = reference({});
  } else {
    target = reference({});
    if (!acceptWord("to")) expectWord("to");
    value = expression();
  }
  auto node = build<SetNode>(start, std::move(target), std::move(value));
  node->copies = copies;
  if (!canBeSet(*node->target))
    wrongAt(start, error::syntax, wording(error::syntax, {"a variable or a reference", "an expression"}));
  return node;
}

NodePtr Parser::errorStatement() {
  auto node = build<ErrorNode>(tokens_[at_++]);
  const auto isPart = [&] {
    return (isWord("number") && !isWord("of", 1)) || isWord("from") || isWord("to") ||
           (isWord("partial") && isWord("result", 1));
  };
  if (!atLineEnd() && !isPart() && beginsExpression()) node->message = expression();
  while (!atLineEnd()) {
    if (acceptWord("number")) {
      node->number = expression();
    } else if (acceptWord("from")) {
      node->from = expression();
    } else if (acceptWord("to")) {
      node->to = typeName();
    } else if (acceptWords({"partial", "result"})) {
      node->partialResult = expression();
    } else {
      break;  // `else` behind a statement of one line
    }
  }
  return node;
}

}  // namespace quillbox::applescript

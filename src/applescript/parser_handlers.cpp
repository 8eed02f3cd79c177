// Handlers and what calls them; commands of dictionaries and their parameters.
#include <algorithm>

#include "applescript/parser.h"

namespace quillbox::applescript {

// A call such as `findNumbers of x above 19` can only be told from `property of x` by knowing the handler,
// and `make`, where the script has `to make`, from a variable.
void Parser::findLabelledHandlers() {
  for (std::size_t i = 0; i + 2 < tokens_.size(); ++i) {
    if (i > 0 && tokens_[i - 1].kind != TokenKind::NewLine) continue;
    if (!tokens_[i].isWord("on") && !tokens_[i].isWord("to")) continue;
    const auto& name = tokens_[i + 1];
    const auto& next = tokens_[i + 2];
    if (name.kind != TokenKind::Word && name.kind != TokenKind::Piped) continue;
    if (isReserved(name.text) && name.kind == TokenKind::Word) continue;
    if (next.kind == TokenKind::NewLine) bare_.insert(std::string(Name(name.text).folded()));
    if (next.kind != TokenKind::Word) continue;
    if (next.text == "of" || next.text == "in" || next.text == "given" || isPreposition(next.text))
      labelled_.insert(std::string(Name(name.text).folded()));
  }
}

NodePtr Parser::parameterTarget() {
  const auto& start = token();
  if (acceptSymbol("{")) {
    // {a, {b, c}} takes a list apart, {name:n} a record.
    if (token(1).isSymbol(":") || (meaning() && token(meaning()->words).isSymbol(":"))) {
      auto record = build<RecordNode>(start);
      do {
        auto name = memberName();
        expectSymbol(":");
        record->fields.emplace_back(std::move(name), parameterTarget());
      } while (acceptSymbol(","));
      expectSymbol("}");
      return record;
    }
    guardStack();
    auto list = build<ListNode>(start);
    if (!isSymbol("}")) {
      do {
        list->items.push_back(parameterTarget());
      } while (acceptSymbol(","));
    }
    expectSymbol("}");
    return list;
  }
  return build<VariableNode>(start, identifier());
}

std::unique_ptr<HandlerNode> Parser::handler() {
  auto node = build<HandlerNode>(token());
  ++at_;
  const int outerTells = tellDepth_;
  tellDepth_ = 0;
  const auto term = meaning();
  const auto& nameToken = token();
  if (term && term->command && !token(term->words).isSymbol("(") && !token(term->words).isSymbol(":")) {
    at_ += term->words;
    node->name = Name(term->text);
    node->form = HandlerNode::Form::Event;
    eventParameters(*node, *term->command);
  } else {
    if (nameToken.kind != TokenKind::Piped &&
        (nameToken.kind != TokenKind::Word || isReserved(nameToken.text)))
      wrong("handler name");
    node->name = Name(spelling(nameToken));
    ++at_;
    if (acceptSymbol("(")) {
      if (!isSymbol(")")) {
        do {
          node->parameters.push_back({Name(), parameterTarget(), nullptr});
        } while (acceptSymbol(","));
      }
      expectSymbol(")");
    } else if (isSymbol(":")) {
      std::string full(spelling(nameToken));
      ++at_;
      full += ':';
      node->parameters.push_back({Name(), parameterTarget(), nullptr});
      while (token().kind == TokenKind::Word && token(1).isSymbol(":")) {
        full += spelling(token());
        full += ':';
        at_ += 2;
        node->parameters.push_back({Name(), parameterTarget(), nullptr});
      }
      node->name = Name(full);
    } else if (!atLineEnd()) {
      node->form = HandlerNode::Form::Labelled;
      labelledParameters(*node);
    }
  }
  node->body = block();
  expectWord("end");
  if (!atLineEnd()) {
    // `end name`, where the interleaved form repeats its parts.
    const auto end = meaning();
    const bool sameTerm = end && Name(end->text) == node->name;
    const auto whole = node->name.folded();
    const auto written = Name(spelling(token()));
    const auto first = whole.substr(0, whole.find(':'));
    if (!sameTerm && written.folded() != whole && written.folded() != first) wrong("end of line");
    at_ += sameTerm ? end->words : 1;
    while (!atLineEnd() && (isSymbol(":") || token(1).isSymbol(":"))) ++at_;
  }
  tellDepth_ = outerTells;
  return node;
}

void Parser::eventParameters(HandlerNode& node, const Command& itsCommand) {
  std::size_t words = 0;
  if (!atLineEnd() && !parameterLabel(itsCommand, words) && !isWord("given")) {
    node.hasDirect = true;
    node.parameters.push_back({Name(), parameterTarget(), nullptr});
  }
  while (!atLineEnd()) {
    if (acceptWord("given") || acceptSymbol(",")) {
      auto label = memberName();
      expectSymbol(":");
      node.parameters.push_back({std::move(label), parameterTarget(), nullptr});
      continue;
    }
    const auto* parameter = parameterLabel(itsCommand, words);
    if (!parameter) wrong("end of line");
    at_ += words;
    node.parameters.push_back({Name(parameter->name), parameterTarget(), nullptr});
  }
}

void Parser::labelledParameters(HandlerNode& node) {
  if (acceptWord("of") || acceptWord("in")) {
    node.hasDirect = true;
    node.parameters.push_back({Name(), parameterTarget(), nullptr});
  }
  while (token().kind == TokenKind::Word && isPreposition(token().text)) {
    auto label = Name(spelling(tokens_[at_++]));
    node.parameters.push_back({std::move(label), parameterTarget(), nullptr});
  }
  if (!acceptWord("given")) return;
  do {
    auto label = memberName();
    expectSymbol(":");
    ParameterNode parameter{std::move(label), parameterTarget(), nullptr};
    // `given size:s : 5` may be left out.
    if (acceptSymbol(":")) parameter.fallback = expression();
    node.parameters.push_back(std::move(parameter));
  } while (acceptSymbol(","));
}

NodePtr Parser::variableOrBareCall(const Token& start) {
  ++at_;
  Name name(spelling(start));
  if (!bare_.contains(std::string(name.folded()))) return build<VariableNode>(start, std::move(name));
  auto node = build<CallNode>(start, std::move(name));
  node->inTell = tellDepth_ > 0;
  return node;
}

std::vector<NodePtr> Parser::arguments() {
  std::vector<NodePtr> values;
  expectSymbol("(");
  if (acceptSymbol(")")) return values;
  do {
    values.push_back(expression());
  } while (acceptSymbol(","));
  expectSymbol(")");
  return values;
}

NodePtr Parser::call(Name name, const Token& start) {
  auto node = build<CallNode>(start, std::move(name));
  node->arguments = arguments();
  node->inTell = tellDepth_ > 0;
  return node;
}

// h:x with:y
NodePtr Parser::interleavedCall(const Token& start) {
  std::string name;
  std::vector<NodePtr> values;
  while ((token().kind == TokenKind::Word || token().kind == TokenKind::Piped) && token(1).isSymbol(":")) {
    name += spelling(token());
    name += ':';
    at_ += 2;
    values.push_back(binary(1, {}));
  }
  auto node = build<CallNode>(start, Name(name));
  node->arguments = std::move(values);
  node->inTell = tellDepth_ > 0;
  return node;
}

bool Parser::beginsLabelledCall() const {
  const auto& next = token(1);
  if (next.kind != TokenKind::Word) return false;
  if (labelled_.contains(std::string(Name(token().text).folded())))
    return next.text == "of" || next.text == "in" || next.text == "given" || next.text == "with" ||
           next.text == "without" || isPreposition(next.text);
  return next.text == "given";
}

// In `with a, b and c` commas stand before an `and`; any other comma belongs to the list outside.
bool Parser::commaBeforeAnd() const {
  if (!isSymbol(",")) return false;
  for (std::size_t ahead = 1;; ++ahead) {
    const auto& next = token(ahead);
    if (next.isWord("and")) return true;
    if (next.kind != TokenKind::Word && next.kind != TokenKind::Piped && !next.isSymbol(",")) return false;
  }
}

// `given a:1, b:2`
bool Parser::commaBeforeLabel() const {
  if (!isSymbol(",")) return false;
  std::size_t ahead = 1;
  while (token(ahead).kind == TokenKind::Word || token(ahead).kind == TokenKind::Piped) ++ahead;
  return ahead > 1 && token(ahead).isSymbol(":");
}

NodePtr Parser::labelledCall(Name name, const Token& start) {
  auto node = build<LabelledCallNode>(start, std::move(name));
  node->inTell = tellDepth_ > 0;
  const Stops stops{};
  if (acceptWord("of") || acceptWord("in")) node->direct = expression(stops);
  while (token().kind == TokenKind::Word && isPreposition(token().text)) {
    auto label = Name(spelling(tokens_[at_++]));
    node->labels.emplace_back(std::move(label), expression(stops));
  }
  for (;;) {
    if (acceptWord("given")) {
      do {
        auto label = memberName();
        expectSymbol(":");
        node->labels.emplace_back(std::move(label), expression(stops));
      } while (commaBeforeLabel() && acceptSymbol(","));
    } else if (isWord("with") || isWord("without")) {
      const bool value = isWord("with");
      ++at_;
      do {
        acceptWord("and");
        const auto& place = token();
        node->labels.emplace_back(memberName(), build<LiteralNode>(place, Value::boolean(value)));
      } while ((commaBeforeAnd() && acceptSymbol(",")) || isWord("and"));
    } else {
      return node;
    }
  }
}

// The parameter of the command whose name stands here; the longest, since "with" may begin several.
const CommandParameter* Parser::parameterLabel(const Command& itsCommand, std::size_t& words,
                                               std::size_t ahead) const {
  const CommandParameter* best = nullptr;
  words = 0;
  for (const auto& parameter : itsCommand.parameters) {
    std::size_t count = 0;
    std::size_t from = 0;
    const std::string_view name = parameter.name;
    bool matches = true;
    while (matches && from <= name.size()) {
      const auto space = std::min(name.find(' ', from), name.size());
      matches = isWord(name.substr(from, space - from), ahead + count);
      ++count;
      from = space + 1;
    }
    if (matches && count > words) {
      best = &parameter;
      words = count;
    }
  }
  return best;
}

bool Parser::isOf(const Stops& stops, std::size_t ahead) const {
  if (isWord("of", ahead)) return true;
  std::size_t words = 0;
  return isWord("in", ahead) && !stops.in && !(stops.command && parameterLabel(*stops.command, words, ahead));
}

NodePtr Parser::command(const Meaning& meaning) {
  auto node = build<CommandNode>(token(), *meaning.command);
  at_ += meaning.words;
  const auto& itsCommand = *meaning.command;
  const bool counts = itsCommand.suite == code("core") && itsCommand.id == code("cnte");
  // `count of x` and `count x` are the same.
  if (counts && !acceptWord("of")) acceptWord("in");
  std::size_t words = 0;
  if (itsCommand.hasDirectParameter && !parameterLabel(itsCommand, words) && beginsExpression()) {
    Stops stops;
    stops.command = &itsCommand;
    // What a count or a look counts is the reference, and operators go on with its result.
    const bool tight = itsCommand.suite == code("core") && itsCommand.parameters.size() <= 1;
    node->direct = tight ? unary(stops) : expression(stops);
  }
  if (itsCommand.suite == code("core") && itsCommand.id == code("crel") && !isWord("new") &&
      this->meaning() && this->meaning()->classCode != 0)
    node->parameters.emplace_back(&itsCommand.parameters.front(), typeName());
  commandParameters(*node);
  return node;
}

void Parser::commandParameters(CommandNode& node) {
  const auto& itsCommand = *node.command;
  Stops stops;
  stops.command = &itsCommand;
  for (;;) {
    std::size_t words = 0;
    if (const auto* parameter = parameterLabel(itsCommand, words)) {
      at_ += words;
      NodePtr value;
      if (parameter->type == "type") {
        value = typeName();
      } else if (parameter->type == "location specifier" && atLineEnd()) {
        wrong("expression");
      } else {
        value = expression(stops);
      }
      node.parameters.emplace_back(parameter, std::move(value));
    } else if ((isWord("with") && !isWord("timeout", 1) && !isWord("transaction", 1)) || isWord("without")) {
      const bool value = isWord("with");
      if (!booleanParameters(node, value)) return;
    } else if (isWord("given")) {
      ++at_;
      do {
        const auto* labelled = parameterLabel(itsCommand, words);
        if (!labelled) wrong("parameter name");
        at_ += words;
        expectSymbol(":");
        node.parameters.emplace_back(labelled, expression(stops));
      } while (commaBeforeLabel() && acceptSymbol(","));
    } else {
      return;
    }
  }
}

// `with a, b and c` and `without d`.
bool Parser::booleanParameters(CommandNode& node, bool value) {
  ++at_;
  for (;;) {
    std::size_t words = 0;
    const auto& place = token();
    const auto* parameter = parameterLabel(*node.command, words);
    if (!parameter) wrong("parameter name");
    at_ += words;
    node.parameters.emplace_back(parameter, build<LiteralNode>(place, Value::boolean(value)));
    const bool comma = commaBeforeAnd() && acceptSymbol(",");
    if (!acceptWord("and") && !comma) return true;
  }
}

// A class behind `as` or `new`.
NodePtr Parser::typeName() {
  acceptWord("the");
  const auto& start = token();
  if (start.kind == TokenKind::Raw) return rawTerm();
  // `as reference`, though the word is kept for `reference to`.
  if (acceptWord("reference")) return build<LiteralNode>(start, Value::className(code("obj ")));
  if (const auto term = meaning(); term && term->classCode != 0) {
    at_ += term->words;
    return build<LiteralNode>(start, Value::className(term->classCode, term->classTerms));
  }
  return reference({});
}

}  // namespace quillbox::applescript

// Expressions that begin with a term of a dictionary.
#include "applescript/host.h"
#include "applescript/language_terms.h"
#include "applescript/parser.h"

namespace quillbox::applescript {

NodePtr Parser::termPrimary(const Meaning& found, Stops stops) {
  const auto& start = token();
  const auto next = token(found.words);
  // `application "Mail"`, and `app` for short.
  if (found.classCode == code("capp") && found.words == 1) return applicationReference();
  // `message id 7`: a property by its words, an element by what follows.
  if (found.words > 1 && found.property != 0) {
    const auto shorter = meaning(0, found.words - 1);
    if (shorter && shorter->classCode != 0 && isWord("id", shorter->words) &&
        shorter->words + 1 == found.words) {
      at_ += found.words;
      const bool keyed = beginsKey();
      at_ -= found.words;
      if (keyed) return classPrimary(*shorter, stops);
    }
  }
  const bool ofFollows = isOf(stops, found.words);
  if (found.classCode != 0) {
    at_ += found.words;
    const bool keyed = beginsKey() || isWord("id") || isWord("named") || isWord("before") ||
                       isWord("after") ||
                       (isWord("from") && (found.plural || found.classCode == code("ctxt"))) ||
                       (isWord("index") && (at_ + 1 < tokens_.size()));
    at_ -= found.words;
    const bool count = found.classCode == code("nmbr") && !found.plural && ofFollows;
    if (count) {
      at_ += found.words + 1;
      auto node = build<CommandNode>(start, *languageTerms().find("count")->command);
      node->direct = chain(stops);
      filter(node->direct, stops);
      return node;
    }
    // `window of viewer` is a property, `window 1` an element; `id of x` has no class at all.
    const bool idProperty =
        isWord("id", found.words) && (isWord("of", found.words + 1) || !next.isWord("id"));
    if (found.property == 0 || ((keyed && !idProperty) || found.plural)) return classPrimary(found, stops);
  }
  if (found.property != 0) {
    // `2 * hours`: without an owner these are numbers of seconds.
    if (!ofFollows && !tokens_[at_ == 0 ? 0 : at_ - 1].isSymbol("'s") &&
        !tokens_[at_ == 0 ? 0 : at_ - 1].isWord("its")) {
      const std::int64_t seconds = found.property == code("min ")   ? 60
                                   : found.property == code("hour") ? 3600
                                                                    : 0;
      if (seconds != 0) {
        ++at_;
        return build<LiteralNode>(start, Value::integer(seconds));
      }
    }
    at_ += found.words;
    auto property = build<PropertyNode>(start, Name(found.text, found.property));
    // `class of x is mailbox`: where nobody has such a property the class is meant.
    if (found.classCode != 0 && !found.plural && !ofFollows)
      property->otherwise = Value::className(found.classCode, found.classTerms);
    return property;
  }
  if (found.enumerator != 0 && !(found.command && beginsExpression() && !ofFollows && at_ > 0 &&
                                 tokens_[at_ - 1].kind == TokenKind::NewLine)) {
    at_ += found.words;
    return build<LiteralNode>(start, Value::constant(found.enumerator, found.enumeratorTerms));
  }
  if (found.command) return command(found);
  wrong("expression");
}

NodePtr Parser::classPrimary(const Meaning& found, Stops stops) {
  const auto& start = tokens_[at_];
  at_ += found.words;
  auto node = build<ElementNode>(start);
  node->classCode = found.classCode;
  const bool plural = found.plural;
  const auto constant = [&]() -> NodePtr {
    return build<LiteralNode>(start, Value::className(found.classCode, found.classTerms));
  };
  if (isWord("id") && !isWord("of", 1)) {
    ++at_;
    if (!beginsKey()) {
      // `character id {72, 105}`
      if (!isSymbol("{")) wrong("expression");
    }
    node->form = SpecifierForm::Identified;
    node->key = isSymbol("{") ? listOrRecord() : key();
    return node;
  }
  if (isWord("named")) {
    ++at_;
    node->form = SpecifierForm::Named;
    node->key = key();
    return node;
  }
  if (isWord("index") && !isWord("of", 1)) {
    ++at_;
    if (!beginsKey()) {
      --at_;
      return constant();
    }
    return elementKey(std::move(node), stops);
  }
  if (isWord("before") || isWord("after")) {
    node->form = isWord("before") ? SpecifierForm::Before : SpecifierForm::After;
    ++at_;
    // What follows with `of` holds both: `word after word 1 of t`.
    node->key = primary(stops);
    return node;
  }
  if (isWord("from") && (plural || found.classCode == code("ctxt"))) {
    ++at_;
    node->form = SpecifierForm::Range;
    node->key = rangeEnd();
    if (!acceptWord("to") && !acceptWord("thru")) expectWord("to");
    node->secondKey = rangeEnd();
    return node;
  }
  if ((isWord("beginning") || isWord("end")) && (isWord("thru", 1) || isWord("through", 1)))
    return elementKey(std::move(node), stops);
  if (beginsKey()) return elementKey(std::move(node), stops);
  if (plural) {
    node->form = SpecifierForm::Every;
    return node;
  }
  // `text of x` is all of it.
  if (isOf(stops)) {
    if (found.classCode == code("ctxt")) return build<PropertyNode>(start, Name(found.text, found.classCode));
    // As the name of something that a script or a record calls so.
    return build<PropertyNode>(start, Name(found.text, found.classCode));
  }
  if (isWord("whose") || isWord("where")) {
    node->form = SpecifierForm::Every;
    return node;
  }
  return constant();
}

NodePtr Parser::elementKey(std::unique_ptr<ElementNode> node, Stops) {
  node->form = SpecifierForm::Index;
  node->key = rangeEnd();
  if (acceptWord("thru") || acceptWord("through")) {
    node->form = SpecifierForm::Range;
    node->secondKey = rangeEnd();
  }
  return node;
}

// One end of a range: a key, or an element of the same container.
NodePtr Parser::rangeEnd() {
  const auto& start = token();
  if (acceptWord("beginning")) return build<LiteralNode>(start, Value::integer(1));
  if (acceptWord("end")) return build<LiteralNode>(start, Value::integer(-1));
  if (beginsKey()) return key();
  Stops stops;
  stops.in = true;
  return primary(stops);
}

NodePtr Parser::key() {
  const auto& start = token();
  if (acceptSymbol("-")) {
    if (token().kind != TokenKind::Integer) return build<UnaryNode>(start, NodeKind::Negate, key());
    const auto& number = tokens_[at_++];
    return build<LiteralNode>(start, Value::integer(-number.integer));
  }
  if (token().kind == TokenKind::Word || token().kind == TokenKind::Piped) {
    // `item i of x`: the variable alone, the rest belongs to the element.
    if (token(1).isSymbol("(")) {
      ++at_;
      return call(Name(spelling(start)), start);
    }
    ++at_;
    return build<VariableNode>(start, Name(spelling(start)));
  }
  return primary({});
}

NodePtr Parser::applicationReference() {
  const auto& start = tokens_[at_++];
  const bool byId = isWord("id") && token(1).kind == TokenKind::String;
  if (byId) ++at_;
  if (!beginsKey() && token().kind != TokenKind::Symbol)
    return build<LiteralNode>(start, Value::className(code("capp")));
  if (!beginsKey()) return build<LiteralNode>(start, Value::className(code("capp")));
  Application* application = nullptr;
  if (token().kind == TokenKind::String) application = applicationNamed(token().text);
  auto node = build<ApplicationNode>(start, key());
  node->application = application;
  return node;
}

// «class mact», «property isac», «constant ccye»
NodePtr Parser::rawTerm() {
  const auto& start = tokens_[at_++];
  const auto space = start.text.find(' ');
  const auto kind = start.text.substr(0, space);
  const auto value = space == std::string::npos ? 0 : code(std::string_view(start.text).substr(space + 1));
  if (value != 0 && kind == "property")
    return build<PropertyNode>(start, Name("«" + start.text + "»", value));
  if (value != 0 && kind == "constant") return build<LiteralNode>(start, Value::constant(value));
  if (value != 0 && kind == "class") {
    Meaning raw;
    raw.words = 0;
    raw.text = start.text;
    raw.classCode = value;
    return classPrimary(raw, {});
  }
  wrongAt(start, error::syntax, wording(error::syntax, {"expression", "«" + start.text + "»"}));
}

}  // namespace quillbox::applescript

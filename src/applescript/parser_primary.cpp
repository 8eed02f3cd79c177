// The smallest pieces of expressions.
#include <array>
#include <numbers>

#include "applescript/parser.h"

namespace quillbox::applescript {

namespace {

struct NamedConstant {
  std::string_view word;
  Value (*value)();
};

const NamedConstant kConstants[] = {
    {"true", [] { return Value::boolean(true); }},        {"false", [] { return Value::boolean(false); }},
    {"pi", [] { return Value::real(std::numbers::pi); }}, {"tab", [] { return Value::text("\t"); }},
    {"space", [] { return Value::text(" "); }},           {"quote", [] { return Value::text("\""); }},
    {"return", [] { return Value::text("\r"); }},         {"linefeed", [] { return Value::text("\n"); }},
};

struct Ordinal {
  std::string_view word;
  SpecifierForm form;
  std::int64_t index;
};

constexpr std::array kOrdinals = {
    Ordinal{"first", SpecifierForm::Index, 1},   Ordinal{"second", SpecifierForm::Index, 2},
    Ordinal{"third", SpecifierForm::Index, 3},   Ordinal{"fourth", SpecifierForm::Index, 4},
    Ordinal{"fifth", SpecifierForm::Index, 5},   Ordinal{"sixth", SpecifierForm::Index, 6},
    Ordinal{"seventh", SpecifierForm::Index, 7}, Ordinal{"eighth", SpecifierForm::Index, 8},
    Ordinal{"ninth", SpecifierForm::Index, 9},   Ordinal{"tenth", SpecifierForm::Index, 10},
    Ordinal{"last", SpecifierForm::Index, -1},   Ordinal{"front", SpecifierForm::Index, 1},
    Ordinal{"back", SpecifierForm::Index, -1},   Ordinal{"middle", SpecifierForm::Middle, 0},
    Ordinal{"some", SpecifierForm::Some, 0},
};

}  // namespace

bool Parser::beginsKey() const {
  const auto& here = token();
  switch (here.kind) {
    case TokenKind::Integer:
    case TokenKind::Real:
    case TokenKind::String:
    case TokenKind::Piped:
      return true;
    case TokenKind::Symbol:
      // `item -1`, `item -i`: the sign belongs to what it touches.
      return here.text == "(" ||
             (here.text == "-" && token(1).begin == here.end && here.begin > tokens_[at_ - 1].end &&
              (token(1).kind == TokenKind::Integer || token(1).kind == TokenKind::Word ||
               token(1).kind == TokenKind::Piped || token(1).isSymbol("(")));
    case TokenKind::Word:
      return isIdentifier() && !operatorHere() && here.text != "exists";
    default:
      return false;
  }
}

bool Parser::beginsExpression() const {
  const auto& here = token();
  switch (here.kind) {
    case TokenKind::NewLine:
    case TokenKind::End:
      return false;
    case TokenKind::Symbol:
      return here.text == "(" || here.text == "{" || here.text == "-" || here.text == "+";
    case TokenKind::Word:
      break;
    default:
      return true;
  }
  if (!isReserved(here.text)) return true;
  static constexpr std::string_view kStarts[] = {
      "a",     "after", "back",   "before",    "beginning", "behind", "continue", "end",     "every",
      "false", "first", "second", "third",     "fourth",    "fifth",  "sixth",    "seventh", "eighth",
      "ninth", "tenth", "front",  "in",        "it",        "its",    "last",     "me",      "middle",
      "my",    "not",   "ref",    "reference", "return",    "some",   "the",      "true"};
  for (const auto& word : kStarts) {
    if (here.text == word) return word != "in" || isWord("front", 1) || isWord("back", 1);
  }
  return false;
}

NodePtr Parser::primary(Stops stops) {
  guardStack();
  const auto& start = token();
  switch (start.kind) {
    case TokenKind::Integer:
      ++at_;
      return build<LiteralNode>(start, Value::integer(start.integer));
    case TokenKind::Real:
      ++at_;
      return build<LiteralNode>(start, Value::real(start.real));
    case TokenKind::String:
      ++at_;
      return build<LiteralNode>(start, Value::text(start.text));
    case TokenKind::Ordinal:
      ++at_;
      return ordinalElement(SpecifierForm::Index, start.integer);
    case TokenKind::Raw: {
      auto node = rawTerm();
      return node;
    }
    case TokenKind::Piped:
      break;
    case TokenKind::Word:
      return wordPrimary(stops);
    case TokenKind::Symbol:
      if (acceptSymbol("(")) {
        auto inner = expression();
        expectSymbol(")");
        return inner;
      }
      if (isSymbol("{")) return listOrRecord();
      wrong("expression");
    default:
      wrong("expression");
  }
  if (token(1).isSymbol("(")) {
    ++at_;
    return call(Name(spelling(start)), start);
  }
  if (token(1).isSymbol(":")) return interleavedCall(start);
  if (beginsLabelledCall()) {
    ++at_;
    return labelledCall(Name(spelling(start)), start);
  }
  return variableOrBareCall(start);
}

NodePtr Parser::listOrRecord() {
  const auto& start = token();
  expectSymbol("{");
  skipLines();
  const auto isKey = [&] {
    if (token().kind == TokenKind::Piped) return token(1).isSymbol(":");
    if (token().kind == TokenKind::Raw) return token(1).isSymbol(":");
    if (token().kind != TokenKind::Word) return false;
    if (const auto term = meaning()) return token(term->words).isSymbol(":");
    return token(1).isSymbol(":");
  };
  if (isKey()) {
    auto record = build<RecordNode>(start);
    do {
      skipLines();
      if (!isKey()) wrong("identifier");
      auto name = memberName();
      expectSymbol(":");
      record->fields.emplace_back(std::move(name), expression());
      deepen(*record, record->fields.back().second.get());
      skipLines();
    } while (acceptSymbol(","));
    expectSymbol("}");
    return record;
  }
  auto list = build<ListNode>(start);
  if (!isSymbol("}")) {
    do {
      skipLines();
      list->items.push_back(expression());
      deepen(*list, list->items.back().get());
      skipLines();
    } while (acceptSymbol(","));
  }
  expectSymbol("}");
  return list;
}

NodePtr Parser::wordPrimary(Stops stops) {
  const auto& start = token();
  const auto& word = start.text;
  const auto term = meaning();
  // Terms of several words come first: `the clipboard`, `text item delimiters`.
  if (term && term->words > 1) return termPrimary(*term, stops);
  if (word == "the") {
    ++at_;
    return primary(stops);
  }
  if (word == "missing" && isWord("value", 1)) {
    at_ += 2;
    return build<LiteralNode>(start, Value::missing());
  }
  if (word == "current" && isWord("application", 1)) {
    at_ += 2;
    return build<ApplicationNode>(start, nullptr);
  }
  if ((word == "a" && (isWord("reference", 1) || isWord("ref", 1))) || word == "reference" || word == "ref") {
    at_ += word == "a" ? 2 : 1;
    acceptWord("to");
    return build<UnaryNode>(start, NodeKind::ReferenceTo, reference(stops));
  }
  const auto plain = [&](NodeKind kind) {
    ++at_;
    return build<PlainNode>(start, kind);
  };
  if (word == "it") return plain(NodeKind::It);
  if (word == "me") return plain(NodeKind::Me);
  if (word == "result") return plain(NodeKind::Result);
  if (word == "applescript") return plain(NodeKind::LanguageObject);
  if (word == "my" || word == "its") {
    ++at_;
    auto owner = build<PlainNode>(start, word == "my" ? NodeKind::Me : NodeKind::It);
    return attach(primary(stops), std::move(owner), start);
  }
  if (word == "continue") {
    ++at_;
    return build<UnaryNode>(start, NodeKind::Continue, expression(stops));
  }
  for (const auto& constant : kConstants) {
    if (word != constant.word) continue;
    ++at_;
    return build<LiteralNode>(start, constant.value());
  }
  if (word == "every" || word == "each") {
    if (word == "every" || (meaning(1) && meaning(1)->classCode != 0)) {
      ++at_;
      return ordinalElement(SpecifierForm::Every, 0);
    }
  }
  for (const auto& ordinal : kOrdinals) {
    if (word != ordinal.word) continue;
    if (!meaning(1) || meaning(1)->classCode == 0) break;
    ++at_;
    return ordinalElement(ordinal.form, ordinal.index);
  }
  if (word == "end" || word == "back") return point(SpecifierForm::End, false);
  if (word == "beginning" || word == "front") return point(SpecifierForm::Beginning, false);
  if (word == "before") return point(SpecifierForm::PointBefore, true);
  if (word == "after" || word == "behind") return point(SpecifierForm::PointAfter, true);
  if (word == "in" && (isWord("front", 1) || isWord("back", 1))) {
    ++at_;
    const bool front = isWord("front");
    expectWord(front ? "front" : "back");
    expectWord("of");
    --at_;
    return point(front ? SpecifierForm::PointBefore : SpecifierForm::PointAfter, true);
  }
  // `class of x is script`: a class, though the word also begins a statement.
  if (isReserved(word) && word != "script") wrong("expression");
  if (term) return termPrimary(*term, stops);
  if (token(1).isSymbol("(")) {
    ++at_;
    return call(Name(spelling(start)), start);
  }
  if (token(1).isSymbol(":")) return interleavedCall(start);
  if (beginsLabelledCall()) {
    ++at_;
    return labelledCall(Name(spelling(start)), start);
  }
  return variableOrBareCall(start);
}

NodePtr Parser::point(SpecifierForm form, bool needsTarget) {
  const auto& start = tokens_[at_++];
  NodePtr container;
  if (needsTarget) {
    acceptWord("of");
    container = chain({});
  } else if (acceptWord("of") || acceptWord("in")) {
    container = chain({});
  }
  auto node = build<PointNode>(start, form, nullptr);
  deepen(*node, container.get());
  node->container = std::move(container);
  return node;
}

Meaning Parser::classTerm() {
  acceptWord("the");
  // The longest term may be a property, `message id`, where a class with its key is meant.
  for (std::size_t limit = SIZE_MAX; limit > 0;) {
    const auto term = meaning(0, limit);
    if (!term) break;
    if (term->classCode != 0) {
      at_ += term->words;
      return *term;
    }
    limit = term->words - 1;
  }
  wrong("class name");
}

NodePtr Parser::ordinalElement(SpecifierForm form, std::int64_t index) {
  const auto& start = tokens_[at_ - 1];
  auto node = build<ElementNode>(start);
  if (token().kind == TokenKind::Raw) {
    auto raw = rawTerm();
    if (raw->kind == NodeKind::Element) node->classCode = static_cast<ElementNode&>(*raw).classCode;
    if (raw->kind == NodeKind::Literal) node->classCode = static_cast<LiteralNode&>(*raw).value.asCode();
  } else {
    node->classCode = classTerm().classCode;
  }
  node->form = form;
  if (form == SpecifierForm::Index) node->key = build<LiteralNode>(start, Value::integer(index));
  if (form == SpecifierForm::Every && isWord("from")) {
    ++at_;
    node->form = SpecifierForm::Range;
    node->key = rangeEnd();
    expectWord("to");
    node->secondKey = rangeEnd();
  }
  return node;
}

}  // namespace quillbox::applescript

#include "applescript/parser.h"

#include <fmt/format.h>

#include "applescript/own_stack.h"
#include "applescript/stack.h"

namespace quillbox::applescript {

namespace {

constexpr std::uint16_t kDeepestTree = 2000;

const std::unordered_set<std::string_view>& reservedWords() {
  static const std::unordered_set<std::string_view> words = {
      "about",   "above",   "after",     "against",     "and",         "apart",    "around",   "as",
      "aside",   "back",    "before",    "beginning",   "behind",      "below",    "beneath",  "beside",
      "between", "but",     "by",        "considering", "contain",     "contains", "continue", "copy",
      "div",     "does",    "doesn't",   "eighth",      "else",        "end",      "equal",    "equals",
      "error",   "every",   "exit",      "false",       "fifth",       "first",    "for",      "fourth",
      "from",    "front",   "given",     "global",      "if",          "ignoring", "in",       "instead",
      "into",    "is",      "isn't",     "it",          "its",         "last",     "local",    "me",
      "middle",  "mod",     "my",        "ninth",       "not",         "of",       "on",       "onto",
      "or",      "out",     "over",      "prop",        "property",    "put",      "ref",      "reference",
      "repeat",  "return",  "returning", "script",      "second",      "seventh",  "since",    "sixth",
      "some",    "tell",    "tenth",     "that",        "the",         "then",     "third",    "through",
      "thru",    "timeout", "times",     "to",          "transaction", "true",     "try",      "until",
      "where",   "while",   "whose",     "with",        "without",     "at"};
  return words;
}

}  // namespace

bool isReserved(std::string_view word) {
  return reservedWords().contains(word);
}

bool isPreposition(std::string_view word) {
  static const std::unordered_set<std::string_view> words = {
      "about",  "above",   "against", "apart", "around",  "aside",   "at",   "below", "beneath",
      "beside", "between", "by",      "for",   "from",    "instead", "into", "on",    "onto",
      "out",    "over",    "since",   "thru",  "through", "under",   "to"};
  return words.contains(word);
}

Parser::Parser(std::string_view source, const std::vector<Token>& tokens, Host& host)
    : source_(source), tokens_(tokens), host_(host), stackStart_(stackPosition()) {
  findLabelledHandlers();
}

std::unique_ptr<ScriptNode> Parser::parse() {
  auto script = build<ScriptNode>(token());
  scriptBody(*script, true);
  return script;
}

const Token& Parser::token(std::size_t ahead) const {
  return tokens_[std::min(at_ + ahead, tokens_.size() - 1)];
}

bool Parser::atLineEnd() const {
  return token().kind == TokenKind::NewLine || token().kind == TokenKind::End;
}

bool Parser::acceptWord(std::string_view word) {
  if (!isWord(word)) return false;
  ++at_;
  return true;
}

bool Parser::acceptWords(std::initializer_list<std::string_view> words) {
  std::size_t ahead = 0;
  for (const auto& word : words) {
    if (!isWord(word, ahead++)) return false;
  }
  at_ += ahead;
  return true;
}

bool Parser::acceptSymbol(std::string_view symbol) {
  if (!isSymbol(symbol)) return false;
  ++at_;
  return true;
}

void Parser::expectWord(std::string_view word) {
  if (!acceptWord(word)) wrong(fmt::format("“{}”", word));
}

void Parser::expectSymbol(std::string_view symbol) {
  if (!acceptSymbol(symbol)) wrong(fmt::format("“{}”", symbol));
}

void Parser::skipLines() {
  while (token().kind == TokenKind::NewLine) ++at_;
}

void Parser::expectLineEnd() {
  if (atLineEnd()) return;
  // Two operands in a row are told apart from other ends that come too late.
  const auto isOperand = [](std::string_view described) {
    return described == "identifier" || described == "number" || described == "“\"”";
  };
  if (at_ > 0) {
    const auto found = describe(0);
    --at_;
    const auto before = describe(0);
    ++at_;
    if (isOperand(found) && isOperand(before))
      wrongAt(token(), error::cannotGoAfter, wording(error::cannotGoAfter, {found, before}));
  }
  wrong("end of line, etc.");
}

void Parser::wrong(std::string_view expected) {
  wrongAt(token(), error::syntax, wording(error::syntax, {expected, describe(0)}));
}

void Parser::wrongAt(const Token& token, std::int64_t number, std::string message) {
  SyntaxError problem;
  problem.failure.number = number;
  problem.failure.message = std::move(message);
  problem.failure.line = token.line;
  problem.failure.column = token.column;
  problem.failure.atCompileTime = true;
  throw SyntaxError(std::move(problem));
}

std::string Parser::describe(std::size_t ahead) const {
  const auto& found = token(ahead);
  switch (found.kind) {
    case TokenKind::NewLine:
      return "end of line";
    case TokenKind::End:
      return "end of script";
    case TokenKind::Integer:
    case TokenKind::Real:
    case TokenKind::Ordinal:
      return "number";
    case TokenKind::String:
      return "“\"”";
    case TokenKind::Raw:
      return "«";
    case TokenKind::Piped:
      return "identifier";
    case TokenKind::Symbol:
      return fmt::format("“{}”", found.text);
    case TokenKind::Word:
      break;
  }
  if (isReserved(found.text)) return fmt::format("“{}”", found.text);
  if (const auto term = meaning(ahead)) {
    if (term->property != 0) return "property";
    if (term->classCode != 0) return term->plural ? "plural class name" : "class name";
    if (term->command) return "command name";
    return "application constant or consideration";
  }
  return "identifier";
}

void Parser::deepen(Node& node, const Node* child) {
  if (!child) return;
  node.depth = std::max(node.depth, static_cast<std::uint16_t>(child->depth + 1));
  if (node.depth > kDeepestTree)
    wrongAt(token(), error::syntax,
            wording(error::syntax, {"a simpler expression", "one that nests too deeply"}));
}

std::optional<Meaning> Parser::meaning(std::size_t ahead, std::size_t limit) const {
  return scope_.match(tokens_, at_ + ahead, limit);
}

std::string_view Parser::spelling(const Token& token) const {
  return token.kind == TokenKind::Piped ? std::string_view(token.text)
                                        : source_.substr(token.begin, token.end - token.begin);
}

bool Parser::isIdentifier(std::size_t ahead) const {
  if (token(ahead).kind == TokenKind::Piped) return true;
  return token(ahead).kind == TokenKind::Word && !isReserved(token(ahead).text) && !meaning(ahead);
}

Name Parser::identifier() {
  acceptWord("the");
  if (!isIdentifier()) wrong("variable name");
  return Name(spelling(tokens_[at_++]));
}

// The name of a property or of a record field: a term, whatever it means elsewhere, or an identifier.
Name Parser::memberName() {
  if (token().kind == TokenKind::Piped) return Name(spelling(tokens_[at_++]));
  if (token().kind == TokenKind::Raw) {
    const auto& raw = tokens_[at_++].text;  // «class xxxx»
    return Name("«" + raw + "»", code(raw.substr(raw.size() - std::min<std::size_t>(4, raw.size()))));
  }
  if (token().kind != TokenKind::Word) wrong("identifier");
  if (const auto term = meaning()) {
    at_ += term->words;
    return Name(term->text, term->property != 0 ? term->property : term->classCode);
  }
  return Name(spelling(tokens_[at_++]));
}

Application* Parser::applicationNamed(std::string_view name) const {
  return host_.application(name);
}

// A reference such as `name of first account of application "Mail"` uses terms before it says whose they are.
void Parser::noteLineApplications() {
  // A statement inside another of the same line.
  if (at_ < notedLineEnd_) return;
  std::vector<const Terminology*> found;
  for (std::size_t i = at_; i + 1 < tokens_.size(); ++i) {
    const auto& here = tokens_[i];
    notedLineEnd_ = i;
    if (here.kind == TokenKind::NewLine) break;
    if (!here.isWord("application") && !here.isWord("app")) continue;
    if (tokens_[i + 1].kind != TokenKind::String) continue;
    if (const auto* application = applicationNamed(tokens_[i + 1].text))
      found.push_back(&application->terminology());
  }
  scope_.setLine(std::move(found));
}

void Parser::guardStack() {
  if (stackUsedSince(stackStart_) < stackOfThisBuild(kParserStack)) return;
  wrongAt(token(), error::syntax, wording(error::syntax, {"a simpler script", "one that nests too deeply"}));
}

}  // namespace quillbox::applescript

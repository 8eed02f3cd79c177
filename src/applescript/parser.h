// Tokens to a syntax tree. Inside, an error is thrown as SyntaxError and caught by parse().
#pragma once

#include <memory>
#include <optional>
#include <string>
#include <string_view>
#include <unordered_set>
#include <vector>

#include "applescript/ast.h"
#include "applescript/errors.h"
#include "applescript/host.h"
#include "applescript/lexer.h"
#include "applescript/term_scope.h"

namespace quillbox::applescript {

struct SyntaxError {
  Failure failure;
};

// Words that no variable can have as its name unless it stands between bars.
bool isReserved(std::string_view word);
// above, from, thru ...: the labels of handler parameters.
bool isPreposition(std::string_view word);

// How much of the stack that it is called on the parser uses before it gives up, in an optimised build.
constexpr std::size_t kParserStack = std::size_t{2} << 20U;

// What surrounds an expression and ends it early.
struct Stops {
  const Command* command = nullptr;  // the one outside: its parameters' names come before operators
  bool in = false;                   // `in` does not lead to a container
  bool whose = false;                // the filter belongs to the whole reference
};

class Parser {
 public:
  Parser(std::string_view source, const std::vector<Token>& tokens, Host& host);

  // Throws SyntaxError.
  std::unique_ptr<ScriptNode> parse();

 private:
  // Tokens (parser.cpp).
  const Token& token(std::size_t ahead = 0) const;
  bool isWord(std::string_view word, std::size_t ahead = 0) const { return token(ahead).isWord(word); }
  bool isSymbol(std::string_view symbol) const { return token().isSymbol(symbol); }
  bool atLineEnd() const;
  bool acceptWord(std::string_view word);
  bool acceptWords(std::initializer_list<std::string_view> words);
  bool acceptSymbol(std::string_view symbol);
  void expectWord(std::string_view word);
  void expectSymbol(std::string_view symbol);
  void skipLines();
  void expectLineEnd();
  [[noreturn]] void wrong(std::string_view expected);
  [[noreturn]] void wrongAt(const Token& token, std::int64_t number, std::string message);
  std::string describe(std::size_t ahead) const;
  template <class T>
  std::unique_ptr<T> placed(std::unique_ptr<T> node, const Token& start) const;
  template <class T, class... Arguments>
  std::unique_ptr<T> build(const Token& start, Arguments&&... arguments) const;
  // An error when the recursion that reached here has used up its part of the stack.
  void guardStack();
  // Notes that `child` hangs below `node`; an error when that is too deep.
  void deepen(Node& node, const Node* child);
  std::optional<Meaning> meaning(std::size_t ahead = 0, std::size_t limit = SIZE_MAX) const;
  std::string_view spelling(const Token& token) const;
  bool isIdentifier(std::size_t ahead = 0) const;
  Name identifier();
  Name memberName();
  void noteLineApplications();
  Application* applicationNamed(std::string_view name) const;

  // Statements (parser_statements.cpp, parser_blocks.cpp).
  void scriptBody(ScriptNode& script, bool top);
  void scriptItem(ScriptNode& script, Block& statements);
  Block block();
  void blockEnd(std::initializer_list<std::string_view> names);
  NodePtr statement();
  NodePtr simpleStatement();
  NodePtr setStatement(bool copies);
  NodePtr ifStatement();
  NodePtr repeatStatement();
  NodePtr tellStatement();
  NodePtr tryStatement();
  NodePtr errorStatement();
  NodePtr consideringStatement();
  NodePtr withStatement();
  NodePtr usingTermsStatement(ScriptNode* script, Block* statements);
  NodePtr declaration(bool global);
  std::unique_ptr<ScriptNode> scriptStatement();
  void useStatement();
  void propertyDeclaration(ScriptNode& script);
  Block oneStatement();

  // Handlers (parser_handlers.cpp).
  std::unique_ptr<HandlerNode> handler();
  void eventParameters(HandlerNode& handler, const Command& command);
  void labelledParameters(HandlerNode& handler);
  NodePtr parameterTarget();
  void findLabelledHandlers();
  NodePtr call(Name name, const Token& start);
  NodePtr interleavedCall(const Token& start);
  NodePtr variableOrBareCall(const Token& start);
  NodePtr labelledCall(Name name, const Token& start);
  bool beginsLabelledCall() const;
  std::vector<NodePtr> arguments();
  bool commaBeforeAnd() const;
  bool commaBeforeLabel() const;
  NodePtr command(const Meaning& meaning);
  void commandParameters(CommandNode& node);
  bool booleanParameters(CommandNode& node, bool value);
  const CommandParameter* parameterLabel(const Command& command, std::size_t& words,
                                         std::size_t ahead = 0) const;
  // Whether `of`, or an `in` that means the same, stands there.
  bool isOf(const Stops& stops, std::size_t ahead = 0) const;
  NodePtr typeName();

  // Expressions (parser_expressions.cpp).
  NodePtr expression(Stops stops = {});
  NodePtr binary(int minimum, Stops stops);
  NodePtr unary(Stops stops);
  struct OperatorMatch {
    Operator operation;
    int precedence;
    std::size_t words;
    bool isConcat = false;
    bool isCoercion = false;
  };
  std::optional<OperatorMatch> operatorHere() const;
  std::optional<OperatorMatch> wordOperator() const;

  // References (parser_references.cpp, parser_primary.cpp).
  NodePtr reference(Stops stops);
  NodePtr chain(Stops stops);
  NodePtr attach(NodePtr node, NodePtr container, const Token& place);
  void filter(NodePtr& node, Stops stops);
  NodePtr possessive(NodePtr container, Stops stops);
  NodePtr primary(Stops stops);
  NodePtr wordPrimary(Stops stops);
  NodePtr termPrimary(const Meaning& meaning, Stops stops);
  NodePtr listOrRecord();
  NodePtr ordinalElement(SpecifierForm form, std::int64_t index);
  NodePtr classPrimary(const Meaning& meaning, Stops stops);
  NodePtr elementKey(std::unique_ptr<ElementNode> element, Stops stops);
  NodePtr key();
  NodePtr rangeEnd();
  bool beginsKey() const;
  bool beginsExpression() const;
  NodePtr applicationReference();
  NodePtr rawTerm();
  NodePtr point(SpecifierForm form, bool needsTarget);
  Meaning classTerm();

  std::string_view source_;
  const std::vector<Token>& tokens_;
  std::size_t at_ = 0;
  std::size_t notedLineEnd_ = 0;  // of the line whose applications are known
  Host& host_;
  TermScope scope_;
  std::unordered_set<std::string> labelled_;  // names of handlers with labelled parameters
  std::unordered_set<std::string> bare_;      // handlers that are called by their name alone
  const char* stackStart_ = nullptr;
  int tellDepth_ = 0;  // of the present handler
};

template <class T>
std::unique_ptr<T> Parser::placed(std::unique_ptr<T> node, const Token& start) const {
  node->line = start.line;
  node->column = start.column;
  return node;
}

template <class T, class... Arguments>
std::unique_ptr<T> Parser::build(const Token& start, Arguments&&... arguments) const {
  return placed(std::make_unique<T>(std::forward<Arguments>(arguments)...), start);
}

}  // namespace quillbox::applescript

// Tokens as text, for people who look for a fault.
#include <fmt/format.h>

#include "applescript/interpreter.h"
#include "applescript/lexer.h"
#include "applescript/tree_dump.h"
#include "base/text.h"

namespace quillbox::applescript {

namespace {

std::string_view kindName(TokenKind kind) {
  switch (kind) {
    case TokenKind::Word:
      return "word";
    case TokenKind::Piped:
      return "piped";
    case TokenKind::Integer:
      return "integer";
    case TokenKind::Real:
      return "real";
    case TokenKind::Ordinal:
      return "ordinal";
    case TokenKind::String:
      return "string";
    case TokenKind::Raw:
      return "raw";
    case TokenKind::Symbol:
      return "symbol";
    case TokenKind::NewLine:
      return "newline";
    case TokenKind::End:
      return "end";
  }
  return "";
}

}  // namespace

std::string dumpTokens(std::string_view source) {
  std::vector<Token> tokens;
  const auto done = tokenize(source, tokens);
  std::string out;
  for (const auto& token : tokens) {
    out += fmt::format("{}:{} {} {}", token.line, token.column, kindName(token.kind),
                       text::singleLine(token.text));
    while (out.back() == ' ') out.pop_back();
    out += '\n';
  }
  if (!done) {
    out += fmt::format("{}:{} error {} ({})\n", done.error().line, done.error().column, done.error().message,
                       done.error().number);
  }
  return out;
}

std::string dumpTree(const Program& program) {
  TreeDump dump;
  dump.script(*program.script);
  return dump.take();
}

}  // namespace quillbox::applescript

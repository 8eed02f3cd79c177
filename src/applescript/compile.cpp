// From source text to a program, with everything that can be wrong about it.
#include <new>

#include "applescript/interpreter.h"
#include "applescript/lexer.h"
#include "applescript/own_stack.h"
#include "applescript/parser.h"
#include "applescript/resolver.h"

namespace quillbox::applescript {

namespace {

constexpr std::size_t kLongestSource = std::size_t{16} << 20U;  // bytes

std::shared_ptr<Program> parsed(std::string_view source, const std::vector<Token>& tokens, Host& host) {
  auto program = std::make_shared<Program>();
  program->source = source;
  program->script = Parser(source, tokens, host).parse();
  resolve(*program);
  return program;
}

}  // namespace

Outcome<std::shared_ptr<const Program>> compile(std::string_view source, Host& host) {
  const auto tooLong = [&] {
    Failure failure;
    failure.number = error::outOfMemory;
    failure.message = wording(error::outOfMemory);
    failure.line = 1;
    failure.column = 1;
    failure.atCompileTime = true;
    return std::unexpected(std::move(failure));
  };
  if (source.size() > kLongestSource) return tooLong();
  try {
    std::vector<Token> tokens;
    if (auto done = tokenize(source, tokens); !done) return std::unexpected(std::move(done.error()));
    std::shared_ptr<Program> program;
    runOnOwnStack(kParserStack, [&] { program = parsed(source, tokens, host); });
    return program;
  } catch (SyntaxError& problem) {
    return std::unexpected(std::move(problem.failure));
  } catch (const OutOfScriptMemory&) {
    return tooLong();
  } catch (const std::bad_alloc&) {
    return tooLong();
  }
}

}  // namespace quillbox::applescript

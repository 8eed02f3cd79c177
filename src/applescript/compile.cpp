// From source text to a program, with everything that can be wrong about it.
#include "applescript/interpreter.h"
#include "applescript/lexer.h"
#include "applescript/parser.h"
#include "applescript/resolver.h"

namespace quillbox::applescript {

namespace {

constexpr std::size_t kLongestSource = std::size_t{16} << 20U;  // bytes

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
    auto program = std::make_shared<Program>();
    program->source = source;
    program->script = Parser(source, tokens, host).parse();
    resolve(*program);
    return program;
  } catch (SyntaxError& problem) {
    return std::unexpected(std::move(problem.failure));
  } catch (const OutOfScriptMemory&) {
    return tooLong();
  }
}

}  // namespace quillbox::applescript

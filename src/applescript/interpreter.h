// AppleScript: compile a text, run it, call its handlers, print what comes back.
//
//   auto program = compile(source, host);
//   if (!program) return program.error();   // has line, column and number -2740 or -2741
//
//   Interpreter interpreter(*program, host, Limits{});
//   auto result = interpreter.run();        // or call("processMessages", {Value::list(...)})
//   if (result) puts(interpreter.source(*result).c_str());  // {"a", 2, mailbox "INBOX" of account "Work"}
#pragma once

#include <chrono>
#include <cstddef>
#include <cstdint>
#include <memory>
#include <string>
#include <string_view>
#include <vector>

#include "applescript/errors.h"
#include "applescript/host.h"
#include "applescript/value.h"

namespace quillbox::applescript {

// What a run may use. Steps and time end it for good (no `try` catches them), memory and depth are ordinary
// errors of the script.
struct Limits {
  std::uint64_t steps = 0;                          // statements and calls; 0 is without limit: -4020
  std::chrono::nanoseconds time{0};                 // 0 is without limit: -4021
  std::size_t memoryBytes = std::size_t{1} << 30U;  // -108
  std::size_t handlerDepth = 10'000;                // -2706
  std::size_t stackBytes = std::size_t{16} << 20U;  // of a stack of its own, in an optimised build: -2706
};

struct Program;

// Compiles a script. Any bytes give a program or one Failure with a place; `host` is asked for the
// terminology of the applications that the script tells, and must outlive the program.
Outcome<std::shared_ptr<const Program>> compile(std::string_view source, Host& host);

// One line for each token: line:column, kind, text. Ends with the error when the text has one.
std::string dumpTokens(std::string_view source);
// The syntax tree, a node a line, indented, variables with the place that was found for them.
std::string dumpTree(const Program& program);

class Evaluator;

// One instance of a script: its properties live as long as it does and are kept between calls. Used on one
// thread at a time; only cancel() may come from another.
class Interpreter {
 public:
  Interpreter(std::shared_ptr<const Program> program, Host& host, Limits limits = {});
  ~Interpreter();
  Interpreter(const Interpreter&) = delete;
  Interpreter& operator=(const Interpreter&) = delete;

  // The run handler, or the statements at the top. Nothing when the script gives no result.
  Outcome<Value> run();
  // A handler with positional parameters, by name without regard to case. -1708 when there is none.
  Outcome<Value> call(std::string_view handler, std::vector<Value> arguments);
  bool hasHandler(std::string_view handler) const;

  // Ends the call that runs now, and every later one, with -128.
  void cancel();

  // As AppleScript prints it: texts in quotes, lists in braces, references in full; "" for Nothing.
  std::string source(const Value& value) const;
  // As `as text` gives it; fails with -1700.
  Outcome<std::string> text(const Value& value) const;

 private:
  std::unique_ptr<Evaluator> evaluator_;
};

}  // namespace quillbox::applescript

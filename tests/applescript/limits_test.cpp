// What no script may do: hang, crash, or use more than it was given.
#include <atomic>
#include <string>
#include <thread>
#include <vector>

#include <gtest/gtest.h>
#include <pthread.h>

#include "applescript/interpreter.h"
#include "snippet.h"

namespace quillbox::applescript::cases {
namespace {

std::string repeated(std::string_view piece, std::size_t times) {
  std::string text;
  text.reserve(piece.size() * times);
  for (std::size_t i = 0; i < times; ++i) text += piece;
  return text;
}

// The result in source form, or "error NUMBER".
std::string outcomeOf(const std::string& source, const Limits& limits = {}) {
  QuietHost host;
  const auto program = compile(source, host);
  if (!program) {
    EXPECT_GT(program.error().line, 0);
    EXPECT_GT(program.error().column, 0);
    return "syntax error " + std::to_string(program.error().number);
  }
  Interpreter interpreter(*program, host, limits);
  const auto result = interpreter.run();
  return result ? interpreter.source(*result) : "error " + std::to_string(result.error().number);
}

TEST(Limits, SourcesThatNestTooDeeplyAreSyntaxErrors) {
  constexpr std::size_t kDeep = 100'000;
  const std::string sources[] = {
      repeated("(", kDeep),
      repeated("(", kDeep) + "1" + repeated(")", kDeep),
      repeated("{", kDeep),
      repeated("{a:", kDeep),
      repeated("- ", kDeep) + "1",
      repeated("not ", kDeep) + "true",
      repeated("item 1 of ", kDeep) + "x",
      "x" + repeated("'s name", kDeep),
      "1" + repeated(" + 1", kDeep),
      "\"\"" + repeated(" as text", kDeep),
      repeated("if true then ", kDeep) + "beep",
      repeated("tell me to ", kDeep) + "beep",
      repeated("repeat\n", kDeep),
      repeated("script\n", kDeep),
      repeated("try\n", kDeep) + repeated("end\n", kDeep),
      repeated("tell me\n", kDeep),
      repeated("a reference to ", kDeep) + "x",
      repeated("f(", kDeep),
      repeated("(*", kDeep),
      "on f(" + repeated("{", kDeep),
  };
  for (const auto& source : sources) {
    const auto outcome = outcomeOf(source);
    EXPECT_EQ(outcome, "syntax error -2741") << source.substr(0, 40);
  }
}

TEST(Limits, LongSourcesWithoutDepthAreFine) {
  EXPECT_EQ(outcomeOf("length of (\"a\"" + repeated(" & \"b\"", 50'000) + ")"), "50001");
  EXPECT_EQ(outcomeOf("count {1" + repeated(", 1", 100'000) + "}"), "100001");
  EXPECT_EQ(outcomeOf("set x to 0\n" + repeated("set x to x + 1\n", 50'000) + "x"), "50000");
  std::string choice = "set x to 30000\nif x = 0 then\n0\n";
  for (int i = 1; i <= 30'000; ++i)
    choice += "else if x = " + std::to_string(i) + " then\n" + std::to_string(i) + "\n";
  EXPECT_EQ(outcomeOf(choice + "end if"), "30000");
}

TEST(Limits, LiteralsAndSourcesHaveALargestSize) {
  EXPECT_EQ(outcomeOf("length of \"" + std::string(4U << 20U, 'x') + "\""), "4194304");
  EXPECT_EQ(outcomeOf("\"" + std::string(10U << 20U, 'x') + "\""), "syntax error -2741");
  EXPECT_EQ(outcomeOf(std::string(17U << 20U, ' ')), "syntax error -108");
}

TEST(Limits, RecursionWithoutEndIsAnErrorThatCanBeCaught) {
  EXPECT_EQ(outcomeOf("on f()\nf()\nend f\nf()"), "error -2706");
  EXPECT_EQ(
      outcomeOf(
          "on f(n)\nreturn {n, f(n + 1)}\nend f\ntry\nf(1)\non error number -2706\n\"caught\"\nend try"),
      "\"caught\"");
  EXPECT_EQ(outcomeOf("script a\non g()\ntell me to run\nend g\ng()\nend script\nrun a"), "error -2706");
  EXPECT_EQ(outcomeOf("on f(n)\nif n = 0 then return 0\nreturn 1 + f(n - 1)\nend f\nf(2000)"), "2000");
  EXPECT_EQ(outcomeOf("set s to \"run script s\"\nrun script s"), "error -2753");
}

// Also on a thread that has hardly any stack itself, and with an expression that nests in each call.
TEST(Limits, RecursionDoesNotDependOnTheStackOfTheThread) {
  struct Row {
    std::string source;
    std::string outcome;
  };
  const std::vector<Row> rows = {
      {"on f(n)\nif n = 0 then return 0\nreturn 1 + f(n - 1)\nend f\nf(2000)", "2000"},
      {"on f()\nf()\nend f\nf()", "error -2706"},
      {"on f()\nreturn " + repeated("{", 500) + "f()" + repeated("}", 500) + "\nend f\nf()", "error -2706"},
      {"count " + repeated("{", 900) + repeated("}", 900), "1"},
  };
  pthread_attr_t attributes;
  ASSERT_EQ(pthread_attr_init(&attributes), 0);
  ASSERT_EQ(pthread_attr_setstacksize(&attributes, std::size_t{512} << 10U), 0);
  pthread_t thread{};
  const auto work = [](void* given) -> void* {
    for (const auto& row : *static_cast<const std::vector<Row>*>(given))
      EXPECT_EQ(outcomeOf(row.source), row.outcome) << row.source.substr(0, 40);
    return nullptr;
  };
  ASSERT_EQ(pthread_create(&thread, &attributes, work, const_cast<std::vector<Row>*>(&rows)), 0);
  pthread_join(thread, nullptr);
  pthread_attr_destroy(&attributes);
}

TEST(Limits, DeepAndCircularValuesPrintCompareCopyAndDie) {
  const std::string deep = "set x to {}\nrepeat 300000 times\nset x to {x}\nend repeat\n";
  EXPECT_EQ(outcomeOf(deep + "count x"), "1");
  EXPECT_EQ(outcomeOf(deep + "set y to {}\nrepeat 300000 times\nset y to {y}\nend repeat\nx = y"),
            "error -2706");
  EXPECT_EQ(outcomeOf(deep + "copy x to y\ncount y"), "error -2706");
  EXPECT_LT(outcomeOf(deep + "x").size(), 1000U);
  const std::string circle = "set x to {1}\nset end of x to x\n";
  EXPECT_EQ(outcomeOf(circle + "x"), "{1, {…}}");
  EXPECT_EQ(outcomeOf(circle + "copy x to y\n{count y, item 2 of item 2 of item 2 of y = y}"), "{2, true}");
  EXPECT_EQ(outcomeOf(circle + "set y to {1}\nset end of y to y\nx = y"), "error -2706");
  EXPECT_EQ(outcomeOf(circle + "x as text"), "error -1700");
  EXPECT_EQ(outcomeOf("set r to {a:1}\nset a of r to r\nr"), "{a:{…}}");
  EXPECT_EQ(
      outcomeOf("script s\nproperty me_ : missing value\nend script\nset me_ of s to s\ns's me_'s me_ is s"),
      "true");
  EXPECT_EQ(outcomeOf("property p : 1\nset p to a reference to p\np + 1"), "error -2706");
}

TEST(Limits, StepsAndTimeEndARunForGood) {
  Limits steps;
  steps.steps = 10'000;
  EXPECT_EQ(outcomeOf("repeat\nend repeat", steps), "error -4020");
  EXPECT_EQ(outcomeOf("repeat\ntry\nrepeat\nend repeat\nend try\nend repeat", steps), "error -4020");
  EXPECT_EQ(outcomeOf("on f()\ntry\nf()\non error\nf()\nend try\nend f\nf()", steps), "error -4020");
  EXPECT_EQ(outcomeOf("repeat 1000 times\nend repeat\n1", steps), "1");
  Limits time;
  time.time = std::chrono::milliseconds(5);  // of the quiet host's clock, which steps on when it is asked
  EXPECT_EQ(outcomeOf("repeat\ntry\nset x to 1\nend try\nend repeat", time), "error -4021");
  EXPECT_EQ(outcomeOf("delay 1000000", time), "error -4021");
}

TEST(Limits, MemoryIsAnErrorOfTheScript) {
  Limits limits;
  limits.memoryBytes = 16U << 20U;
  EXPECT_EQ(outcomeOf("set t to \"x\"\nrepeat\nset t to t & t\nend repeat", limits), "error -108");
  EXPECT_EQ(outcomeOf("set x to {1}\nrepeat\nset x to x & x\nend repeat", limits), "error -108");
  EXPECT_EQ(outcomeOf("set x to {}\nrepeat\nset end of x to \"abc\" & 1\nend repeat", limits), "error -108");
  EXPECT_EQ(outcomeOf("set x to {}\nrepeat\nset x to {x, x}\nend repeat", limits), "error -108");
  EXPECT_EQ(outcomeOf("set t to \"x\"\nrepeat 21 times\nset t to t & t\nend repeat\ncharacters of t", limits),
            "error -108");
  // What is let go of is there again.
  EXPECT_EQ(outcomeOf("try\nset t to \"x\"\nrepeat\nset t to t & t\nend repeat\non error number -108\nset t "
                      "to 0\nend try\n"
                      "set u to \"x\"\nrepeat 20 times\nset u to u & u\nend repeat\nlength of u",
                      limits),
            "1048576");
  EXPECT_EQ(outcomeOf("repeat 200000 times\nset x to {1, 2, {3}}\nend repeat\ncount x", limits), "3");
}

TEST(Limits, CancellingFromAnotherThread) {
  QuietHost host;
  const auto program = compile("repeat\ntry\nset x to 1\nend try\nend repeat", host);
  ASSERT_TRUE(program);
  Interpreter interpreter(*program, host);
  std::thread other([&] { interpreter.cancel(); });
  const auto result = interpreter.run();
  other.join();
  ASSERT_FALSE(result);
  EXPECT_EQ(result.error().number, error::userCanceled);
}

TEST(Interpreters, KeepPropertiesBetweenCalls) {
  QuietHost host;
  const auto program = compile(
      "property total : 0\non add(n, {a, b})\nset total to total + n + a * b\nend add\n"
      "on fail(x)\nerror \"no \" & x number 77\nend fail\non run\ntotal\nend run\n"
      "on |Odd Name|()\nmy add(1, {0, 0})\nend |Odd Name|",
      host);
  ASSERT_TRUE(program) << program.error().message;
  Interpreter interpreter(*program, host);
  EXPECT_TRUE(interpreter.hasHandler("ADD"));
  EXPECT_FALSE(interpreter.hasHandler("subtract"));
  const auto pair = [] { return Value::list({Value::integer(2), Value::integer(5)}); };
  ASSERT_TRUE(interpreter.call("add", {Value::integer(3), pair()}));
  ASSERT_TRUE(interpreter.call("Add", {Value::text("4"), pair()}));
  ASSERT_TRUE(interpreter.call("odd name", {}));
  const auto total = interpreter.run();
  ASSERT_TRUE(total);
  EXPECT_EQ(total->asInteger(), 28);

  struct Row {
    const char* handler;
    std::vector<Value> arguments;
    std::int64_t number;
    const char* message;
  };
  const Row rows[] = {
      {"subtract", {}, -1708, "«script» doesn’t understand the “subtract” message."},
      {"add", {Value::integer(1)}, -1701, "The list parameter is missing for add."},
      {"fail", {Value::text("way")}, 77, "no way"},
      {"add", {Value::integer(1), Value::list({Value::integer(1)})}, -1728, "Can’t get item 2 of {1}."},
      {"add", {Value::text("x"), pair()}, -1700, "Can’t make \"x\" into type number."},
  };
  for (const auto& row : rows) {
    const auto result = interpreter.call(row.handler, row.arguments);
    ASSERT_FALSE(result) << row.handler;
    EXPECT_EQ(result.error().number, row.number);
    EXPECT_EQ(result.error().message, row.message);
  }
  // Another instance of the same program begins anew.
  Interpreter fresh(*program, host);
  EXPECT_EQ(fresh.run()->asInteger(), 0);
}

TEST(Interpreters, SayWhereAnErrorArose) {
  struct Row {
    const char* source;
    int line;
    int column;
  };
  const Row rows[] = {
      {"set x to 1\nset y to x + \"a\"", 2, 12},
      {"on f(a)\n\treturn item 3 of a\nend f\nf({1})", 2, 9},
      {"set x to {1,\n2, nowhere}", 2, 4},
      {"if true then\n  error \"é\"\nend if", 2, 3},
      {"set é to 1\nset ü to \"ä\" & (é of 3)", 2, 17},
      {"try\nerror 1\non error m\n\nerror m\nend try", 5, 1},
  };
  for (const auto& row : rows) {
    QuietHost host;
    const auto program = compile(row.source, host);
    ASSERT_TRUE(program) << row.source;
    Interpreter interpreter(*program, host);
    const auto result = interpreter.run();
    ASSERT_FALSE(result) << row.source;
    EXPECT_EQ(result.error().line, row.line) << row.source;
    EXPECT_EQ(result.error().column, row.column) << row.source;
  }
}

}  // namespace
}  // namespace quillbox::applescript::cases

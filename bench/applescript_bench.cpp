// The interpreter beside the machine's python3 doing the same work in the same run, and what it costs to
// compile and start the transfer text.
//
//   applescript_bench                                   each workload, ours and python3's
//   applescript_bench --benchmark_filter=quicksort
#include <algorithm>
#include <cstdio>
#include <ctime>
#include <fstream>
#include <functional>
#include <memory>
#include <optional>
#include <sstream>
#include <string>
#include <string_view>

#include <benchmark/benchmark.h>

#include "applescript/host.h"
#include "applescript/interpreter.h"
#include "automation/script_texts.h"

namespace quillbox::bench {
namespace {

namespace as = applescript;

std::string readFile(const std::string& path) {
  std::ifstream file(path, std::ios::binary);
  std::ostringstream text;
  text << file.rdbuf();
  return text.str();
}

// Knows the dictionary of one application, which answers nothing.
class SilentApplication final : public as::Application {
 public:
  SilentApplication(std::string name, std::shared_ptr<const as::Terminology> terms)
      : name_(std::move(name)), terms_(std::move(terms)) {}
  const std::string& name() const override { return name_; }
  const as::Terminology& terminology() const override { return *terms_; }
  as::Outcome<void> beginEvent(std::chrono::nanoseconds) override {
    return as::failure(as::error::notRunning);
  }
  void endEvent() override {}
  as::ObjectRef root() override { return nullptr; }
  as::Outcome<as::Value> perform(const as::Event&) override { return as::failure(as::error::notUnderstood); }

 private:
  std::string name_;
  std::shared_ptr<const as::Terminology> terms_;
};

class BenchHost final : public as::Host {
 public:
  as::Application* application(std::string_view name) override {
    for (auto* known : {mail_.get(), quillbox_.get()}) {
      if (known && known->name() == name) return known;
    }
    return nullptr;
  }
  std::chrono::nanoseconds now() override { return std::chrono::system_clock::now().time_since_epoch(); }
  std::chrono::seconds localOffset(std::chrono::nanoseconds) override { return {}; }
  std::chrono::nanoseconds steady() override { return std::chrono::steady_clock::now().time_since_epoch(); }
  std::uint64_t random() override { return 4; }
  void log(std::string_view) override {}
  void wait(std::chrono::nanoseconds, const std::function<bool()>&) override {}

 private:
  static std::unique_ptr<SilentApplication> application(const char* name, const char* file) {
    auto terms = as::Terminology::parse(readFile(std::string(QUILLBOX_SOURCE_DIR) + "/Resources/" + file));
    return terms ? std::make_unique<SilentApplication>(name, *terms) : nullptr;
  }

  std::unique_ptr<SilentApplication> mail_ = application("Mail", "Mail.sdef");
  std::unique_ptr<SilentApplication> quillbox_ = application("Quillbox 4", "Quillbox.sdef");
};

// The same work twice. Each text ends in the value `result`, which must come out alike; the Python one is
// wrapped in a function, where that language is at its fastest.
struct Workload {
  const char* name;
  const char* script;
  const char* python;
};

constexpr Workload kWorkloads[] = {
    {"million_additions",
     "set s to 0\n"
     "repeat with i from 1 to 1000000\n\tset s to s + i mod 7\nend repeat\n"
     "return s",
     "s = 0\n"
     "for i in range(1, 1000001):\n    s = s + i % 7\n"
     "return s"},
    {"additions_in_a_handler",
     "on total(n)\n\tset s to 0\n\trepeat with i from 1 to n\n\t\tset s to s + 1\n\tend repeat\n\treturn "
     "s\nend total\n"
     "return total(1000000)",
     "s = 0\n"
     "for i in range(1, 1000001):\n    s = s + 1\n"
     "return s"},
    {"text_of_100000_pieces",
     "set t to \"\"\n"
     "repeat with i from 1 to 100000\n\tset t to t & \"piece \" & i & linefeed\nend repeat\n"
     "return length of t",
     "t = ''\n"
     "for i in range(1, 100001):\n    t += 'piece ' + str(i) + '\\n'\n"
     "return len(t)"},
    {"list_of_100000_items",
     "set xs to {}\n"
     "repeat with i from 1 to 100000\n\tset end of xs to i\nend repeat\n"
     "return count xs",
     "xs = []\n"
     "for i in range(1, 100001):\n    xs.append(i)\n"
     "return len(xs)"},
    {"quicksort_of_10000_numbers",
     "on quicksort(xs, low, high)\n"
     "\tif low ≥ high then return\n"
     "\tset pivot to item ((low + high) div 2) of xs\n"
     "\tset i to low\n\tset j to high\n"
     "\trepeat while i ≤ j\n"
     "\t\trepeat while item i of xs < pivot\n\t\t\tset i to i + 1\n\t\tend repeat\n"
     "\t\trepeat while item j of xs > pivot\n\t\t\tset j to j - 1\n\t\tend repeat\n"
     "\t\tif i ≤ j then\n"
     "\t\t\tset kept to item i of xs\n\t\t\tset item i of xs to item j of xs\n\t\t\tset item j of xs to "
     "kept\n"
     "\t\t\tset i to i + 1\n\t\t\tset j to j - 1\n"
     "\t\tend if\n"
     "\tend repeat\n"
     "\tquicksort(xs, low, j)\n\tquicksort(xs, i, high)\n"
     "end quicksort\n"
     "set xs to {}\nset seed to 1\n"
     "repeat 10000 times\n\tset seed to (seed * 171) mod 30269\n\tset end of xs to seed\nend repeat\n"
     "quicksort(xs, 1, count xs)\n"
     "return (item 1 of xs) + (item 5000 of xs) + (item -1 of xs)",
     "def quicksort(xs, low, high):\n"
     "    if low >= high:\n        return\n"
     "    pivot = xs[(low + high) // 2]\n"
     "    i = low\n    j = high\n"
     "    while i <= j:\n"
     "        while xs[i] < pivot:\n            i = i + 1\n"
     "        while xs[j] > pivot:\n            j = j - 1\n"
     "        if i <= j:\n"
     "            kept = xs[i]\n            xs[i] = xs[j]\n            xs[j] = kept\n"
     "            i = i + 1\n            j = j - 1\n"
     "    quicksort(xs, low, j)\n    quicksort(xs, i, high)\n"
     "xs = []\nseed = 1\n"
     "for n in range(10000):\n    seed = (seed * 171) % 30269\n    xs.append(seed)\n"
     "quicksort(xs, 0, len(xs) - 1)\n"
     "return xs[0] + xs[4999] + xs[-1]"},
    {"lines_5000_parsed",
     "set t to \"\"\n"
     "repeat with i from 1 to 5000\n\tset t to t & \"name\" & i & \",\" & i & \",note \" & i & linefeed\nend "
     "repeat\n"
     "set total to 0\nset rows to {}\n"
     "set AppleScript's text item delimiters to \",\"\n"
     "repeat with aLine in paragraphs of t\n"
     "\tset parts to text items of aLine\n"
     "\tif (count parts) is 3 then\n"
     "\t\tset {aName, aNumber, aNote} to parts\n"
     "\t\tset total to total + (aNumber as integer)\n"
     "\t\tset end of rows to {theName:aName, theNumber:aNumber as integer, theNote:aNote}\n"
     "\tend if\n"
     "end repeat\n"
     "return total + (count rows)",
     "t = ''\n"
     "for i in range(1, 5001):\n    t += 'name' + str(i) + ',' + str(i) + ',note ' + str(i) + '\\n'\n"
     "total = 0\nrows = []\n"
     "for line in t.split('\\n'):\n"
     "    parts = line.split(',')\n"
     "    if len(parts) == 3:\n"
     "        name, number, note = parts\n"
     "        total = total + int(number)\n"
     "        rows.append({'name': name, 'number': int(number), 'note': note})\n"
     "return total + len(rows)"},
};

constexpr int kAttempts = 5;

// The processor time of compiling and running, best of five.
void ours(benchmark::State& state, const Workload& workload) {
  BenchHost host;
  std::string answer;
  for (auto _ : state) {
    double best = 1e9;
    for (int attempt = 0; attempt < kAttempts; ++attempt) {
      const auto begin = std::clock();
      const auto program = as::compile(workload.script, host);
      if (!program) return state.SkipWithError(program.error().message.c_str());
      as::Interpreter interpreter(*program, host);
      const auto result = interpreter.run();
      if (!result) return state.SkipWithError(result.error().message.c_str());
      answer = interpreter.source(*result);
      best = std::min(best, static_cast<double>(std::clock() - begin) / CLOCKS_PER_SEC);
    }
    state.SetIterationTime(best);
  }
  state.SetLabel("= " + answer);
}

// The processor time of the work alone, best of five: no process, no start, no compilation.
void theirs(benchmark::State& state, const Workload& workload) {
  std::string body;
  std::istringstream lines(workload.python);
  for (std::string line; std::getline(lines, line);) body += "    " + line + "\n";
  const std::string program = "import time, sys\nsys.setrecursionlimit(100000)\ndef work():\n" + body +
                              "best = 1e9\nfor attempt in range(" + std::to_string(kAttempts) +
                              "):\n    begin = time.process_time()\n"
                              "    answer = work()\n    best = min(best, time.process_time() - begin)\n"
                              "print(best, answer)\n";
  const auto path = std::string("applescript_bench_") + workload.name + ".py";
  std::ofstream(path) << program;
  double seconds = -1;
  double answer = 0;
  for (auto _ : state) {
    if (FILE* pipe = popen(("python3 " + path + " 2>/dev/null").c_str(), "r")) {
      if (fscanf(pipe, "%lf %lf", &seconds, &answer) != 2) seconds = -1;
      pclose(pipe);
    }
    if (seconds < 0) break;
    state.SetIterationTime(seconds);
  }
  std::remove(path.c_str());
  if (seconds < 0) state.SkipWithError("python3 is not there, or does not run the comparison");
  state.SetLabel("= " + std::to_string(static_cast<long long>(answer)));
}

void compileAndStart(benchmark::State& state) {
  BenchHost host;
  const auto text = script_texts::transferSelectedMessages("Projects/2024", "Work", {});
  for (auto _ : state) {
    const auto program = as::compile(text, host);
    if (!program) return state.SkipWithError(program.error().message.c_str());
    as::Interpreter interpreter(*program, host);
    // The mail client is away, so that this ends where the work would begin.
    const auto result = interpreter.run();
    if (result || result.error().number != as::error::notRunning)
      return state.SkipWithError("ran further than it should");
  }
}

}  // namespace
}  // namespace quillbox::bench

int main(int argc, char** argv) {
  using namespace quillbox::bench;
  for (const auto& workload : kWorkloads) {
    benchmark::RegisterBenchmark((std::string(workload.name) + "/quillbox").c_str(), ours, workload)
        ->Unit(benchmark::kMillisecond)
        ->UseManualTime()
        ->Iterations(1);
    benchmark::RegisterBenchmark((std::string(workload.name) + "/python3").c_str(), theirs, workload)
        ->Unit(benchmark::kMillisecond)
        ->UseManualTime()
        ->Iterations(1);
  }
  benchmark::RegisterBenchmark("transfer_text/compile_and_start", compileAndStart)
      ->Unit(benchmark::kMicrosecond);
  benchmark::Initialize(&argc, argv);
  benchmark::RunSpecifiedBenchmarks();
  benchmark::Shutdown();
  return 0;
}

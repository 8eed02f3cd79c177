// Any bytes as a scripting definition, and any script that tells an application with it: the terms of a
// definition that is taken are all found again, and the script is a program or a syntax error. The script
// stands behind a line "%%".
#include <cstdint>
#include <cstdlib>
#include <string>
#include <string_view>

#include "applescript/host.h"
#include "applescript/interpreter.h"
#include "require.h"

namespace {

using namespace quillbox::applescript;

class AbsentApplication final : public Application {
 public:
  explicit AbsentApplication(std::shared_ptr<const Terminology> terms) : terms_(std::move(terms)) {}
  const std::string& name() const override { return name_; }
  const Terminology& terminology() const override { return *terms_; }
  Outcome<void> beginEvent(std::chrono::nanoseconds) override { return failure(error::notRunning); }
  void endEvent() override { std::abort(); }
  ObjectRef root() override { std::abort(); }
  Outcome<Value> perform(const Event&) override { std::abort(); }

 private:
  std::string name_ = "X";
  std::shared_ptr<const Terminology> terms_;
};

class FuzzHost final : public Host {
 public:
  explicit FuzzHost(AbsentApplication& application) : application_(application) {}
  Application* application(std::string_view) override { return &application_; }
  std::chrono::nanoseconds now() override { return {}; }
  std::chrono::seconds localOffset(std::chrono::nanoseconds) override { return {}; }
  std::chrono::nanoseconds steady() override { return {}; }
  std::uint64_t random() override { return 4; }
  void log(std::string_view) override {}
  void wait(std::chrono::nanoseconds, const std::function<bool()>&) override {}

 private:
  AbsentApplication& application_;
};

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  const std::string_view input(reinterpret_cast<const char*>(data), size);
  const auto split = input.find("\n%%\n");
  const auto terms = Terminology::parse(input.substr(0, split));
  if (!terms) {
    require(terms.error().number == -4008 && !terms.error().message.empty());
    return 0;
  }
  for (const Code known : {code("capp"), code("pnam"), code("clss")}) {
    const auto name = (*terms)->className(known);
    if (!name.empty()) require((*terms)->isKindOf(known, known));
    static_cast<void>((*terms)->isKindOf(known, code("none")));
  }
  if (split == std::string_view::npos) return 0;
  AbsentApplication application(*terms);
  FuzzHost host(application);
  const std::string source =
      "tell application \"X\"\n" + std::string(input.substr(split + 4)) + "\nend tell\n";
  const auto program = compile(source, host);
  if (!program) {
    require(program.error().line > 0 && program.error().column > 0);
    return 0;
  }
  require(!dumpTree(**program).empty());
  Limits limits;
  limits.steps = 5'000;
  limits.memoryBytes = 16U << 20U;
  limits.handlerDepth = 100;
  Interpreter interpreter(*program, host, limits);
  const auto result = interpreter.run();
  if (result) static_cast<void>(interpreter.source(*result));
  return 0;
}

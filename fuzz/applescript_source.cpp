// Any bytes as a script: a program or one syntax error with a place; and what runs ends, in a value that
// prints or in an error that says something.
#include <cstdint>
#include <string>
#include <string_view>

#include "applescript/host.h"
#include "applescript/interpreter.h"
#include "applescript/objects.h"
#include "require.h"

namespace {

using namespace quillbox::applescript;

constexpr std::string_view kDictionary = R"(<dictionary><suite name="Box" code="Boxs">
  <enumeration name="tints" code="tint"><enumerator name="red" code="tred"/></enumeration>
  <class name="box" plural="boxes" code="boxx"><element type="box"/>
    <property name="name" code="pnam" type="text"/><property name="tint" code="tint" type="tints"/>
    <property name="box id" code="bxid" type="integer"/></class>
  <command name="shake" code="Boxsshak"><direct-parameter type="box"/>
    <parameter name="for" code="secs" type="integer" optional="yes"/>
    <parameter name="gently" code="gent" type="boolean" optional="yes"/></command>
</suite></dictionary>)";

class BoxApplication;

// Boxes three deep, two in each.
class Box final : public ScriptObject {
 public:
  Box(BoxApplication& application, int depth, std::int64_t number)
      : application_(application), depth_(depth), number_(number) {}
  Code classCode() const override { return depth_ == 0 ? code("capp") : code("boxx"); }
  Value specifier() const override;
  Outcome<Value> property(Code property) override {
    if (property == code("pnam")) return Value::text("box " + std::to_string(number_));
    if (property == code("ID  ")) return Value::integer(number_);
    if (property == code("bxid")) return Value::integer(number_ * 10);
    if (property == code("tint")) return number_ == 1 ? Value::missing() : Value::constant(code("tred"));
    return failure(error::noSuchObject);
  }
  Outcome<std::vector<ObjectRef>> elements(Code elementClass) override {
    if (elementClass != code("boxx")) return failure(error::noSuchObject);
    std::vector<ObjectRef> boxes;
    if (depth_ < 3) {
      for (std::int64_t i = 1; i <= 2; ++i)
        boxes.push_back(std::make_shared<Box>(application_, depth_ + 1, i));
    }
    return boxes;
  }

 private:
  BoxApplication& application_;
  int depth_;
  std::int64_t number_;
};

class BoxApplication final : public Application {
 public:
  BoxApplication() : terms_(*Terminology::parse(kDictionary)) {}
  const std::string& name() const override { return name_; }
  const Terminology& terminology() const override { return *terms_; }
  Outcome<void> beginEvent(std::chrono::nanoseconds) override {
    require(!open_);
    open_ = true;
    return {};
  }
  void endEvent() override { open_ = false; }
  ObjectRef root() override { return std::make_shared<Box>(*this, 0, 0); }
  Outcome<Value> perform(const Event& event) override { return event.direct; }
  bool isOpen() const { return open_; }

 private:
  std::string name_ = "Box";
  std::shared_ptr<const Terminology> terms_;
  bool open_ = false;
};

Value Box::specifier() const {
  if (depth_ == 0) return Value::application(application_);
  return element::indexed(Value::application(application_), code("boxx"), number_);
}

class FuzzHost final : public Host {
 public:
  Application* application(std::string_view name) override { return name == "Box" ? &box : nullptr; }
  std::chrono::nanoseconds now() override { return std::chrono::seconds(1'700'000'000); }
  std::chrono::seconds localOffset(std::chrono::nanoseconds) override { return std::chrono::seconds(0); }
  std::chrono::nanoseconds steady() override { return time_ += std::chrono::microseconds(1); }
  std::uint64_t random() override { return seed_ = seed_ * 6364136223846793005U + 1442695040888963407U; }
  void log(std::string_view) override {}
  void wait(std::chrono::nanoseconds, const std::function<bool()>&) override {}

  BoxApplication box;

 private:
  std::chrono::nanoseconds time_{0};
  std::uint64_t seed_ = 1;
};

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  const std::string_view source(reinterpret_cast<const char*>(data), size);
  FuzzHost host;
  require(!dumpTokens(source).empty());
  const auto program = compile(source, host);
  if (!program) {
    const auto& problem = program.error();
    require(problem.line > 0 && problem.column > 0 && problem.number != 0 && !problem.message.empty());
    return 0;
  }
  require(!dumpTree(**program).empty());
  Limits limits;
  limits.steps = 20'000;
  limits.memoryBytes = 32U << 20U;
  limits.handlerDepth = 200;
  limits.stackBytes = 1U << 20U;
  Interpreter interpreter(*program, host, limits);
  const auto result = interpreter.run();
  require(!host.box.isOpen());
  if (!result) {
    // `error "" number 0` is what a script may say; the number is then its own choice.
    static_cast<void>(interpreter.source(result.error().object));
    return 0;
  }
  static_cast<void>(interpreter.source(*result));
  static_cast<void>(interpreter.text(*result));
  return 0;
}

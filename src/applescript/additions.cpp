// The standard additions that need no outside world.
#include <cmath>

#include "applescript/dates.h"
#include "applescript/evaluator.h"
#include "applescript/numbers.h"
#include "applescript/objects.h"
#include "applescript/printing.h"
#include "applescript/text_index.h"
#include "base/text.h"

namespace quillbox::applescript {

std::int64_t Evaluator::localNow() {
  const auto now = host_.now();
  return std::chrono::floor<std::chrono::seconds>(now + host_.localOffset(now)).count();
}

Value Evaluator::addition(const Command& command, const Value& direct, const Parameters& parameters) {
  switch (command.id) {
    case code("cmnt"):
      host_.log(sourceForm(direct.isNothing() ? frame_->it : operand(direct)));
      return {};
    case code("curd"):
      return Value::date(localNow());
    case code("GMT "):
      return Value::integer(host_.localOffset(host_.now()).count());
    case code("offs"): {
      const auto text = Value::text(toText(*find(parameters, code("psin"))));
      const auto found = texts_.find(text.asText(), toText(*find(parameters, code("psof"))));
      if (!found) return Value::integer(0);
      return Value::integer(
          static_cast<std::int64_t>(text.as<TextObject>().index().characterAt(found->first)) + 1);
    }
    case code("rand"):
      return randomNumber(direct, parameters);
    case code("rond"):
      return rounded(toNumber(direct), parameters);
    case code("ntoc"): {
      const auto number = toInteger(direct);
      if (number < 0 || number > 255) cannotMake(direct, code("ctxt"));
      std::string text;
      text::appendUtf8(text, static_cast<char32_t>(number));
      return Value::text(std::move(text));
    }
    case code("cton"): {
      const auto text = toText(direct);
      if (text.empty()) cannotMake(direct, code("long"));
      std::size_t at = 0;
      return Value::integer(static_cast<std::int64_t>(text::nextCodePoint(text, at)));
    }
    case code("dela"):
      delay(direct);
      return {};
    case code("dsct"): {
      const auto* given = find(parameters, code("plst"));
      auto arguments = given ? operand(*given) : Value();
      if (!arguments.isNothing() && !arguments.isList()) arguments = Value::list({arguments});
      if (operand(direct).is(Kind::Script)) return runScript(operand(direct), arguments);
      return runSource(direct, arguments);
    }
    // Windows, files, processes and sounds are out of a script's reach.
    default:
      raise(error::notOffered, wording(error::notOffered, {command.name}));
  }
}

Value Evaluator::randomNumber(const Value& direct, const Parameters& parameters) {
  double from = 0;
  double to = 1;
  bool whole = false;
  if (!direct.isNothing()) {
    const auto limit = toNumber(direct);
    to = limit.asReal();
    whole = limit.is(Kind::Integer);
  }
  const auto* low = find(parameters, code("from"));
  const auto* high = find(parameters, code("to  "));
  if (low || high) {
    const auto a = low ? toNumber(*low) : Value::integer(0);
    const auto b = high ? toNumber(*high) : Value::integer(0);
    from = a.asReal();
    to = b.asReal();
    whole = a.is(Kind::Integer) && b.is(Kind::Integer);
  }
  if (from > to) std::swap(from, to);
  auto bits = host_.random();
  if (const auto* seed = find(parameters, code("seed"))) {
    // The same seed gives the same number: one round of a well-mixing hash of it.
    bits = static_cast<std::uint64_t>(toInteger(*seed)) + 0x9E3779B97F4A7C15U;
    bits = (bits ^ bits >> 30U) * 0xBF58476D1CE4E5B9U;
    bits = (bits ^ bits >> 27U) * 0x94D049BB133111EBU;
    bits ^= bits >> 31U;
  }
  const double part = static_cast<double>(bits >> 11U) * 0x1.0p-53;
  if (whole) return Value::integer(static_cast<std::int64_t>(from + std::floor(part * (to - from + 1))));
  return Value::real(from + part * (to - from));
}

Value Evaluator::rounded(const Value& number, const Parameters& parameters) {
  const double value = number.asReal();
  const auto* way = find(parameters, code("dire"));
  switch (way ? way->asCode() : code("rndN")) {
    case code("rndU"):
      return roundedNumber(std::ceil(value));
    case code("rndD"):
      return roundedNumber(std::floor(value));
    case code("rndZ"):
      return roundedNumber(std::trunc(value));
    case code("rndS"):
      return roundedNumber(std::round(value));
    default:
      return roundedNumber(value);
  }
}

void Evaluator::delay(const Value& direct) {
  double seconds = direct.isNothing() ? 1 : toNumber(direct).asReal();
  if (!(seconds > 0)) return;
  if (limits_.time.count() > 0) {
    // Not beyond the end that the run has anyway.
    const auto left = std::chrono::duration<double>(limits_.time - (host_.steady() - started_)).count();
    seconds = std::min(seconds, std::max(left, 0.0) + 0.001);
  }
  host_.wait(std::chrono::nanoseconds(static_cast<std::int64_t>(std::min(seconds, 1e9) * 1e9)),
             [this] { return cancelled_.load(std::memory_order_relaxed); });
  checkLimits();
}

// `run script "..."`: a text compiled and run on its own, within the limits of this run.
Value Evaluator::runSource(const Value& source, const Value& arguments) {
  enterCall();
  auto program = compile(toText(source), host_);
  if (!program) {
    auto failure = program.error();
    failure.line = 0;
    raise(std::move(failure));
  }
  struct Depth {
    std::size_t& depth;
    ~Depth() { --depth; }
  } depth{++depth_};
  return runScript(Value::object(Kind::Script, load(*program)), arguments);
}

}  // namespace quillbox::applescript

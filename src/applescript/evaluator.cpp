// Entry points, frames and limits.
#include "applescript/evaluator.h"

#include <new>

#include <fmt/format.h>

#include "applescript/frame_scope.h"
#include "applescript/own_stack.h"
#include "applescript/printing.h"
#include "applescript/stack.h"

namespace quillbox::applescript {

namespace {

constexpr std::size_t kChunk = 4096;  // values
constexpr std::uint64_t kStepsBetweenChecks = 256;
constexpr std::chrono::nanoseconds kDefaultTimeout = std::chrono::minutes(2);

}  // namespace

Evaluator::Evaluator(std::shared_ptr<const Program> program, Host& host, Limits limits)
    : program_(std::move(program)),
      host_(host),
      limits_(limits),
      heap_(limits.memoryBytes),
      stackBytes_(stackOfThisBuild(limits.stackBytes)),
      timeout_(kDefaultTimeout) {}

Evaluator::~Evaluator() {
  // Nothing may refer to the heap's objects when it breaks their cycles.
  main_ = {};
  delimiters_ = {};
  returned_ = {};
}

Evaluator::SlotScope::SlotScope(Evaluator& evaluator, std::size_t count)
    : evaluator_(evaluator), chunk_(evaluator.chunk_), used_(evaluator.chunkUsed_), count_(count) {
  auto& chunks = evaluator.chunks_;
  if (chunks.empty()) chunks.push_back(std::make_unique<Value[]>(kChunk));
  if (count > kChunk) evaluator.raise(error::stackOverflow, wording(error::stackOverflow));
  if (evaluator.chunkUsed_ + count > kChunk) {
    if (evaluator.chunk_ + 1 == chunks.size()) chunks.push_back(std::make_unique<Value[]>(kChunk));
    ++evaluator.chunk_;
    evaluator.chunkUsed_ = 0;
  }
  slots_ = chunks[evaluator.chunk_].get() + evaluator.chunkUsed_;
  evaluator.chunkUsed_ += count;
}

Evaluator::SlotScope::~SlotScope() {
  for (std::size_t i = 0; i < count_; ++i) slots_[i] = {};
  evaluator_.chunk_ = chunk_;
  evaluator_.chunkUsed_ = used_;
}

template <class Work>
Outcome<Value> Evaluator::guarded(Work work) {
  // A handler of this script may be called again by an application that it told something.
  if (runs_ > 0) return guardedHere(work);
  Outcome<Value> outcome;
  try {
    runOnOwnStack(limits_.stackBytes, [&] { outcome = guardedHere(work); });
  } catch (const std::bad_alloc&) {
    Failure failure;
    failure.number = error::outOfMemory;
    failure.message = wording(error::outOfMemory);
    return std::unexpected(std::move(failure));
  }
  return outcome;
}

template <class Work>
Outcome<Value> Evaluator::guardedHere(Work& work) {
  const Heap::Scope heap(&heap_);
  if (runs_++ == 0) {
    stackStart_ = stackPosition();
    started_ = host_.steady();
    steps_ = 0;
    nextCheck_ = 0;
    depth_ = 0;
  }
  struct Leave {
    int& runs;
    ~Leave() { --runs; }
  } leave{runs_};
  Failure failure;
  try {
    if (!main_) {
      delimiters_ = Value::list({Value::text("")});
      main_ = load(program_);
    }
    auto value = work();
    returned_ = {};
    return value;
  } catch (Raised& raised) {
    failure = std::move(raised.failure);
  } catch (const OutOfScriptMemory&) {
    failure.number = error::outOfMemory;
  } catch (const std::bad_alloc&) {
    failure.number = error::outOfMemory;
  }
  if (failure.number == error::outOfMemory && failure.message.empty()) {
    failure.message = wording(error::outOfMemory);
    if (site_) {
      failure.line = site_->line;
      failure.column = site_->column;
    }
  }
  return std::unexpected(std::move(failure));
}

Ref<ScriptInstance> Evaluator::load(std::shared_ptr<const Program> program) {
  const auto& script = *program->script;
  return instantiate(script, nullptr, make<GlobalsObject>(std::move(program)));
}

Outcome<Value> Evaluator::run() {
  return guarded([&] { return runScript(Value::object(Kind::Script, main_)); });
}

Outcome<Value> Evaluator::call(std::string_view handler, std::vector<Value> arguments) {
  return guarded([&] {
    const Value script = Value::object(Kind::Script, main_);
    const auto found = findHandler(script, Name(handler));
    if (!found.handler)
      raise(error::notUnderstood, wording(error::notUnderstood, {sourceForm(script), handler}), script);
    return invoke(*found.handler, found.home, script, std::move(arguments));
  });
}

bool Evaluator::hasHandler(std::string_view handler) const {
  return program_->script->handler(Name(handler)) != nullptr;
}

Outcome<std::string> Evaluator::text(const Value& value) {
  std::string result;
  auto outcome = guarded([&] {
    result = toText(value);
    return Value();
  });
  if (!outcome) return std::unexpected(std::move(outcome.error()));
  return result;
}

Ref<ScriptInstance> Evaluator::instantiate(const ScriptNode& node, Frame* around,
                                           Ref<GlobalsObject> globals) {
  auto instance = make<ScriptInstance>(node, around ? around->home : nullptr, std::move(globals));
  for (const auto slot : node.captures)
    instance->captures.emplace_back(&around->slots[slot].as<CellObject>());
  FrameScope scope(*this, nullptr, instance.get(), Value::object(Kind::Script, instance), nullptr);
  if (node.parent) instance->parent = dereferenced(eval(*node.parent));
  for (std::size_t i = 0; i < node.members.size(); ++i)
    instance->slots[i] = needed(eval(*node.members[i].initial));
  return instance;
}

void Evaluator::checkLimits() {
  nextCheck_ = steps_ + kStepsBetweenChecks;
  Raised raised;
  raised.final = true;
  if (cancelled_.load(std::memory_order_relaxed)) {
    raised.failure.number = error::userCanceled;
    raised.failure.message = wording(error::userCanceled);
  } else if (limits_.steps > 0 && steps_ > limits_.steps) {
    raised.failure.number = error::tooManySteps;
    raised.failure.message = wording(error::tooManySteps, {std::to_string(limits_.steps)});
  } else if (limits_.time.count() > 0 && host_.steady() - started_ > limits_.time) {
    raised.failure.number = error::tooLong;
    raised.failure.message =
        wording(error::tooLong, {fmt::format("{:g}", std::chrono::duration<double>(limits_.time).count())});
  } else {
    if (limits_.steps > 0) nextCheck_ = std::min(nextCheck_, limits_.steps + 1);
    return;
  }
  if (site_) {
    raised.failure.line = site_->line;
    raised.failure.column = site_->column;
  }
  throw Raised(std::move(raised));
}

void Evaluator::raise(Failure failure) {
  if (failure.line == 0 && site_) {
    failure.line = site_->line;
    failure.column = site_->column;
  }
  throw Raised{std::move(failure)};
}

void Evaluator::raise(std::int64_t number, std::string message, Value object) {
  Failure failure;
  failure.number = number;
  failure.message = std::move(message);
  failure.object = std::move(object);
  raise(std::move(failure));
}

void Evaluator::cannotMake(const Value& value, Code type) {
  Failure failure;
  failure.number = error::cannotMake;
  failure.message = wording(error::cannotMake, {sourceForm(value), classTerm(type, nullptr)});
  failure.object = value;
  failure.expectedClass = Value::className(type);
  raise(std::move(failure));
}

void Evaluator::cannotGet(const Value& object) {
  raise(error::noSuchObject, wording(error::noSuchObject, {sourceForm(object)}), object);
}

Interpreter::Interpreter(std::shared_ptr<const Program> program, Host& host, Limits limits)
    : evaluator_(std::make_unique<Evaluator>(std::move(program), host, limits)) {}
Interpreter::~Interpreter() = default;

Outcome<Value> Interpreter::run() {
  return evaluator_->run();
}
Outcome<Value> Interpreter::call(std::string_view handler, std::vector<Value> arguments) {
  return evaluator_->call(handler, std::move(arguments));
}
bool Interpreter::hasHandler(std::string_view handler) const {
  return evaluator_->hasHandler(handler);
}
void Interpreter::cancel() {
  evaluator_->cancel();
}
std::string Interpreter::source(const Value& value) const {
  return sourceForm(value);
}
Outcome<std::string> Interpreter::text(const Value& value) const {
  return evaluator_->text(value);
}

}  // namespace quillbox::applescript

// Walks the syntax tree. One per Interpreter.
//
// Inside, an error of the script travels as a Raised exception, which `try` catches; nothing leaves the
// public functions but an Outcome. Control flow out of statements is the return value of exec().
#pragma once

#include <atomic>
#include <chrono>
#include <cstdint>
#include <memory>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "applescript/ast.h"
#include "applescript/errors.h"
#include "applescript/heap.h"
#include "applescript/host.h"
#include "applescript/instance.h"
#include "applescript/interpreter.h"
#include "applescript/text_compare.h"

namespace quillbox::applescript {

struct Raised {
  Failure failure;
  bool final = false;  // a limit of the run: no `try` catches it
};

enum class Flow : std::uint8_t { Next, Return, ExitRepeat };

class Evaluator {
 public:
  Evaluator(std::shared_ptr<const Program> program, Host& host, Limits limits);
  ~Evaluator();

  Outcome<Value> run();
  Outcome<Value> call(std::string_view handler, std::vector<Value> arguments);
  bool hasHandler(std::string_view handler) const;
  void cancel() { cancelled_.store(true, std::memory_order_relaxed); }
  Outcome<std::string> text(const Value& value);

 private:
  struct Frame {
    const HandlerNode* handler = nullptr;  // null while the initial values of properties are computed
    ScriptInstance* home = nullptr;        // the script object whose source holds the handler
    Value me;                              // the one that got the call
    Value it;                              // the target of the innermost `tell`
    Value result;
    Value* slots = nullptr;
    Value* globals = nullptr;
  };
  class FrameScope;
  // Slots on the value stack, empty again and given back at the end.
  class SlotScope {
   public:
    SlotScope(Evaluator& evaluator, std::size_t count);
    ~SlotScope();
    SlotScope(const SlotScope&) = delete;
    SlotScope& operator=(const SlotScope&) = delete;
    Value* slots() const { return slots_; }

   private:
    Evaluator& evaluator_;
    std::size_t chunk_;
    std::size_t used_;
    std::size_t count_;
    Value* slots_;
  };

  // Entry, frames and limits (evaluator.cpp).
  template <class Work>
  Outcome<Value> guarded(Work work);
  template <class Work>
  Outcome<Value> guardedHere(Work& work);
  Ref<ScriptInstance> load(std::shared_ptr<const Program> program);
  Ref<ScriptInstance> instantiate(const ScriptNode& node, Frame* around, Ref<GlobalsObject> globals);
  void step() {
    if (++steps_ >= nextCheck_) checkLimits();
  }
  void checkLimits();
  [[noreturn]] void raise(std::int64_t number, std::string message, Value object = {});
  [[noreturn]] void raise(Failure failure);
  [[noreturn]] void cannotMake(const Value& value, Code type);
  [[noreturn]] void cannotGet(const Value& object);
  void place(const Node& node) { site_ = &node; }
  template <class T>
  T checked(Outcome<T> outcome);

  // Statements (statements.cpp, statements_repeat.cpp, statements_try.cpp).
  Flow exec(const Block& block);
  Flow exec(const Node& node);
  Flow execIf(const IfNode& node);
  void execSet(const SetNode& node);
  void dropResult();
  Flow execRepeat(const RepeatNode& node);
  Flow execCounting(const RepeatNode& node);
  Flow execItems(const RepeatNode& node);
  Flow execTell(const TellNode& node);
  Flow execTry(const TryNode& node);
  bool bindError(const TryNode& node, const Failure& failure);
  [[noreturn]] void execError(const ErrorNode& node);
  Flow execConsidering(const ConsideringNode& node);
  Flow execTimeout(const TimeoutNode& node);
  Value execScript(const ScriptNode& node);

  // Expressions (expressions.cpp).
  Value eval(const Node& node);
  Value evalList(const ListNode& node);
  Value evalRecord(const RecordNode& node);
  Value evalConcat(const ConcatNode& node, Value first, std::size_t from);
  Value evalBinary(const BinaryNode& node);
  Value evalCoerce(const CoerceNode& node);
  Value evalNegate(const UnaryNode& node);
  // In place (in_place.h): the value of a literal, a variable, or an item of a list in a variable where it
  // lies, without a copy and without anything else happening; nullptr for all else. Good until the next
  // statement or event.
  const Value* inPlace(const Node& node);
  Value* itemInPlace(const ElementNode& node);
  std::int64_t indexInPlace(const Node& key);
  bool countInPlace(const SetNode& node);
  bool truth(const Node& node);
  bool truthOfAny(const Node& node);
  Value readVariable(const VariableNode& node);
  Value* variableSlot(const Location& location) {
    if (location.kind == Location::Kind::Local) return &slots_[location.slot];
    if (location.kind == Location::Kind::Global) return &globals_[location.slot];
    return distantSlot(location);
  }
  Value* distantSlot(const Location& location);
  Value readDynamic(const Name& name);
  Value needed(Value value);

  // Operators on values (arithmetic.cpp, comparison.cpp).
  Value arithmetic(Operator operation, const Value& left, const Value& right);
  static void extend(ListObject& list, const Value& more);
  Value concat(Value left, const Value& right);
  bool equal(const Value& left, const Value& right, int depth = 0);
  bool ordered(Operator operation, const Value& left, const Value& right);
  bool contains(const Value& whole, const Value& part);
  bool beginsWith(const Value& whole, const Value& part);
  bool endsWith(const Value& whole, const Value& part);
  bool compare(Operator operation, const Value& left, const Value& right);

  // Coercions (coercion.cpp).
  Value coerce(const Value& value, Code type, const Value& typeValue);
  std::optional<Value> tryCoerce(const Value& value, Code type);
  std::optional<std::string> tryText(const Value& value, int depth = 0);
  std::string toText(const Value& value);
  Value toNumber(const Value& value);
  bool toBoolean(const Value& value);
  std::int64_t toInteger(const Value& value);
  Code classOf(const Value& value);
  Value copy(const Value& value);

  // References (references.cpp): what a chain of `of` means, resolved or left symbolic.
  Value evalReference(const Node& node);
  Value containerOf(const Node* node);
  Value access(const PropertyNode& node, Value container);
  Value propertyOrClass(const PropertyNode& node, Value container);
  Value access(const ElementNode& node, Value container);
  Value evalPoint(const PointNode& node);
  Value evalApplication(const ApplicationNode& node);
  Value referenceTo(const Node& node);
  Value referenceFromContainer(const Node* node);
  // Looks through references to local things; those of applications stay.
  Value dereferenced(const Value& value);
  // Looks through all of them, asking applications.
  Value contents(const Value& value);
  Value operand(Value value);
  static bool isApplicationReference(const Value& value);
  static Application* applicationOf(const Value& value);
  Value resolveLocal(const SpecifierObject& specifier);
  Value makeTest(const Node& node);
  Value testOperand(const Node& node);

  // Properties and elements of plain values (properties.cpp, elements.cpp, text_elements.cpp).
  Value propertyOf(const Value& container, const Name& name);
  Value textProperty(const Value& text, const Name& name, bool& found);
  Value dateProperty(const Value& date, Code property, bool& found);
  enum class Members : std::uint8_t { Declared, WithGlobals };
  Value scriptProperty(const Value& script, const Name& name, bool& found,
                       Members members = Members::WithGlobals);
  struct ElementKey {
    SpecifierForm form;
    Code classCode;
    Value key;
    Value secondKey;
  };
  Value elementOf(const Value& container, const ElementKey& element);
  Value neighbour(const Value& container, const ElementKey& element);
  Value listElement(const Value& list, const ElementKey& element);
  Value textElement(const Value& text, const ElementKey& element);
  Value textRange(const Value& text, const ElementKey& element);
  std::vector<Value> elementsOfText(const Value& text, Code classCode);
  std::size_t countOfText(const Value& text, Code classCode);
  Value textPiece(const Value& text, Code classCode, std::size_t index);
  std::pair<std::size_t, std::size_t> bytesOf(const Value& text, const ElementKey& range, const Value& key);
  bool isOfClass(const Value& value, Code classCode);
  [[noreturn]] void cannotGetElement(const Value& container, const ElementKey& element,
                                     std::int64_t number = error::noSuchObject);
  std::optional<std::size_t> position(const Value& key, std::size_t count);
  std::size_t countOf(const Value& container, Code classCode);
  std::vector<std::pair<std::size_t, std::size_t>> textItems(const Value& text);

  // Assignment (assignment.cpp).
  void assign(const Node& target, Value value);
  void assignVariable(const VariableNode& node, Value value);
  bool appendInPlace(const SetNode& node);
  void assignProperty(const Value& container, const Name& name, Value value);
  void assignElement(const Value& container, const ElementKey& element, Value value);
  void assignPoint(SpecifierForm form, const Value& container, Value value);
  void assignReference(const SpecifierObject& specifier, Value value);
  void assignDate(const Value& date, Code property, const Value& value);
  bool assignMember(const Value& script, const Name& name, Value value);
  [[noreturn]] void cannotSet(const Value& object, const Value& value,
                              std::int64_t number = error::cannotSet);

  // Handlers (calls.cpp).
  struct Found {
    const HandlerNode* handler = nullptr;
    ScriptInstance* home = nullptr;
    Ref<ScriptInstance> keep;
  };
  Found findHandler(const Value& script, const Name& name);
  Found findHandlerAround(ScriptInstance* home, const Name& name);
  Value evalCall(const CallNode& node);
  Value evalLabelledCall(const LabelledCallNode& node);
  Value evalContinue(const UnaryNode& node);
  Value invoke(const HandlerNode& handler, ScriptInstance* home, Value me, std::vector<Value> arguments);
  Value invokeFrame(const HandlerNode& handler, ScriptInstance* home, Value me, Value* slots);
  Value invokeCall(const CallNode& node, const HandlerNode& handler, ScriptInstance* home, Value me);
  Value invokeLabelled(const HandlerNode& handler, ScriptInstance* home, Value me, Value direct,
                       std::vector<std::pair<Name, Value>> labels);
  void bind(const Node& target, Value value);
  void enterCall();
  Value runScript(const Value& script, const Value& arguments = {});

  // Commands (commands.cpp, additions.cpp).
  using Parameters = std::vector<std::pair<Code, Value>>;
  Value evalCommand(const CommandNode& node);
  Value performCommand(const CommandNode& node);
  Value performCore(const CommandNode& node);
  Value performOwn(const CommandNode& node);
  static const Value* find(const Parameters& parameters, Code code);
  Value evalCount(const CommandNode& node);
  Value evalExists(const CommandNode& node);
  Value addition(const Command& command, const Value& direct, const Parameters& parameters);
  Value randomNumber(const Value& direct, const Parameters& parameters);
  Value rounded(const Value& number, const Parameters& parameters);
  void delay(const Value& seconds);
  std::int64_t localNow();
  Value runSource(const Value& source, const Value& arguments);

  // Events to applications (events.cpp). The answer may be Nothing.
  template <class Work>
  Value event(Application& application, Work work);
  Value getFrom(const Value& reference);
  void setIn(const Value& reference, const Value& value);
  std::int64_t countIn(const Value& reference, Code each);
  bool existsIn(const Value& reference);
  Value makeIn(Application& application, const Value& target, const Parameters& parameters);
  Value changeIn(Application& application, const Command& command, const Value& direct,
                 const Parameters& parameters);
  Value sendEvent(Application& application, const Command& command, const Value& target, Value direct,
                  Parameters parameters);
  friend class ObjectResolver;

  std::shared_ptr<const Program> program_;
  Host& host_;
  Limits limits_;
  Heap heap_;
  std::size_t stackBytes_;
  std::atomic<bool> cancelled_ = false;

  Ref<ScriptInstance> main_;
  Value delimiters_;
  TextComparer texts_;
  Frame* frame_ = nullptr;
  // Of the frame, since nothing is read as often.
  Value* slots_ = nullptr;
  Value* globals_ = nullptr;
  const Node* site_ = nullptr;
  Value returned_;

  std::vector<std::unique_ptr<Value[]>> chunks_;
  std::size_t chunk_ = 0;
  std::size_t chunkUsed_ = 0;

  std::uint64_t steps_ = 0;
  std::uint64_t nextCheck_ = 0;
  std::size_t depth_ = 0;
  const char* stackStart_ = nullptr;
  std::chrono::nanoseconds started_{0};
  std::chrono::nanoseconds timeout_;
  int runs_ = 0;
};

template <class T>
T Evaluator::checked(Outcome<T> outcome) {
  if (!outcome) raise(std::move(outcome.error()));
  if constexpr (!std::is_void_v<T>) return std::move(*outcome);
}

}  // namespace quillbox::applescript

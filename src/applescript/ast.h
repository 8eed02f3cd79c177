// The syntax tree: what the parser builds, the resolver completes and the evaluator walks.
#pragma once

#include <cstdint>
#include <memory>
#include <optional>
#include <string>
#include <utility>
#include <vector>

#include "applescript/objects.h"
#include "applescript/terminology.h"
#include "applescript/value.h"

namespace quillbox::applescript {

enum class NodeKind : std::uint8_t {
  // Expressions.
  Literal,
  List,
  Record,
  Variable,
  It,
  Me,
  Result,
  LanguageObject,  // AppleScript
  Negate,
  Not,
  Binary,
  Concat,
  Coerce,
  Property,
  Element,
  Point,
  ReferenceTo,
  Application,
  Call,
  LabelledCall,
  Command,
  Continue,
  // Statements.
  Set,
  If,
  Repeat,
  Tell,
  Try,
  Error,
  Return,
  Exit,
  Considering,
  Timeout,
  Declaration,
  Script,
  Handler,
};

struct Node {
  explicit Node(NodeKind itsKind) : kind(itsKind) {}
  virtual ~Node() = default;
  Node(const Node&) = delete;
  Node& operator=(const Node&) = delete;

  const NodeKind kind;
  bool keepsResult = true;  // of a statement: its value may be what the handler gives
  std::uint16_t depth = 1;  // levels of nodes from here down
  int line = 0;
  int column = 0;
};

using NodePtr = std::unique_ptr<Node>;
using Block = std::vector<NodePtr>;

struct LiteralNode final : Node {
  explicit LiteralNode(Value itsValue) : Node(NodeKind::Literal), value(std::move(itsValue)) {}
  Value value;
};

struct ListNode final : Node {
  ListNode() : Node(NodeKind::List) {}
  std::vector<NodePtr> items;
  NodePtr container;  // of {name, id} of x
};

struct RecordNode final : Node {
  RecordNode() : Node(NodeKind::Record) {}
  std::vector<std::pair<Name, NodePtr>> fields;
};

// Where a variable lives, found by the resolver.
struct Location {
  enum class Kind : std::uint8_t {
    Dynamic,   // looked up by name along the parents when it is met
    Local,     // slot of the frame
    Cell,      // slot of the frame that holds a cell, because a script object inside captured it
    Capture,   // cell that the script object captured
    Property,  // slot of a script object
    Global,    // slot of the run
  };
  Kind kind = Kind::Dynamic;
  std::uint16_t hops = 0;  // outward script objects, for Capture and Property
  std::uint32_t slot = 0;
};

struct VariableNode final : Node {
  explicit VariableNode(Name itsName) : Node(NodeKind::Variable), name(std::move(itsName)) {}
  Name name;
  Location location;
};

// It, Me, Result, LanguageObject, Exit.
struct PlainNode final : Node {
  using Node::Node;
};

// Negate, Not, ReferenceTo, Continue, Return (operand may be null).
struct UnaryNode final : Node {
  UnaryNode(NodeKind itsKind, NodePtr itsOperand) : Node(itsKind), operand(std::move(itsOperand)) {}
  NodePtr operand;
};

enum class Operator : std::uint8_t {
  Add,
  Subtract,
  Multiply,
  Divide,
  IntegerDivide,
  Modulo,
  Power,
  Equal,
  NotEqual,
  Less,
  LessOrEqual,
  Greater,
  GreaterOrEqual,
  Contains,
  NotContains,
  IsIn,
  IsNotIn,
  BeginsWith,
  NotBeginsWith,
  EndsWith,
  NotEndsWith,
  And,
  Or,
};

struct BinaryNode final : Node {
  BinaryNode(Operator itsOperation, NodePtr itsLeft, NodePtr itsRight)
      : Node(NodeKind::Binary),
        operation(itsOperation),
        left(std::move(itsLeft)),
        right(std::move(itsRight)) {}
  Operator operation;
  NodePtr left;
  NodePtr right;
};

// a & b & c, flat.
struct ConcatNode final : Node {
  ConcatNode() : Node(NodeKind::Concat) {}
  std::vector<NodePtr> operands;
};

struct CoerceNode final : Node {
  CoerceNode(NodePtr itsOperand, NodePtr itsType)
      : Node(NodeKind::Coerce), operand(std::move(itsOperand)), type(std::move(itsType)) {}
  NodePtr operand;
  NodePtr type;
};

// A property by code, or by a name of the script's own. No container: of `it`.
struct PropertyNode final : Node {
  explicit PropertyNode(Name itsName) : Node(NodeKind::Property), name(std::move(itsName)) {}
  Name name;
  NodePtr container;
  Value otherwise;  // the class of the same name, when there is one
};

struct ElementNode final : Node {
  ElementNode() : Node(NodeKind::Element) {}
  SpecifierForm form = SpecifierForm::Every;
  Code classCode = 0;
  NodePtr key;
  NodePtr secondKey;
  NodePtr test;  // makes a Filter of whatever form stands here
  NodePtr container;
  // From the resolver: `item key of variable`, with a key that can be read without side effects.
  bool isItemOfVariable = false;
};

// beginning of, end of, before, after.
struct PointNode final : Node {
  PointNode(SpecifierForm itsForm, NodePtr itsContainer)
      : Node(NodeKind::Point), form(itsForm), container(std::move(itsContainer)) {}
  SpecifierForm form;
  NodePtr container;
};

class Application;

struct ApplicationNode final : Node {
  explicit ApplicationNode(NodePtr itsName) : Node(NodeKind::Application), name(std::move(itsName)) {}
  NodePtr name;                        // null: the application that runs the script
  Application* application = nullptr;  // when the name is a literal of a known one
};

struct HandlerNode;

struct CallNode final : Node {
  explicit CallNode(Name itsName) : Node(NodeKind::Call), name(std::move(itsName)) {}
  Name name;  // "h", or "h:with:" for the interleaved form
  std::vector<NodePtr> arguments;
  NodePtr target;       // null: by the enclosing `tell`
  bool inTell = false;  // stands in a `tell` of its handler
  // What the name means where it stands, as long as no child script overrides it.
  const HandlerNode* handler = nullptr;
  std::uint16_t hops = 0;
  std::optional<Location> variable;  // a variable of that name, in case it holds a handler
};

struct LabelledCallNode final : Node {
  explicit LabelledCallNode(Name itsName) : Node(NodeKind::LabelledCall), name(std::move(itsName)) {}
  Name name;
  NodePtr direct;
  std::vector<std::pair<Name, NodePtr>> labels;  // prepositions and `given` labels
  NodePtr target;
  bool inTell = false;
};

struct CommandNode final : Node {
  explicit CommandNode(const Command& itsCommand)
      : Node(NodeKind::Command), command(&itsCommand), name(itsCommand.name) {}
  const Command* command;
  Name name;  // a handler of the script may answer in its place
  NodePtr direct;
  std::vector<std::pair<const CommandParameter*, NodePtr>> parameters;
};

struct SetNode final : Node {
  SetNode(NodePtr itsTarget, NodePtr itsValue)
      : Node(NodeKind::Set), target(std::move(itsTarget)), value(std::move(itsValue)) {}
  NodePtr target;
  NodePtr value;
  bool copies = false;
  bool appends = false;  // the value is `target & more`
  bool counts = false;   // a variable becomes what an operator gives
};

struct IfNode final : Node {
  IfNode() : Node(NodeKind::If) {}
  std::vector<std::pair<NodePtr, Block>> branches;
  Block otherwise;
};

struct RepeatNode final : Node {
  enum class Form : std::uint8_t { Forever, Times, While, Until, Counting, Items };
  RepeatNode() : Node(NodeKind::Repeat) {}
  Form form = Form::Forever;
  NodePtr variable;  // of Counting and Items
  NodePtr first;     // the condition, the number of times, the start, the list
  NodePtr last;
  NodePtr step;
  Block body;
};

struct TellNode final : Node {
  TellNode() : Node(NodeKind::Tell) {}
  NodePtr target;
  Block body;
};

struct TryNode final : Node {
  TryNode() : Node(NodeKind::Try) {}
  Block body;
  bool hasHandler = false;
  // What `on error` binds; a literal there catches only what is equal to it.
  NodePtr message;
  NodePtr number;
  NodePtr from;
  NodePtr to;
  NodePtr partialResult;
  Block handler;
};

struct ErrorNode final : Node {
  ErrorNode() : Node(NodeKind::Error) {}
  NodePtr message;
  NodePtr number;
  NodePtr from;
  NodePtr to;
  NodePtr partialResult;
};

enum class Attribute : std::uint8_t {
  Case = 1,
  Diacriticals = 2,
  Hyphens = 4,
  NumericStrings = 8,
  Punctuation = 16,
  WhiteSpace = 32,
};

struct ConsideringNode final : Node {
  ConsideringNode() : Node(NodeKind::Considering) {}
  std::uint8_t considered = 0;
  std::uint8_t ignored = 0;
  Block body;
};

struct TimeoutNode final : Node {
  TimeoutNode() : Node(NodeKind::Timeout) {}
  NodePtr seconds;  // null: with transaction, which changes nothing here
  Block body;
};

struct DeclarationNode final : Node {
  DeclarationNode(bool global) : Node(NodeKind::Declaration), isGlobal(global) {}
  bool isGlobal;
  std::vector<Name> names;
};

struct ParameterNode {
  Name label;      // of the labelled form: "above", "given" labels; empty for positional and direct ones
  NodePtr target;  // a variable, or a list of targets
  NodePtr fallback;
};

struct HandlerNode final : Node {
  HandlerNode() : Node(NodeKind::Handler) {}
  Name name;
  enum class Form : std::uint8_t { Positional, Labelled, Event } form = Form::Positional;
  bool hasDirect = false;  // the first parameter is the direct one, of Labelled and Event
  std::vector<ParameterNode> parameters;
  Block body;
  // From the resolver.
  std::uint32_t slots = 0;
  std::vector<std::uint32_t> cells;  // slots that hold cells
  bool usesResult = false;
  bool plainParameters = false;  // parameter i goes to slot i
};

// `property x : 1`, or a script object with a name, which is a property of the one around it.
struct MemberNode {
  Name name;
  NodePtr initial;
};

struct ScriptNode final : Node {
  ScriptNode() : Node(NodeKind::Script) {}
  Name name;  // empty for an anonymous one
  NodePtr parent;
  std::vector<MemberNode> members;
  std::vector<std::unique_ptr<HandlerNode>> handlers;
  std::unique_ptr<HandlerNode> statements;  // what stands outside handlers; null when there is none
  // From the resolver: where the name is kept when it is a variable of a handler, and which cells of the
  // enclosing frame the object keeps.
  std::optional<Location> variable;
  std::vector<std::uint32_t> captures;

  const HandlerNode* handler(const Name& wanted) const;
  // Index of a member; nullopt for none.
  std::optional<std::uint32_t> member(const Name& wanted) const;
};

struct Program {
  std::unique_ptr<ScriptNode> script;
  std::vector<Name> globals;
  std::string source;
};

}  // namespace quillbox::applescript

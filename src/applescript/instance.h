// Script objects and handlers at run time.
#pragma once

#include <vector>

#include "applescript/ast.h"
#include "applescript/value.h"

namespace quillbox::applescript {

// A variable that outlives its handler because a script object captured it.
class CellObject final : public HeapObject {
 public:
  CellObject() : HeapObject(sizeof(CellObject)) {}
  Value value;

 protected:
  void dropChildren() noexcept override { value = {}; }
};

// The global variables of one program, which lives as long as anything that was made from it.
class GlobalsObject final : public HeapObject {
 public:
  explicit GlobalsObject(std::shared_ptr<const Program> itsProgram)
      : HeapObject(sizeof(GlobalsObject) + itsProgram->globals.size() * sizeof(Value)),
        program(std::move(itsProgram)),
        values(program->globals.size()) {}

  // nullptr for a name that is not global, or has no value yet.
  Value* find(const Name& name) {
    for (std::size_t i = 0; i < values.size(); ++i) {
      if (program->globals[i] == name) return &values[i];
    }
    return nullptr;
  }

  const std::shared_ptr<const Program> program;
  std::vector<Value> values;

 protected:
  void dropChildren() noexcept override {
    for (auto& value : values) value = {};
  }
};

class ScriptInstance final : public HeapObject {
 public:
  ScriptInstance(const ScriptNode& itsNode, ScriptInstance* itsOuter, Ref<GlobalsObject> itsGlobals)
      : HeapObject(sizeof(ScriptInstance) + itsNode.members.size() * sizeof(Value)),
        node(itsNode),
        globals(std::move(itsGlobals)),
        outer(itsOuter),
        slots(itsNode.members.size()) {}

  const ScriptNode& node;
  const Ref<GlobalsObject> globals;
  Ref<ScriptInstance> outer;  // the script object that the source puts around this one
  Value parent;               // Nothing: the language itself
  std::vector<Value> slots;
  std::vector<Ref<CellObject>> captures;

 protected:
  void dropChildren() noexcept override {
    outer = {};
    parent = {};
    slots.clear();
    captures.clear();
  }
};

class HandlerObject final : public HeapObject {
 public:
  HandlerObject(const HandlerNode& itsNode, ScriptInstance* itsHome)
      : HeapObject(sizeof(HandlerObject)), node(itsNode), home(itsHome) {}

  const HandlerNode& node;
  Ref<ScriptInstance> home;

 protected:
  void dropChildren() noexcept override { home = {}; }
};

}  // namespace quillbox::applescript

// Handlers: finding them, binding their parameters, running them.
#include "applescript/evaluator.h"
#include "applescript/frame_scope.h"
#include "applescript/in_place.h"
#include "applescript/objects.h"
#include "applescript/printing.h"
#include "applescript/stack.h"

namespace quillbox::applescript {

// In the script object, or in its parents; a property that holds a handler or is one by assignment counts
// too.
Evaluator::Found Evaluator::findHandler(const Value& script, const Name& name) {
  Value current = script;
  for (int depth = 0; current.is(Kind::Script) && depth < 100; ++depth) {
    auto& instance = current.as<ScriptInstance>();
    if (const auto* handler = instance.node.handler(name))
      return {handler, &instance, Ref<ScriptInstance>(&instance)};
    if (const auto member = instance.node.member(name)) {
      const auto& value = instance.slots[*member];
      if (value.is(Kind::Handler)) {
        const auto& handler = value.as<HandlerObject>();
        return {&handler.node, handler.home.get(), handler.home};
      }
    }
    current = instance.parent;
  }
  return {};
}

// In the script objects that the source puts around.
Evaluator::Found Evaluator::findHandlerAround(ScriptInstance* home, const Name& name) {
  for (auto* script = home; script; script = script->outer.get()) {
    auto found = findHandler(Value::object(Kind::Script, Ref<ScriptInstance>(script)), name);
    if (found.handler) return found;
  }
  return {};
}

void Evaluator::enterCall() {
  step();
  if (depth_ >= limits_.handlerDepth || stackUsedSince(stackStart_) > stackBytes_)
    raise(error::stackOverflow, wording(error::stackOverflow));
}

Value Evaluator::invokeFrame(const HandlerNode& handler, ScriptInstance* home, Value me, Value* slots) {
  for (const auto slot : handler.cells) {
    auto cell = make<CellObject>();
    cell->value.swap(slots[slot]);
    slots[slot] = Value::object(Kind::Cell, cell);
  }
  struct Depth {
    std::size_t& depth;
    ~Depth() { --depth; }
  } depth{++depth_};
  FrameScope scope(*this, &handler, home, std::move(me), slots);
  switch (exec(handler.body)) {
    case Flow::Return: {
      Value result;
      result.swap(returned_);
      return result;
    }
    case Flow::ExitRepeat:
      raise(error::exitOutsideRepeat, wording(error::exitOutsideRepeat));
    case Flow::Next:
      break;
  }
  return std::move(scope.frame().result);
}

namespace {

std::string argumentName(const Node& target) {
  return target.kind == NodeKind::Variable ? std::string(static_cast<const VariableNode&>(target).name.text())
                                           : std::string("list");
}

}  // namespace

Value Evaluator::invoke(const HandlerNode& handler, ScriptInstance* home, Value me,
                        std::vector<Value> arguments) {
  enterCall();
  const Ref<ScriptInstance> keep(home);
  const auto expected = handler.parameters.size();
  if (arguments.size() < expected && handler.form == HandlerNode::Form::Positional) {
    raise(error::parameterMissing,
          wording(error::parameterMissing,
                  {argumentName(*handler.parameters[arguments.size()].target), handler.name.text()}));
  }
  // More than the handler takes are ignored, so that one caller serves handlers that want more and less.
  if (arguments.size() > expected && handler.form == HandlerNode::Form::Positional)
    arguments.resize(expected);
  if (handler.form != HandlerNode::Form::Positional) {
    std::vector<std::pair<Name, Value>> labels;
    auto direct = arguments.empty()       ? Value()
                  : arguments.size() == 1 ? arguments.front()
                                          : Value::list(std::move(arguments));
    return invokeLabelled(handler, home, std::move(me), std::move(direct), std::move(labels));
  }
  const SlotScope slots(*this, handler.slots);
  if (handler.plainParameters) {
    for (std::size_t i = 0; i < arguments.size(); ++i) slots.slots()[i] = std::move(arguments[i]);
    return invokeFrame(handler, home, std::move(me), slots.slots());
  }
  // Patterns are taken apart in the frame of the handler, without cells yet.
  {
    FrameScope scope(*this, nullptr, home, me, slots.slots());
    for (std::size_t i = 0; i < expected; ++i) bind(*handler.parameters[i].target, arguments[i]);
  }
  return invokeFrame(handler, home, std::move(me), slots.slots());
}

// Puts a value into the plain slots of a handler that is about to run.
void Evaluator::bind(const Node& target, Value value) {
  switch (target.kind) {
    case NodeKind::Variable:
      frame_->slots[static_cast<const VariableNode&>(target).location.slot] = std::move(value);
      return;
    case NodeKind::List: {
      const auto& pattern = static_cast<const ListNode&>(target);
      const auto list = operand(std::move(value));
      if (!list.isList()) cannotMake(list, code("list"));
      for (std::size_t i = 0; i < pattern.items.size(); ++i) {
        if (i >= list.items().size())
          cannotGetElement(
              list,
              {SpecifierForm::Index, code("cobj"), Value::integer(static_cast<std::int64_t>(i) + 1), {}});
        bind(*pattern.items[i], list.items()[i]);
      }
      return;
    }
    case NodeKind::Record: {
      const auto record = operand(std::move(value));
      for (const auto& [name, part] : static_cast<const RecordNode&>(target).fields)
        bind(*part, propertyOf(record, name));
      return;
    }
    default:
      fatal("a parameter that the parser does not let through");
  }
}

Value Evaluator::invokeLabelled(const HandlerNode& handler, ScriptInstance* home, Value me, Value direct,
                                std::vector<std::pair<Name, Value>> labels) {
  enterCall();
  const Ref<ScriptInstance> keep(home);
  const SlotScope slots(*this, handler.slots);
  {
    FrameScope scope(*this, nullptr, home, me, slots.slots());
    for (std::size_t i = 0; i < handler.parameters.size(); ++i) {
      const auto& parameter = handler.parameters[i];
      const Value* given = nullptr;
      if (parameter.label.text().empty()) {
        if (!direct.isNothing()) given = &direct;
      } else {
        for (const auto& [label, value] : labels) {
          if (label == parameter.label) given = &value;
        }
      }
      if (given) {
        bind(*parameter.target, *given);
      } else if (parameter.fallback) {
        bind(*parameter.target, eval(*parameter.fallback));
      } else if (handler.form == HandlerNode::Form::Event) {
        // `on run argv` may come without arguments.
        bind(*parameter.target, Value::list({}));
      } else {
        const auto label = parameter.label.text().empty() ? "direct" : parameter.label.text();
        raise(error::parameterMissing, wording(error::parameterMissing, {label, handler.name.text()}));
      }
    }
  }
  return invokeFrame(handler, home, std::move(me), slots.slots());
}

// The arguments go straight into the slots of the handler.
Value Evaluator::invokeCall(const CallNode& node, const HandlerNode& handler, ScriptInstance* home,
                            Value me) {
  const auto expected = handler.parameters.size();
  if (!handler.plainParameters || node.arguments.size() != expected) {
    std::vector<Value> arguments;
    arguments.reserve(node.arguments.size());
    for (const auto& argument : node.arguments) arguments.push_back(needed(eval(*argument)));
    site_ = &node;
    return invoke(handler, home, std::move(me), std::move(arguments));
  }
  const Ref<ScriptInstance> keep(home);
  const SlotScope slots(*this, handler.slots);
  for (std::size_t i = 0; i < expected; ++i) {
    const auto* place = inPlace(*node.arguments[i]);
    slots.slots()[i] = place ? *place : needed(eval(*node.arguments[i]));
  }
  site_ = &node;
  enterCall();
  return invokeFrame(handler, home, std::move(me), slots.slots());
}

Value Evaluator::evalCall(const CallNode& node) {
  Value target;
  if (node.target) {
    target = containerOf(node.target.get());
  } else if (node.inTell) {
    target = frame_->it.is(Kind::Specifier) ? dereferenced(frame_->it) : frame_->it;
  }
  site_ = &node;
  const bool own =
      !node.target && (!node.inTell || (target.is(Kind::Script) && frame_->me.is(Kind::Script) &&
                                        &target.as<ScriptInstance>() == &frame_->me.as<ScriptInstance>()));
  const bool mine = own || (node.target && node.target->kind == NodeKind::Me);
  if (mine) {
    auto* home = frame_->home;
    // Where the source says what the name means and no child script could say otherwise.
    if (node.handler && frame_->me.is(Kind::Script) && &frame_->me.as<ScriptInstance>() == home) {
      if (node.hops == 0) return invokeCall(node, *node.handler, home, frame_->me);
      if (own && home->parent.isNothing()) {
        for (auto hops = node.hops; hops > 0 && home; --hops) home = home->outer.get();
        if (home) {
          return invokeCall(node, *node.handler, home,
                            Value::object(Kind::Script, Ref<ScriptInstance>(home)));
        }
      }
    }
    target = frame_->me;
  }
  if (target.is(Kind::Script)) {
    auto found = findHandler(target, node.name);
    if (found.handler) return invokeCall(node, *found.handler, found.home, target);
    // Without a parent of its own a script object inherits from the one around it.
    found = findHandlerAround(target.as<ScriptInstance>().outer.get(), node.name);
    if (found.handler)
      return invokeCall(node, *found.handler, found.home, Value::object(Kind::Script, found.keep));
  }
  if (own) {
    auto found = findHandlerAround(frame_->home, node.name);
    if (found.handler)
      return invokeCall(node, *found.handler, found.home, Value::object(Kind::Script, found.keep));
    if (node.variable) {
      const auto* slot = variableSlot(*node.variable);
      if (slot && slot->is(Kind::Handler)) {
        const Value kept = *slot;
        const auto& handler = kept.as<HandlerObject>();
        return invokeCall(node, handler.node, handler.home.get(), Value::object(Kind::Script, handler.home));
      }
    }
  }
  if (target.isRecord()) {
    if (const auto* field = target.as<RecordObject>().find(node.name); field && field->is(Kind::Handler)) {
      const Value kept = *field;
      const auto& handler = kept.as<HandlerObject>();
      return invokeCall(node, handler.node, handler.home.get(), Value::object(Kind::Script, handler.home));
    }
  }
  raise(error::notUnderstood, wording(error::notUnderstood, {sourceForm(target), node.name.text()}), target);
}

Value Evaluator::evalLabelledCall(const LabelledCallNode& node) {
  auto direct = node.direct ? evalReference(*node.direct) : Value();
  std::vector<std::pair<Name, Value>> labels;
  for (const auto& [label, value] : node.labels) labels.emplace_back(label, needed(eval(*value)));
  auto target = node.target ? containerOf(node.target.get()) : node.inTell ? frame_->it : frame_->me;
  site_ = &node;
  auto found = findHandler(target, node.name);
  if (!found.handler && target.is(Kind::Script)) {
    found = findHandlerAround(target.as<ScriptInstance>().outer.get(), node.name);
    if (!found.handler && !node.target && !node.inTell) found = findHandlerAround(frame_->home, node.name);
    if (found.handler) target = Value::object(Kind::Script, found.keep);
  }
  if (!found.handler)
    raise(error::notUnderstood, wording(error::notUnderstood, {sourceForm(target), node.name.text()}),
          target);
  return invokeLabelled(*found.handler, found.home, target, std::move(direct), std::move(labels));
}

// The parent's handler, with the same script object as `me`.
Value Evaluator::evalContinue(const UnaryNode& node) {
  const Value parent = frame_->home->parent;
  const auto& operation = *node.operand;
  if (operation.kind == NodeKind::Call) {
    const auto& call = static_cast<const CallNode&>(operation);
    const auto found = findHandler(parent, call.name);
    if (found.handler) return invokeCall(call, *found.handler, found.home, frame_->me);
    site_ = &node;
    raise(error::notUnderstood,
          wording(error::notUnderstood,
                  {parent.isNothing() ? "AppleScript" : sourceForm(parent), call.name.text()}),
          parent);
  }
  if (operation.kind == NodeKind::LabelledCall) {
    const auto& call = static_cast<const LabelledCallNode&>(operation);
    const auto found = findHandler(parent, call.name);
    if (found.handler) {
      auto direct = call.direct ? evalReference(*call.direct) : Value();
      std::vector<std::pair<Name, Value>> labels;
      for (const auto& [label, value] : call.labels) labels.emplace_back(label, needed(eval(*value)));
      return invokeLabelled(*found.handler, found.home, frame_->me, std::move(direct), std::move(labels));
    }
  }
  if (operation.kind == NodeKind::Command) {
    const auto& command = static_cast<const CommandNode&>(operation);
    const auto found = findHandler(parent, command.name);
    if (found.handler) {
      auto direct = command.direct ? eval(*command.direct) : Value();
      std::vector<std::pair<Name, Value>> labels;
      for (const auto& [parameter, value] : command.parameters)
        labels.emplace_back(Name(parameter->name), eval(*value));
      return invokeLabelled(*found.handler, found.home, frame_->me, std::move(direct), std::move(labels));
    }
    return performCommand(command);
  }
  return eval(operation);
}

// `arguments` is the list that `on run argv` gets, or Nothing.
Value Evaluator::runScript(const Value& script, const Value& arguments) {
  auto& instance = script.as<ScriptInstance>();
  const Ref<ScriptInstance> keep(&instance);
  const auto found = findHandler(script, Name("run"));
  if (found.handler) {
    if (!site_) site_ = found.handler;
    if (found.handler->form == HandlerNode::Form::Positional)
      return invoke(*found.handler, found.home, script,
                    arguments.isList() ? arguments.items() : std::vector<Value>());
    return invokeLabelled(*found.handler, found.home, script, arguments, {});
  }
  if (!instance.node.statements) return {};
  enterCall();
  const auto& statements = *instance.node.statements;
  const SlotScope slots(*this, statements.slots);
  return invokeFrame(statements, &instance, script, slots.slots());
}

}  // namespace quillbox::applescript

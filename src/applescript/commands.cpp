// Commands: which of the script, the language and an application answers.
#include "applescript/evaluator.h"
#include "applescript/language_terms.h"
#include "applescript/objects.h"
#include "applescript/printing.h"

namespace quillbox::applescript {

const Value* Evaluator::find(const Parameters& parameters, Code code) {
  for (const auto& [key, value] : parameters) {
    if (key == code) return &value;
  }
  return nullptr;
}

Value Evaluator::evalCommand(const CommandNode& node) {
  // `on log(x)` or `on activate` of the script itself comes first; `run x` is for x to answer.
  const bool forDirect = node.command->suite == code("aevt") && node.direct;
  if (!forDirect && !isApplicationReference(frame_->it)) {
    for (auto* script = frame_->home; script; script = script->outer.get()) {
      if (!script->node.handler(node.name)) continue;
      const auto& handler = *script->node.handler(node.name);
      std::vector<std::pair<Name, Value>> labels;
      for (const auto& [parameter, value] : node.parameters)
        labels.emplace_back(Name(parameter->name), needed(eval(*value)));
      auto direct = node.direct ? needed(eval(*node.direct)) : Value();
      const auto me = Value::object(Kind::Script, Ref<ScriptInstance>(script));
      if (handler.form == HandlerNode::Form::Positional) {
        std::vector<Value> arguments;
        if (!direct.isNothing()) arguments.push_back(std::move(direct));
        return invoke(handler, script, me, std::move(arguments));
      }
      return invokeLabelled(handler, script, me, std::move(direct), std::move(labels));
    }
  }
  return performCommand(node);
}

Value Evaluator::performCommand(const CommandNode& node) {
  const auto& command = *node.command;
  if (command.suite == code("core")) {
    switch (command.id) {
      case code("getd"):
      case code("setd"):
      case code("cnte"):
      case code("doex"):
        return performCore(node);
      default:
        break;
    }
  }
  const bool ofLanguage = languageTerms().command(command.suite, command.id) == &command;
  const bool ofApplications = !ofLanguage || command.suite == code("aevt") || command.suite == code("misc") ||
                              command.id == code("noop");
  if (ofLanguage && (!ofApplications || command.id == code("curd"))) return performOwn(node);

  // The application that the direct parameter belongs to, or else the one being told.
  auto direct = node.direct ? evalReference(*node.direct) : Value();
  Parameters parameters;
  for (const auto& [parameter, value] : node.parameters)
    parameters.emplace_back(parameter->code, evalReference(*value));
  auto target = frame_->it.is(Kind::Specifier) ? dereferenced(frame_->it) : frame_->it;
  site_ = &node;
  auto* application = applicationOf(direct);
  if (!application && direct.isList() && !direct.items().empty())
    application = applicationOf(dereferenced(direct.items().front()));
  if (!application) application = applicationOf(target);
  if (!application) {
    if (const auto* place = find(parameters, code("insh"))) application = applicationOf(*place);
  }
  if (application) {
    if (applicationOf(target) != application) target = Value::application(*application);
    if (command.suite == code("core") && command.id == code("crel"))
      return makeIn(*application, target, parameters);
    const bool changes =
        command.suite == code("core") &&
        (command.id == code("delo") || command.id == code("move") || command.id == code("clon"));
    if (changes) return changeIn(*application, command, direct.isNothing() ? target : direct, parameters);
    return sendEvent(*application, command, target, std::move(direct), std::move(parameters));
  }
  if (command.id == code("oapp")) {
    const auto& script = direct.isNothing() ? target : direct;
    if (script.is(Kind::Script)) return runScript(script);
  }
  // `activate` and the like, told to nobody in particular: the script has nothing to bring to the front.
  const bool idle = command.suite == code("misc") || command.id == code("noop") || command.id == code("rapp");
  if (ofLanguage && idle && direct.isNothing() && target.is(Kind::Script)) return {};
  const auto& receiver = direct.isNothing() ? target : direct;
  if (receiver.is(Kind::Script)) {
    const auto found = findHandler(receiver, node.name);
    if (found.handler) return invokeLabelled(*found.handler, found.home, receiver, {}, {});
  }
  raise(error::notUnderstood, wording(error::notUnderstood, {sourceForm(receiver), command.name}), receiver);
}

Value Evaluator::performCore(const CommandNode& node) {
  switch (node.command->id) {
    case code("cnte"):
      return evalCount(node);
    case code("doex"):
      return evalExists(node);
    case code("getd"): {
      if (!node.direct) return frame_->it;
      auto value = eval(*node.direct);
      site_ = &node;
      return value;
    }
    default:
      break;
  }
  // `set` as a command only reaches here when an application calls something of its own so.
  raise(error::notUnderstood, wording(error::notUnderstood, {sourceForm(frame_->it), node.command->name}),
        frame_->it);
}

Value Evaluator::evalCount(const CommandNode& node) {
  Code each = 0;
  for (const auto& [parameter, value] : node.parameters) {
    if (parameter->code == code("kocl")) each = eval(*value).asCode();
  }
  const auto whole = [](std::size_t count) { return Value::integer(static_cast<std::int64_t>(count)); };
  const Node* direct = node.direct.get();
  if (direct && direct->kind == NodeKind::Element) {
    // Counted without making the list of them.
    const auto& element = static_cast<const ElementNode&>(*direct);
    if (element.form == SpecifierForm::Every && !element.test && each == 0) {
      const auto container = containerOf(element.container.get());
      site_ = &node;
      if (!isApplicationReference(container)) {
        if (container.isList() || container.isText() || container.isRecord())
          return whole(countOf(container, element.classCode));
        cannotGetElement(container, {SpecifierForm::Every, element.classCode, {}, {}});
      }
    }
  }
  const auto value = direct ? evalReference(*direct) : containerOf(nullptr);
  site_ = &node;
  if (isApplicationReference(value)) return Value::integer(countIn(value, each));
  return whole(countOf(value, each != 0 ? each : value.isText() ? code("cha ") : code("cobj")));
}

Value Evaluator::evalExists(const CommandNode& node) {
  try {
    const auto value = node.direct ? evalReference(*node.direct) : containerOf(nullptr);
    site_ = &node;
    if (isApplicationReference(value)) return Value::boolean(existsIn(value));
    return Value::boolean(!value.isNothing());
  } catch (const Raised& raised) {
    const auto number = raised.failure.number;
    if (raised.final || (number != error::noSuchObject && number != error::invalidIndex)) throw;
    return Value::boolean(false);
  }
}

// What the language and its additions answer themselves, wherever the script stands.
Value Evaluator::performOwn(const CommandNode& node) {
  auto direct = node.direct ? needed(eval(*node.direct)) : Value();
  Parameters parameters;
  for (const auto& [parameter, value] : node.parameters)
    parameters.emplace_back(parameter->code, needed(eval(*value)));
  site_ = &node;
  const auto& command = *node.command;
  if (command.hasDirectParameter && !command.directOptional && direct.isNothing())
    raise(error::parameterMissing, wording(error::parameterMissing, {"direct", command.name}));
  for (const auto& parameter : command.parameters) {
    if (!parameter.optional && !find(parameters, parameter.code))
      raise(error::parameterMissing, wording(error::parameterMissing, {parameter.name, command.name}));
  }
  return addition(command, direct, parameters);
}

}  // namespace quillbox::applescript

// Chains of `of`: symbolic while they lead to an application, values otherwise.
#include "applescript/dates.h"
#include "applescript/evaluator.h"
#include "applescript/objects.h"
#include "applescript/printing.h"
#include "applescript/stack.h"
#include "base/text.h"

namespace quillbox::applescript {

bool Evaluator::isApplicationReference(const Value& value) {
  if (value.is(Kind::Application) || value.is(Kind::Examined)) return true;
  if (!value.is(Kind::Specifier)) return false;
  const auto& root = value.as<SpecifierObject>().root();
  return root.is(Kind::Application) || root.is(Kind::Examined);
}

Application* Evaluator::applicationOf(const Value& value) {
  if (value.is(Kind::Application)) return value.asApplication();
  return value.is(Kind::Specifier) ? value.as<SpecifierObject>().root().asApplication() : nullptr;
}

Value Evaluator::dereferenced(const Value& value) {
  Value now = value;
  // A variable may hold a reference to itself.
  for (int steps = 0; now.is(Kind::Specifier) && !isApplicationReference(now); ++steps) {
    const auto& specifier = now.as<SpecifierObject>();
    const bool place =
        specifier.form >= SpecifierForm::Beginning && specifier.form <= SpecifierForm::PointAfter;
    if (place) break;
    if (steps > 1000) raise(error::stackOverflow, wording(error::stackOverflow));
    now = resolveLocal(specifier);
  }
  return now;
}

Value Evaluator::contents(const Value& value) {
  auto plain = dereferenced(value);
  // The contents of a loop's variable are the item, which may itself refer to an application's object.
  if (isApplicationReference(value) && value.is(Kind::Specifier)) return getFrom(plain);
  return plain;
}

Value Evaluator::resolveLocal(const SpecifierObject& specifier) {
  if (stackUsedSince(stackStart_) > stackBytes_) raise(error::stackOverflow, wording(error::stackOverflow));
  if (specifier.form == SpecifierForm::Variable)
    return specifier.key.is(Kind::Cell) ? specifier.key.as<CellObject>().value : specifier.key;
  const auto container = dereferenced(specifier.container);
  if (specifier.form == SpecifierForm::Property && specifier.code == code("txdl")) return delimiters_;
  if (specifier.form == SpecifierForm::Property)
    return propertyOf(container,
                      specifier.code != 0 ? Name(specifier.name.text(), specifier.code) : specifier.name);
  return elementOf(container, {specifier.form, specifier.code, specifier.key, specifier.secondKey});
}

// The object behind `of`, not asked for more than needed: what belongs to an application stays symbolic.
Value Evaluator::containerOf(const Node* node) {
  if (!node) return frame_->it.is(Kind::Specifier) ? dereferenced(frame_->it) : frame_->it;
  return evalReference(*node);
}

Value Evaluator::evalReference(const Node& node) {
  if (node.kind == NodeKind::Property) {
    const auto& property = static_cast<const PropertyNode&>(node);
    auto container = containerOf(property.container.get());
    site_ = &node;
    if (isApplicationReference(container)) {
      if (property.name.code() == code("txdl")) return delimiters_;
      return Value::object(Kind::Specifier,
                           make<SpecifierObject>(SpecifierForm::Property, std::move(container),
                                                 property.name.code(), property.name));
    }
    return dereferenced(access(property, std::move(container)));
  }
  if (node.kind == NodeKind::Element) {
    const auto& element = static_cast<const ElementNode&>(node);
    auto container = containerOf(element.container.get());
    site_ = &node;
    return dereferenced(access(element, std::move(container)));
  }
  return dereferenced(eval(node));
}

Value Evaluator::access(const PropertyNode& node, Value container) {
  if (node.name.code() == code("txdl")) return delimiters_;
  if (isApplicationReference(container)) {
    if (node.name.code() == code("pcnt") && container.is(Kind::Specifier)) return getFrom(container);
    const bool examined = !applicationOf(container);
    auto reference = Value::object(
        Kind::Specifier,
        make<SpecifierObject>(SpecifierForm::Property, std::move(container), node.name.code(), node.name));
    return examined ? reference : getFrom(reference);
  }
  // A variable of a loop is the item that it stands for, whatever is asked of it.
  return propertyOf(container, node.name);
}

Value Evaluator::propertyOrClass(const PropertyNode& node, Value container) {
  try {
    return access(node, std::move(container));
  } catch (const Raised& raised) {
    if (raised.final || raised.failure.number != error::noSuchObject) throw;
    return node.otherwise;
  }
}

namespace {

Value textFromIds(const Value& ids, bool& valid) {
  std::string text;
  valid = true;
  const auto add = [&](const Value& id) {
    const auto number = id.asInteger();
    valid = valid && id.is(Kind::Integer) && number >= 0 && number <= 0x10FFFF && (number & ~0x7FF) != 0xD800;
    if (valid) text::appendUtf8(text, static_cast<char32_t>(number));
  };
  if (ids.isList()) {
    for (const auto& id : ids.items()) add(id);
  } else {
    add(ids);
  }
  return Value::text(std::move(text));
}

}  // namespace

// Evaluates an element: its symbolic reference when it belongs to an application (then, unless asked for as a
// reference, the caller gets it), its value otherwise.
Value Evaluator::access(const ElementNode& node, Value container) {
  ElementKey element{node.form, node.classCode, {}, {}};
  const auto end = [&](const Node& key) {
    // `words (word 2) thru 4`: an element among those of the same container.
    if (key.kind == NodeKind::Element && !static_cast<const ElementNode&>(key).container) {
      const auto& inner = static_cast<const ElementNode&>(key);
      const auto innerKey = inner.key ? operand(eval(*inner.key)) : Value();
      const auto form =
          innerKey.isText() && inner.form == SpecifierForm::Index ? SpecifierForm::Named : inner.form;
      return Value::object(Kind::Specifier,
                           make<SpecifierObject>(form, Value(), inner.classCode, Name(), innerKey));
    }
    return operand(eval(key));
  };
  if (node.form == SpecifierForm::Before || node.form == SpecifierForm::After) {
    const bool beside = node.key->kind == NodeKind::Element &&
                        !static_cast<const ElementNode&>(*node.key).container &&
                        !static_cast<const ElementNode&>(*node.key).test;
    element.key = beside ? end(*node.key) : dereferenced(evalReference(*node.key));
    // `message after m` lies where m does.
    if (!node.container && element.key.is(Kind::Specifier) &&
        !element.key.as<SpecifierObject>().container.isNothing())
      container = element.key.as<SpecifierObject>().container;
  } else if (node.key) {
    element.key = end(*node.key);
  }
  if (node.secondKey) element.secondKey = end(*node.secondKey);
  if (element.form == SpecifierForm::Index && element.key.isText()) element.form = SpecifierForm::Named;
  if (!node.container && !node.test && node.key) {
    if (node.classCode == code("ldt ") && element.key.isText()) return coerce(element.key, code("ldt "), {});
    if (element.form == SpecifierForm::Identified &&
        (node.classCode == code("ctxt") || node.classCode == code("cha "))) {
      bool valid = false;
      auto text = textFromIds(element.key, valid);
      if (!valid) cannotMake(element.key, code("ctxt"));
      return text;
    }
    const bool outside = node.classCode == code("alis") || node.classCode == code("file") ||
                         node.classCode == code("psxf") || node.classCode == code("cfol") ||
                         node.classCode == code("cdis") || node.classCode == code("scpt");
    if (outside && !isApplicationReference(container)) {
      const auto term = classTerm(node.classCode, nullptr);
      raise(error::notOffered, wording(error::notOffered, {term}));
    }
  }
  if (!isApplicationReference(container)) {
    if (node.test) {
      element.form = SpecifierForm::Every;
      cannotGetElement(container, element);
    }
    return elementOf(container, element);
  }
  if (node.test) {
    auto all =
        Value::object(Kind::Specifier, make<SpecifierObject>(SpecifierForm::Filter, std::move(container),
                                                             node.classCode, Name(), makeTest(*node.test)));
    if (node.form == SpecifierForm::Every) return all;
    container = std::move(all);
  }
  return Value::object(Kind::Specifier,
                       make<SpecifierObject>(element.form, std::move(container), node.classCode, Name(),
                                             element.key, element.secondKey));
}

// before, after, beginning of, end of: a place, which only commands and `set` can use.
Value Evaluator::evalPoint(const PointNode& node) {
  auto container = containerOf(node.container.get());
  return Value::object(Kind::Specifier, make<SpecifierObject>(node.form, std::move(container), 0));
}

Value Evaluator::evalApplication(const ApplicationNode& node) {
  if (!node.name) return frame_->me;
  if (node.application) return Value::application(*node.application);
  const auto name = toText(eval(*node.name));
  site_ = &node;
  if (auto* application = host_.application(name)) return Value::application(*application);
  raise(error::noSuchObject, wording(error::noSuchObject, {"application " + quoted(name)}));
}

// `a reference to x`: nothing is asked of anyone.
Value Evaluator::referenceTo(const Node& node) {
  if (node.kind == NodeKind::Variable) {
    const auto& variable = static_cast<const VariableNode&>(node);
    const auto& location = variable.location;
    if (location.kind == Location::Kind::Cell)
      return Value::object(Kind::Specifier,
                           make<SpecifierObject>(SpecifierForm::Variable, Value(), 0, variable.name,
                                                 frame_->slots[location.slot]));
    if (location.kind == Location::Kind::Property || location.kind == Location::Kind::Global) {
      auto* script = frame_->home;
      if (location.kind == Location::Kind::Global) {
        while (script->outer) script = script->outer.get();
      }
      for (auto hops = location.hops; hops > 0 && script->outer; --hops) script = script->outer.get();
      return Value::object(
          Kind::Specifier,
          make<SpecifierObject>(SpecifierForm::Property,
                                Value::object(Kind::Script, Ref<ScriptInstance>(script)), 0, variable.name));
    }
    auto value = readVariable(variable);
    if (value.is(Kind::Specifier)) return value;
    return Value::object(Kind::Specifier,
                         make<SpecifierObject>(SpecifierForm::Variable, Value(), 0, variable.name, value));
  }
  if (node.kind == NodeKind::Property) {
    const auto& property = static_cast<const PropertyNode&>(node);
    return Value::object(
        Kind::Specifier,
        make<SpecifierObject>(SpecifierForm::Property, referenceFromContainer(property.container.get()),
                              property.name.code(), property.name));
  }
  if (node.kind == NodeKind::Element) {
    const auto& element = static_cast<const ElementNode&>(node);
    auto container = referenceFromContainer(element.container.get());
    if (isApplicationReference(container)) return access(element, std::move(container));
    Value key = element.key ? operand(eval(*element.key)) : Value();
    Value secondKey = element.secondKey ? operand(eval(*element.secondKey)) : Value();
    return Value::object(Kind::Specifier,
                         make<SpecifierObject>(element.form, std::move(container), element.classCode, Name(),
                                               std::move(key), std::move(secondKey)));
  }
  return eval(node);
}

Value Evaluator::referenceFromContainer(const Node* node) {
  if (!node) return frame_->it;
  switch (node->kind) {
    case NodeKind::Property:
    case NodeKind::Element:
      return referenceTo(*node);
    case NodeKind::Variable: {
      const auto value = readVariable(static_cast<const VariableNode&>(*node));
      // Of a list the reference keeps the list; of what cannot be changed in place it keeps the variable.
      return value.isList() || value.isRecord() || value.is(Kind::Specifier) || value.is(Kind::Script)
                 ? value
                 : referenceTo(*node);
    }
    default:
      return eval(*node);
  }
}

Value Evaluator::testOperand(const Node& node) {
  auto value = eval(node);
  const bool examined = value.is(Kind::Examined) ||
                        (value.is(Kind::Specifier) && value.as<SpecifierObject>().root().is(Kind::Examined));
  return examined ? value : dereferenced(value);
}

// The condition behind `whose`, in which `it` is the object that will be examined.
Value Evaluator::makeTest(const Node& node) {
  struct Restore {
    Value& it;
    Value previous;
    ~Restore() { it.swap(previous); }
  } restore{frame_->it, frame_->it};
  frame_->it = Value::examined();
  const auto test = [](TestOperator operation, Value left, Value right) {
    return Value::object(Kind::Test, make<TestObject>(operation, std::move(left), std::move(right)));
  };
  if (node.kind == NodeKind::Not)
    return test(TestOperator::Not, {}, makeTest(*static_cast<const UnaryNode&>(node).operand));
  if (node.kind == NodeKind::Binary) {
    const auto& binary = static_cast<const BinaryNode&>(node);
    if (binary.operation == Operator::And || binary.operation == Operator::Or) {
      auto left = makeTest(*binary.left);
      return test(binary.operation == Operator::And ? TestOperator::And : TestOperator::Or, std::move(left),
                  makeTest(*binary.right));
    }
    struct Row {
      Operator operation;
      TestOperator test;
      bool negated;
    };
    constexpr Row kRows[] = {{Operator::Equal, TestOperator::Equal, false},
                             {Operator::NotEqual, TestOperator::NotEqual, false},
                             {Operator::Less, TestOperator::Less, false},
                             {Operator::LessOrEqual, TestOperator::LessOrEqual, false},
                             {Operator::Greater, TestOperator::Greater, false},
                             {Operator::GreaterOrEqual, TestOperator::GreaterOrEqual, false},
                             {Operator::Contains, TestOperator::Contains, false},
                             {Operator::NotContains, TestOperator::Contains, true},
                             {Operator::IsIn, TestOperator::IsIn, false},
                             {Operator::IsNotIn, TestOperator::IsIn, true},
                             {Operator::BeginsWith, TestOperator::BeginsWith, false},
                             {Operator::NotBeginsWith, TestOperator::BeginsWith, true},
                             {Operator::EndsWith, TestOperator::EndsWith, false},
                             {Operator::NotEndsWith, TestOperator::EndsWith, true}};
    for (const auto& row : kRows) {
      if (row.operation != binary.operation) continue;
      auto left = testOperand(*binary.left);
      auto made = test(row.test, std::move(left), testOperand(*binary.right));
      return row.negated ? test(TestOperator::Not, {}, std::move(made)) : made;
    }
  }
  return test(TestOperator::Equal, testOperand(node), Value::boolean(true));
}

}  // namespace quillbox::applescript

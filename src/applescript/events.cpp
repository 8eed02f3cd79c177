// Events to applications: the lock around them, the standard suite, and the wording of what they refuse.
#include "applescript/evaluator.h"
#include "applescript/object_resolver.h"
#include "applescript/printing.h"

namespace quillbox::applescript {

namespace {

// "Mail got an error: Can’t get mailbox "x" of account "y"."
Failure worded(const Application& application, ObjectResolver::Refused refused) {
  auto& failure = refused.failure;
  if (failure.number == error::notAuthorized && failure.message.empty()) {
    failure.message = wording(failure.number, {application.name()});
    return failure;
  }
  if (failure.message.empty()) {
    const auto about = sourceForm(refused.about, &application);
    const auto value = sourceForm(refused.value, &application);
    switch (failure.number) {
      // Setting something that is not there, or that cannot be read, is a failure to set it.
      case error::noSuchObject:
        failure.message = refused.value.isNothing() ? wording(failure.number, {about})
                                                    : wording(error::cannotSet, {about, value});
        break;
      case error::cannotMake:
        failure.message = refused.value.isNothing() ? wording(error::noSuchObject, {about})
                                                    : wording(error::cannotSet, {about, value});
        break;
      case error::wrongType:
        failure.message = wording(failure.number, {refused.value.isNothing() ? about : value});
        break;
      case error::notUnderstood:
        failure.message = wording(failure.number, {about, "count"});
        break;
      default:
        failure.message = wording(failure.number, {about, value});
        break;
    }
  }
  if (failure.object.isNothing()) failure.object = refused.about;
  failure.message = application.name() + " got an error: " + failure.message;
  return failure;
}

}  // namespace

template <class Work>
Value Evaluator::event(Application& application, Work work) {
  step();
  const auto begun = host_.steady();
  if (auto ready = application.beginEvent(timeout_); !ready)
    raise(worded(application, {std::move(ready.error()), Value::application(application), {}}));
  struct End {
    Application& application;
    ~End() { application.endEvent(); }
  };
  Failure failure;
  try {
    const End end{application};
    ObjectResolver resolver(*this, application, begun + timeout_);
    auto answer = work(resolver);
    // An answer that comes too late is none.
    resolver.checkDeadline();
    return answer;
  } catch (ObjectResolver::Refused& refused) {
    failure = worded(application, std::move(refused));
  }
  raise(std::move(failure));
}

Value Evaluator::getFrom(const Value& reference) {
  auto* application = applicationOf(reference);
  if (!application) cannotGet(reference);
  if (reference.is(Kind::Application)) return reference;
  return event(*application,
               [&](ObjectResolver& resolver) { return resolver.seal(resolver.resolve(reference)); });
}

void Evaluator::setIn(const Value& reference, const Value& value) {
  auto* application = applicationOf(reference);
  if (!application) cannotSet(reference, value);
  event(*application, [&](ObjectResolver& resolver) {
    resolver.set(reference, value);
    return Value();
  });
}

std::int64_t Evaluator::countIn(const Value& reference, Code each) {
  auto* application = applicationOf(reference);
  if (!application) cannotGet(reference);
  return event(*application,
               [&](ObjectResolver& resolver) {
                 return Value::integer(static_cast<std::int64_t>(resolver.count(reference, each)));
               })
      .asInteger();
}

bool Evaluator::existsIn(const Value& reference) {
  auto* application = applicationOf(reference);
  if (!application) return false;
  if (reference.is(Kind::Application)) return true;
  return event(*application,
               [&](ObjectResolver& resolver) {
                 try {
                   const auto found = resolver.resolve(reference);
                   return Value::boolean(!found.isMissing() && !found.isNothing());
                 } catch (const ObjectResolver::Refused& refused) {
                   const auto number = refused.failure.number;
                   if (number != error::noSuchObject && number != error::invalidIndex) throw;
                   return Value::boolean(false);
                 }
               })
      .asBoolean();
}

Value Evaluator::makeIn(Application& application, const Value& target, const Parameters& parameters) {
  const auto* type = find(parameters, code("kocl"));
  if (!type || !type->is(Kind::ClassName))
    raise(error::parameterMissing, wording(error::parameterMissing, {"new", "make"}));
  return event(application, [&](ObjectResolver& resolver) {
    const auto* location = find(parameters, code("insh"));
    Value where = location ? *location : target;
    const auto place = resolver.place(where);
    const auto* given = find(parameters, code("prdt"));
    auto properties = given ? resolver.argument(*given) : Value::record({});
    if (!properties.isRecord()) {
      Failure failure;
      failure.number = error::cannotMake;
      failure.message = wording(error::cannotMake, {sourceForm(properties), "record"});
      throw ObjectResolver::Refused{std::move(failure), properties, {}};
    }
    auto made = place.container->make(type->asCode(), properties, place);
    if (!made) {
      if (made.error().number == error::cannotMakeClass && made.error().message.empty())
        made.error().message =
            wording(error::cannotMakeClass, {classTerm(type->asCode(), &application.terminology())});
      throw ObjectResolver::Refused{std::move(made.error()), *type, {}};
    }
    return *made ? (*made)->specifier() : Value();
  });
}

// delete, move and duplicate, of one object or of many.
Value Evaluator::changeIn(Application& application, const Command& command, const Value& direct,
                          const Parameters& parameters) {
  return event(application, [&](ObjectResolver& resolver) {
    const auto objects = resolver.objects(direct);
    const auto* to = find(parameters, code("insh"));
    if (command.id == code("move") && !to)
      raise(error::parameterMissing, wording(error::parameterMissing, {"to", command.name}));
    std::optional<Place> place;
    if (to) place = resolver.place(*to);
    const auto* given = find(parameters, code("prdt"));
    const auto properties = given ? resolver.argument(*given) : Value::record({});
    std::vector<Value> results;
    for (const auto& object : objects) {
      const auto name = object->specifier();
      Outcome<ObjectRef> changed = ObjectRef();
      if (command.id == code("delo")) {
        if (auto removed = object->remove(); !removed) changed = std::unexpected(std::move(removed.error()));
      } else if (command.id == code("move")) {
        changed = object->moveTo(*place);
      } else {
        changed = object->duplicateTo(place, properties);
      }
      if (!changed) {
        auto& failure = changed.error();
        if (failure.partialResult.isNothing()) failure.partialResult = Value::list(results);
        throw ObjectResolver::Refused{std::move(failure), name, {}};
      }
      if (*changed) results.push_back((*changed)->specifier());
    }
    if (results.empty()) return Value();
    return results.size() == 1 && objects.size() == 1 ? results.front() : Value::list(std::move(results));
  });
}

Value Evaluator::sendEvent(Application& application, const Command& command, const Value& target,
                           Value direct, Parameters parameters) {
  return event(application, [&](ObjectResolver& resolver) {
    Event sent;
    sent.command = &command;
    // `tell window 1 to close`: who is told is what the command is about.
    if (direct.isNothing() && command.hasDirectParameter && target.is(Kind::Specifier)) direct = target;
    if (!direct.isNothing()) sent.direct = resolver.argument(direct);
    for (const auto& [key, value] : parameters) sent.parameters.emplace_back(key, resolver.argument(value));
    const auto told = resolver.resolve(target);
    sent.target = told.is(Kind::Live) ? told.asLive() : application.root();
    auto answer = application.perform(sent);
    if (!answer) {
      auto& failure = answer.error();
      if (failure.number == error::notUnderstood && failure.message.empty())
        failure.message = wording(failure.number, {sourceForm(target, &application), command.name});
      throw ObjectResolver::Refused{std::move(failure), direct.isNothing() ? target : direct, {}};
    }
    return resolver.seal(*answer);
  });
}

}  // namespace quillbox::applescript

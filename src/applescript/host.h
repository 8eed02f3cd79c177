// What the interpreter asks of the world around it, and how an application offers its objects to scripts.
//
// An application hands over three things: its terminology (an .sdef), a root ScriptObject with everything
// below it, and perform() for the commands that are its own. Everything else is done once, in here:
// references are resolved by index, name, id, range, relation and filter; properties of many objects are
// collected; get, set, count, exists, make, delete, move and duplicate work on whatever a reference names;
// errors get AppleScript's wording.
#pragma once

#include <chrono>
#include <cstdint>
#include <functional>
#include <memory>
#include <optional>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

#include "applescript/code.h"
#include "applescript/errors.h"
#include "applescript/terminology.h"
#include "applescript/value.h"

namespace quillbox::applescript {

// Where a new or moved element goes.
struct Place {
  enum class Position : std::uint8_t { Any, Beginning, End, Before, After };
  ObjectRef container;  // never null
  Position position = Position::Any;
  ObjectRef sibling;  // for Before and After
};

// One object of an application as scripts see it. It is only called between beginEvent() and endEvent() of
// its application, and only then may it be held: what the script keeps is specifier().
//
// A Failure with an empty message gets the wording that its number has, with the object that the script asked
// for: failure(error::noSuchObject), failure(error::accessNotAllowed), failure(error::invalidIndex) and so
// on.
class ScriptObject {
 public:
  virtual ~ScriptObject() = default;

  virtual Code classCode() const = 0;
  // The reference that stays right for as long as the object lives, built with the functions of
  // namespace element (objects.h): mailbox "INBOX" of account id "UUID" of application "Mail".
  virtual Value specifier() const = 0;

  // Object-valued properties are Value::live(object), or a list of them, or missing. -1728: no such property.
  virtual Outcome<Value> property(Code property);
  // `value` holds live objects wherever the script gave references to objects of this application. -1728: no
  // such property. -10003: it cannot be set. -10006 or -1700: not to that value.
  virtual Outcome<void> setProperty(Code property, const Value& value);

  // Elements of a class, each list in the order in which scripts count it, 0-based here. -1728: no such
  // elements.
  virtual Outcome<std::vector<ObjectRef>> elements(Code elementClass);
  // The next four have answers made from elements(); override those that can be had faster. nullptr: not
  // there.
  virtual Outcome<std::size_t> count(Code elementClass);
  virtual Outcome<ObjectRef> at(Code elementClass, std::size_t index);
  virtual Outcome<ObjectRef> named(Code elementClass,
                                   std::string_view name);  // by 'pnam', without regard to case
  virtual Outcome<ObjectRef> identified(Code elementClass, const Value& id);  // by 'ID  '

  // Makes an element of this object; the properties are a record whose keys have codes. -2710: no such class
  // here.
  virtual Outcome<ObjectRef> make(Code elementClass, const Value& properties, const Place& place);
  // delete: -10000 and a message when this kind of object cannot be.
  virtual Outcome<void> remove();
  // The object at its new place; -10024: it cannot go there.
  virtual Outcome<ObjectRef> moveTo(const Place& place);
  // nullopt: beside itself.
  virtual Outcome<ObjectRef> duplicateTo(const std::optional<Place>& place, const Value& properties);
};

// A command that reached an application. References to its own objects arrive as live objects, lists of them
// as lists.
struct Event {
  const Command* command = nullptr;  // from the terminology
  Value direct;                      // Nothing when the script gave none
  std::vector<std::pair<Code, Value>> parameters;
  ObjectRef target;  // the object of the `tell` around it

  const Value* parameter(Code code) const {
    for (const auto& [key, value] : parameters) {
      if (key == code) return &value;
    }
    return nullptr;
  }
};

// An application that scripts can tell. It outlives every run that may name it, and so does its terminology.
// Runs of several threads may come at once; beginEvent() is where they queue.
class Application {
 public:
  virtual ~Application() = default;

  virtual const std::string& name() const = 0;  // "Mail"
  // Bundle identifier for `application id "..."`; empty when it has none.
  virtual std::string identifier() const { return {}; }
  virtual const Terminology& terminology() const = 0;
  virtual bool isRunning() const { return true; }

  // Each event of a script is bracketed by these two, on the thread of the run. The first takes whatever lock
  // the application needs; it gives -1712 when `timeout` passes first, -600 or -1743 when there is nobody to
  // talk to. The second is called only after a first that succeeded.
  virtual Outcome<void> beginEvent(std::chrono::nanoseconds timeout) = 0;
  virtual void endEvent() = 0;

  // The application object itself; only between the two.
  virtual ObjectRef root() = 0;
  // Everything but get, set, count, exists, make, delete, move and duplicate. Gives Nothing for no result.
  // -1708: not one of its commands.
  virtual Outcome<Value> perform(const Event& event) = 0;
};

// Everything else that a script can notice.
class Host {
 public:
  virtual ~Host() = default;

  // By name or bundle identifier, without regard to case; nullptr when there is no such application. The
  // pointer stays good as long as the host.
  virtual Application* application(std::string_view nameOrIdentifier) = 0;
  // Since 1970 UTC, and the seconds east of UTC at that moment.
  virtual std::chrono::nanoseconds now() = 0;
  virtual std::chrono::seconds localOffset(std::chrono::nanoseconds at) = 0;
  // Never goes back.
  virtual std::chrono::nanoseconds steady() = 0;
  virtual std::uint64_t random() = 0;
  // What `log` prints, in source form.
  virtual void log(std::string_view line) = 0;
  // Waits as `delay` does, in pieces, and gives up when `cancelled` says so.
  virtual void wait(std::chrono::nanoseconds time, const std::function<bool()>& cancelled) = 0;
};

}  // namespace quillbox::applescript

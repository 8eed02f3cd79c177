// What can go wrong in a script: the numbers, AppleScript's wording for each, and the value that carries
// them.
#pragma once

#include <cstdint>
#include <expected>
#include <initializer_list>
#include <string>
#include <string_view>

#include "applescript/value.h"

namespace quillbox::applescript {

namespace error {
inline constexpr std::int64_t outOfMemory = -108;
inline constexpr std::int64_t userCanceled = -128;
inline constexpr std::int64_t notRunning = -600;
inline constexpr std::int64_t cannotMake = -1700;        // a coercion: value, type
inline constexpr std::int64_t parameterMissing = -1701;  // parameter, command
inline constexpr std::int64_t wrongType = -1703;         // value
inline constexpr std::int64_t notUnderstood = -1708;     // object, message
inline constexpr std::int64_t timedOut = -1712;
inline constexpr std::int64_t noUserInteraction = -1713;
inline constexpr std::int64_t handlerNotDefined = -1717;  // handler
inline constexpr std::int64_t invalidIndex = -1719;       // object
inline constexpr std::int64_t invalidRange = -1720;
inline constexpr std::int64_t noSuchObject = -1728;  // object
inline constexpr std::int64_t unknownObjectType = -1731;
inline constexpr std::int64_t notAuthorized = -1743;  // application
inline constexpr std::int64_t general = -2700;
inline constexpr std::int64_t divideByZero = -2701;  // dividend
inline constexpr std::int64_t numberTooLarge = -2702;
inline constexpr std::int64_t stackOverflow = -2706;
inline constexpr std::int64_t cannotMakeClass = -2710;  // class
inline constexpr std::int64_t cannotGoAfter = -2740;    // what, after what
inline constexpr std::int64_t syntax = -2741;           // expected, found
inline constexpr std::int64_t notDefined = -2753;       // variable
inline constexpr std::int64_t exitOutsideRepeat = -2755;
inline constexpr std::int64_t noResult = -2763;
inline constexpr std::int64_t handlerFailed = -10000;
inline constexpr std::int64_t accessNotAllowed = -10003;  // object, value
inline constexpr std::int64_t cannotSet = -10006;         // object, value
inline constexpr std::int64_t cannotMoveThere = -10024;
// The limits of a run, which are this interpreter's own.
inline constexpr std::int64_t tooManySteps = -4020;
inline constexpr std::int64_t tooLong = -4021;
inline constexpr std::int64_t notOffered = -4022;  // command
}  // namespace error

// The text of an error with its parts filled in: wording(-1728, {"window 1"}) is "Can’t get window 1." A
// number without a text of its own reads "An error of type N has occurred."
std::string wording(std::int64_t number, std::initializer_list<std::string_view> parts = {});

// An error on its way. What an application raises may leave `message` empty: it then gets the wording of its
// number with the object that the script asked for, and in any case the prefix "NAME got an error: ".
struct Failure {
  std::int64_t number = error::general;
  std::string message;
  Value object;         // the offending object; Nothing when unknown
  Value partialResult;  // what was done before
  Value expectedClass;  // what it should have been made into
  // The place in the source, 1-based; 0 when unknown.
  int line = 0;
  int column = 0;
  bool atCompileTime = false;
};

template <class T>
using Outcome = std::expected<T, Failure>;

// return failure(error::noSuchObject);  return failure(-10000, "The folder is not writable.");
inline std::unexpected<Failure> failure(std::int64_t number, std::string message = {}) {
  Failure result;
  result.number = number;
  result.message = std::move(message);
  return std::unexpected(std::move(result));
}

// The error of an operation that met `object` as an unsuitable value.
inline std::unexpected<Failure> failure(std::int64_t number, std::string message, Value object) {
  Failure result;
  result.number = number;
  result.message = std::move(message);
  result.object = std::move(object);
  return std::unexpected(std::move(result));
}

}  // namespace quillbox::applescript

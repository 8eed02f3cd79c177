#include "applescript/errors.h"

#include <array>

namespace quillbox::applescript {

namespace {

struct Row {
  std::int64_t number;
  std::string_view text;  // %1 and %2 stand for the parts
};

constexpr std::array kTable = {
    Row{error::outOfMemory, "Out of memory."},
    Row{error::userCanceled, "User canceled."},
    Row{error::notRunning, "Application isn’t running."},
    Row{error::cannotMake, "Can’t make %1 into type %2."},
    Row{error::parameterMissing, "The %1 parameter is missing for %2."},
    Row{error::wrongType, "%1 is the wrong type."},
    Row{error::notUnderstood, "%1 doesn’t understand the “%2” message."},
    Row{error::timedOut, "AppleEvent timed out."},
    Row{error::noUserInteraction, "No user interaction allowed."},
    Row{error::handlerNotDefined, "The handler %1 is not defined."},
    Row{error::invalidIndex, "Can’t get %1. Invalid index."},
    Row{error::invalidRange, "Invalid range."},
    Row{error::noSuchObject, "Can’t get %1."},
    Row{error::unknownObjectType, "Unknown object type."},
    Row{error::notAuthorized, "Not authorized to send Apple events to %1."},
    Row{error::general, "An error has occurred."},
    Row{error::divideByZero, "Can’t divide %1 by zero."},
    Row{error::numberTooLarge, "The result of a numeric operation was too large."},
    Row{error::stackOverflow, "Stack overflow."},
    Row{error::cannotMakeClass, "Can’t make class %1."},
    Row{error::cannotGoAfter, "A %1 can’t go after this %2."},
    Row{error::syntax, "Expected %1 but found %2."},
    Row{error::notDefined, "The variable %1 is not defined."},
    Row{error::exitOutsideRepeat, "Exit statement was not in a repeat loop."},
    Row{error::noResult, "No result was returned from some part of this expression."},
    Row{error::handlerFailed, "AppleEvent handler failed."},
    Row{error::accessNotAllowed, "Can’t set %1 to %2. Access not allowed."},
    Row{error::cannotSet, "Can’t set %1 to %2."},
    Row{error::cannotMoveThere, "Can’t make or move that element into that container."},
    Row{error::tooManySteps, "The script took more than %1 steps."},
    Row{error::tooLong, "The script ran longer than %1 seconds."},
    Row{error::notOffered, "“%1” is not available to scripts here."},
};

}  // namespace

std::string wording(std::int64_t number, std::initializer_list<std::string_view> parts) {
  std::string result;
  for (const auto& row : kTable) {
    if (row.number != number) continue;
    for (std::size_t i = 0; i < row.text.size(); ++i) {
      if (row.text[i] != '%') {
        result += row.text[i];
        continue;
      }
      const auto part = static_cast<std::size_t>(row.text[++i] - '1');
      if (part < parts.size()) result += parts.begin()[part];
    }
    return result;
  }
  return "An error of type " + std::to_string(number) + " has occurred.";
}

}  // namespace quillbox::applescript

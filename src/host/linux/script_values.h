// Between the interpreter's values and the descriptors of the script-engine port.
#pragma once

#include <functional>
#include <string>

#include "applescript/value.h"
#include "platform/descriptor.h"

namespace quillbox {

// Prints what a descriptor carries as text only: references, scripts, handlers.
using ValuePrinter = std::function<std::string(const applescript::Value&)>;

// Integers that fit become 'long', others 'comp'; constants and classes become symbols under their term,
// dates symbols in ISO 8601, references symbols in printed form (empty without a printer). Record keys keep
// the spelling of the script. Lists nested deeper than a run can build them do not occur.
Descriptor descriptorOf(const applescript::Value& value, const ValuePrinter& print = {});

// A symbol comes back as its text; null as no value at all.
applescript::Value valueOf(const Descriptor& descriptor);

}  // namespace quillbox

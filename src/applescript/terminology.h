// The words of one application: what a scripting definition (.sdef) says, made quick to look up.
#pragma once

#include <cstdint>
#include <functional>
#include <memory>
#include <string>
#include <string_view>
#include <unordered_map>
#include <vector>

#include "applescript/code.h"
#include "base/result.h"

namespace quillbox::applescript {

struct CommandParameter {
  std::string name;  // "with properties"
  Code code = 0;
  std::string type;  // as the definition writes it; several joined by "|"
  bool optional = false;
};

struct Command {
  std::string name;
  Code suite = 0;  // the first and the second half of the eight-character code
  Code id = 0;
  bool hasDirectParameter = false;
  bool directOptional = true;
  std::string directType;
  std::vector<CommandParameter> parameters;
};

// What one term can mean; the grammar chooses by what stands around it.
struct Term {
  std::string text;  // as the definition spells it, "message viewer"
  Code property = 0;
  Code classCode = 0;
  bool plural = false;  // the term is the plural of the class
  Code enumerator = 0;
  const Command* command = nullptr;
};

// Immutable once parsed; any number of threads may read it.
class Terminology {
 public:
  // Reads the XML of a scripting definition. Suites, classes with plurals, inheritance and extensions,
  // synonyms, record types, commands, events and enumerations are taken; documentation and cocoa keys are
  // not. Fails with error -4008 that names the element and what is wrong with it.
  static Result<std::shared_ptr<const Terminology>> parse(std::string_view xml);

  // The term of exactly these words, lower case, single spaces between; nullptr for none.
  const Term* find(std::string_view words) const;
  // The largest number of words of a term that begins with this word, lower case; 0 for none.
  std::size_t longestFrom(std::string_view firstWord) const;
  // nullptr for none.
  const Command* command(Code suite, Code id) const;

  // The terms behind codes, for printing; empty when the code is none of this dictionary's.
  std::string_view className(Code code) const;
  std::string_view pluralName(Code code) const;
  std::string_view propertyName(Code code) const;
  std::string_view enumeratorName(Code code) const;
  // The class that a class inherits from; 0 for none.
  Code parentClass(Code code) const;
  // Whether `derived` is `base` or inherits from it.
  bool isKindOf(Code derived, Code base) const;
  // The declared type of a property ("text", "account"), empty when there is none.
  std::string_view propertyType(Code code) const;
  // The properties that a class declares and inherits, each once, in the order of the definition.
  std::vector<Code> propertiesOf(Code classCode) const;

 private:
  friend class SdefReader;

  struct ClassNames {
    std::string name;
    std::string plural;
    Code parent = 0;
    std::vector<Code> properties;
    std::string parentName;
  };

  Term& term(std::string_view text);

  // Looked up by views into the source.
  struct Hash {
    using is_transparent = void;
    std::size_t operator()(std::string_view text) const { return std::hash<std::string_view>{}(text); }
  };

  std::unordered_map<std::string, Term, Hash, std::equal_to<>> terms_;
  std::unordered_map<std::string, std::size_t, Hash, std::equal_to<>> longest_;
  std::vector<std::unique_ptr<Command>> commands_;
  std::unordered_map<Code, ClassNames> classes_;
  std::unordered_map<Code, std::string> properties_;
  std::unordered_map<Code, std::string> propertyTypes_;
  std::unordered_map<Code, std::string> enumerators_;
};

}  // namespace quillbox::applescript

#include "applescript/terminology.h"

#include <algorithm>

#include "base/text.h"

namespace quillbox::applescript {

namespace {

template <class Map>
std::string_view nameIn(const Map& map, Code code) {
  const auto found = map.find(code);
  return found == map.end() ? std::string_view() : std::string_view(found->second);
}

}  // namespace

Term& Terminology::term(std::string_view text) {
  // As the grammar asks for it: lower case, one space between words.
  std::string key;
  std::size_t words = 0;
  for (const auto& word : text::splitNonEmpty(text::foldCase(text), ' ')) {
    if (words++ > 0) key += ' ';
    key += word;
  }
  const auto firstWord = key.substr(0, key.find(' '));
  auto& longest = longest_[firstWord];
  longest = std::max(longest, words);
  auto& term = terms_[key];
  if (term.text.empty()) term.text = text;
  return term;
}

const Term* Terminology::find(std::string_view words) const {
  const auto found = terms_.find(words);
  return found == terms_.end() ? nullptr : &found->second;
}

std::size_t Terminology::longestFrom(std::string_view firstWord) const {
  const auto found = longest_.find(firstWord);
  return found == longest_.end() ? 0 : found->second;
}

const Command* Terminology::command(Code suite, Code id) const {
  for (const auto& command : commands_) {
    if (command->suite == suite && command->id == id) return command.get();
  }
  return nullptr;
}

std::string_view Terminology::className(Code code) const {
  const auto found = classes_.find(code);
  return found == classes_.end() ? std::string_view() : std::string_view(found->second.name);
}

std::string_view Terminology::pluralName(Code code) const {
  const auto found = classes_.find(code);
  return found == classes_.end() ? std::string_view() : std::string_view(found->second.plural);
}

std::string_view Terminology::propertyName(Code code) const {
  return nameIn(properties_, code);
}
std::string_view Terminology::enumeratorName(Code code) const {
  return nameIn(enumerators_, code);
}
std::string_view Terminology::propertyType(Code code) const {
  return nameIn(propertyTypes_, code);
}

std::vector<Code> Terminology::propertiesOf(Code classCode) const {
  std::vector<Code> all;
  for (std::size_t steps = 0; classCode != 0 && steps <= classes_.size(); ++steps) {
    const auto found = classes_.find(classCode);
    if (found == classes_.end()) break;
    for (const auto property : found->second.properties) {
      if (std::ranges::find(all, property) == all.end()) all.push_back(property);
    }
    classCode = found->second.parent;
  }
  return all;
}

Code Terminology::parentClass(Code code) const {
  const auto found = classes_.find(code);
  return found == classes_.end() ? 0 : found->second.parent;
}

bool Terminology::isKindOf(Code derived, Code base) const {
  // A definition may claim that two classes inherit from each other.
  for (std::size_t steps = 0; derived != 0 && steps <= classes_.size(); ++steps) {
    if (derived == base) return true;
    derived = parentClass(derived);
  }
  return false;
}

}  // namespace quillbox::applescript

// Reads scripting definitions into a Terminology.
#include <optional>
#include <pugixml.hpp>

#include <fmt/format.h>

#include "applescript/terminology.h"
#include "base/error_numbers.h"
#include "base/text.h"

namespace quillbox::applescript {

namespace {

// Eight characters or sixteen hexadecimal digits behind 0x, halved; the same with four and eight.
std::optional<std::string> codeBytes(std::string_view written, std::size_t size) {
  if (written.size() == size) return std::string(written);
  if (written.size() != size * 2 + 2 || !written.starts_with("0x")) return std::nullopt;
  std::string bytes;
  for (std::size_t i = 2; i < written.size(); i += 2) {
    unsigned value = 0;
    for (const char c : written.substr(i, 2)) {
      const auto digit = std::string_view("0123456789abcdef").find(static_cast<char>(c | 0x20));
      if (digit == std::string_view::npos) return std::nullopt;
      value = value * 16 + static_cast<unsigned>(digit);
    }
    bytes += static_cast<char>(value);
  }
  return bytes;
}

bool isYes(const pugi::xml_attribute& attribute) {
  return std::string_view(attribute.value()) == "yes";
}

std::string typeOf(const pugi::xml_node& node) {
  std::string types = node.attribute("type").value();
  for (const auto& child : node.children("type")) {
    if (!types.empty()) types += '|';
    types += child.attribute("type").value();
  }
  return types;
}

}  // namespace

class SdefReader {
 public:
  Result<std::shared_ptr<const Terminology>> read(std::string_view xml) {
    pugi::xml_document document;
    const auto parsed =
        document.load_buffer(xml.data(), xml.size(), pugi::parse_default, pugi::encoding_utf8);
    if (!parsed) {
      return fail(error_number::damagedFile,
                  fmt::format("The scripting definition is not XML: {} at byte {}.", parsed.description(),
                              parsed.offset));
    }
    const auto dictionary = document.child("dictionary");
    if (!dictionary) complain(document, "has no dictionary element");
    for (const auto& suite : dictionary.children("suite")) {
      for (const auto& node : suite.children()) readSuiteChild(node);
    }
    for (auto& [code, names] : terms_->classes_) {
      if (names.parentName.empty()) continue;
      const auto* parent = terms_->find(text::foldCase(names.parentName));
      // A class of the standard suite that the definition does not repeat is no fault.
      if (parent) names.parent = parent->classCode;
    }
    if (!complaint_.empty()) return fail(error_number::damagedFile, complaint_);
    return terms_;
  }

 private:
  void readSuiteChild(const pugi::xml_node& node) {
    const std::string_view kind = node.name();
    if (kind == "class" || kind == "record-type" || kind == "value-type") {
      readClass(node);
    } else if (kind == "class-extension") {
      const auto* extended = terms_->find(text::foldCase(node.attribute("extends").value()));
      readProperties(node, extended ? extended->classCode : 0);
    } else if (kind == "command" || kind == "event") {
      readCommand(node);
    } else if (kind == "enumeration") {
      for (const auto& enumerator : node.children("enumerator")) readEnumerator(enumerator);
    }
  }

  void readClass(const pugi::xml_node& node) {
    const auto name = nameOf(node);
    const auto code = codeOf(node);
    if (!name || !code) return;
    std::string plural = node.attribute("plural").value();
    if (plural.empty()) plural = *name + "s";
    auto& names = terms_->classes_[*code];
    if (names.name.empty()) {
      names.name = *name;
      names.plural = plural;
    }
    if (names.parentName.empty()) names.parentName = node.attribute("inherits").value();
    addClassTerms(*name, plural, *code);
    for (const auto& synonym : node.children("synonym")) {
      const std::string other = synonym.attribute("name").value();
      if (other.empty()) continue;
      const auto otherPlural = synonym.attribute("plural").value();
      addClassTerms(other, *otherPlural ? otherPlural : other + "s", *code);
    }
    readProperties(node, *code);
  }

  void addClassTerms(const std::string& name, const std::string& plural, Code code) {
    auto& singular = terms_->term(name);
    if (singular.classCode == 0 || singular.plural) {
      singular.classCode = code;
      singular.plural = false;
    }
    auto& many = terms_->term(plural);
    if (many.classCode == 0 && plural != name) {
      many.classCode = code;
      many.plural = true;
    }
  }

  // `classCode` is 0 when an extension comes before its class; its terms count all the same.
  void readProperties(const pugi::xml_node& node, Code classCode) {
    for (const auto& property : node.children()) {
      const std::string_view kind = property.name();
      if (kind != "property" && kind != "contents") continue;
      const auto name = nameOf(property);
      const auto code = codeOf(property);
      if (!name || !code) continue;
      addProperty(*name, *code);
      if (classCode != 0) terms_->classes_[classCode].properties.push_back(*code);
      terms_->properties_.try_emplace(*code, *name);
      terms_->propertyTypes_.try_emplace(*code, typeOf(property));
      for (const auto& synonym : property.children("synonym")) {
        if (*synonym.attribute("name").value()) addProperty(synonym.attribute("name").value(), *code);
      }
    }
  }

  void addProperty(std::string_view name, Code code) {
    auto& term = terms_->term(name);
    if (term.property == 0) term.property = code;
  }

  void readEnumerator(const pugi::xml_node& node) {
    const auto name = nameOf(node);
    const auto code = codeOf(node);
    if (!name || !code) return;
    auto& term = terms_->term(*name);
    if (term.enumerator == 0) term.enumerator = *code;
    terms_->enumerators_.try_emplace(*code, *name);
    for (const auto& synonym : node.children("synonym")) {
      if (!*synonym.attribute("name").value()) continue;
      auto& other = terms_->term(synonym.attribute("name").value());
      if (other.enumerator == 0) other.enumerator = *code;
    }
  }

  void readCommand(const pugi::xml_node& node) {
    const auto name = nameOf(node);
    if (!name) return;
    const auto bytes = codeBytes(node.attribute("code").value(), 8);
    if (!bytes) return complain(node, "needs a code of eight characters");
    auto command = std::make_unique<Command>();
    command->name = *name;
    command->suite = code(bytes->substr(0, 4));
    command->id = code(bytes->substr(4));
    if (const auto direct = node.child("direct-parameter")) {
      command->hasDirectParameter = true;
      command->directOptional = isYes(direct.attribute("optional"));
      command->directType = typeOf(direct);
    }
    for (const auto& child : node.children("parameter")) {
      const auto label = nameOf(child);
      const auto parameterCode = codeOf(child);
      if (!label || !parameterCode) continue;
      command->parameters.push_back(
          {text::foldCase(*label), *parameterCode, typeOf(child), isYes(child.attribute("optional"))});
    }
    addCommand(*name, command.get());
    for (const auto& synonym : node.children("synonym")) {
      if (*synonym.attribute("name").value()) addCommand(synonym.attribute("name").value(), command.get());
    }
    terms_->commands_.push_back(std::move(command));
  }

  void addCommand(std::string_view name, const Command* command) {
    auto& term = terms_->term(name);
    if (!term.command) term.command = command;
  }

  std::optional<std::string> nameOf(const pugi::xml_node& node) {
    std::string name = node.attribute("name").value();
    if (!text::isValidUtf8(name) || text::splitNonEmpty(name, ' ').empty()) {
      complain(node, "needs a name");
      return std::nullopt;
    }
    return name;
  }

  std::optional<Code> codeOf(const pugi::xml_node& node) {
    const auto bytes = codeBytes(node.attribute("code").value(), 4);
    if (bytes && code(*bytes) != 0) return code(*bytes);
    complain(node, "needs a code of four characters");
    return std::nullopt;
  }

  void complain(const pugi::xml_node& node, std::string_view what) {
    if (!complaint_.empty()) return;
    complaint_ = fmt::format("The scripting definition at byte {}: the element “{}” named “{}” {}.",
                             node.offset_debug(), node.name(),
                             text::singleLine(text::toValidUtf8(node.attribute("name").value())), what);
  }

  std::shared_ptr<Terminology> terms_ = std::make_shared<Terminology>();
  std::string complaint_;
};

Result<std::shared_ptr<const Terminology>> Terminology::parse(std::string_view xml) {
  return SdefReader().read(xml);
}

}  // namespace quillbox::applescript

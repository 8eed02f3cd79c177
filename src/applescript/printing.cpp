#include "applescript/printing.h"

#include <algorithm>
#include <vector>

#include "applescript/dates.h"
#include "applescript/host.h"
#include "applescript/instance.h"
#include "applescript/language_terms.h"
#include "applescript/numbers.h"
#include "applescript/objects.h"

namespace quillbox::applescript {

namespace {

constexpr std::size_t kDeepest = 200;

template <class Look>
std::string termIn(const Terminology* terms, Look look, std::string_view kind, Code code) {
  for (const auto* dictionary : {terms, &standardSuite(), &languageTerms()}) {
    if (!dictionary) continue;
    const std::string_view name = look(*dictionary);
    if (!name.empty()) return std::string(name);
  }
  return "«" + std::string(kind) + " " + codeText(code) + "»";
}

std::string_view operatorText(TestOperator operation) {
  switch (operation) {
    case TestOperator::Equal:
      return "=";
    case TestOperator::NotEqual:
      return "≠";
    case TestOperator::Less:
      return "<";
    case TestOperator::LessOrEqual:
      return "≤";
    case TestOperator::Greater:
      return ">";
    case TestOperator::GreaterOrEqual:
      return "≥";
    case TestOperator::Contains:
      return "contains";
    case TestOperator::IsIn:
      return "is in";
    case TestOperator::BeginsWith:
      return "starts with";
    case TestOperator::EndsWith:
      return "ends with";
    case TestOperator::And:
      return "and";
    case TestOperator::Or:
      return "or";
    case TestOperator::Not:
      return "not";
  }
  return "";
}

class Printer {
 public:
  explicit Printer(const Application* omit) : omit_(omit) {}

  void print(const Value& value) {
    switch (value.kind()) {
      case Kind::Nothing:
        break;
      case Kind::MissingValue:
        out_ += "missing value";
        break;
      case Kind::Boolean:
        out_ += value.asBoolean() ? "true" : "false";
        break;
      case Kind::Integer:
        out_ += std::to_string(value.asInteger());
        break;
      case Kind::Real:
        out_ += formatReal(value.asReal());
        break;
      case Kind::ClassName:
        out_ += classTerm(value.asCode(), value.terms());
        break;
      case Kind::Constant:
        out_ += constantTerm(value.asCode(), value.terms());
        break;
      case Kind::Application:
        out_ += value.asApplication() ? "application " + quoted(value.asApplication()->name())
                                      : "current application";
        break;
      case Kind::Examined:
        out_ += "it";
        break;
      case Kind::Text:
        out_ += quoted(value.asText());
        break;
      case Kind::Date:
        out_ += "date " + quoted(dateText(value.asDate()));
        break;
      case Kind::Script: {
        const auto name = value.as<ScriptInstance>().node.name.text();
        out_ += name.empty() ? "«script»" : "«script " + std::string(name) + "»";
        break;
      }
      case Kind::Handler:
        out_ += "«handler " + std::string(value.as<HandlerObject>().node.name.text()) + "»";
        break;
      case Kind::Live:
        print(value.asLive()->specifier());
        break;
      case Kind::Cell:
        print(value.as<CellObject>().value);
        break;
      case Kind::List:
      case Kind::Record:
      case Kind::Specifier:
      case Kind::Test:
        nested(value);
        break;
    }
  }

  std::string take() { return std::move(out_); }

 private:
  void nested(const Value& value) {
    const void* identity = &value.as<HeapObject>();
    if (path_.size() >= kDeepest || std::ranges::find(path_, identity) != path_.end()) {
      out_ += value.is(Kind::List) || value.is(Kind::Record) ? "{…}" : "…";
      return;
    }
    path_.push_back(identity);
    if (value.is(Kind::List)) list(value);
    if (value.is(Kind::Record)) record(value);
    if (value.is(Kind::Specifier)) specifier(value.as<SpecifierObject>());
    if (value.is(Kind::Test)) test(value.as<TestObject>());
    path_.pop_back();
  }

  void list(const Value& value) {
    out_ += '{';
    bool first = true;
    for (const auto& item : value.items()) {
      if (!first) out_ += ", ";
      first = false;
      print(item);
    }
    out_ += '}';
  }

  void record(const Value& value) {
    out_ += '{';
    bool first = true;
    for (const auto& [name, field] : value.fields()) {
      if (!first) out_ += ", ";
      first = false;
      key(name);
      out_ += ':';
      print(field);
    }
    out_ += '}';
  }

  void key(const Name& name) {
    const auto text = name.text();
    if (text.empty()) {
      out_ += propertyTerm(name.code(), nullptr);
      return;
    }
    const bool plain =
        name.code() != 0 || std::ranges::all_of(text, [](char c) {
          return c == '_' || (c >= '0' && c <= '9') || ((c | 0x20) >= 'a' && (c | 0x20) <= 'z');
        });
    const bool piped = !plain || (name.code() == 0 && languageTerms().find(name.folded()) != nullptr) ||
                       (text[0] >= '0' && text[0] <= '9');
    if (piped) out_ += '|';
    out_ += text;
    if (piped) out_ += '|';
  }

  void test(const TestObject& test) {
    if (test.operation == TestOperator::Not) {
      out_ += "not (";
      print(test.right);
      out_ += ')';
      return;
    }
    print(test.left);
    out_ += ' ';
    out_ += operatorText(test.operation);
    out_ += ' ';
    print(test.right);
  }

  void container(const SpecifierObject& specifier) {
    const auto& inside = specifier.container;
    if (inside.isNothing() || inside.is(Kind::Examined)) return;
    if (omit_ && inside.asApplication() == omit_) return;
    out_ += " of ";
    print(inside);
  }

  void specifier(const SpecifierObject& specifier) {
    const auto& root = specifier.root();
    const auto* terms = root.asApplication() ? &root.asApplication()->terminology() : terms_;
    const auto className = [&] { return classTerm(specifier.code, terms); };
    switch (specifier.form) {
      case SpecifierForm::Property:
        if (specifier.code != 0) {
          out_ += propertyTerm(specifier.code, terms);
        } else {
          out_ += specifier.name.text();
        }
        break;
      case SpecifierForm::Index:
      case SpecifierForm::Named:
        out_ += className() + " ";
        print(specifier.key);
        break;
      case SpecifierForm::Identified:
        out_ += className() + " id ";
        print(specifier.key);
        break;
      case SpecifierForm::Middle:
        out_ += "middle " + className();
        break;
      case SpecifierForm::Some:
        out_ += "some " + className();
        break;
      case SpecifierForm::Every:
        out_ += "every " + className();
        break;
      case SpecifierForm::Filter:
        out_ += "every " + className();
        container(specifier);
        out_ += " whose ";
        std::swap(terms_, terms);
        print(specifier.key);
        std::swap(terms_, terms);
        return;
      case SpecifierForm::Range:
        out_ += plural(specifier.code, terms) + " ";
        std::swap(terms_, terms);
        print(specifier.key);
        out_ += " thru ";
        print(specifier.secondKey);
        std::swap(terms_, terms);
        break;
      case SpecifierForm::Before:
      case SpecifierForm::After:
        out_ += className() + (specifier.form == SpecifierForm::Before ? " before " : " after ");
        std::swap(terms_, terms);
        print(specifier.key);
        std::swap(terms_, terms);
        break;
      case SpecifierForm::Beginning:
        out_ += "beginning";
        break;
      case SpecifierForm::End:
        out_ += "end";
        break;
      case SpecifierForm::PointBefore:
        out_ += "before ";
        print(specifier.container);
        return;
      case SpecifierForm::PointAfter:
        out_ += "after ";
        print(specifier.container);
        return;
      case SpecifierForm::Variable:
        print(specifier.key);
        return;
    }
    container(specifier);
  }

  static std::string plural(Code code, const Terminology* terms) {
    return termIn(terms, [&](const Terminology& d) { return d.pluralName(code); }, "class", code);
  }

  const Application* omit_;
  const Terminology* terms_ = nullptr;  // of the objects that a filter examines
  std::string out_;
  std::vector<const void*> path_;
};

}  // namespace

std::string sourceForm(const Value& value, const Application* omit) {
  Printer printer(omit);
  printer.print(value);
  return printer.take();
}

std::string classTerm(Code code, const Terminology* terms) {
  return termIn(terms, [&](const Terminology& d) { return d.className(code); }, "class", code);
}

std::string constantTerm(Code code, const Terminology* terms) {
  return termIn(terms, [&](const Terminology& d) { return d.enumeratorName(code); }, "constant", code);
}

std::string propertyTerm(Code code, const Terminology* terms) {
  return termIn(terms, [&](const Terminology& d) { return d.propertyName(code); }, "property", code);
}

std::string quoted(std::string_view text) {
  std::string result = "\"";
  for (const char c : text) {
    if (c == '"' || c == '\\') result += '\\';
    result += c;
  }
  return result + '"';
}

}  // namespace quillbox::applescript

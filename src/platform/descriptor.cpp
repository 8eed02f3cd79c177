#include "platform/descriptor.h"

#include <cmath>
#include <limits>

#include <fmt/format.h>

#include "base/number.h"

namespace quillbox {
namespace {

constexpr FourCC kTrue = fourCC("true");
constexpr FourCC kFalse = fourCC("fals");

std::optional<std::int32_t> narrow(double value) {
  const double whole = std::round(value);
  if (!(whole >= std::numeric_limits<std::int32_t>::min() &&
        whole <= std::numeric_limits<std::int32_t>::max())) {
    return std::nullopt;
  }
  return static_cast<std::int32_t>(whole);
}

}  // namespace

Descriptor::Descriptor() = default;

Descriptor Descriptor::boolean(bool value) {
  Descriptor d;
  d.type_ = value ? kTrue : kFalse;
  d.value_ = value;
  return d;
}

Descriptor Descriptor::int32(std::int32_t value) {
  return integer(fourCC("long"), value);
}

Descriptor Descriptor::integer(FourCC type, std::int64_t value) {
  Descriptor d;
  d.type_ = type;
  d.value_ = value;
  return d;
}

Descriptor Descriptor::real(double value) {
  Descriptor d;
  d.type_ = fourCC("doub");
  d.value_ = value;
  return d;
}

Descriptor Descriptor::text(std::string value) {
  return symbol(fourCC("utxt"), std::move(value));
}

Descriptor Descriptor::list(std::vector<Descriptor> items) {
  Descriptor d;
  d.type_ = fourCC("list");
  d.value_ = std::move(items);
  return d;
}

Descriptor Descriptor::record(Record fields) {
  Descriptor d;
  d.type_ = fourCC("reco");
  d.value_ = std::move(fields);
  return d;
}

Descriptor Descriptor::missingValue() {
  return symbol(fourCC("type"), "missing value");
}

Descriptor Descriptor::symbol(FourCC type, std::string text) {
  Descriptor d;
  d.type_ = type;
  d.value_ = std::move(text);
  return d;
}

bool Descriptor::isMissingValue() const {
  return *this == missingValue();
}

std::size_t Descriptor::count() const {
  return items().size() + fields().size();
}

const Descriptor* Descriptor::item(std::size_t index) const {
  const auto& all = items();
  return index >= 1 && index <= all.size() ? &all[index - 1] : nullptr;
}

const std::vector<Descriptor>& Descriptor::items() const {
  static const std::vector<Descriptor> none;
  const auto* list = std::get_if<std::vector<Descriptor>>(&value_);
  return list != nullptr ? *list : none;
}

const Descriptor::Record& Descriptor::fields() const {
  static const Record none;
  const auto* record = std::get_if<Record>(&value_);
  return record != nullptr ? *record : none;
}

const Descriptor* Descriptor::field(std::string_view key) const {
  for (const auto& [name, value] : fields()) {
    if (name == key) return &value;
  }
  return nullptr;
}

std::optional<std::string> Descriptor::textValue() const {
  if (const auto* text = std::get_if<std::string>(&value_)) {
    if (isMissingValue()) return std::nullopt;
    return *text;
  }
  if (const auto* integer = std::get_if<std::int64_t>(&value_)) return fmt::format("{}", *integer);
  if (const auto* real = std::get_if<double>(&value_)) return fmt::format("{}", *real);
  if (const auto* flag = std::get_if<bool>(&value_)) return *flag ? "true" : "false";
  return std::nullopt;
}

std::optional<std::int32_t> Descriptor::int32Value() const {
  if (const auto* integer = std::get_if<std::int64_t>(&value_)) {
    if (*integer < std::numeric_limits<std::int32_t>::min() ||
        *integer > std::numeric_limits<std::int32_t>::max()) {
      return std::nullopt;
    }
    return static_cast<std::int32_t>(*integer);
  }
  if (const auto* flag = std::get_if<bool>(&value_)) return *flag ? 1 : 0;
  const auto real = realValue();
  return real ? narrow(*real) : std::nullopt;
}

std::optional<double> Descriptor::realValue() const {
  if (const auto* real = std::get_if<double>(&value_)) return *real;
  if (const auto* integer = std::get_if<std::int64_t>(&value_)) return static_cast<double>(*integer);
  if (isText()) return parseReal(std::get<std::string>(value_));
  return std::nullopt;
}

std::optional<bool> Descriptor::booleanValue() const {
  if (const auto* flag = std::get_if<bool>(&value_)) return *flag;
  if (const auto* integer = std::get_if<std::int64_t>(&value_);
      integer != nullptr && (*integer == 0 || *integer == 1)) {
    return *integer == 1;
  }
  if (isText()) {
    if (std::get<std::string>(value_) == "true") return true;
    if (std::get<std::string>(value_) == "false") return false;
  }
  return std::nullopt;
}

std::string Descriptor::description() const {
  if (isText()) {
    std::string quoted = "\"";
    for (const char c : std::get<std::string>(value_)) {
      if (c == '"' || c == '\\') quoted += '\\';
      quoted += c;
    }
    return quoted + '"';
  }
  if (isList()) {
    std::string out = "{";
    for (const auto& entry : items()) out += (out.size() > 1 ? ", " : "") + entry.description();
    return out + '}';
  }
  if (isRecord()) {
    std::string out = "{";
    for (const auto& [name, value] : fields())
      out += (out.size() > 1 ? ", " : "") + name + ":" + value.description();
    return out + '}';
  }
  if (isMissingValue()) return "missing value";
  return textValue().value_or("null");
}

}  // namespace quillbox

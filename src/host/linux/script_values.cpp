#include "host/linux/script_values.h"

#include <charconv>
#include <chrono>
#include <cstdint>
#include <limits>
#include <string_view>
#include <utility>
#include <vector>

#include <fmt/format.h>

#include "applescript/printing.h"

namespace quillbox {
namespace {

using applescript::Kind;
using applescript::Value;

std::string isoDate(std::int64_t localSeconds) {
  using namespace std::chrono;
  const sys_seconds time{seconds(localSeconds)};
  const auto day = floor<days>(time);
  const year_month_day date(day);
  const hh_mm_ss clock(time - day);
  return fmt::format("{:04}-{:02}-{:02}T{:02}:{:02}:{:02}", static_cast<int>(date.year()),
                     static_cast<unsigned>(date.month()), static_cast<unsigned>(date.day()),
                     clock.hours().count(), clock.minutes().count(), clock.seconds().count());
}

}  // namespace

Descriptor descriptorOf(const Value& value, const ValuePrinter& print) {
  switch (value.kind()) {
    case Kind::Nothing:
      return {};
    case Kind::MissingValue:
      return Descriptor::missingValue();
    case Kind::Boolean:
      return Descriptor::boolean(value.asBoolean());
    case Kind::Integer: {
      const auto number = value.asInteger();
      if (std::in_range<std::int32_t>(number)) return Descriptor::int32(static_cast<std::int32_t>(number));
      return Descriptor::integer(fourCC("comp"), number);
    }
    case Kind::Real:
      return Descriptor::real(value.asReal());
    case Kind::Text:
      return Descriptor::text(std::string(value.asText()));
    case Kind::ClassName:
      return Descriptor::symbol(fourCC("type"), applescript::classTerm(value.asCode(), value.terms()));
    case Kind::Constant:
      return Descriptor::symbol(fourCC("enum"), applescript::constantTerm(value.asCode(), value.terms()));
    case Kind::Date:
      return Descriptor::symbol(fourCC("ldt "), isoDate(value.asDate()));
    case Kind::List: {
      std::vector<Descriptor> items;
      items.reserve(value.items().size());
      for (const auto& item : value.items()) items.push_back(descriptorOf(item, print));
      return Descriptor::list(std::move(items));
    }
    case Kind::Record: {
      Descriptor::Record fields;
      for (const auto& [name, field] : value.fields()) {
        fields.emplace_back(std::string(name.text()), descriptorOf(field, print));
      }
      return Descriptor::record(std::move(fields));
    }
    default:
      return Descriptor::symbol(fourCC("obj "), print ? print(value) : std::string());
  }
}

Value valueOf(const Descriptor& descriptor) {
  if (descriptor.isNull()) return Value::nothing();
  if (descriptor.isMissingValue()) return Value::missing();
  if (descriptor.isText()) return Value::text(descriptor.textValue().value_or(""));
  if (descriptor.isList()) {
    std::vector<Value> items;
    items.reserve(descriptor.count());
    for (const auto& item : descriptor.items()) items.push_back(valueOf(item));
    return Value::list(std::move(items));
  }
  if (descriptor.isRecord()) {
    Value::Fields fields;
    for (const auto& [key, field] : descriptor.fields()) {
      fields.emplace_back(applescript::Name(key), valueOf(field));
    }
    return Value::record(std::move(fields));
  }
  if (descriptor.type() == fourCC("true") || descriptor.type() == fourCC("fals")) {
    return Value::boolean(descriptor.booleanValue().value_or(false));
  }
  if (descriptor.type() == fourCC("doub")) return Value::real(descriptor.realValue().value_or(0));
  const std::string text = descriptor.textValue().value_or("");
  std::int64_t number = 0;
  const auto* end = text.data() + text.size();
  if (const auto [stop, error] = std::from_chars(text.data(), end, number);
      error == std::errc() && stop == end) {
    return Value::integer(number);
  }
  return Value::text(text);
}

}  // namespace quillbox

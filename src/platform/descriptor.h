// What a script returns to the application and what the application passes to a script: a typed value tree,
// read with the coercions of Apple event descriptors.
#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <utility>
#include <variant>
#include <vector>

#include "platform/four_cc.h"

namespace quillbox {

// A value type; copies are independent. type() is the Apple event descriptor type:
//   'null' nothing · 'true' / 'fals' boolean · 'long' int32 · 'comp' int64 · 'magn' uint32 · 'ucom' uint64 ·
//   'doub' real · 'utxt' text · 'list' · 'reco' · 'enum' and 'type' constants (missing value is 'type' with
//   text "missing value") · 'ldt ' date (ISO 8601 text) · 'obj ' object reference (its printed form)
class Descriptor {
 public:
  using Record = std::vector<std::pair<std::string, Descriptor>>;

  Descriptor();  // nothing
  static Descriptor boolean(bool value);
  static Descriptor int32(std::int32_t value);
  static Descriptor integer(FourCC type, std::int64_t value);  // type is 'comp', 'magn' or 'ucom'
  static Descriptor real(double value);
  static Descriptor text(std::string value);
  static Descriptor list(std::vector<Descriptor> items);
  static Descriptor record(Record fields);
  static Descriptor missingValue();
  // A constant ('enum' or 'type'), a date ('ldt ') or an object reference ('obj '), carried as its text.
  static Descriptor symbol(FourCC type, std::string text);

  FourCC type() const { return type_; }
  bool isNull() const { return type_ == fourCC("null"); }
  bool isMissingValue() const;
  bool isList() const { return type_ == fourCC("list"); }
  bool isRecord() const { return type_ == fourCC("reco"); }
  bool isText() const { return type_ == fourCC("utxt"); }

  // Items of a list, fields of a record, else 0.
  std::size_t count() const;
  // The item at a 1-based index of a list; nullptr outside it or for anything else.
  const Descriptor* item(std::size_t index) const;
  const std::vector<Descriptor>& items() const;  // empty unless a list
  const Record& fields() const;                  // empty unless a record
  // The record field with exactly this key; nullptr when there is none.
  const Descriptor* field(std::string_view key) const;

  // Coercions that do not fail softly into a wrong value: nullopt where there is none.
  std::optional<std::string> textValue()
      const;  // text, numbers, booleans, constants, dates; not lists or missing value
  std::optional<std::int32_t> int32Value()
      const;  // integers in range, whole reals in range, texts that read as such
  std::optional<double> realValue() const;   // numbers and texts that read as numbers
  std::optional<bool> booleanValue() const;  // booleans, integers 0 and 1, texts "true" and "false"

  // One line for logs: texts in quotes, lists in braces, as a script would write the value.
  std::string description() const;

  bool operator==(const Descriptor& other) const = default;

 private:
  FourCC type_ = fourCC("null");
  std::variant<std::monostate, bool, std::int64_t, double, std::string, std::vector<Descriptor>, Record>
      value_;
};

}  // namespace quillbox

#include "applescript/value.h"

#include "applescript/objects.h"
#include "applescript/text_index.h"
#include "base/text.h"

namespace quillbox::applescript {

namespace {

std::string foldedName(std::string_view text) {
  std::string folded(text);
  for (char& c : folded) {
    if (static_cast<unsigned char>(c) >= 0x80) return text::foldCase(text);
    if (c >= 'A' && c <= 'Z') c = static_cast<char>(c + ('a' - 'A'));
  }
  return folded;
}

}  // namespace

Name::Spelling::Spelling(std::string_view written, std::string lower)
    : HeapObject(sizeof(Spelling)),
      text(written),
      folded(std::move(lower)),
      hash(std::hash<std::string>{}(folded)) {}

Name::Name(std::string_view text, Code code)
    : spelling_(make<Spelling>(text, foldedName(text))), code_(code) {}

std::string_view Name::text() const {
  return spelling_ ? std::string_view(spelling_->text) : "";
}
std::string_view Name::folded() const {
  return spelling_ ? std::string_view(spelling_->folded) : "";
}

bool Name::operator==(const Name& other) const {
  if (code_ != 0 && code_ == other.code_) return true;
  if (!spelling_ || !other.spelling_) return false;
  if (spelling_.get() == other.spelling_.get()) return true;
  return spelling_->hash == other.spelling_->hash && spelling_->folded == other.spelling_->folded;
}

Value Value::text(std::string value) {
  return object(Kind::Text, applescript::make<TextObject>(std::move(value)));
}
Value Value::list(std::vector<Value> items) {
  return object(Kind::List, applescript::make<ListObject>(std::move(items)));
}
Value Value::record(Fields fields) {
  return object(Kind::Record, applescript::make<RecordObject>(std::move(fields)));
}
Value Value::date(std::int64_t localSeconds) {
  return object(Kind::Date, applescript::make<DateObject>(localSeconds));
}
Value Value::live(ObjectRef live) {
  return object(Kind::Live, applescript::make<LiveObject>(std::move(live)));
}

Value Value::className(Code code, const Terminology* terms) {
  Value result(Kind::ClassName);
  result.word_.code = code;
  result.terms_ = terms;
  return result;
}

Value Value::constant(Code code, const Terminology* terms) {
  Value result(Kind::Constant);
  result.word_.code = code;
  result.terms_ = terms;
  return result;
}

Value Value::application(Application& application) {
  Value result(Kind::Application);
  result.application_ = &application;
  return result;
}

std::string_view Value::asText() const noexcept {
  return isText() ? as<TextObject>().utf8() : std::string_view();
}

const std::vector<Value>& Value::items() const noexcept {
  static const std::vector<Value> none;
  return isList() ? as<ListObject>().items() : none;
}

const Value::Fields& Value::fields() const noexcept {
  static const Fields none;
  return isRecord() ? as<RecordObject>().fields() : none;
}

const Value* Value::field(std::string_view name) const noexcept {
  const Name wanted(name);
  for (const auto& [key, value] : fields()) {
    if (key == wanted) return &value;
  }
  return nullptr;
}

const Value* Value::field(Code code) const noexcept {
  for (const auto& [key, value] : fields()) {
    if (key.code() == code) return &value;
  }
  return nullptr;
}

std::int64_t Value::asDate() const noexcept {
  return is(Kind::Date) ? as<DateObject>().seconds : 0;
}

const Terminology* Value::terms() const noexcept {
  return is(Kind::ClassName) || is(Kind::Constant) ? terms_ : nullptr;
}

Application* Value::asApplication() const noexcept {
  return is(Kind::Application) ? application_ : nullptr;
}

ObjectRef Value::asLive() const noexcept {
  return is(Kind::Live) ? as<LiveObject>().object() : nullptr;
}

}  // namespace quillbox::applescript

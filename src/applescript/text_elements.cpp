// Characters, words, paragraphs and text items.
#include <algorithm>
#include <array>
#include <span>

#include "applescript/evaluator.h"
#include "applescript/objects.h"
#include "applescript/text_index.h"

namespace quillbox::applescript {

namespace {

bool isTextClass(Code classCode) {
  return classCode == code("cha ") || classCode == code("cobj") || classCode == code("cwor") ||
         classCode == code("cpar") || classCode == code("citm") || classCode == code("ctxt");
}

}  // namespace

// Where the text items lie, as byte ranges.
std::vector<std::pair<std::size_t, std::size_t>> Evaluator::textItems(const Value& text) {
  const auto utf8 = text.asText();
  const auto delimiters = operand(delimiters_);
  const std::span<const Value> all =
      delimiters.isList() ? std::span(delimiters.items()) : std::span(&delimiters, 1);
  // Most often there is one, and it is a text.
  std::vector<Value> texts;
  std::vector<std::string_view> several;
  std::string_view one;
  std::span<const std::string_view> needles;
  if (all.size() == 1 && all.front().isText()) {
    one = all.front().asText();
    if (!one.empty()) needles = {&one, 1};
  } else {
    for (const auto& delimiter : all) texts.push_back(Value::text(toText(delimiter)));
    for (const auto& delimiter : texts) {
      if (!delimiter.asText().empty()) several.push_back(delimiter.asText());
    }
    needles = several;
  }
  std::vector<std::pair<std::size_t, std::size_t>> items;
  if (needles.empty()) {
    const auto& index = text.as<TextObject>().index();
    for (std::size_t i = 0; i < index.characterCount(); ++i) {
      const auto span = index.character(i);
      items.emplace_back(span.begin, span.end);
    }
    return items;
  }
  if (utf8.empty()) return items;
  // Where the delimiters lie becomes what lies between them.
  items = texts_.findAll(utf8, needles);
  std::size_t begin = 0;
  for (auto& [from, to] : items) {
    std::swap(begin, from);
    std::swap(begin, to);
  }
  items.emplace_back(begin, utf8.size());
  return items;
}

std::size_t Evaluator::countOfText(const Value& text, Code classCode) {
  const auto& index = text.as<TextObject>().index();
  if (classCode == code("cwor")) return index.words().size();
  if (classCode == code("cpar")) return index.paragraphs().size();
  if (classCode == code("citm")) return textItems(text).size();
  if (classCode == code("ctxt")) return 1;
  return isTextClass(classCode) ? index.characterCount() : 0;
}

Value Evaluator::textPiece(const Value& text, Code classCode, std::size_t at) {
  const auto& object = text.as<TextObject>();
  const auto& index = object.index();
  Span span;
  if (classCode == code("cwor")) {
    span = index.words()[at];
  } else if (classCode == code("cpar")) {
    span = index.paragraphs()[at];
  } else if (classCode == code("ctxt")) {
    return text;
  } else {
    span = index.character(at);
  }
  return Value::text(object.utf8().substr(span.begin, span.end - span.begin));
}

std::vector<Value> Evaluator::elementsOfText(const Value& text, Code classCode) {
  std::vector<Value> pieces;
  if (classCode == code("citm")) {
    const auto utf8 = text.asText();
    const auto items = textItems(text);
    pieces.reserve(items.size());
    for (const auto& [begin, end] : items)
      pieces.push_back(Value::text(std::string(utf8.substr(begin, end - begin))));
    return pieces;
  }
  const auto count = countOfText(text, classCode);
  pieces.reserve(count);
  if (classCode != code("cha ") && classCode != code("cobj")) {
    for (std::size_t i = 0; i < count; ++i) pieces.push_back(textPiece(text, classCode, i));
    return pieces;
  }
  // The same letter is the same value however often it occurs.
  std::array<Value, 128> letters;
  const auto utf8 = text.asText();
  const auto& index = text.as<TextObject>().index();
  for (std::size_t i = 0; i < count; ++i) {
    const auto span = index.character(i);
    const auto first = static_cast<unsigned char>(utf8[span.begin]);
    if (span.end - span.begin == 1 && first < letters.size()) {
      if (letters[first].isNothing()) letters[first] = Value::text(std::string(1, static_cast<char>(first)));
      pieces.push_back(letters[first]);
    } else {
      pieces.push_back(textPiece(text, classCode, i));
    }
  }
  return pieces;
}

Value Evaluator::textElement(const Value& text, const ElementKey& element) {
  if (!isTextClass(element.classCode)) cannotGetElement(text, element);
  const bool items = element.classCode == code("citm");
  switch (element.form) {
    case SpecifierForm::Every:
      return Value::list(elementsOfText(text, element.classCode));
    case SpecifierForm::Range:
      return textRange(text, element);
    case SpecifierForm::Index:
    case SpecifierForm::Middle:
    case SpecifierForm::Some: {
      const auto count = countOfText(text, element.classCode);
      std::optional<std::size_t> at;
      if (element.form == SpecifierForm::Index) at = position(element.key, count);
      if (element.form == SpecifierForm::Middle && count > 0) at = (count - 1) / 2;
      if (element.form == SpecifierForm::Some && count > 0) at = host_.random() % count;
      if (!at) break;
      if (!items) return textPiece(text, element.classCode, *at);
      const auto [begin, end] = textItems(text)[*at];
      return Value::text(std::string(text.asText().substr(begin, end - begin)));
    }
    default:
      break;
  }
  cannotGetElement(text, element);
}

// The bytes of the element that a range begins or ends with.
std::pair<std::size_t, std::size_t> Evaluator::bytesOf(const Value& text, const ElementKey& range,
                                                       const Value& key) {
  Code unit =
      range.classCode == code("ctxt") || range.classCode == code("cobj") ? code("cha ") : range.classCode;
  Value number = key;
  if (key.is(Kind::Specifier)) {
    const auto& inner = key.as<SpecifierObject>();
    unit = inner.code == code("ctxt") || inner.code == code("cobj") ? code("cha ") : inner.code;
    number = inner.key;
  }
  if (!isTextClass(unit)) cannotGetElement(text, range);
  const auto at = position(number, countOfText(text, unit));
  if (!at) cannotGetElement(text, range);
  const auto& index = text.as<TextObject>().index();
  if (unit == code("citm")) return textItems(text)[*at];
  const auto span = unit == code("cwor")   ? index.words()[*at]
                    : unit == code("cpar") ? index.paragraphs()[*at]
                                           : index.character(*at);
  return {span.begin, span.end};
}

// `text 2 thru 4` is one text; `words 2 thru 4` are a list, whose ends may be given by other elements.
Value Evaluator::textRange(const Value& text, const ElementKey& element) {
  auto first = bytesOf(text, element, element.key);
  auto last = bytesOf(text, element, element.secondKey);
  if (first.first > last.first) std::swap(first, last);
  const auto utf8 = text.asText();
  auto piece = Value::text(std::string(utf8.substr(first.first, last.second - first.first)));
  if (element.classCode == code("ctxt")) return piece;
  return Value::list(elementsOfText(piece, element.classCode));
}

}  // namespace quillbox::applescript

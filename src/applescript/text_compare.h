// Comparing and searching texts under the `considering` and `ignoring` that are in force.
#pragma once

#include <cstdint>
#include <memory>
#include <optional>
#include <span>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

namespace quillbox::applescript {

// What counts in a comparison.
struct Considering {
  bool letterCase = false;
  bool diacriticals = true;
  bool hyphens = true;
  bool punctuation = true;
  bool whiteSpace = true;
  bool numericStrings = false;

  bool operator==(const Considering&) const = default;
  bool dropsNothing() const { return diacriticals && hyphens && punctuation && whiteSpace; }
};

class TextComparer {
 public:
  TextComparer();
  ~TextComparer();
  TextComparer(const TextComparer&) = delete;
  TextComparer& operator=(const TextComparer&) = delete;

  Considering considering;

  bool equal(std::string_view left, std::string_view right) const;
  // Below, at or above zero: the order of the root collation, letters by alphabet and not by code.
  int compare(std::string_view left, std::string_view right) const;
  // The first match at or after a byte, as begin and end in the original bytes. An empty needle is nowhere.
  std::optional<std::pair<std::size_t, std::size_t>> find(std::string_view text, std::string_view needle,
                                                          std::size_t from = 0) const;
  // Every match of any of the needles, in order, none overlapping: where a text is split.
  std::vector<std::pair<std::size_t, std::size_t>> findAll(std::string_view text,
                                                           std::span<const std::string_view> needles) const;
  bool contains(std::string_view text, std::string_view part) const;
  bool beginsWith(std::string_view text, std::string_view part) const;
  bool endsWith(std::string_view text, std::string_view part) const;

  struct Folded;

 private:
  struct Collators;

  Folded fold(std::string_view text) const;
  bool isDirect(std::string_view text, std::string_view needle) const;
  bool takesPart(std::string_view character) const;
  std::string key(std::string_view text) const;

  mutable std::unique_ptr<Collators> collators_;
};

}  // namespace quillbox::applescript

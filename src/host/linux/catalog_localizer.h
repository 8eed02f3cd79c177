// User-visible texts out of a string catalogue (.xcstrings): JSON of the form
//   {"sourceLanguage": "en", "strings": {"LN_x": {"comment": "...", "localizations": {"en": {"stringUnit":
//    {"state": "translated", "value": "..."}}}}}, "version": "1.0"}
#pragma once

#include <functional>
#include <map>
#include <string>
#include <string_view>
#include <vector>

#include "base/result.h"
#include "platform/localizer.h"

namespace quillbox {

class CatalogLocalizer final : public Localizer {
 public:
  // Knows no text: every key stands for itself.
  CatalogLocalizer() = default;

  // Takes for each key the text in the first of `languages` that has one, else in the catalogue's source
  // language. Fails with error_number::damagedFile when `json` is no catalogue; strings that have no plain
  // text are passed over.
  static Result<CatalogLocalizer> parse(std::string_view json, const std::vector<std::string>& languages);

  std::string text(std::string_view key) const override;

 private:
  std::map<std::string, std::string, std::less<>> texts_;
};

}  // namespace quillbox

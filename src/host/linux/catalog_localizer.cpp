#include "host/linux/catalog_localizer.h"

#include "base/json.h"

namespace quillbox {
namespace {

// localizations.LANGUAGE.stringUnit.value, when every step of that is there.
const std::string* valueIn(const Json& entry, const std::string& language) {
  const Json* at = &entry;
  for (const auto& step :
       {std::string("localizations"), language, std::string("stringUnit"), std::string("value")}) {
    if (!at->is_object()) return nullptr;
    const auto next = at->find(step);
    if (next == at->end()) return nullptr;
    at = &*next;
  }
  return at->get_ptr<const std::string*>();
}

}  // namespace

Result<CatalogLocalizer> CatalogLocalizer::parse(std::string_view json,
                                                 const std::vector<std::string>& languages) {
  constexpr std::string_view what = "The string catalogue";
  const auto catalog = parseJson(json, what);
  if (!catalog) return forward(catalog);
  const auto source = textMember(*catalog, "sourceLanguage", what);
  if (!source) return forward(source);
  const auto strings = anyMember(*catalog, "strings", what);
  if (!strings) return forward(strings);
  if (!(*strings)->is_object())
    return fail(error_number::damagedFile, "\"strings\" of the string catalogue is not an object.");
  auto wanted = languages;
  wanted.push_back(*source);
  CatalogLocalizer localizer;
  for (const auto& [key, entry] : (*strings)->items()) {
    for (const auto& language : wanted) {
      if (const std::string* value = valueIn(entry, language)) {
        localizer.texts_.emplace(key, *value);
        break;
      }
    }
  }
  return localizer;
}

std::string CatalogLocalizer::text(std::string_view key) const {
  const auto it = texts_.find(key);
  return it == texts_.end() ? std::string(key) : it->second;
}

}  // namespace quillbox

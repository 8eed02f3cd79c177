#include "host/linux/environment.h"

#include <cstdlib>
#include <filesystem>
#include <system_error>

#include "base/text.h"

namespace quillbox {
namespace {

bool isPortableLocale(const std::string& locale) {
  return locale == "C" || locale == "POSIX" || locale.starts_with("C.");
}

}  // namespace

Environment processEnvironment() {
  return [](const char* name) -> std::optional<std::string> {
    const char* value = std::getenv(name);
    if (value == nullptr || *value == '\0') return std::nullopt;
    return value;
  };
}

std::vector<std::string> preferredLanguages(const Environment& environment) {
  std::string locale;
  for (const char* name : {"LC_ALL", "LC_MESSAGES", "LANG"}) {
    if (const auto value = environment(name)) {
      locale = *value;
      break;
    }
  }
  if (locale.empty() || isPortableLocale(locale)) return {};
  std::vector<std::string> tags;
  for (const auto& wanted : text::splitNonEmpty(environment("LANGUAGE").value_or(locale), ':')) {
    if (isPortableLocale(wanted)) break;
    // language[_territory][.codeset][@modifier]
    std::string tag = text::replaceAll(wanted.substr(0, wanted.find_first_of(".@")), "_", "-");
    while (!tag.empty()) {
      tags.push_back(tag);
      const auto dash = tag.rfind('-');
      tag.resize(dash == std::string::npos ? 0 : dash);
    }
  }
  return tags;
}

Path executablePath() {
  std::error_code error;
  return std::filesystem::read_symlink("/proc/self/exe", error);
}

}  // namespace quillbox

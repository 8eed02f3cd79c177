#include "host/linux/profile.h"

#include <cerrno>
#include <filesystem>
#include <string>
#include <system_error>

#include <pwd.h>
#include <unistd.h>

#include "host/linux/system_error.h"

namespace quillbox {
namespace {

std::optional<Path> home(const Environment& environment) {
  if (const auto value = environment("HOME")) return Path(*value);
  const passwd* entry = ::getpwuid(::getuid());
  if (entry == nullptr || entry->pw_dir == nullptr || *entry->pw_dir == '\0') return std::nullopt;
  return Path(entry->pw_dir);
}

// A variable of the XDG base directories; a relative value is to be ignored.
std::optional<Path> base(const Environment& environment, const char* variable, const char* below) {
  if (const auto value = environment(variable)) {
    if (Path path = *value; path.is_absolute()) return path;
  }
  const auto start = home(environment);
  if (!start || !start->is_absolute()) return std::nullopt;
  return *start / below;
}

}  // namespace

Result<Profile> Profile::find(const std::optional<Path>& directory, const Environment& environment) {
  Path settings;
  Path rest;
  if (directory) {
    std::error_code error;
    // Links are followed as far as the path exists, so that two names of one folder are one profile.
    rest = std::filesystem::weakly_canonical(std::filesystem::absolute(*directory, error), error);
    if (error || directory->empty())
      return systemFailure("use the profile", *directory, error ? error.value() : ENOENT);
    if (!rest.has_filename()) rest = rest.parent_path();
    settings = rest;
  } else {
    const auto config = base(environment, "XDG_CONFIG_HOME", ".config");
    const auto data = base(environment, "XDG_DATA_HOME", ".local/share");
    if (!config || !data) {
      return fail(ENOENT,
                  "There is no place for the settings: HOME is not set. Name a folder with --profile");
    }
    settings = *config / "quillbox";
    rest = *data / "quillbox";
  }
  Profile profile;
  profile.settingsFile = settings / "settings.json";
  profile.data = rest / "data";
  profile.mail = rest / "mail";
  profile.cloud = rest / "cloud";
  profile.applicationScripts = rest / "Application Scripts";
  profile.identity = rest;
  return profile;
}

Result<void> Profile::makeFolders(FileSystem& files) const {
  for (const Path& folder : {settingsFile.parent_path(), data, mail, cloud, applicationScripts}) {
    if (auto made = makeDirectories(files, folder, 0700); !made) return made;
  }
  return {};
}

}  // namespace quillbox

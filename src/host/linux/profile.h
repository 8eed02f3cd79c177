// Where everything of one user, or of one test or demonstration, lies.
#pragma once

#include <optional>

#include "base/result.h"
#include "host/linux/environment.h"
#include "platform/file_system.h"

namespace quillbox {

// With a directory of its own a profile holds everything below it:
//   settings.json · data/ (logs, key) · mail/ (accounts.json, state.json) · cloud/ · Application Scripts/
// Without, the XDG base directories serve: settings.json in $XDG_CONFIG_HOME/quillbox, everything else in
// $XDG_DATA_HOME/quillbox.
struct Profile {
  Path settingsFile;
  Path data;
  Path mail;
  Path cloud;
  Path applicationScripts;
  // Names the profile for what lies outside it (sockets): the same absolute text for every process of the
  // profile.
  Path identity;

  // `directory` as the user gave it, relative to the working directory; nothing asks for the XDG directories.
  // Fails with ENOENT when neither tells of a place (no HOME).
  static Result<Profile> find(const std::optional<Path>& directory, const Environment& environment);

  // Makes the folders that are missing, for their owner only.
  Result<void> makeFolders(FileSystem& files) const;
};

}  // namespace quillbox

#include "host/linux/resource_bundle.h"

#include <algorithm>
#include <string>

namespace quillbox {

std::vector<Path> FileResourceBundle::rootsBeside(const Path& executable) {
  const Path share = (executable.parent_path() / ".." / "share" / "quillbox").lexically_normal();
  return {share, share / "Resources"};
}

std::optional<Path> FileResourceBundle::locate(std::string_view name, std::string_view extension) const {
  Path relative{std::string(name)};
  if (relative.empty() || relative.is_absolute() || std::ranges::find(relative, Path("..")) != relative.end())
    return std::nullopt;
  relative += '.';
  relative += extension == "scpt" ? "applescript" : extension;
  for (const auto& root : roots_) {
    Path file = root / relative;
    if (const auto info = files_.info(file); info && info->kind == FileKind::regular) return file;
  }
  return std::nullopt;
}

}  // namespace quillbox

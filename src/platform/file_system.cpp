#include "platform/file_system.h"

#include <cerrno>

#include <fmt/format.h>

namespace quillbox {

Result<void> makeDirectories(FileSystem& files, const Path& directory, std::uint32_t permissions) {
  if (directory.empty()) return {};
  const auto there = files.info(directory);
  if (there) {
    if (there->kind == FileKind::directory) return {};
    return fail(ENOTDIR, fmt::format("Can’t make the folder {}: a file of that name is in its place",
                                     directory.string()));
  }
  if (there.error().number != ENOENT) return forward(there);
  if (directory.has_parent_path() && directory.parent_path() != directory) {
    if (auto made = makeDirectories(files, directory.parent_path(), permissions); !made) return made;
  }
  auto made = files.makeDirectory(directory, permissions);
  // Someone else may have made it meanwhile.
  if (!made && made.error().number == EEXIST) return {};
  return made;
}

Result<void> writeAtomically(FileSystem& files, const Path& path, std::string_view bytes,
                             std::uint32_t permissions, std::string_view uniqueSuffix) {
  Path draft = path;
  draft += fmt::format(".{}.tmp", uniqueSuffix);
  const auto write = [&]() -> Result<void> {
    auto file = files.create(draft, CreateMode::exclusive, permissions);
    if (!file) return forward(file);
    if (auto done = (*file)->write(bytes); !done) return done;
    if (auto done = (*file)->sync(); !done) return done;
    if (auto done = (*file)->close(); !done) return done;
    return files.renameReplacing(draft, path);
  };
  if (auto done = write(); !done) {
    // EEXIST: the draft is somebody else's.
    if (done.error().number != EEXIST) (void)files.remove(draft);
    return done;
  }
  return files.syncDirectory(path.has_parent_path() ? path.parent_path() : Path("."));
}

Result<Path> keepDamagedFileAside(FileSystem& files, const Path& path) {
  for (int attempt = 1; attempt < 1000; ++attempt) {
    Path aside = path;
    aside += attempt == 1 ? ".damaged" : fmt::format(".damaged-{}", attempt);
    const auto moved = files.renameNoReplace(path, aside);
    if (moved) return aside;
    if (moved.error().number != EEXIST) return forward(moved);
  }
  return fail(EEXIST,
              fmt::format("Can’t keep {} aside: too many damaged copies lie beside it", path.string()));
}

}  // namespace quillbox

// The application's resources as files.
#pragma once

#include <vector>

#include "platform/resource_bundle.h"

namespace quillbox {

class FileResourceBundle final : public ResourceBundle {
 public:
  // `roots` are searched in order.
  FileResourceBundle(FileSystem& files, std::vector<Path> roots) : files_(files), roots_(std::move(roots)) {}

  // The places of resources for the program `executable`: ../share/quillbox and ../share/quillbox/Resources
  // as seen from its folder, in a build tree as when installed.
  static std::vector<Path> rootsBeside(const Path& executable);

  // "scpt" finds the .applescript source, which this host compiles as it loads it. A name that leads out of
  // the resources finds nothing.
  std::optional<Path> locate(std::string_view name, std::string_view extension) const override;

 private:
  FileSystem& files_;
  std::vector<Path> roots_;
};

}  // namespace quillbox

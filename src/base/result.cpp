#include "base/result.h"

#include <cstdio>
#include <cstdlib>

namespace quillbox {

void fatal(const std::string& what) noexcept {
  std::fprintf(stderr, "quillbox: broken invariant: %s\n", what.c_str());
  std::abort();
}

}  // namespace quillbox

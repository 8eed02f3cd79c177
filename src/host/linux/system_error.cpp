#include "host/linux/system_error.h"

#include <system_error>

#include <fmt/format.h>
#include <string.h>

#include "base/text.h"

namespace quillbox {

std::string systemReason(int number) {
#ifdef __GLIBC__
  if (const char* text = strerrordesc_np(number)) return text;
#endif
  return std::system_category().message(number);
}

std::string shownPath(const Path& path) {
  return text::singleLine(text::toValidUtf8(path.native()));
}

std::unexpected<Error> systemFailure(std::string_view operation, const Path& path, int number) {
  return fail(number, fmt::format("Can’t {} {}: {}", operation, shownPath(path), systemReason(number)));
}

std::unexpected<Error> systemFailure(std::string_view operation, const Path& from, const Path& to,
                                     int number) {
  return fail(number, fmt::format("Can’t {} {} to {}: {}", operation, shownPath(from), shownPath(to),
                                  systemReason(number)));
}

}  // namespace quillbox

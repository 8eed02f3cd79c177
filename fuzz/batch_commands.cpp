// Any bytes as a line of a batch: it gives a command or one error whose answer is one line of JSON.
#include <cstdint>
#include <cstdlib>
#include <string>

#include "base/text.h"
#include "cli/batch.h"
#include "cli/registry.h"
#include "cli/shell_words.h"

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  using namespace quillbox;
  using namespace quillbox::cli;
  const std::string line(reinterpret_cast<const char*>(data), size);
  const auto words = splitShellWords(line);
  if (!words) return 0;
  const auto choice = parseBatchCommand(*words);
  if (choice) {
    if (!choice->action) std::abort();
    return 0;
  }
  const std::string answer = batchLine(forward(choice));
  if (answer.find('\n') != std::string::npos || !text::isValidUtf8(answer)) std::abort();
  // The same words as a command line end the same way: as a command, a help text or one line of error.
  const auto invocation = parseCommandLine(*words);
  if (!invocation && invocation.error().message.find('\n') != std::string::npos) std::abort();
  return 0;
}

#include "host/linux/installed_scripts.h"

#include <utility>

#include <fmt/format.h>

#include "base/text.h"

namespace quillbox {
namespace {

// The platform's form: the message behind a colon, the number in parentheses.
InstalledScriptFailure failureOf(const std::string& fileName, const ScriptError& error) {
  const std::string message = error.message.value_or("The script failed.");
  if (!error.number) return {fmt::format("The operation couldn’t be completed. {}: {}", fileName, message)};
  return {fmt::format("The operation couldn’t be completed. {}: {}({})", fileName, message, *error.number)};
}

}  // namespace

bool InstalledScripts::isInstalled(const std::string& fileName) const {
  const auto info = files_.info(directory_ / fileName);
  return info && info->kind == FileKind::regular;
}

void InstalledScripts::execute(const std::string& fileName, AppleEvent event, Completion completion) {
  dispatch_.background(QualityOfService::userInitiated, [this, fileName, event = std::move(event),
                                                         completion = std::move(completion)] {
    auto result = [&]() -> InstalledScriptResult {
      try {
        const auto script = engine_.load(directory_ / fileName);
        if (!script) return std::unexpected(failureOf(fileName, script.error()));
        auto answer = (*script)->execute(event);
        if (!answer) return std::unexpected(failureOf(fileName, answer.error()));
        return std::move(*answer);
      } catch (const std::exception& e) {
        return std::unexpected(failureOf(fileName, {e.what(), std::nullopt, {}, {}, false}));
      }
    }();
    completion(std::move(result));
  });
}

}  // namespace quillbox

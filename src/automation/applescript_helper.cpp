#include "automation/applescript_helper.h"

#include <exception>

#include <fmt/format.h>

#include "automation/failure_text.h"
#include "base/error_numbers.h"

namespace quillbox {
namespace {

struct Fallback {
  const char* message;
  std::int64_t number;
};

constexpr Fallback kText{"Unknown AppleScript error.", error_number::scriptTextFailed};
constexpr Fallback kLoad{"Failed to load AppleScript.", error_number::scriptNotLoaded};
constexpr Fallback kHandler{"Unknown AppleScript error.", error_number::scriptHandlerFailed};

AppleScriptError fromEngine(const ScriptError& error, const Fallback& fallback, ScriptPhase phase) {
  return AppleScriptError::executionError(error.message.value_or(fallback.message),
                                          error.number.value_or(fallback.number), phase);
}

AppleScriptResult fromEngine(ScriptResult result, const Fallback& fallback) {
  if (result) return std::move(*result);
  return std::unexpected(fromEngine(result.error(), fallback,
                                    result.error().atCompileTime ? ScriptPhase::compile : ScriptPhase::run));
}

}  // namespace

AppleScriptHelper::AppleScriptHelper(const Services& services)
    : services_(services),
      selectionQueue_(services.dispatch.serialQueue("com.brix.Quillbox4.scripts.selection")) {}

void AppleScriptHelper::runInBackground(std::string label, Work work, Completion completion,
                                        ScriptOrder order) {
  services_.status.begin(label);
  Task task = [this, label = std::move(label), work = std::move(work),
               completion = std::move(completion)]() mutable {
    // Anything that an engine's library throws ends here, as the failure of this one run.
    auto result = [&]() -> AppleScriptResult {
      try {
        return work();
      } catch (const std::exception& e) {
        return std::unexpected(AppleScriptError::executionError(e.what(), error_number::scriptTextFailed));
      }
    }();
    services_.dispatch.main([this, label = std::move(label), result = std::move(result),
                             completion = std::move(completion)]() mutable {
      services_.status.end(label);
      completion(std::move(result));
    });
  };
  if (order == ScriptOrder::selection) return selectionQueue_->async(std::move(task));
  services_.dispatch.background(QualityOfService::userInitiated, std::move(task));
}

void AppleScriptHelper::runScriptText(std::string source, std::string label, Completion completion,
                                      ScriptOrder order) {
  runInBackground(
      std::move(label),
      [this, source = std::move(source)]() -> AppleScriptResult {
        const auto script = services_.engine.compile(source);
        if (!script) return std::unexpected(fromEngine(script.error(), kText, ScriptPhase::compile));
        return fromEngine((*script)->run(), kText);
      },
      std::move(completion), order);
}

void AppleScriptHelper::runScriptFile(Path file, Completion completion) {
  runInBackground(
      "",
      [this, file = std::move(file)]() -> AppleScriptResult {
        const auto script = services_.engine.load(file);
        if (!script) return std::unexpected(fromEngine(script.error(), kLoad, ScriptPhase::compile));
        return fromEngine((*script)->run(), kHandler);
      },
      std::move(completion), ScriptOrder::any);
}

void AppleScriptHelper::runAppleScriptHandlerAsync(std::string resourceName, std::string handlerName,
                                                   std::vector<std::string> parameters, Completion completion,
                                                   ScriptOrder order) {
  runInBackground(
      "",
      [this, resourceName = std::move(resourceName), handlerName = std::move(handlerName),
       parameters = std::move(parameters)]() mutable -> AppleScriptResult {
        const auto file = services_.resources.locate(resourceName, "scpt");
        if (!file) return std::unexpected(fromEngine(ScriptError{}, kLoad, ScriptPhase::compile));
        const auto script = services_.engine.load(*file);
        if (!script) return std::unexpected(fromEngine(script.error(), kLoad, ScriptPhase::compile));
        std::vector<Descriptor> arguments;
        for (auto& parameter : parameters) arguments.push_back(Descriptor::text(std::move(parameter)));
        return fromEngine((*script)->execute(subroutineEvent(handlerName, std::move(arguments))), kHandler);
      },
      std::move(completion), order);
}

void AppleScriptHelper::runFilingScriptHandler(std::string handlerName, std::vector<Descriptor> parameters,
                                               Completion completion, ScriptOrder order) {
  auto send = [this, event = subroutineEvent(std::move(handlerName), std::move(parameters)),
               completion = std::move(completion)]() mutable {
    services_.installedScripts.execute(
        filingScriptFile, std::move(event),
        [this, completion = std::move(completion)](InstalledScriptResult result) {
          auto parsed = [&]() -> AppleScriptResult {
            if (result) return std::move(*result);
            return std::unexpected(parseFailureText(result.error().text, services_.localizer));
          }();
          services_.dispatch.main(
              [completion, parsed = std::move(parsed)]() mutable { completion(std::move(parsed)); });
        });
  };
  if (order == ScriptOrder::selection) return selectionQueue_->async(std::move(send));
  send();
}

bool AppleScriptHelper::isFilingScriptInstalled() const {
  return services_.installedScripts.isInstalled(filingScriptFile);
}

std::optional<QuillboxError> AppleScriptHelper::readinessError() const {
  if (services_.workspace.isRunning(mailBundleIdentifier)) return std::nullopt;
  return QuillboxError::of(QuillboxError::Case::mailNotRunning);
}

void AppleScriptHelper::readFilingScriptVersion(std::function<void()> done) {
  runFilingScriptHandler(
      "versionNumber", {}, [this, done = std::move(done)](const AppleScriptResult& result) {
        const auto version = result ? result->int32Value() : std::nullopt;
        if (!version) {
          services_.log.error(
              "error retrieving filing script version: " +
              (result ? "it answered " + result->description() : result.error().description()));
        }
        filingScriptVersion_.set(version);
        done();
      });
}

void AppleScriptHelper::logFilingScriptVersion() const {
  if (const auto& version = filingScriptVersion_.get()) {
    services_.log.info(fmt::format("AppleScriptHelper: Script version: {} vs. current version: {}", *version,
                                   currentFilingScriptVersion));
  }
}

}  // namespace quillbox

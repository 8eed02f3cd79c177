// run: any AppleScript, with the same engine and the same applications as the system's own scripts.
#include <CLI/CLI.hpp>
#include <memory>
#include <utility>

#include <fmt/format.h>

#include "applescript/interpreter.h"
#include "base/error_numbers.h"
#include "base/text.h"
#include "cli/commands.h"
#include "cli/session.h"

namespace quillbox::cli {
namespace {

struct RunOptions {
  std::string file;
  std::string text;
  std::string handler;
  std::vector<std::string> arguments;
  bool hasText = false;
  bool hasHandler = false;
  bool check = false;
  std::string dump;  // "tokens", "tree", or empty
};

// FILE:LINE:COLUMN: message, as far as the engine knows the place.
Error errorOf(const ScriptError& error, std::string_view source) {
  std::string place(source);
  if (error.line) place += fmt::format(":{}", *error.line);
  if (error.line && error.column) place += fmt::format(":{}", *error.column);
  const std::string message = error.message.value_or("The script failed");
  return {error.number.value_or(error_number::scriptTextFailed), fmt::format("{}: {}", place, message)};
}

Result<std::string> sourceOf(const RunOptions& options, const Services& services) {
  if (options.hasText) return options.text;
  if (options.file == "-") return services.readStandardInput();
  return services.files.read(options.file);
}

// Off the main queue: scripts may call back into the application, which answers on the main queue.
Result<std::string> runScript(const RunOptions& options, std::string_view source, OutputForm form,
                              const Services& services) {
  const std::string_view name = options.hasText ? "-e" : std::string_view(options.file);
  if (!options.dump.empty()) {
    auto dump = options.dump == "tokens"
                    ? std::expected<std::string, ScriptError>(applescript::dumpTokens(source))
                    : services.scriptTree(source);
    if (!dump) return std::unexpected(errorOf(dump.error(), name));
    while (dump->ends_with('\n')) dump->pop_back();
    return form == OutputForm::json ? descriptorJson(Descriptor::text(*dump)) : *dump;
  }
  const auto script = services.engine.compile(source);
  if (!script) return std::unexpected(errorOf(script.error(), name));
  if (options.check) return std::string();
  ScriptResult result;
  if (options.hasHandler) {
    std::vector<Descriptor> arguments;
    for (const auto& argument : options.arguments) arguments.push_back(Descriptor::text(argument));
    result = (*script)->execute(subroutineEvent(options.handler, std::move(arguments)));
  } else {
    result = (*script)->run();
  }
  if (!result) return std::unexpected(errorOf(result.error(), name));
  if (form == OutputForm::json) return descriptorJson(*result);
  return (*script)->resultInSourceForm().value_or(result->isNull() ? std::string() : result->description());
}

}  // namespace

void defineRun(CLI::App& app, Choice& choice) {
  auto options = std::make_shared<RunOptions>();
  auto words = std::make_shared<std::vector<std::string>>();
  app.add_option(
         "FILE", *words,
         "The script's source, - for standard input; then, with --handler, the texts it is called with.")
      ->type_name("[ARG...]");
  auto* text =
      app.add_option("-e", options->text, "The script itself, in place of a FILE.")->type_name("TEXT");
  auto* handler =
      app.add_option("--handler", options->handler, "Call this handler instead of running the script.")
          ->type_name("NAME");
  app.add_flag("--check", options->check, "Only compile; print nothing when the script is right.");
  app.add_option("--dump", options->dump,
                 "Print the script’s tokens or its syntax tree instead of running it.")
      ->type_name("tokens|tree");
  app.callback([options, words, text, handler, &choice] {
    if (!options->dump.empty() && options->dump != "tokens" && options->dump != "tree") {
      throw CLI::ValidationError("--dump takes tokens or tree");
    }
    options->hasText = text->count() > 0;
    options->hasHandler = handler->count() > 0;
    options->arguments = *words;
    if (!options->hasText) {
      if (words->empty()) throw CLI::ValidationError("run takes a FILE or -e TEXT");
      options->file = words->front();
      options->arguments.erase(options->arguments.begin());
    }
    if (!options->hasHandler && !options->arguments.empty()) {
      throw CLI::ValidationError("run takes texts for a handler only with --handler");
    }
    choice.action = [options](Session& session, OutputForm form, Reply reply) {
      const auto& services = session.services();
      auto source = sourceOf(*options, services);
      if (!source) return reply(forward(source));
      // A script can make mailboxes.
      session.forgetMailboxes();
      services.dispatch.background(
          QualityOfService::userInitiated,
          [options, form, &services, source = std::move(*source), reply = std::move(reply)]() mutable {
            auto result = runScript(*options, source, form, services);
            services.dispatch.main([reply = std::move(reply), result = std::move(result)]() mutable {
              reply(std::move(result));
            });
          });
    };
  });
}

}  // namespace quillbox::cli

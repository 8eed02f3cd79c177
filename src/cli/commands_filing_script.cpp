// filing-script: the script that files web-mail and, by setting, everything else.
#include <CLI/CLI.hpp>
#include <memory>

#include <fmt/format.h>

#include "base/error_numbers.h"
#include "cli/commands.h"
#include "cli/session.h"

namespace quillbox::cli {
namespace {

void install(Session& session, const Reply& reply) {
  const auto& services = session.services();
  if (auto made = makeDirectories(services.files, services.helper.directoryURL(), 0700); !made) {
    return reply(forward(made));
  }
  const auto installed = services.installer.install(services.helper.directoryURL());
  if (!installed) return reply(session.failWith(installed.error()));
  if (*installed == FilingScriptInstaller::Installed::no) {
    return reply(
        fail(error_number::filingScriptRequired, "The script that is installed could not be replaced"));
  }
  reply(std::string());
}

void tellVersion(Session& session, OutputForm form, const Reply& reply) {
  auto& helper = session.services().helper;
  if (!helper.isFilingScriptInstalled()) {
    return reply(fail(error_number::filingScriptRequired,
                      session.services().localizer.text("LN_filing_script_not_found")));
  }
  helper.readFilingScriptVersion([&helper, form, reply] {
    const auto& version = helper.filingScriptVersion().get();
    if (!version)
      return reply(fail(error_number::filingScriptRequired, "The filing script tells no version"));
    helper.logFilingScriptVersion();
    const auto current = AppleScriptHelper::currentFilingScriptVersion;
    if (form == OutputForm::json) {
      return reply(fmt::format(R"({{"version":{},"current":{}}})", *version, current));
    }
    reply(*version == current ? fmt::format("{}", *version)
                              : fmt::format("{} (this application’s is {})", *version, current));
  });
}

}  // namespace

void defineFilingScript(CLI::App& app, Choice& choice) {
  app.require_subcommand(1);
  app.add_subcommand("install", "Put the filing script into the application-scripts folder.")
      ->callback([&choice] {
        choice.action = [](Session& session, OutputForm, const Reply& reply) { install(session, reply); };
      });
  app.add_subcommand("version", "The version that the installed script tells.")->callback([&choice] {
    choice.action = [](Session& session, OutputForm form, const Reply& reply) {
      tellVersion(session, form, reply);
    };
  });
}

}  // namespace quillbox::cli

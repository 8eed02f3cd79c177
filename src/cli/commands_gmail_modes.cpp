// gmail-modes: which web-mail accounts have their messages archived before they are filed.
#include <CLI/CLI.hpp>
#include <algorithm>
#include <memory>

#include <fmt/format.h>

#include "base/error_numbers.h"
#include "base/text.h"
#include "cli/commands.h"
#include "cli/session.h"

namespace quillbox::cli {
namespace {

struct ModeWord {
  GmailFilingModeEnum mode;
  std::string_view word;
};

constexpr ModeWord kModes[] = {
    {GmailFilingModeEnum::useDefault, "default"},
    {GmailFilingModeEnum::archive, "archive"},
    {GmailFilingModeEnum::direct, "direct"},
};

std::string listModes(const std::vector<GmailFilingMode>& modes, OutputForm form) {
  if (form == OutputForm::json) return encodeGmailFilingModes(modes);
  std::vector<std::vector<std::string>> rows{{"ACCOUNT", "MODE"}};
  for (const auto& mode : modes) {
    const auto* row = std::ranges::find(kModes, mode.shouldArchiveBeforeFiling, &ModeWord::mode);
    rows.push_back({mode.account, std::string(row->word)});
  }
  return table(rows);
}

}  // namespace

void defineGmailModes(CLI::App& app, Choice& choice) {
  app.require_subcommand(1);
  app.add_subcommand("list", "The accounts that have a mode of their own.")->callback([&choice] {
    choice.action = [](Session& session, OutputForm form, const Reply& reply) {
      session.services().gmailModes.load();
      reply(listModes(session.services().gmailModes.modes().get(), form));
    };
  });
  app.add_subcommand("sync", "Add every web-mail account of the mail client.")->callback([&choice] {
    choice.action = [](Session& session, OutputForm form, const Reply& reply) {
      session.services().gmailModes.load();
      session.services().gmailModes.synchronizeWithAccounts(
          [&session, form, reply](const QuillboxResult<void>& done) {
            if (!done) return reply(session.failWith(done.error()));
            reply(listModes(session.services().gmailModes.modes().get(), form));
          });
    };
  });
  auto account = std::make_shared<std::string>();
  auto word = std::make_shared<std::string>();
  auto* set = app.add_subcommand("set", "Set the mode of an account.");
  set->add_option("ACCOUNT", *account, "The account's name.")->required();
  set->add_option("MODE", *word, "default, archive or direct.")->required();
  set->callback([account, word, &choice] {
    const auto* mode = std::ranges::find(kModes, std::string_view(*word), &ModeWord::word);
    if (mode == std::end(kModes)) {
      throw CLI::ValidationError("“" + *word + "” is no mode: default, archive or direct");
    }
    choice.action = [account, chosen = mode->mode](Session& session, OutputForm, const Reply& reply) {
      session.services().accounts.getAccounts([&session, account, chosen, reply](const auto& accounts) {
        if (!accounts) return reply(session.failWith(accounts.error()));
        auto& modes = session.services().gmailModes;
        modes.load();
        if (std::ranges::find(*accounts, *account, &Account::name) == accounts->end() &&
            !modes.modeForAccount(*account)) {
          return reply(
              fail(error_number::accountNotFound,
                   fmt::format("There is no account “{}”", text::singleLine(text::toValidUtf8(*account)))));
        }
        if (auto done = modes.setMode(*account, chosen); !done) return reply(forward(done));
        reply(std::string());
      });
    };
  });
}

}  // namespace quillbox::cli

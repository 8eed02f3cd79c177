#include "cli/registry.h"

#include <CLI/CLI.hpp>
#include <algorithm>
#include <array>
#include <iterator>

#include <fmt/format.h>

#include "base/error_numbers.h"
#include "base/text.h"
#include "cli/commands.h"

namespace quillbox::cli {
namespace {

void defineBatch(CLI::App& app, Choice& choice) {
  app.callback([&choice] { choice.isBatch = true; });
}

constexpr std::array kGroups{
    CommandGroup{"mail", "The accounts of the mail client: add, list, remove.", defineMail},
    CommandGroup{"accounts", "The enabled accounts, as the mail client tells of them.", defineAccounts},
    CommandGroup{"mailboxes", "The mailboxes in display order, all or those that a query finds.",
                 defineMailboxes},
    CommandGroup{"favorites", "The mailboxes that are always at hand.", defineFavorites},
    CommandGroup{"recents", "The last mailboxes filed into, newest first.", defineRecents},
    CommandGroup{"excluded", "The mailboxes that are never offered.", defineExcluded},
    CommandGroup{"messages", "The messages of a mailbox, newest first.", defineMessages},
    CommandGroup{"select", "Select messages in the mail client.", defineSelect},
    CommandGroup{"selection", "The messages that are selected in the mail client.", defineSelection},
    CommandGroup{"file", "File the selected messages into a mailbox.", defineFile},
    CommandGroup{"undo", "Take the last filing back.", defineUndo},
    CommandGroup{"show", "Show a mailbox in the mail client.", defineShow},
    CommandGroup{"new-mailbox", "Make a mailbox.", defineNewMailbox},
    CommandGroup{"flag", "Flag the selected messages.", defineFlag},
    CommandGroup{"label", "Give the selected messages a colour.", defineLabel},
    CommandGroup{"gmail-modes", "Which web-mail accounts archive messages before they are filed.",
                 defineGmailModes},
    CommandGroup{"filing-script", "The script that files mail of web-mail accounts.", defineFilingScript},
    CommandGroup{"suggest", "The likely mailboxes for the selected messages, or for examples out of a file.",
                 defineSuggest},
    CommandGroup{"train", "Let the suggestions learn the messages of a mailbox.", defineTrain},
    CommandGroup{"sync-favorites", "Exchange the favourites with the user's other machines.",
                 defineSyncFavorites},
    CommandGroup{"log", "What was filed, and what the suggestions have learnt from.", defineLog},
    CommandGroup{"settings", "Read and change settings.", defineSettings},
    CommandGroup{"run", "Run an AppleScript against the mail client and Quillbox.", defineRun},
    CommandGroup{
        "batch",
        "Read commands from standard input, one a line, quoted as for a shell, and print one JSON line for "
        "each: {\"ok\":…} or {\"error\":{\"message\",\"number\"}}.",
        defineBatch},
};

// CLI11 takes a value in square brackets apart at its commas. A mark in front keeps it whole.
constexpr char kWholeMark = '\x1d';

std::vector<std::string> protectBrackets(std::vector<std::string> words) {
  for (auto& word : words) {
    if (word.size() > 1 && word.front() == '[' && word.back() == ']') word.insert(word.begin(), kWholeMark);
  }
  return words;
}

void unprotectBrackets(CLI::App& app) {
  for (auto* option : app.get_options({})) {
    option->transform(
        [](std::string value) {
          if (!value.empty() && value.front() == kWholeMark) value.erase(value.begin());
          return value;
        },
        "");
  }
  for (auto* command : app.get_subcommands({})) unprotectBrackets(*command);
}

void parseWords(CLI::App& app, const std::vector<std::string>& words) {
  unprotectBrackets(app);
  auto reversed = protectBrackets(words);
  std::reverse(reversed.begin(), reversed.end());
  app.parse(std::move(reversed));
}

void addGroup(CLI::App& app, const CommandGroup& group, Choice& choice) {
  auto* command = app.add_subcommand(group.name, group.help);
  command->fallthrough();
  group.define(*command, choice);
}

std::string unknownCommand(std::string_view words) {
  return fmt::format("There is no command “{}”; --help lists them",
                     text::singleLine(text::toValidUtf8(words)));
}

// The sentence of a usage error on one line, without the library's own exclamations. Where a command was
// expected and another word stands, that word is told.
std::unexpected<Error> usageError(const CLI::App& app, const CLI::ParseError& error) {
  const CLI::App* innermost = &app;
  std::string command;
  while (!innermost->get_subcommands().empty()) {
    innermost = innermost->get_subcommands().front();
    command += innermost->get_name() + " ";
  }
  const auto left = app.remaining(true);
  if (innermost->get_require_subcommand_min() > 0 && !left.empty() && !left.front().starts_with("-")) {
    return fail(error_number::wrongUsage, unknownCommand(command + left.front()));
  }
  const std::string message = text::singleLine(text::toValidUtf8(text::trim(error.what())));
  return fail(error_number::wrongUsage, message.empty() ? "The command line cannot be read" : message);
}

}  // namespace

Result<Invocation> parseCommandLine(const std::vector<std::string>& words) {
  Invocation invocation;
  CLI::App app(
      "Files the messages that are selected in the mail client into a mailbox that a few letters find.\n"
      "Exit status: 0 done, 1 failed, 2 wrong usage. An error is one line: message and number.",
      "quillboxctl");
  app.require_subcommand(1);
  std::string profile;
  bool json = false;
  auto* profileOption =
      app.add_option("--profile", profile,
                     "The folder that holds settings, data and mail accounts (default: the XDG directories).")
          ->type_name("DIR");
  app.add_flag("--json", json, "Print JSON.");
  for (const auto& group : kGroups) addGroup(app, group, invocation.choice);
  try {
    parseWords(app, words);
  } catch (const CLI::CallForHelp&) {
    invocation.choice = {};
    // The innermost command that was named speaks.
    invocation.help = app.help();
    return invocation;
  } catch (const CLI::ParseError& error) {
    return usageError(app, error);
  }
  if (profileOption->count() > 0) invocation.profile = std::move(profile);
  if (json) invocation.form = OutputForm::json;
  return invocation;
}

Result<Choice> parseBatchCommand(const std::vector<std::string>& words) {
  if (words.empty()) return fail(error_number::wrongUsage, "The line names no command");
  const auto* group =
      std::ranges::find_if(kGroups, [&](const auto& row) { return words.front() == row.name; });
  if (group == kGroups.end()) return fail(error_number::wrongUsage, unknownCommand(words.front()));
  Choice choice;
  CLI::App app("", "quillboxctl");
  app.require_subcommand(1);
  bool json = false;
  app.add_flag("--json", json);  // every batch answer is JSON
  addGroup(app, *group, choice);
  try {
    parseWords(app, words);
  } catch (const CLI::CallForHelp&) {
    return fail(error_number::wrongUsage, "A batch gives no help texts");
  } catch (const CLI::ParseError& error) {
    return usageError(app, error);
  }
  if (choice.isBatch) return fail(error_number::wrongUsage, "A batch cannot hold a batch");
  return choice;
}

std::vector<std::string> commandNames() {
  std::vector<std::string> names;
  std::ranges::transform(kGroups, std::back_inserter(names), [](const auto& group) { return group.name; });
  return names;
}

}  // namespace quillbox::cli

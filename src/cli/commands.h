// The command groups, each defined in a file of its own (commands_*.cpp).
#pragma once

#include "cli/command.h"

namespace quillbox::cli {

void defineMail(CLI::App& app, Choice& choice);
void defineAccounts(CLI::App& app, Choice& choice);
void defineMailboxes(CLI::App& app, Choice& choice);
void defineFavorites(CLI::App& app, Choice& choice);
void defineRecents(CLI::App& app, Choice& choice);
void defineExcluded(CLI::App& app, Choice& choice);
void defineMessages(CLI::App& app, Choice& choice);
void defineSelect(CLI::App& app, Choice& choice);
void defineSelection(CLI::App& app, Choice& choice);
void defineFile(CLI::App& app, Choice& choice);
void defineUndo(CLI::App& app, Choice& choice);
void defineShow(CLI::App& app, Choice& choice);
void defineNewMailbox(CLI::App& app, Choice& choice);
void defineFlag(CLI::App& app, Choice& choice);
void defineLabel(CLI::App& app, Choice& choice);
void defineGmailModes(CLI::App& app, Choice& choice);
void defineFilingScript(CLI::App& app, Choice& choice);
void defineLog(CLI::App& app, Choice& choice);
void defineSuggest(CLI::App& app, Choice& choice);
void defineTrain(CLI::App& app, Choice& choice);
void defineSyncFavorites(CLI::App& app, Choice& choice);
void defineSettings(CLI::App& app, Choice& choice);
void defineRun(CLI::App& app, Choice& choice);

}  // namespace quillbox::cli

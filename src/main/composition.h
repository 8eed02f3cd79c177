// Every object of one profile, made in the order in which they need each other: the part of the program that
// is the same for the window and for the command line.
#pragma once

#include <functional>
#include <memory>
#include <optional>

#include "automation/account_manager.h"
#include "automation/applescript_helper.h"
#include "automation/filing_script_installer.h"
#include "automation/mail_actions.h"
#include "automation/mailbox_retrieval.h"
#include "filing/filing_pipeline.h"
#include "filing/gmail_filing_mode_manager.h"
#include "host/linux/catalog_localizer.h"
#include "host/linux/clock.h"
#include "host/linux/dispatch.h"
#include "host/linux/file_system.h"
#include "host/linux/installed_scripts.h"
#include "host/linux/profile.h"
#include "host/linux/profile_workspace.h"
#include "host/linux/quillbox_application.h"
#include "host/linux/resource_bundle.h"
#include "host/linux/script_engine.h"
#include "host/linux/secret_store.h"
#include "host/linux/user_defaults_file.h"
#include "mailboxes/mailbox_manager.h"
#include "mailboxes/model_suggestions.h"
#include "mailclient/mail_client.h"
#include "main/favorites_replication.h"
#include "scripting/script_command.h"
#include "suggestions/log_manager.h"
#include "suggestions/smart_suggestions_manager.h"

namespace quillbox {

// What the program around it does: windows, alerts, sounds.
class Frontend {
 public:
  virtual ~Frontend() = default;
  virtual void hideQuillbox(std::string_view reason) = 0;
  virtual void activate() = 0;
  virtual bool isActive() const = 0;
  virtual InstallerInterface& installerInterface() = 0;
  virtual SoundPlayer& sounds() = 0;
  // A line that a script logs. Any thread.
  virtual void scriptLog(std::string_view line) = 0;
};

// Main thread. Destroying it waits for what is under way.
class Composition {
 public:
  struct Outside {
    std::optional<Path> profile;  // --profile
    Log& log;
    Frontend& frontend;
  };
  // Fails when the profile has no place or cannot be made, or a resource is missing or damaged.
  static Result<std::unique_ptr<Composition>> make(const Outside& outside);
  ~Composition();
  Composition(const Composition&) = delete;
  Composition& operator=(const Composition&) = delete;

 private:
  struct Resources;
  class Surroundings;
  Composition(const Outside& outside, Profile profileFolders, Resources resources);

 public:
  Log& log;
  Frontend& frontend;
  const Profile profile;
  LinuxFileSystem files;
  SystemClock clock;
  SystemRandomSource random;
  FileResourceBundle bundle;
  CatalogLocalizer localizer;
  RunLoopDispatch dispatch;
  NotificationCenter notifications;
  FileUserDefaults defaults;
  UserSettings settings;
  mailclient::MailClient mail;
  ProfileWorkspace workspace;
  ScriptStatus status;
  InterpreterEngine engine;
  InstalledScripts installedScripts;
  AppleScriptHelper helper;
  AccountManager accounts;
  MailboxRetrieval retrieval;
  MailActions actions;
  FilingScriptInstaller installer;
  FavoritesReplication replication;
  FavoriteMailboxManager favorites;
  RecentMailboxManager recents;
  ExcludedMailboxManager excluded;
  LinuxSecretStore secrets;
  SmartSuggestionsManager suggestions;
  ModelSuggestions modelSuggestions;
  MailboxManager mailboxes;
  LogManager filingLog;
  std::unique_ptr<FilingSurroundings> surroundings;
  FilingPipeline filing;
  GmailFilingModeManager gmailModes;
  ScriptingServices scripting;
  std::unique_ptr<QuillboxApplication> application;  // "Quillbox 4", as scripts address it
};

}  // namespace quillbox

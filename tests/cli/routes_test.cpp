// Filing by both routes, with the real interpreter over a real Maildir.
#include <algorithm>
#include <optional>
#include <set>
#include <string>
#include <vector>

#include "in_process.h"
#include "support/without_privileges.h"

namespace quillbox {
namespace {

enum class Route { inlineText, filingScript };

class Routes : public InProcess {
 protected:
  Routes() {
    EXPECT_EQ(all_->installer.install(all_->helper.directoryURL()), FilingScriptInstaller::Installed::yes);
    errors_ = all_->notifications.observe<AppleScriptError>(
        notification::didReceiveError, [this](const AppleScriptError& error) { posted_.push_back(error); });
    frontend_.events.clear();
  }

  void use(Route route) { EXPECT_TRUE(all_->settings.useFilingScript.set(route == Route::filingScript)); }

  TransferOutcome file(const Mailbox& destination, FilingAction action,
                       KeepOpen keepOpen = KeepOpen::bySetting) {
    posted_.clear();
    std::optional<TransferOutcome> outcome;
    const auto started = all_->filing.transferSelectedMessages(
        {destination, action, keepOpen}, [&](const TransferOutcome& ended) { outcome = ended; });
    EXPECT_TRUE(started.has_value());
    all_->dispatch.runMainUntil([&] { return outcome.has_value(); });
    all_->dispatch.drain();
    return *outcome;
  }

  std::string filingLog() {
    const auto text = all_->filingLog.text();
    return text ? *text : text.error().message;
  }

  Subscription errors_;
  std::vector<AppleScriptError> posted_;
  const Mailbox archive_ = Mailbox::make("Archive", "Archive", "Work");
  const Mailbox label_ = Mailbox::make("Label", "Label", "Web");
};

// What a transfer may do beside moving the messages, each by a setting of its own.
struct Switches {
  bool label, flag, read, sound, keepOpen, log, recents, clear, learn;
};

// All off, all on, each alone on and each alone off.
std::vector<Switches> switchings() {
  constexpr unsigned kCount = 9;
  constexpr unsigned kAll = (1U << kCount) - 1;
  std::vector<unsigned> masks{0, kAll};
  for (unsigned i = 0; i < kCount; ++i) {
    masks.push_back(1U << i);
    masks.push_back(kAll & ~(1U << i));
  }
  std::vector<Switches> all;
  for (const unsigned mask : masks) {
    const auto on = [mask](unsigned i) { return (mask >> i & 1U) != 0; };
    all.push_back({on(0), on(1), on(2), on(3), on(4), on(5), on(6), on(7), on(8)});
  }
  return all;
}

TEST_F(Routes, EveryActionAndCountWithEachSettingOnAndOff) {
  const auto local = await<QuillboxResult<Mailbox>>(
      [&](auto done) { all_->actions.createMailbox("Receipts", "", std::string(onMyMac), std::move(done)); });
  ASSERT_TRUE(local.has_value());
  auto& settings = all_->settings;
  const auto settingsAre = [&](const Switches& on, MessageLabelAppEnum label, MessageFlagAppEnum flag) {
    return settings.labelFiledMessages.set(on.label ? label : MessageLabelAppEnum::none) &&
           settings.flagFiledMessages.set(on.flag ? flag : MessageFlagAppEnum::none) &&
           settings.markMessagesAsRead.set(on.read) && settings.beepAfterFiling.set(on.sound) &&
           settings.keepOpenAfterFiling.set(on.keepOpen) && settings.useLogging.set(on.log) &&
           settings.rememberRecentMailboxes.set(on.recents) &&
           settings.searchOnActivationMode.set(on.clear ? SearchOnActivationAppEnum::clearOnAction
                                                        : SearchOnActivationAppEnum::retain) &&
           settings.useSmartFilingSuggestions.set(on.learn) && settings.recentMailboxes.set({});
  };
  std::int64_t total = 0;
  std::size_t row = 0;
  std::set<std::string> heard;
  const auto run = [&](Route route, FilingAction action, std::size_t count, const Switches& on) {
    ++row;
    SCOPED_TRACE(fmt::format("row {}: route {} action {} count {}", row, static_cast<int>(route),
                             static_cast<int>(action), count));
    use(route);
    // Every colour, every sound and both kinds of place have their turn.
    const auto label = static_cast<MessageLabelAppEnum>(1 + row % 8);
    const auto flag = RawNumbers<MessageFlagAppEnum>::cases[1 + row % 8].first;
    const auto sound = static_cast<FilingSoundAppEnum>(row % 14);  // the beep and the thirteen
    const Mailbox& destination = row % 3 == 0 ? *local : archive_;
    ASSERT_TRUE(settingsAre(on, label, flag) && settings.filingSound.set(sound));
    all_->recents.load();
    ASSERT_TRUE(all_->filingLog.clear());
    ASSERT_TRUE(all_->suggestions.log().clear());
    all_->mailboxes.query.set("typed");
    frontend_.events.clear();

    const auto inbox = all_->mail.messages("Work", "INBOX");
    ASSERT_TRUE(inbox.has_value());
    ASSERT_EQ(inbox->size(), 5U);
    std::vector<std::string> ids;
    for (std::size_t i = 0; i < count; ++i) ids.push_back((*inbox)[i].id);
    ASSERT_TRUE(ids.empty() ? all_->mail.selectNothing().has_value()
                            : all_->mail.select("Work", "INBOX", ids).has_value());

    const auto outcome = file(destination, action);
    total += static_cast<std::int64_t>(count);
    EXPECT_EQ(outcome.kind, TransferOutcome::Kind::filed);
    EXPECT_EQ(outcome.count, static_cast<std::int32_t>(count));
    EXPECT_EQ(settings.filedCount.get(), total);
    EXPECT_EQ(store_.messages("Work").size(), action == FilingAction::copy ? 5 : 5 - count);
    const auto filed = all_->mail.messages(destination.account, destination.path);
    ASSERT_TRUE(filed.has_value());
    EXPECT_EQ(filed->size(), count);
    for (const auto& message : *filed) {
      EXPECT_EQ(message.read, on.read);
      EXPECT_EQ(message.flagIndex,
                on.flag && flag != MessageFlagAppEnum::remove ? static_cast<int>(flag) : -1);
      EXPECT_EQ(message.color, on.label && label != MessageLabelAppEnum::remove ? rawText(label) : "none");
    }
    const std::string line =
        fmt::format("] {} {} message{} to {}\n", action == FilingAction::copy ? "Copied" : "Moved", count,
                    count == 1 ? "" : "s", destination.id);
    const auto logged = filingLog();
    EXPECT_EQ(logged.ends_with(line) && std::ranges::count(logged, '\n') == 1, on.log && count > 0) << logged;
    EXPECT_EQ(logged.empty(), !on.log || count == 0) << logged;
    EXPECT_EQ(settings.recentMailboxes.get(),
              on.recents ? std::vector<Mailbox>{destination} : std::vector<Mailbox>{});
    EXPECT_EQ(all_->mailboxes.query.get(), on.clear ? "" : "typed");
    const auto learnt = all_->suggestions.log().text();
    ASSERT_TRUE(learnt.has_value());
    EXPECT_EQ(std::ranges::count(*learnt, '\n'), on.learn ? count : 0) << *learnt;
    std::vector<std::string> events;
    if (!on.keepOpen) events.emplace_back("hide transferSelectedMessages");
    if (on.sound && count > 0)
      events.push_back(sound == FilingSoundAppEnum::system ? "beep"
                                                           : fmt::format("play {}.aiff", rawText(sound)));
    if (on.keepOpen) events.emplace_back("activate");
    EXPECT_EQ(frontend_.events, events);
    if (on.sound && count > 0) heard.insert(std::string(rawText(sound)));

    // As it was: the copies go, the moved messages and their marks come back.
    ASSERT_TRUE(count == 0 || all_->mail.undo().has_value());
    ASSERT_TRUE(all_->mail.messages(destination.account, destination.path)->empty());
  };
  for (const Route route : {Route::inlineText, Route::filingScript}) {
    for (const FilingAction action : {FilingAction::move, FilingAction::copy, FilingAction::archive}) {
      for (const std::size_t count : {0U, 1U, 3U}) {
        for (const auto& on : switchings()) run(route, action, count, on);
      }
    }
  }
  EXPECT_EQ(heard.size(), 14U);
}

TEST_F(Routes, WebMailGoesThroughTheArchiveByItsMode) {
  const auto inbox = [&] { return store_.messages("Web").size(); };
  const auto archived = [&] { return store_.messages("Web", ".[Gmail].All Mail").size(); };
  const auto labelled = [&] { return store_.messages("Web", ".Label").size(); };

  use(Route::inlineText);
  ASSERT_TRUE(all_->mail.selectAll("Web", "INBOX"));
  const auto before = store_.snapshot();
  const auto refused = file(label_, FilingAction::move);
  EXPECT_EQ(refused.error->number, -1404);
  EXPECT_EQ(posted_, std::vector{*refused.error});
  EXPECT_EQ(store_.snapshot(), before);

  use(Route::filingScript);
  const struct {
    GmailFilingModeEnum mode;
    bool global;
    FilingAction action;
    bool archives;
  } rows[] = {
      {GmailFilingModeEnum::archive, false, FilingAction::move, true},
      {GmailFilingModeEnum::direct, true, FilingAction::move, false},
      {GmailFilingModeEnum::useDefault, true, FilingAction::move, true},
      {GmailFilingModeEnum::useDefault, false, FilingAction::move, false},
      {GmailFilingModeEnum::direct, false, FilingAction::archive, true},
      {GmailFilingModeEnum::archive, true, FilingAction::copy, false},
  };
  for (const auto& row : rows) {
    SCOPED_TRACE(fmt::format("mode {} global {} action {}", static_cast<int>(row.mode), row.global,
                             static_cast<int>(row.action)));
    ASSERT_TRUE(all_->gmailModes.setMode("Web", row.mode));
    ASSERT_TRUE(all_->settings.archiveGmailBeforeFiling.set(row.global));
    ASSERT_TRUE(all_->mail.select("Web", "INBOX", {"1.Web@example.org", "2.Web@example.org"}));
    EXPECT_EQ(file(label_, row.action).count, 2);
    EXPECT_EQ(inbox(), row.action == FilingAction::copy ? 4U : 2U);
    EXPECT_EQ(archived(), row.archives ? 2U : 0U);
    EXPECT_EQ(labelled(), 2U);
    ASSERT_TRUE(all_->mail.undo());
    EXPECT_EQ(inbox(), 4U);
    EXPECT_EQ(archived() + labelled(), 0U);
  }

  // A selection from two accounts: by the inline text none is touched, by the filing script each goes its
  // way.
  ASSERT_TRUE(all_->gmailModes.setMode("Web", GmailFilingModeEnum::archive));
  const auto chosen = await<AppleScriptResult>([&](auto done) {
    all_->helper.runScriptText(
        "tell application \"Mail\"\n"
        "set selected messages of message viewer 1 to ¬\n"
        "(messages 1 thru 2 of mailbox \"INBOX\" of account \"Work\") & ¬\n"
        "(messages 1 thru 3 of mailbox \"INBOX\" of account \"Web\")\n"
        "return count of (get selection)\nend tell",
        "", std::move(done));
  });
  ASSERT_EQ(chosen->int32Value(), 5);
  use(Route::inlineText);
  const auto mixed = store_.snapshot();
  EXPECT_EQ(file(label_, FilingAction::move).error->number, -1404);
  EXPECT_EQ(store_.snapshot(), mixed);
  use(Route::filingScript);
  EXPECT_EQ(file(label_, FilingAction::move).count, 5);
  EXPECT_EQ(store_.messages("Work").size(), 3U);
  EXPECT_EQ(inbox(), 1U);
  EXPECT_EQ(archived(), 3U);
  EXPECT_EQ(labelled(), 5U);
  ASSERT_TRUE(all_->mail.undo());
  EXPECT_EQ(store_.messages("Work").size(), 5U);
  EXPECT_EQ(inbox(), 4U);

  // Filed out of the archive: it keeps the message.
  ASSERT_TRUE(all_->mail.select("Web", "INBOX", {"1.Web@example.org"}));
  EXPECT_EQ(file(Mailbox::make("All Mail", "[Gmail]/All Mail", "Web"), FilingAction::move).count, 1);
  ASSERT_TRUE(all_->mail.select("Web", "[Gmail]/All Mail", {"1.Web@example.org"}));
  EXPECT_EQ(file(label_, FilingAction::move).count, 1);
  EXPECT_EQ(archived(), 1U);
  EXPECT_EQ(labelled(), 1U);
  ASSERT_TRUE(all_->mail.undo());
  ASSERT_TRUE(all_->mail.undo());

  // Filed into the archive itself: moved there once.
  ASSERT_TRUE(all_->gmailModes.setMode("Web", GmailFilingModeEnum::archive));
  ASSERT_TRUE(all_->mail.select("Web", "INBOX", {"1.Web@example.org"}));
  EXPECT_EQ(file(Mailbox::make("All Mail", "[Gmail]/All Mail", "Web"), FilingAction::move).count, 1);
  EXPECT_EQ(archived(), 1U);
  EXPECT_EQ(inbox(), 3U);

  // The archive under the name that a synchroniser gave it.
  std::filesystem::remove_all(store_.mail() / "Web" / ".[Gmail].All Mail");
  store_.folder("Web", ".Archive");
  ASSERT_TRUE(all_->mail.select("Web", "INBOX", {"2.Web@example.org"}));
  EXPECT_EQ(file(label_, FilingAction::archive).count, 1);
  EXPECT_EQ(store_.messages("Web", ".Archive").size(), 1U);
  ASSERT_TRUE(all_->mail.undo());

  // No archive to be found: nothing is touched, and the message names it.
  std::filesystem::remove_all(store_.mail() / "Web" / ".Archive");
  ASSERT_TRUE(all_->mail.select("Web", "INBOX", {"2.Web@example.org"}));
  const auto failed = file(label_, FilingAction::move);
  EXPECT_EQ(failed.error->number, -1728);
  EXPECT_NE(failed.error->message.find("[Gmail]/All Mail"), std::string::npos) << failed.error->message;
  EXPECT_EQ(inbox(), 3U);
  EXPECT_EQ(labelled(), 0U);
}

TEST_F(Routes, FailuresLeaveNoTraceAndReachTheAlert) {
  auto& settings = all_->settings;
  ASSERT_TRUE(settings.useLogging.set(true));
  ASSERT_TRUE(settings.rememberRecentMailboxes.set(true));
  const std::string installed = (all_->helper.directoryURL() / "Quillbox Filing.scpt").string();
  const auto install = [&](const std::string& script) {
    std::ofstream(installed, std::ios::trunc) << script;
  };
  const struct {
    const char* what;
    Route route;
    Mailbox destination;
    std::optional<std::string> script;  // in place of the filing script
    std::int64_t number;
  } rows[] = {
      {"gone meanwhile", Route::inlineText, Mailbox::make("Gone", "Gone", "Work"), {}, -1728},
      {"gone meanwhile", Route::filingScript, Mailbox::make("Gone", "Gone", "Work"), {}, -2404},
      {"no such account", Route::filingScript, Mailbox::make("A", "A", "Nobody"), {}, -2404},
      {"no such account", Route::inlineText, Mailbox::make("A", "A", "Nobody"), {}, -1728},
      {"script raises", Route::filingScript, archive_,
       "on processMessages(p)\nerror \"No: really\" number 55\nend", 55},
      {"no handler", Route::filingScript, archive_, "on versionNumber()\nreturn 7\nend", -1708},
      {"does not compile", Route::filingScript, archive_, "on processMessages(", -2741},
  };
  for (const auto& row : rows) {
    SCOPED_TRACE(row.what);
    use(row.route);
    if (row.script) install(*row.script);
    ASSERT_TRUE(all_->mail.selectAll("Work", "INBOX"));
    const auto before = store_.snapshot();
    const auto outcome = file(row.destination, FilingAction::move);
    ASSERT_EQ(outcome.kind, TransferOutcome::Kind::failed);
    EXPECT_EQ(outcome.error->number, row.number) << outcome.error->message;
    EXPECT_EQ(posted_, std::vector{*outcome.error});
    EXPECT_EQ(store_.snapshot(), before);
  }
  EXPECT_EQ(settings.filedCount.get(), 0);
  EXPECT_TRUE(settings.recentMailboxes.get().empty());
  EXPECT_EQ(filingLog(), "");

  // Results that are no number count nothing, but the mailbox was filed into.
  for (const char* result : {"\"three\"", "{3}", "missing value", "3.0", ""}) {
    install(std::string("on processMessages(p)\nreturn ") + result + "\nend");
    EXPECT_EQ(file(archive_, FilingAction::move).count, 0) << result;
  }
  EXPECT_EQ(settings.filedCount.get(), 0);
  EXPECT_EQ(filingLog(), "");
  EXPECT_EQ(settings.recentMailboxes.get(), std::vector<Mailbox>{archive_});

  std::filesystem::remove(installed);
  EXPECT_EQ(file(archive_, FilingAction::move).error->number, -1404);
}

class UnwritableFolders : private WithoutPrivileges, public Routes {
 protected:
  ~UnwritableFolders() override {
    for (const auto& folder : folders_) allow(folder);
  }
  // The folder of an account, by its name on disk, takes no message from now on.
  void forbid(const std::string& account, const std::string& name) {
    folders_.push_back(store_.mail() / account / name);
    for (const char* part : {"cur", "new", "tmp"})
      std::filesystem::permissions(folders_.back() / part, std::filesystem::perms(0500));
  }
  static void allow(const std::filesystem::path& folder) {
    for (const char* part : {"cur", "new", "tmp"})
      std::filesystem::permissions(folder / part, std::filesystem::perms(0700));
  }

  std::vector<std::filesystem::path> folders_;
};

TEST_F(UnwritableFolders, AreNamedAndNothingIsFiled) {
  forbid("Work", ".Archive");
  ASSERT_TRUE(all_->settings.useLogging.set(true));
  ASSERT_TRUE(all_->mail.selectAll("Work", "INBOX"));
  const auto before = store_.snapshot();
  for (const Route route : {Route::inlineText, Route::filingScript}) {
    for (const FilingAction action : {FilingAction::move, FilingAction::copy, FilingAction::archive}) {
      use(route);
      const auto outcome = file(archive_, action);
      ASSERT_EQ(outcome.kind, TransferOutcome::Kind::failed);
      EXPECT_EQ(posted_, std::vector{*outcome.error});
      const std::string folder = (store_.mail() / "Work" / ".Archive").string();
      for (const char* part : {"could not be ", folder.c_str(), "no message was filed before it"})
        EXPECT_NE(outcome.error->message.find(part), std::string::npos) << outcome.error->message;
      EXPECT_EQ(store_.snapshot(), before);
    }
  }
  EXPECT_EQ(all_->settings.filedCount.get(), 0);
  EXPECT_EQ(filingLog(), "");
}

TEST_F(UnwritableFolders, AnArchiveLeavesNoMessageHalfFiled) {
  forbid("Web", ".[Gmail].All Mail");
  use(Route::filingScript);
  ASSERT_TRUE(all_->gmailModes.setMode("Web", GmailFilingModeEnum::archive));
  ASSERT_TRUE(all_->mail.select("Web", "INBOX", {"1.Web@example.org", "2.Web@example.org"}));
  const auto failed = file(label_, FilingAction::move);
  ASSERT_EQ(failed.kind, TransferOutcome::Kind::failed);
  EXPECT_NE(failed.error->message.find("no message was filed"), std::string::npos) << failed.error->message;
  EXPECT_EQ(store_.messages("Web").size(), 4U);
  ASSERT_EQ(store_.messages("Web", ".Label").size(), 1U);
  for (const auto& name : store_.messages("Web", ".Label"))
    EXPECT_TRUE(name.ends_with("T")) << name << " is a copy that was not deleted";

  // Mended, the same selection is filed, once.
  allow(folders_.back());
  EXPECT_EQ(file(label_, FilingAction::move).count, 2);
  EXPECT_EQ(store_.messages("Web").size(), 2U);
  const auto labelled = store_.messages("Web", ".Label");
  EXPECT_EQ(std::ranges::count_if(labelled, [](const auto& name) { return !name.ends_with("T"); }), 2);
  EXPECT_EQ(all_->mail.undo()->count, 2U) << "each message counts once";
}

// Whatever a name holds, it stays inside its quotes: the mailbox is not found, and nothing else happens.
TEST_F(Routes, NamesCannotBreakOutOfTheScripts) {
  const std::string names[] = {
      "\"",
      "\\",
      "\\\"",
      "a\" of account \"Web",
      "\" & (do shell script \"id\") & \"",
      "\"\ndelete every mailbox\n\"",
      "¬\n\"",
      "a\nb",
      "x\\",
      "$ACCOUNT$",
      "«event»",
      "--",
      "(*",
      "x\\\" & (delete every message of mailbox 1 of account 1) --",
      "x\\\"\nset read status of every message of mailbox 1 of account 1 to true\n--",
      "x\\\"\nset read status of every message of mailbox 1 of account 1 to true --",
      "x\\\"\nerror number 99 --",
      "x\\\\\" --"};
  ASSERT_TRUE(all_->mail.selectAll("Work", "INBOX"));
  const auto before = store_.snapshot();
  for (const auto& name : names) {
    for (const Route route : {Route::inlineText, Route::filingScript}) {
      use(route);
      for (const auto& destination :
           {Mailbox::make(name, name, "Work"), Mailbox::make("Archive", "Archive", name)}) {
        const auto outcome = file(destination, FilingAction::move);
        EXPECT_EQ(outcome.kind, TransferOutcome::Kind::failed) << name;
        EXPECT_EQ(outcome.error->number, route == Route::inlineText ? -1728 : -2404)
            << name << ": " << outcome.error->message;
      }
    }
    // The show text keeps backslashes as they are: a name with one may not even compile, but does no more.
    for (const auto viewer : {script_texts::Viewer::frontmost, script_texts::Viewer::newViewer}) {
      std::optional<QuillboxResult<void>> shown;
      all_->actions.showMailbox(Mailbox::make(name, name, "Work"), viewer,
                                [&](const auto& done) { shown = done; });
      all_->dispatch.runMainUntil([&] { return shown.has_value(); });
      ASSERT_FALSE(shown->has_value()) << name;
      const auto number = shown->error().scriptError()->number;
      EXPECT_TRUE(number == -2404 ||
                  (name.find('\\') != std::string::npos && number <= -2740 && number >= -2763))
          << name << ": " << number;
    }
  }
  EXPECT_EQ(store_.snapshot(), before);
}

TEST_F(Routes, InstallationTakesOnlyItsOwnFolder) {
  const Path folder = all_->helper.directoryURL();
  const Path script = folder / "Quillbox Filing.scpt";
  std::ofstream(script, std::ios::trunc) << "on versionNumber()\nreturn 7\nend";
  const auto version = [&] {
    bool done = false;
    all_->helper.readFilingScriptVersion([&] { done = true; });
    all_->dispatch.runMainUntil([&] { return done; });
    return all_->helper.filingScriptVersion().get();
  };
  EXPECT_EQ(version(), 7);
  for (const auto& choice :
       {std::optional<Path>(), std::optional(folder.parent_path()), std::optional(folder / "x")}) {
    frontend_.choice = choice;
    std::optional<QuillboxResult<FilingScriptInstaller::Installed>> result;
    all_->installer.chooseFolderAndInstall([&](auto installed) { result = installed; });
    EXPECT_EQ(*result, FilingScriptInstaller::Installed::no);
    EXPECT_EQ(version(), 7);
  }
  EXPECT_EQ(frontend_.panels[0].prompt, "Select Script Folder");
  EXPECT_EQ(frontend_.panels[0].directory, folder);
  frontend_.choice = folder;
  all_->installer.chooseFolderAndInstall([](const auto&) {});
  EXPECT_EQ(frontend_.events.size(), 1U);
  EXPECT_EQ(version(), 8);
}

}  // namespace
}  // namespace quillbox

#include "main/composition.h"

#include <optional>
#include <utility>

#include <fmt/format.h>

#include "applescript/terminology.h"
#include "base/text.h"
#include "host/linux/environment.h"
#include "mailclient/mail_session.h"
#include "mailclient/system_events.h"

namespace quillbox {
namespace {

constexpr std::uint64_t kLargestResource = 16U << 20U;  // bytes
constexpr std::chrono::minutes kLongestScript{30};
constexpr std::string_view kVersion = "4.0.0";
constexpr std::string_view kFilingTag = "Filing";  // between the brackets of a filing-log line

bool namesApplication(std::string_view asked, std::string_view name, std::string_view identifier) {
  const std::string folded = text::foldCase(asked);
  return folded == text::foldCase(name) || folded == text::foldCase(identifier);
}

// What one script can tell: the mail client and its keys, with a filing of its own for every run, and the
// application, which all runs share.
class ProfileApplications final : public ScriptApplications {
 public:
  struct Terms {
    std::shared_ptr<const applescript::Terminology> mail;
    std::shared_ptr<const applescript::Terminology> systemEvents;
  };

  ProfileApplications(mailclient::MailClient& mail, Terms terms, applescript::Application& quillbox)
      : mail_(mail), terms_(std::move(terms)), quillbox_(quillbox) {}

  applescript::Application* find(std::string_view nameOrIdentifier) override {
    if (namesApplication(nameOrIdentifier, "Mail", mailBundleIdentifier)) return &session();
    if (namesApplication(nameOrIdentifier, "System Events", mailclient::systemEventsIdentifier)) {
      if (!systemEvents_) systemEvents_.emplace(session(), terms_.systemEvents);
      return &*systemEvents_;
    }
    return namesApplication(nameOrIdentifier, quillbox_.name(), quillbox_.identifier()) ? &quillbox_
                                                                                        : nullptr;
  }
  Result<void> finish() override { return session_ ? session_->finish() : Result<void>(); }

 private:
  mailclient::MailSession& session() {
    if (!session_) session_.emplace(mail_, terms_.mail);
    return *session_;
  }

  mailclient::MailClient& mail_;
  const Terms terms_;
  applescript::Application& quillbox_;
  std::optional<mailclient::MailSession> session_;
  std::optional<mailclient::SystemEvents> systemEvents_;
};

Result<std::string> readResource(FileSystem& files, const ResourceBundle& bundle, std::string_view name,
                                 std::string_view extension) {
  const auto file = bundle.locate(name, extension);
  if (!file) return fail(ENOENT, fmt::format("The application’s file {}.{} is missing", name, extension));
  return files.read(*file, kLargestResource);
}

Result<std::shared_ptr<const applescript::Terminology>> readTerms(FileSystem& files,
                                                                  const ResourceBundle& bundle,
                                                                  std::string_view name) {
  const auto definition = readResource(files, bundle, name, "sdef");
  if (!definition) return forward(definition);
  return applescript::Terminology::parse(*definition);
}

}  // namespace

struct Composition::Resources {
  CatalogLocalizer localizer;
  std::shared_ptr<const applescript::Terminology> mailTerms;
  std::shared_ptr<const applescript::Terminology> systemEventsTerms;
  std::string quillboxDefinition;
};

// What filing touches beside the mail client.
class Composition::Surroundings final : public FilingSurroundings {
 public:
  explicit Surroundings(Composition& all) : all_(all) {}

  void hideQuillbox(std::string_view reason) override {
    all_.log.debug(fmt::format("Reason to hideQuillbox: {}", reason));
    all_.frontend.hideQuillbox(reason);
  }
  void trainOnSelection(const Mailbox& destination) override {
    all_.suggestions.trainOnSelection(destination, [&log = all_.log](const Result<std::size_t>& learnt) {
      if (!learnt) log.error("The filed messages could not be learnt: " + learnt.error().message);
    });
  }
  void appendToFilingLog(std::string entry) override { all_.filingLog.append(kFilingTag, entry); }
  bool addToRecents(const Mailbox& destination) override {
    const auto added = all_.recents.add(destination);
    if (!added) all_.log.error("The recent mailboxes could not be stored: " + added.error().message);
    return added.value_or(false);
  }
  void clearQuery() override { all_.mailboxes.query.set(""); }

 private:
  Composition& all_;
};

Result<std::unique_ptr<Composition>> Composition::make(const Outside& outside) {
  const auto environment = processEnvironment();
  auto profile = Profile::find(outside.profile, environment);
  if (!profile) return forward(profile);
  LinuxFileSystem files;
  if (auto made = profile->makeFolders(files); !made) return forward(made);

  const FileResourceBundle bundle(files, FileResourceBundle::rootsBeside(executablePath()));
  Resources resources;
  const auto catalogue = readResource(files, bundle, "Localizable", "xcstrings");
  if (!catalogue) return forward(catalogue);
  auto localizer = CatalogLocalizer::parse(*catalogue, preferredLanguages(environment));
  if (!localizer) return forward(localizer);
  resources.localizer = std::move(*localizer);
  auto mailTerms = readTerms(files, bundle, "Mail");
  if (!mailTerms) return forward(mailTerms);
  resources.mailTerms = std::move(*mailTerms);
  auto systemEventsTerms = readTerms(files, bundle, "System Events");
  if (!systemEventsTerms) return forward(systemEventsTerms);
  resources.systemEventsTerms = std::move(*systemEventsTerms);
  auto quillboxDefinition = readResource(files, bundle, "Quillbox", "sdef");
  if (!quillboxDefinition) return forward(quillboxDefinition);
  resources.quillboxDefinition = *quillboxDefinition;

  std::unique_ptr<Composition> all(new Composition(outside, std::move(*profile), resources));
  if (auto started = all->mail.start(); !started) return forward(started);
  auto application = QuillboxApplication::make(
      resources.quillboxDefinition,
      {all->dispatch, all->scripting, [frontend = &outside.frontend] { frontend->activate(); },
       [frontend = &outside.frontend] { return frontend->isActive(); }, std::string(kVersion)});
  if (!application) return forward(application);
  all->application = std::move(*application);
  return all;
}

Composition::Composition(const Outside& outside, Profile profileFolders, Resources resources)
    : log(outside.log),
      frontend(outside.frontend),
      profile(std::move(profileFolders)),
      bundle(files, FileResourceBundle::rootsBeside(executablePath())),
      localizer(std::move(resources.localizer)),
      defaults(files, random, log, profile.settingsFile),
      settings(defaults, log),
      mail(mailclient::Environment{files, clock, random, log, profile.mail}),
      workspace([] { return true; }, [this] { return frontend.isActive(); }),
      engine({files, clock, random,
              [this, terms = ProfileApplications::Terms{resources.mailTerms, resources.systemEventsTerms}] {
                return std::make_unique<ProfileApplications>(mail, terms, *application);
              },
              [this](std::string_view line) { frontend.scriptLog(line); },
              applescript::Limits{.time = kLongestScript}}),
      installedScripts(profile.applicationScripts, files, engine, dispatch),
      helper({engine, installedScripts, bundle, workspace, dispatch, localizer, log, status}),
      accounts(helper, dispatch, log),
      retrieval({helper, bundle, workspace, notifications, status, log}),
      actions({helper, settings, localizer, dispatch, log}),
      installer({helper, bundle, files, random, localizer, log, frontend.installerInterface()}),
      replication({files, dispatch, clock, random, notifications, log, settings}, profile),
      favorites(settings, notifications, [this] { return replication.makeSync(); }),
      recents(settings),
      excluded(settings),
      // A profile of its own keeps everything in its folder, its secrets too.
      secrets(files, random, profile.data, outside.profile ? nullptr : desktopSecretService()),
      suggestions(
          {helper, settings, dispatch, notifications, localizer, log},
          std::make_unique<AdvancedLogManager>(AdvancedLogManager::Services{files, random, secrets, log},
                                               profile.data, AdvancedLogMode::encrypted)),
      modelSuggestions(suggestions),
      mailboxes(
          {settings, dispatch, notifications, log, helper, status, retrieval, favorites, recents, excluded}),
      filingLog({files, dispatch, clock, random, log}, profile.data),
      surroundings(std::make_unique<Surroundings>(*this)),
      filing({settings, helper, dispatch, notifications, localizer, log, *surroundings}),
      gmailModes(settings, accounts, log),
      scripting{settings,
                status,
                notifications,
                helper,
                retrieval,
                accounts,
                filing,
                bundle,
                frontend.sounds(),
                random,
                localizer,
                log,
                dispatch,
                [this]() -> std::optional<Mailbox> {
                  const auto* selected = mailboxes.selectedMailbox();
                  return selected != nullptr ? std::optional(*selected) : std::nullopt;
                }} {
  recents.setDirectory(&mailboxes);
  mailboxes.setSuggestions(&modelSuggestions);
}

Composition::~Composition() {
  dispatch.drain();
  recents.setDirectory(nullptr);
}

}  // namespace quillbox

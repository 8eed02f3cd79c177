// quillboxctl: everything without a window.
#include <cstdio>
#include <iostream>
#include <iterator>
#include <memory>
#include <string>
#include <vector>

#include <fmt/format.h>

#include "base/error_numbers.h"
#include "base/text.h"
#include "cli/batch.h"
#include "cli/registry.h"
#include "cli/session.h"
#include "host/linux/environment.h"
#include "host/linux/stderr_log.h"
#include "host/linux/terminal_sound_player.h"
#include "main/command_log.h"
#include "main/composition.h"

namespace quillbox {
namespace {

constexpr int kDone = 0;
constexpr int kFailed = 1;
constexpr int kWrongUsage = 2;

// A command line has no windows to hide and nothing to bring to the front.
class CommandLineFrontend final : public Frontend, public InstallerInterface {
 public:
  explicit CommandLineFrontend(Log& log) : sounds_(log) {}

  void hideQuillbox(std::string_view) override {}
  void activate() override {}
  bool isActive() const override { return false; }
  InstallerInterface& installerInterface() override { return *this; }
  SoundPlayer& sounds() override { return sounds_; }
  void scriptLog(std::string_view line) override {
    const std::string out = std::string(line) + "\n";
    std::fwrite(out.data(), 1, out.size(), stderr);
  }

  void chooseFolder(const Panel&, std::function<void(std::optional<Path>)> chosen) override {
    chosen(std::nullopt);
  }
  void showAlert(const std::string&, const std::string&, const std::string&) override {}

 private:
  TerminalSoundPlayer sounds_;
};

void printLine(const std::string& line) {
  std::fwrite(line.data(), 1, line.size(), stdout);
  std::fputc('\n', stdout);
  std::fflush(stdout);
}

int failWith(const Error& error, int status) {
  std::string line = text::singleLine(text::toValidUtf8(error.message));
  fmt::print(stderr, "quillboxctl: {} ({})\n", line, error.number);
  return status;
}

std::string readStandardInput() {
  return {std::istreambuf_iterator<char>(std::cin), std::istreambuf_iterator<char>()};
}

std::optional<std::string> readLine() {
  std::string line;
  if (!std::getline(std::cin, line)) return std::nullopt;
  return line;
}

cli::Services servicesOf(Composition& all) {
  std::error_code ignored;
  return {.engine = all.engine,
          .dispatch = all.dispatch,
          .notifications = all.notifications,
          .localizer = all.localizer,
          .log = all.log,
          .files = all.files,
          .helper = all.helper,
          .accounts = all.accounts,
          .actions = all.actions,
          .installer = all.installer,
          .settings = all.settings,
          .mailboxes = all.mailboxes,
          .favorites = all.favorites,
          .recents = all.recents,
          .excluded = all.excluded,
          .filing = all.filing,
          .gmailModes = all.gmailModes,
          .filingLog = all.filingLog,
          .suggestions = all.suggestions,
          .mail = all.mail,
          .scriptTree = [&all](std::string_view source) { return all.engine.tree(source); },
          .currentDirectory = std::filesystem::current_path(ignored),
          .readStandardInput = readStandardInput};
}

int runCommand(Composition& all, CommandLog& log, const cli::Invocation& invocation) {
  cli::Session session(servicesOf(all));
  std::optional<Result<std::string>> reply;
  const auto finish = [&](Result<std::string> result) { reply = std::move(result); };
  if (invocation.choice.isBatch) {
    cli::runBatch(session, {readLine, printLine}, [&] { finish(std::string()); });
  } else {
    invocation.choice.action(session, invocation.form, finish);
  }
  all.dispatch.runMainUntil([&] { return reply.has_value(); });
  // What the command has started in the background belongs to it.
  all.dispatch.drain();
  if (!*reply) {
    log.drop();
    return failWith(reply->error(),
                    reply->error().number == error_number::wrongUsage ? kWrongUsage : kFailed);
  }
  log.tell();
  if (!(*reply)->empty()) printLine(**reply);
  return kDone;
}

int main(const std::vector<std::string>& words) {
  const auto invocation = cli::parseCommandLine(words);
  if (!invocation) return failWith(invocation.error(), kWrongUsage);
  if (!invocation->help.empty()) {
    std::fwrite(invocation->help.data(), 1, invocation->help.size(), stdout);
    return kDone;
  }
  const auto wanted = processEnvironment()("QUILLBOX_LOG");
  StderrLog standardError(wanted ? logThreshold(*wanted).value_or(LogThreshold::error) : LogThreshold::error);
  CommandLog log(standardError);
  CommandLineFrontend frontend(log);
  auto all = Composition::make(
      {invocation->profile ? std::optional<Path>(*invocation->profile) : std::nullopt, log, frontend});
  log.tell();
  if (!all) return failWith(all.error(), kFailed);
  return runCommand(**all, log, *invocation);
}

}  // namespace
}  // namespace quillbox

int main(int argc, char** argv) {
  return quillbox::main({argv + (argc > 0 ? 1 : 0), argv + argc});
}

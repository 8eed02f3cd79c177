// What the application ships, and where it and its user's things are looked for.
#include <filesystem>
#include <fstream>
#include <map>
#include <regex>
#include <set>
#include <sstream>
#include <string>
#include <vector>

#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <unistd.h>

#include "base/error_numbers.h"
#include "host/linux/catalog_localizer.h"
#include "host/linux/clock.h"
#include "host/linux/environment.h"
#include "host/linux/file_system.h"
#include "host/linux/profile.h"
#include "host/linux/resource_bundle.h"
#include "host/linux/stderr_log.h"
#include "support/memory_file_system.h"
#include "support/temporary_directory.h"

namespace quillbox {
namespace {

namespace fs = std::filesystem;
using testing::ElementsAre;

Environment environmentOf(std::map<std::string, std::string> variables) {
  return [variables = std::move(variables)](const char* name) -> std::optional<std::string> {
    const auto it = variables.find(name);
    if (it == variables.end() || it->second.empty()) return std::nullopt;
    return it->second;
  };
}

TEST(Resources, TheBuildTreeFindsWhatTheSourcesShip) {
  LinuxFileSystem files;
  const FileResourceBundle bundle(files, FileResourceBundle::rootsBeside(executablePath()));
  const auto script = bundle.locate("Scripts/getMailboxesAsListV2", "scpt");
  ASSERT_TRUE(script);
  EXPECT_TRUE(
      fs::equivalent(*script, fs::path(QUILLBOX_SOURCE_DIR) / "Scripts/getMailboxesAsListV2.applescript"));
  EXPECT_TRUE(bundle.locate("Localizable", "xcstrings"));
  for (const char* name : {"Scripts/none", "../CMakeLists", "/etc/passwd", "", "Scripts/../../x"})
    EXPECT_FALSE(bundle.locate(name, "txt")) << name;
  EXPECT_FALSE(bundle.locate("Scripts", "")) << "a folder is no resource";
}

TEST(Resources, EveryTextKeyInTheSourcesHasAnEnglishText) {
  LinuxFileSystem files;
  const auto json = files.read(fs::path(QUILLBOX_SOURCE_DIR) / "Resources/Localizable.xcstrings");
  ASSERT_TRUE(json) << json.error().message;
  const auto localizer = CatalogLocalizer::parse(*json, {});
  ASSERT_TRUE(localizer) << localizer.error().message;
  static const std::regex literal(R"re("(LN_[^"\\]*[^" \\])")re");
  std::set<std::string> keys;
  for (const auto& entry : fs::recursive_directory_iterator(fs::path(QUILLBOX_SOURCE_DIR) / "src")) {
    if (entry.path().extension() != ".cpp" && entry.path().extension() != ".mm") continue;
    std::stringstream text;
    text << std::ifstream(entry.path()).rdbuf();
    const std::string source = text.str();
    for (std::sregex_iterator it(source.begin(), source.end(), literal), end; it != end; ++it)
      keys.insert((*it)[1]);
  }
  EXPECT_GT(keys.size(), 10U);
  for (const auto& key : keys) EXPECT_NE(localizer->text(key), key) << "no text for this key";
}

TEST(CatalogLocalizer, TakesTheFirstLanguageThatHasTheTextThenTheSourceThenTheKey) {
  const std::string json = R"({"sourceLanguage":"en","version":"1.0","strings":{
    "LN_both %@":{"localizations":{"en":{"stringUnit":{"state":"translated","value":"Hello %@"}},
                                   "de":{"stringUnit":{"state":"translated","value":"Hallo %@"}}}},
    "LN_english":{"comment":"c","localizations":{"en":{"stringUnit":{"value":"Only English"}}}},
    "LN_odd":{"localizations":{"en":{"stringUnit":{"value":5}},"de":[]}},
    "LN_empty":{}}})";
  const auto german = CatalogLocalizer::parse(json, {"de-AT", "de"});
  ASSERT_TRUE(german);
  EXPECT_EQ(german->format("LN_both %@", {std::string("x")}), "Hallo x");
  EXPECT_EQ(german->text("LN_english"), "Only English");
  for (const char* key : {"LN_odd", "LN_empty", "LN_none"}) EXPECT_EQ(german->text(key), key);
  EXPECT_EQ(CatalogLocalizer::parse(json, {})->text("LN_both %@"), "Hello %@");
  for (const char* bad :
       {"", "[]", "{}", R"({"sourceLanguage":"en"})", R"({"sourceLanguage":"en","strings":[]})",
        R"({"sourceLanguage":1,"strings":{}})"}) {
    EXPECT_EQ(CatalogLocalizer::parse(bad, {}).error().number, error_number::damagedFile) << bad;
  }
}

TEST(Environment, LanguagesFollowTheUsersVariables) {
  const auto languages = [](std::map<std::string, std::string> variables) {
    return preferredLanguages(environmentOf(std::move(variables)));
  };
  EXPECT_THAT(languages({{"LANG", "pt_BR.UTF-8"}}), ElementsAre("pt-BR", "pt"));
  EXPECT_THAT(languages({{"LANG", "de_DE"}, {"LC_ALL", "fr_FR@euro"}}), ElementsAre("fr-FR", "fr"));
  EXPECT_THAT(languages({{"LANG", "de_DE"}, {"LANGUAGE", "sv:en_GB"}}), ElementsAre("sv", "en-GB", "en"));
  EXPECT_TRUE(languages({{"LANG", "C.UTF-8"}, {"LANGUAGE", "sv"}}).empty());
  EXPECT_TRUE(languages({}).empty());
}

TEST(Profile, LiesInItsOwnFolderOrWhereTheXdgVariablesSay) {
  const TemporaryDirectory directory;
  fs::create_directory(directory / "real");
  fs::create_directory_symlink("real", directory / "alias");
  const auto real = Profile::find(directory / "real", environmentOf({}));
  const auto alias = Profile::find(directory / "alias/", environmentOf({}));
  ASSERT_TRUE(real && alias);
  EXPECT_EQ(real->identity, alias->identity);
  EXPECT_EQ(real->settingsFile.filename(), "settings.json");
  EXPECT_TRUE(Profile::find(directory / "not yet", environmentOf({}))->identity.is_absolute());
  EXPECT_FALSE(Profile::find(Path(), environmentOf({})));

  const auto xdg = Profile::find(
      std::nullopt, environmentOf({{"HOME", "/h"}, {"XDG_CONFIG_HOME", "/c"}, {"XDG_DATA_HOME", "rel"}}));
  ASSERT_TRUE(xdg);
  EXPECT_EQ(xdg->settingsFile, Path("/c/quillbox/settings.json"));
  EXPECT_EQ(xdg->mail, Path("/h/.local/share/quillbox/mail"));
  EXPECT_EQ(xdg->applicationScripts, Path("/h/.local/share/quillbox/Application Scripts"));
  MemoryFileSystem files;
  EXPECT_TRUE(xdg->makeFolders(files));
  EXPECT_TRUE(xdg->makeFolders(files));
  EXPECT_EQ(files.info(xdg->data)->permissions, 0700U);
}

TEST(StderrLog, WritesOneWholeLinePerCallFromItsThresholdOn) {
  const TemporaryDirectory directory;
  testing::internal::CaptureStderr();
  StderrLog log(*logThreshold("info"));
  log.debug("no");
  log.info("two\nlines");
  log.error("bad");
  StderrLog(LogThreshold::silent).error("no");
  EXPECT_EQ(testing::internal::GetCapturedStderr(), "quillbox: two\\nlines\nquillbox: bad\n");
  EXPECT_FALSE(logThreshold("verbose"));
}

TEST(Clock, TellsTheTimeAndTheLocalOffset) {
  const SystemClock clock;
  EXPECT_GT(clock.now(), std::chrono::hours(24 * 365 * 50));
  const auto before = clock.steady();
  EXPECT_LE(before, clock.steady());
  ::setenv("TZ", "Asia/Kathmandu", 1);
  ::tzset();
  const auto offset = clock.localOffset(std::chrono::seconds(1'735'689'600));
  ::unsetenv("TZ");
  ::tzset();
  // Without the time-zone data on this machine the zone reads as UTC.
  EXPECT_TRUE(offset == std::chrono::seconds(20'700) || !fs::exists("/usr/share/zoneinfo/Asia/Kathmandu"));
  SystemRandomSource random;
  EXPECT_NE(random.bytes16(), random.bytes16());
}

}  // namespace
}  // namespace quillbox

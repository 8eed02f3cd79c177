// Installing the filing script: the panel, the copy, and every way in which a folder can refuse it.
#include <cerrno>
#include <functional>
#include <optional>
#include <string>
#include <vector>

#include <gtest/gtest.h>

#include "automation/filing_script_installer.h"
#include "support/faulty_file_system.h"
#include "support/memory_file_system.h"
#include "support/script_surroundings.h"

namespace quillbox {
namespace {

const Path kFolder = "/home/Application Scripts/com.brix.Quillbox4";
const Path kScript = kFolder / "Quillbox Filing.scpt";
const Path kSource = "/app/Scripts/Quillbox Filing.scpt";

class RecordingInterface final : public InstallerInterface {
 public:
  void chooseFolder(const Panel& panel, std::function<void(std::optional<Path>)> done) override {
    panels.push_back(panel);
    chosen = std::move(done);
  }
  void showAlert(const std::string& title, const std::string& text, const std::string& button) override {
    alerts.push_back(title + "|" + text + "|" + button);
  }

  std::vector<Panel> panels;
  std::function<void(std::optional<Path>)> chosen;
  std::vector<std::string> alerts;
};

class Installer : public testing::Test, protected ScriptSurroundings {
 protected:
  Installer() {
    installed_.folder = kFolder;
    disk_.putDirectory(kFolder);
    disk_.put(kSource, "new script");
    resources_.add("Scripts/Quillbox Filing.scpt", kSource);
  }
  std::vector<std::string> folder() { return disk_.tree(kFolder); }

  MemoryFileSystem disk_;
  FaultyFileSystem files_{disk_};
  FixedRandomSource random_;
  RecordingInterface interface_;
  FilingScriptInstaller installer_{{helper_, resources_, files_, random_, localizer_, log_, interface_}};
};

using Installed = FilingScriptInstaller::Installed;
const std::vector<std::string> kOnlyTheScript{kScript.string()};

TEST_F(Installer, ThePanelAsksForTheFolderAndTheAlertTellsOfSuccess) {
  std::optional<QuillboxResult<Installed>> result;
  installer_.chooseFolderAndInstall([&](auto ended) { result = ended; });
  ASSERT_EQ(interface_.panels.size(), 1U);
  EXPECT_EQ(interface_.panels[0].prompt, "Select Script Folder");
  EXPECT_EQ(interface_.panels[0].message,
            "Please select the User > Library > Application Scripts > com.brix.Quillbox4 folder");
  EXPECT_EQ(interface_.panels[0].directory, kFolder);
  EXPECT_FALSE(result) << "it does not block";

  for (const auto& elsewhere : {std::optional<Path>(), std::optional(kFolder.parent_path()),
                                std::optional(kFolder / "x"), std::optional<Path>("")}) {
    installer_.chooseFolderAndInstall([&](auto ended) { result = ended; });
    interface_.chosen(elsewhere);
    EXPECT_EQ(*result, Installed::no);
    EXPECT_EQ(files_.steps(), 0U);
    EXPECT_TRUE(interface_.alerts.empty());
  }

  disk_.put(kScript, "an old script, which is longer");
  installer_.chooseFolderAndInstall([&](auto ended) { result = ended; });
  interface_.chosen(kFolder);
  EXPECT_EQ(*result, Installed::yes);
  EXPECT_EQ(disk_.bytes(kScript), "new script");
  EXPECT_EQ(folder(), kOnlyTheScript);
  EXPECT_EQ(interface_.alerts,
            std::vector<std::string>{"LN_filing_script_installed|LN_filing_script_installed_message|LN_ok"});
}

TEST_F(Installer, WhatTheFolderRefusesIsReportedAndTheOldScriptStays) {
  const struct {
    const char* operation;
    int error;
    const char* reported;  // part of the error; nullptr: none, it is only logged
    const char* logged;
  } rows[] = {
      {"create", EACCES, "Permission denied", nullptr},
      {"write", ENOSPC, "No space left", nullptr},
      {"sync", EIO, "Input/output", nullptr},
      {"remove", EPERM, nullptr, "Error removing existing file: "},
  };
  for (const auto& row : rows) {
    SCOPED_TRACE(row.operation);
    disk_.put(kScript, "old script");
    files_.reset();
    files_.failWhen([&](const FaultyFileSystem::Step& step) -> std::optional<int> {
      const bool isDraft = step.path.extension() == ".tmp";
      if (step.operation != row.operation || (step.operation == "remove" && isDraft)) return std::nullopt;
      return row.error;
    });
    const auto result = installer_.install(kFolder);
    if (row.reported == nullptr) {
      EXPECT_EQ(result, Installed::no);
      EXPECT_TRUE(log_.contains(row.logged));
    } else {
      ASSERT_FALSE(result.has_value());
      const auto error = result.error().toError(localizer_);
      EXPECT_NE(error.message.find(row.reported), std::string::npos) << error.message;
    }
    EXPECT_EQ(disk_.bytes(kScript), "old script");
    EXPECT_EQ(folder(), kOnlyTheScript) << "no draft is left";
    EXPECT_TRUE(interface_.alerts.empty());
  }
  // There was nothing to remove, and that is not worth a line.
  files_.reset();
  ASSERT_TRUE(disk_.remove(kScript));
  const auto lines = log_.lines().size();
  EXPECT_EQ(installer_.install(kFolder), Installed::yes);
  EXPECT_EQ(log_.lines().size(), lines);
}

TEST_F(Installer, AStopAtAnyStepLeavesAWholeScriptOrNone) {
  for (std::uint64_t step = 1;; ++step) {
    disk_.put(kScript, "old script");
    files_.reset();
    files_.crashAtStep(step, FaultyFileSystem::Torn::half);
    (void)installer_.install(kFolder);
    const auto there = disk_.exists(kScript) ? disk_.bytes(kScript) : "none";
    EXPECT_TRUE(there == "old script" || there == "new script" || there == "none") << step << there;
    if (!files_.crashed()) break;
  }
}

TEST_F(Installer, AnApplicationWithoutTheScriptSaysSo) {
  disk_.put(kScript, "old script");
  ASSERT_TRUE(disk_.remove(kSource));
  EXPECT_FALSE(installer_.install(kFolder).has_value());
  const FakeResourceBundle none;
  FilingScriptInstaller bare({helper_, none, files_, random_, localizer_, log_, interface_});
  EXPECT_EQ(bare.install(kFolder).error().identifier(), "scriptNotFound-Quillbox Filing");
  EXPECT_EQ(disk_.bytes(kScript), "old script");
}

}  // namespace
}  // namespace quillbox

// A whole profile in the process of the test: real interpreter, real Maildir, recorded windows.
#pragma once

#include <functional>
#include <memory>
#include <optional>
#include <string>
#include <vector>

#include "main/composition.h"
#include "store.h"
#include "support/fakes.h"

namespace quillbox {

class RecordingFrontend final : public Frontend, public InstallerInterface, public SoundPlayer {
 public:
  void hideQuillbox(std::string_view reason) override { events.push_back("hide " + std::string(reason)); }
  void activate() override { events.emplace_back("activate"); }
  bool isActive() const override { return true; }
  InstallerInterface& installerInterface() override { return *this; }
  SoundPlayer& sounds() override { return *this; }
  void scriptLog(std::string_view) override {}
  void chooseFolder(const Panel& panel, std::function<void(std::optional<Path>)> chosen) override {
    panels.push_back(panel);
    chosen(choice);
  }
  void showAlert(const std::string& title, const std::string&, const std::string&) override {
    events.push_back("alert " + title);
  }
  void beep() override { events.emplace_back("beep"); }
  void play(const Path& file) override { events.push_back("play " + file.filename().string()); }

  std::vector<std::string> events;
  std::vector<Panel> panels;
  std::optional<Path> choice;
};

// Accounts "Work" (five messages, an archive) and "Web" (a web-mail account with four).
class InProcess : public testing::Test {
 protected:
  InProcess() {
    store_.fill("Work", 5);
    store_.folder("Work", ".Archive");
    store_.fill("Web", 4);
    store_.folder("Web", ".Label");
    store_.folder("Web", ".[Gmail].All Mail");
    auto made = Composition::make({Path(store_.profile()), log_, frontend_});
    if (!made) ADD_FAILURE() << made.error().message;
    all_ = std::move(*made);
    EXPECT_TRUE(all_->mail.addAccount({"Work", store_.mail() / "Work", "mail.example.org", {}}));
    EXPECT_TRUE(all_->mail.addAccount({"Web", store_.mail() / "Web", "imap.GMAIL.com", {}}));
    frontend_.events.clear();
  }

  // Waits for an operation that completes with one value.
  template <class T>
  T await(const std::function<void(std::function<void(T)>)>& start) {
    std::optional<T> answer;
    start([&](T value) { answer = std::move(value); });
    all_->dispatch.runMainUntil([&] { return answer.has_value(); });
    return std::move(*answer);
  }

  Store store_;
  RecordingLog log_;
  RecordingFrontend frontend_;
  std::unique_ptr<Composition> all_;
};

}  // namespace quillbox

// A program without windows that writes down what it would have shown and played.
#pragma once

#include <functional>
#include <optional>
#include <string>
#include <vector>

#include "main/composition.h"

namespace quillbox {

class RecordingFrontend final : public Frontend, public InstallerInterface, public SoundPlayer {
 public:
  void hideQuillbox(std::string_view reason) override { events.push_back("hide " + std::string(reason)); }
  void activate() override { events.emplace_back("activate"); }
  bool isActive() const override { return active; }
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

  bool active = true;
  std::vector<std::string> events;
  std::vector<Panel> panels;
  std::optional<Path> choice;
};

}  // namespace quillbox

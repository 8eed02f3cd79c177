// A mail store and a profile in a folder of their own, which goes when the test does.
#pragma once

#include <filesystem>
#include <fstream>
#include <map>
#include <set>
#include <sstream>
#include <string>
#include <vector>

#include <fmt/format.h>
#include <gtest/gtest.h>

#include "support/temporary_directory.h"

namespace quillbox {

class Store {
 public:
  Store() { std::filesystem::create_directory(profile()); }

  std::filesystem::path profile() const { return root / "profile"; }
  std::filesystem::path mail() const { return root / "mail"; }

  // A Maildir++ folder; the empty name is the inbox.
  std::filesystem::path folder(const std::string& account, const std::string& name = "") const {
    const auto path = mail() / account / name;
    for (const char* part : {"cur", "new", "tmp"}) std::filesystem::create_directories(path / part);
    return path;
  }
  // Messages 1 to `count`, unread; message 1 is the oldest.
  void fill(const std::string& account, int count) const {
    const auto inbox = folder(account);
    for (int i = 1; i <= count; ++i) {
      std::ofstream(inbox / "cur" / fmt::format("17000000{:02}.{}{}.host:2,", i, account, i)) << fmt::format(
          "From: Ann <ann@example.org>\nTo: me@example.org\nSubject: {0} {1}\n"
          "Message-ID: <{1}.{0}@example.org>\nDate: Mon, 02 Mar 2026 10:00:{1:02} +0000\n\nBody {1}\n",
          account, i);
    }
  }

  // The files of messages in a folder by name.
  std::set<std::string> messages(const std::string& account, const std::string& name = "") const {
    std::set<std::string> names;
    for (const char* part : {"cur", "new"}) {
      std::error_code ignored;
      for (const auto& entry : std::filesystem::directory_iterator(mail() / account / name / part, ignored)) {
        names.insert(entry.path().filename().string());
      }
    }
    return names;
  }

  // Every file of the mail store with its contents.
  std::map<std::string, std::string> snapshot() const {
    std::map<std::string, std::string> files;
    for (const auto& entry : std::filesystem::recursive_directory_iterator(mail())) {
      std::ostringstream bytes;
      if (entry.is_regular_file()) bytes << std::ifstream(entry.path(), std::ios::binary).rdbuf();
      files[entry.path().string()] = bytes.str();
    }
    return files;
  }

  const TemporaryDirectory directory{memoryOrTemporaryDirectory()};
  const std::filesystem::path root = directory.path();
};

}  // namespace quillbox

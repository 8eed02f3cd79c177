// A Maildir account in a temporary folder, with as many messages as a benchmark needs.
#pragma once

#include <filesystem>
#include <fstream>
#include <string>
#include <string_view>

#include <fmt/format.h>

#include "host/linux/file_system.h"
#include "mailclient/mail_client.h"
#include "support/fakes.h"
#include "support/manual_dispatch.h"
#include "support/temporary_directory.h"

namespace quillbox::mailclient {

class MailFolder {
 public:
  MailFolder() { makeFolder(mail()); }
  Path mail() const { return root / "mail"; }
  Path cache() const { return root / "profile" / "mail" / "cache"; }
  Environment environment() { return {files, clock, random, log, root / "profile" / "mail"}; }
  void addAccount() {
    MailClient client(environment());
    if (!client.addAccount({"A", mail(), "", AccountType::imap})) fatal("no account");
  }
  static void makeFolder(const Path& folder) {
    for (const auto* part : {"cur", "new", "tmp"}) std::filesystem::create_directories(folder / part);
  }
  // About a kilobyte; `headers` are whole lines.
  void deliver(std::uint32_t number, std::string_view headers = "") const {
    std::ofstream(mail() / "cur" / fmt::format("17{:08}.M{}P1.host,S=1000:2,", number, number))
        << fmt::format(
               "From: Person {0} <p{0}@example.org>\nSubject: Message number {0}\n"
               "Message-ID: <{0}@example.org>\n{1}Date: Sun, 1 Mar 2026 09:15:00 +0100\n\n{2}\n",
               number, headers, std::string(800, 'x'));
  }

 private:
  TemporaryDirectory directory_;

 public:
  const Path root = directory_.path();
  LinuxFileSystem files;
  ManualClock clock;
  FixedRandomSource random;
  RecordingLog log;
};

}  // namespace quillbox::mailclient

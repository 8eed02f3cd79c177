// A mail store in memory with a client on it that can be stopped and started again.
#pragma once

#include <map>
#include <memory>
#include <string>
#include <vector>

#include "applescript/objects.h"
#include "mailclient/mail_client.h"
#include "mailclient/mail_session.h"
#include "support/fakes.h"
#include "support/faulty_file_system.h"
#include "support/manual_dispatch.h"
#include "support/memory_file_system.h"

namespace quillbox::mailclient {

// Its files are in /profile/mail; accounts are made with addAccount(), beneath /mail.
class TestMail {
 public:
  TestMail();

  Environment environment() { return {files, clock, random, log, "/profile/mail"}; }
  // A new process on the same disk; the faults are forgotten.
  void restart();
  MailClient& client() { return *client_; }

  // A message with this subject, in a folder on disk. The base name and the content are made of the subject.
  void deliver(const Path& folder, const std::string& subject, const std::string& flags = "S",
               const std::string& subfolder = "cur");
  void makeFolder(const Path& folder);
  void addAccount(const std::string& name, const Path& path, const std::string& server = "");

  // Where every message is and how it is marked: subject -> "folder|flags|keywords", sorted; several of one
  // subject get several entries. Folders are counted from /mail.
  std::multimap<std::string, std::string> everything() const;
  // Files that are no messages and no control files of a folder.
  std::vector<std::string> strayFiles() const;

  MemoryFileSystem disk;
  FaultyFileSystem files{disk};
  ManualClock clock;
  FixedRandomSource random;
  RecordingLog log;

 private:
  std::unique_ptr<Environment> environment_;
  std::unique_ptr<MailClient> client_;
};

// What the filing script does to the selection, one event after the other.
struct Filing {
  std::string account;  // a name; "On My Mac"
  std::string mailbox;
  bool move = true;
  bool markRead = true;
  std::string flagIndex = "";  // empty: not set
  std::string color = "";      // a colour's code, "ccye"; empty: not set
};
Result<std::size_t> fileSelection(MailClient& client, const Filing& filing);

// The dictionary that ships.
std::shared_ptr<const applescript::Terminology> mailTerms();

}  // namespace quillbox::mailclient

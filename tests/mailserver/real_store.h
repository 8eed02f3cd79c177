// A mail store in a temporary folder of the real disk.
#pragma once

#include <map>
#include <memory>
#include <set>
#include <string>
#include <vector>

#include "host/linux/file_system.h"
#include "mailclient/mail_client.h"
#include "mailclient/transaction.h"
#include "support/fakes.h"
#include "support/manual_dispatch.h"

namespace quillbox::mailclient {

class RealStore {
 public:
  RealStore();
  ~RealStore();

  const Path& root() const { return root_; }
  Environment environment() { return {files, clock, random, log, root_ / "profile" / "mail"}; }
  std::unique_ptr<MailClient> client();
  void makeFolder(const Path& folder);
  // A message of this subject, 2 KB long unless said otherwise.
  void deliver(const Path& folder, const std::string& subject, const std::string& flags = "S");
  // subject -> the folders (counted from root()) in which a whole message of it lies.
  std::map<std::string, std::multiset<std::string>> messages(const Path& top);
  // Files that no finished change leaves behind, in the store at `top` and in the profile.
  std::vector<std::string> strayFiles(const Path& top) const;

  LinuxFileSystem files;
  ManualClock clock;
  FixedRandomSource random;
  RecordingLog log;

 protected:
  std::unique_ptr<Environment> environment_;

 private:
  Path root_;
};

// Files messages as a script run does: marks and move as one transaction. Gives how many were filed.
Result<std::size_t> fileAll(const Environment& environment, const MailboxKey& from, const MailboxKey& to,
                            const MarkChange& change);

// Runs a program; gives its exit status, and its output (both streams) in `output`.
int runProgram(const std::string& command, std::string* output = nullptr);

}  // namespace quillbox::mailclient

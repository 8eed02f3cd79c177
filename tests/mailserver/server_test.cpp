// The same store under other programs: a real Dovecot that serves it, a real mbsync that carries it.
#include <algorithm>
#include <array>
#include <filesystem>
#include <fstream>
#include <iostream>
#include <optional>
#include <set>
#include <string>

#include <fmt/format.h>
#include <grp.h>
#include <gtest/gtest.h>
#include <netinet/in.h>
#include <pwd.h>
#include <signal.h>
#include <sys/inotify.h>
#include <sys/socket.h>
#include <sys/wait.h>
#include <unistd.h>

#include "imap_client.h"
#include "real_store.h"

namespace quillbox::mailclient {
namespace {

namespace fs = std::filesystem;

int freePort() {
  const int probe = socket(AF_INET, SOCK_STREAM, 0);
  sockaddr_in address{};
  address.sin_family = AF_INET;
  address.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
  socklen_t length = sizeof address;
  int port = 0;
  if (bind(probe, reinterpret_cast<sockaddr*>(&address), sizeof address) == 0 &&
      getsockname(probe, reinterpret_cast<sockaddr*>(&address), &length) == 0) {
    port = ntohs(address.sin_port);
  }
  close(probe);
  return port;
}

std::string dovecotProgram() {
  for (const auto* path : {"/usr/sbin/dovecot", "/usr/local/sbin/dovecot"}) {
    if (fs::exists(path)) return path;
  }
  return "";
}

// Serves one Maildir to the user "user" with any password, for as long as it lives.
class Dovecot {
 public:
  Dovecot(const Path& folder, const Path& mail) : port_(freePort()) {
    fs::create_directories(folder / "run");
    const auto* user = getpwuid(getuid());
    const auto* group = getgrgid(getgid());
    const std::string userName = user != nullptr ? user->pw_name : "nobody";
    const std::string groupName = group != nullptr ? group->gr_name : "nogroup";
    std::ofstream config(folder / "dovecot.conf");
    config << fmt::format(R"(base_dir = {0}/run
state_dir = {0}/run
log_path = {0}/log
protocols = imap
listen = 127.0.0.1
ssl = no
disable_plaintext_auth = no
first_valid_uid = 1
first_valid_gid = 1
mail_location = maildir:{1}
passdb {{
  driver = static
  args = nopassword=y
}}
userdb {{
  driver = static
  args = uid={2} gid={3} home={0}
}}
service imap-login {{
  chroot =
  inet_listener imap {{
    port = {4}
  }}
  inet_listener imaps {{
    port = 0
  }}
}}
service anvil {{
  chroot =
}}
service stats {{
  chroot =
}}
)",
                          folder.string(), mail.string(), getuid(), getgid(), port_);
    config << fmt::format(
        "default_login_user = {0}\ndefault_internal_user = {0}\ndefault_internal_group = {1}\n", userName,
        groupName);
    config.close();
    child_ = fork();
    if (child_ == 0) {
      const auto file = (folder / "dovecot.conf").string();
      const auto program = dovecotProgram();
      execl(program.c_str(), program.c_str(), "-F", "-c", file.c_str(), nullptr);
      _exit(127);
    }
    log_ = folder / "log";
    for (int attempt = 0; attempt < 200; ++attempt) {
      if (ImapClient probe(port_); probe.isConnected()) {
        running_ = true;
        return;
      }
      usleep(50'000);
    }
  }
  ~Dovecot() {
    kill(child_, SIGTERM);
    waitpid(child_, nullptr, 0);
  }
  bool isRunning() const { return running_; }
  int port() const { return port_; }
  std::string log() const {
    std::ifstream file(log_);
    return {std::istreambuf_iterator<char>(file), {}};
  }

 private:
  int port_ = 0;
  pid_t child_ = -1;
  bool running_ = false;
  Path log_;
};

class ServerTest : public testing::Test, public RealStore {
 protected:
  void SetUp() override {
    mail_ = root() / "mail";
    makeFolder(mail_);
    if (!client()->addAccount({"A", mail_, "", AccountType::imap})) FAIL();
    account_ = client()->accounts()->front().id;
  }
  Result<std::size_t> file(const std::string& from, const std::string& to, const MarkChange& change) {
    return fileAll(environment(), {account_, from}, {account_, to}, change);
  }

  Path mail_;
  std::string account_;
};

TEST_F(ServerTest, AnImapClientSeesWhatWasFiled) {
  ASSERT_FALSE(dovecotProgram().empty()) << "dovecot-imapd is not installed";
  for (int i = 0; i < 5; ++i) deliver(mail_, "m" + std::to_string(i), i % 2 == 0 ? "" : "R");
  Dovecot server(root() / "dovecot", mail_);
  ASSERT_TRUE(server.isRunning()) << server.log();
  ImapClient imap(server.port());
  const auto before = imap.fetch("INBOX");
  ASSERT_EQ(before.size(), 5U) << server.log();
  ASSERT_FALSE(imap.command("UID STORE 1:* +FLAGS (Theirs)").empty());
  ASSERT_FALSE(imap.command("SUBSCRIBE INBOX").empty());

  // A new mailbox is there and subscribed, and the filed messages are in it with all their marks.
  ASSERT_TRUE(client()->makeMailbox("A", "Büro/2026"));
  const auto listed = imap.command("LSUB \"\" \"*\"");
  EXPECT_NE(listed.find("B&APw-ro.2026"), std::string::npos) << listed;
  auto change = MarkChange::flag(flag::seen, true);
  change.then(MarkChange::flagIndex(6));
  change.then(MarkChange::label(LabelColor::yellow));
  ASSERT_EQ(*file("INBOX", "Büro/2026", change), 5U);
  const auto filed = imap.fetch("B&APw-ro.2026");
  ASSERT_EQ(filed.size(), 5U) << server.log();
  EXPECT_TRUE(imap.fetch("INBOX").empty());
  for (const auto& [subject, message] : filed) {
    const bool answered = before.at(subject).flags.find("Answered") != std::string::npos;
    EXPECT_EQ(message.flags, "$MailFlagBit1 $MailFlagBit2 $QuillboxLabelYellow Theirs" +
                                 std::string(answered ? " \\Answered" : "") + " \\Flagged \\Seen");
    EXPECT_EQ(message.internalDate, before.at(subject).internalDate);
  }

  // Marks that the other side changes since survive the undo; a UID never names another message.
  ASSERT_FALSE(imap.command("SELECT B&APw-ro.2026").empty());
  ASSERT_FALSE(imap.command("UID STORE " + filed.at("m3").uid + " +FLAGS (\\Draft Fresh)").empty());
  ASSERT_FALSE(imap.command("CLOSE").empty());
  const auto undone = client()->undo();
  ASSERT_TRUE(undone) << undone.error().message;
  EXPECT_EQ(undone->count, 5U);
  const auto back = imap.fetch("INBOX");
  ASSERT_EQ(back.size(), 5U);
  for (const auto& [subject, message] : back) {
    EXPECT_EQ(message.internalDate, before.at(subject).internalDate);
    for (const auto& [other, old] : before) {
      if (other != subject) {
        EXPECT_NE(message.uid, old.uid) << subject << " has the UID that " << other << " had";
      }
    }
  }
  EXPECT_EQ(back.at("m0").flags, "Theirs");
  EXPECT_EQ(back.at("m3").flags, "Fresh Theirs \\Answered \\Draft");
  EXPECT_EQ(server.log().find("Error"), std::string::npos) << server.log();
}

TEST_F(ServerTest, ChangesOfAnImapClientAreNeitherLostNorUndoneByAFiling) {
  ASSERT_FALSE(dovecotProgram().empty()) << "dovecot-imapd is not installed";
  constexpr int count = 1000;
  for (int i = 0; i < count; ++i) deliver(mail_, "m" + std::to_string(i), "");
  makeFolder(mail_ / ".Done");
  Dovecot server(root() / "dovecot", mail_);
  ASSERT_TRUE(server.isRunning()) << server.log();
  ASSERT_EQ(ImapClient(server.port()).fetch("INBOX").size(), static_cast<std::size_t>(count));

  // Every name that a message gets in the inbox, so that what the server really did is known: it answers a
  // command before it renames the file, and answers for messages too that are no longer there when it comes
  // to that.
  const int renames = inotify_init1(IN_CLOEXEC | IN_NONBLOCK);
  ASSERT_GE(inotify_add_watch(renames, (mail_ / "cur").c_str(), IN_MOVED_TO), 0);

  // Another process answers messages through the server, from the last to the first, and delivers new ones,
  // while this one files them.
  int begun[2];
  ASSERT_EQ(pipe(begun), 0);
  const pid_t other = fork();
  ASSERT_GE(other, 0);
  if (other == 0) {
    ImapClient imap(server.port());
    if (imap.command("SELECT INBOX").empty()) _exit(1);
    for (int uid = count; uid > 0; --uid) {
      imap.command(fmt::format("UID STORE {} +FLAGS (\\Answered)", uid));
      if (uid % 100 == 0 && !imap.append("INBOX", "new" + std::to_string(uid))) _exit(1);
      if (uid == count && write(begun[1], "b", 1) != 1) _exit(1);
    }
    _exit(0);
  }
  char byte = 0;
  ASSERT_EQ(read(begun[0], &byte, 1), 1);
  const auto filed = file("INBOX", "Done", MarkChange::flagIndex(2));
  int status = 0;
  waitpid(other, &status, 0);
  EXPECT_EQ(status, 0);
  ASSERT_TRUE(filed) << filed.error().message;

  std::set<std::string> answered;
  alignas(inotify_event) std::array<char, 1 << 16> events{};
  for (ssize_t got = 0; (got = read(renames, events.data(), events.size())) > 0;) {
    for (ssize_t at = 0; at < got;) {
      const auto* event = reinterpret_cast<const inotify_event*>(events.data() + at);
      const std::string name = event->name;
      const auto info = name.find(":2,");
      if (info != std::string::npos && name.find('R', info) != std::string::npos) {
        answered.insert(name.substr(name.rfind('.', info) + 1, info - name.rfind('.', info) - 1));
      }
      at += static_cast<ssize_t>(sizeof *event) + event->len;
    }
  }
  close(renames);

  ImapClient imap(server.port());
  const auto done = imap.fetch("Done");
  const auto inbox = imap.fetch("INBOX");
  for (int i = 0; i < count; ++i) {
    const auto subject = "m" + std::to_string(i);
    const auto message = done.find(subject);
    ASSERT_NE(message, done.end()) << subject;
    const auto& flags = message->second.flags;
    EXPECT_NE(flags.find("$MailFlagBit1"), std::string::npos) << subject << ": " << flags;
    EXPECT_EQ(flags.find("\\Answered") != std::string::npos, answered.contains(subject))
        << subject << ": " << flags;
  }
  EXPECT_FALSE(answered.empty());
  const auto all = messages(mail_);
  EXPECT_EQ(all.size(), static_cast<std::size_t>(count + count / 100));
  EXPECT_EQ(done.size() + inbox.size(), all.size());
  for (const auto& [subject, places] : all) EXPECT_EQ(places.size(), 1U) << subject;
  EXPECT_TRUE(strayFiles(mail_).empty());
  std::cout << answered.size() << " messages were answered meanwhile\n";
}

TEST_F(ServerTest, MbsyncCarriesAFilingWithoutDoublesOrLosses) {
  std::string output;
  ASSERT_EQ(runProgram("HOME=" + root().string() + " mbsync --version", &output), 0)
      << "isync is not installed";
  const auto near = root() / "near";
  const auto far = root() / "far";
  for (const auto& side : {near, far}) {
    makeFolder(side / "INBOX");
    makeFolder(side / "Done");
  }
  for (int i = 0; i < 6; ++i) deliver(far / "INBOX", "m" + std::to_string(i), "");
  std::ofstream(root() / "mbsyncrc") << fmt::format(
      "MaildirStore far\nPath {1}/\nInbox {1}/INBOX\nSubFolders Verbatim\n\n"
      "MaildirStore near\nPath {0}/\nInbox {0}/INBOX\nSubFolders Verbatim\n\n"
      "Channel all\nFar :far:\nNear :near:\nPatterns *\nCreate Both\nExpunge Both\nSync All\nSyncState "
      "{2}/state-\n",
      near.string(), far.string(), root().string());
  const auto sync = [&] {
    return runProgram("HOME=" + root().string() + " mbsync -c " + (root() / "mbsyncrc").string() + " -a",
                      &output);
  };
  ASSERT_EQ(sync(), 0) << output;
  ASSERT_TRUE(client()->addAccount({"Near", near, "", AccountType::imap}));
  const auto id = (*client()->accounts())[1].id;
  const auto check = [&](const std::string& folder) {
    for (const auto& side : {near, far}) {
      const auto all = messages(side);
      EXPECT_EQ(all.size(), 6U) << side;
      for (const auto& [subject, places] : all) {
        EXPECT_EQ(places, std::multiset<std::string>{"/" + side.filename().string() + "/" + folder})
            << subject;
      }
      std::set<std::string> uids;
      for (const auto& entry : fs::directory_iterator(side / folder / "cur")) {
        const auto name = entry.path().filename().string();
        const auto field = name.find(",U=");
        ASSERT_NE(field, std::string::npos) << name;
        EXPECT_TRUE(uids.insert(name.substr(field, name.find_first_of(",:", field + 1) - field)).second)
            << name;
      }
    }
  };
  check("INBOX");
  ASSERT_EQ(*fileAll(environment(), {id, "INBOX"}, {id, "Done"}, MarkChange::flag(flag::seen, true)), 6U);
  ASSERT_EQ(sync(), 0) << output;
  check("Done");
  ASSERT_EQ(client()->undo()->count, 6U);
  ASSERT_EQ(sync(), 0) << output;
  ASSERT_EQ(sync(), 0) << output;
  check("INBOX");
}

}  // namespace
}  // namespace quillbox::mailclient

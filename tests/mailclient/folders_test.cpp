// Mailboxes on disk in both layouts, and the list of accounts.
#include "mailclient/folders.h"

#include <algorithm>
#include <cerrno>
#include <string>
#include <vector>

#include <gtest/gtest.h>

#include "base/error_numbers.h"
#include "tests_support.h"

namespace quillbox::mailclient {
namespace {

std::vector<std::string> pathsOf(MemoryFileSystem& disk, const Path& root, Layout layout) {
  std::vector<std::string> paths;
  const auto list = listFolders(disk, root, layout);
  if (!list) return {list.error().message};
  for (const auto& folder : list->folders) {
    paths.push_back(folder.path);
    const auto found = findFolder(disk, root, layout, folder.path);
    EXPECT_TRUE(found && found->directory == folder.directory) << folder.path << " is not found again";
  }
  return paths;
}

TEST(Folders, MaildirPlusPlusShowsEveryName) {
  TestMail mail;
  mail.makeFolder("/m");
  for (const auto* name : {".Work", ".Work.2024", ".Entw&APw-rfe", ".R&-D", ".a \"b\" \\c", ".raw&",
                           ".caf\xe9", ".INBOX", ".INBOX.Sub", ".&2D3eAA-", ".Only.Child", ".sl&AC8-ash"}) {
    mail.makeFolder(Path("/m") / name);
  }
  mail.disk.putDirectory("/m/.notmuch/xapian");
  mail.disk.put("/m/.hidden", "a file");
  EXPECT_EQ(detectLayout(mail.disk, "/m"), Layout::maildirPlusPlus);
  EXPECT_EQ(pathsOf(mail.disk, "/m", Layout::maildirPlusPlus),
            (std::vector<std::string>{"INBOX", ".INBOX", "Entwürfe", "INBOX/Sub", "Only/Child", "R&D", "Work",
                                      "Work/2024", "a \"b\" \\c", "caf�E9", "raw�26", "sl�26AC8-ash", "😀"}));
  EXPECT_EQ(findFolder(mail.disk, "/m", Layout::maildirPlusPlus, "inbox")->path, "INBOX");
  EXPECT_EQ(findFolder(mail.disk, "/m", Layout::maildirPlusPlus, "inbox/Sub")->path, "INBOX/Sub");
  for (const auto* path :
       {"", "work", "Work/2024//", "/Work", "Work//2024", "..", "Only", "Work.2024", "a\nb"}) {
    EXPECT_FALSE(findFolder(mail.disk, "/m", Layout::maildirPlusPlus, path)) << path;
  }
}

TEST(Folders, NestedShowsEveryName) {
  TestMail mail;
  for (const auto* name : {"INBOX", "Work", "Work/2024/May", "caf\xe9", "a.b", ".Trash", "q\"\\😀"}) {
    mail.makeFolder(Path("/m") / name);
  }
  mail.disk.putDirectory("/m/empty/inside");
  mail.disk.putDirectory("/m/.git/objects");
  mail.disk.putLink("/m/loop", "/m/Work");
  mail.disk.putLink("/m/Work/again", "/m");
  EXPECT_EQ(detectLayout(mail.disk, "/m"), Layout::nested);
  const auto paths = pathsOf(mail.disk, "/m", Layout::nested);
  for (const auto* path : {"INBOX", "Work", "Work/2024/May", "caf�E9", "a.b", ".Trash", "q\"\\😀", "loop"}) {
    EXPECT_EQ(std::ranges::count(paths, path), 1) << path;
  }
  EXPECT_LT(paths.size(), 40U) << "links that lead in circles are followed once";
  for (const auto* path : {"", "Work/cur", "Work/2024", "../m/Work", ".", "empty", "Work/../INBOX"}) {
    EXPECT_FALSE(findFolder(mail.disk, "/m", Layout::nested, path)) << path;
  }
  mail.makeFolder("/r");
  mail.makeFolder("/r/Sub");
  EXPECT_EQ(detectLayout(mail.disk, "/r"), Layout::nested);
  EXPECT_EQ(pathsOf(mail.disk, "/r", Layout::nested), (std::vector<std::string>{"INBOX", "Sub"}));
  mail.makeFolder("/r/INBOX");
  EXPECT_EQ(pathsOf(mail.disk, "/r", Layout::nested), (std::vector<std::string>{"INBOX", ".", "Sub"}))
      << "a root beside a folder INBOX is not hidden";
}

TEST(Folders, WhatIsNoMaildirIsSaid) {
  TestMail mail;
  mail.disk.putDirectory("/empty");
  mail.disk.put("/file", "x");
  mail.disk.putDirectory("/locked", 0000);
  for (const auto& [path, part] :
       std::vector<std::pair<std::string, std::string>>{{"/missing", "does not exist"},
                                                        {"/file", "not a folder"},
                                                        {"/empty", "not a Maildir"},
                                                        {"/locked", "can’t be read"}}) {
    const auto detected = detectLayout(mail.disk, path);
    ASSERT_FALSE(detected) << path;
    EXPECT_EQ(detected.error().number, error_number::maildirUnusable);
    EXPECT_NE(detected.error().message.find(part), std::string::npos) << detected.error().message;
    EXPECT_NE(detected.error().message.find(path), std::string::npos) << detected.error().message;
  }
}

TEST(Folders, NamesOfNewMailboxesAreChecked) {
  struct Case {
    std::string path;
    bool dotted;
    bool nested;
  };
  const std::vector<Case> cases = {{"Work", true, true},
                                   {"Wörk/😀 \"x\" \\y", true, true},
                                   {"a.b", false, true},
                                   {"", false, false},
                                   {"a//b", false, false},
                                   {"/a", false, false},
                                   {"a/", false, false},
                                   {"a\nb", false, false},
                                   {"a\x7f", false, false},
                                   {"bad\xff", false, false},
                                   {"cur", true, false},
                                   {"a/tmp/b", true, false},
                                   {".a", false, false},
                                   {"..", false, false},
                                   {std::string(300, 'x'), false, false},
                                   {"caf�E9", false, false},
                                   {std::string("a\0b", 3), false, false}};
  for (const auto& c : cases) {
    const auto dotted = checkNewPath(Layout::maildirPlusPlus, c.path);
    const auto nested = checkNewPath(Layout::nested, c.path);
    EXPECT_EQ(dotted.has_value(), c.dotted) << c.path;
    EXPECT_EQ(nested.has_value(), c.nested) << c.path;
    if (!dotted) {
      EXPECT_EQ(dotted.error().number, error_number::invalidName);
      EXPECT_EQ(dotted.error().message.find('\n'), std::string::npos) << "one line";
    }
  }
}

TEST(Accounts, AreAddedListedAndForgotten) {
  TestMail mail;
  mail.makeFolder("/mail/office");
  mail.makeFolder("/mail/nest/INBOX");
  mail.addAccount("Office", "/mail/office/", "imap.example.org");
  mail.addAccount("Ähm \"2\"", "/mail/nest/../nest");
  const auto before = mail.disk.tree("/mail");

  struct Bad {
    AddAccount account;
    std::int64_t number;
  };
  const std::vector<Bad> bad = {
      {{"Office", "/mail/office", "", AccountType::imap}, error_number::accountExists},
      {{"", "/mail/office", "", AccountType::imap}, error_number::invalidName},
      {{"a/b", "/mail/office", "", AccountType::imap}, error_number::invalidName},
      {{"a\nb", "/mail/office", "", AccountType::imap}, error_number::invalidName},
      {{"\xff", "/mail/office", "", AccountType::imap}, error_number::invalidName},
      {{"x", "/nowhere", "", AccountType::imap}, error_number::maildirUnusable},
      {{"x", "relative", "", AccountType::imap}, error_number::maildirUnusable}};
  for (const auto& [account, number] : bad) {
    const auto added = mail.client().addAccount(account);
    ASSERT_FALSE(added) << account.name;
    EXPECT_EQ(added.error().number, number) << added.error().message;
  }
  // Another process adds one meanwhile: neither is lost.
  const auto otherEnvironment = mail.environment();
  MailClient other(otherEnvironment);
  ASSERT_TRUE(other.addAccount({"Third", "/mail/office", "", AccountType::pop}));
  ASSERT_TRUE(mail.client().addAccount({"Fourth", "/mail/office", "", AccountType::iCloud}));

  mail.restart();
  auto accounts = *mail.client().accounts();
  ASSERT_EQ(accounts.size(), 4U);
  EXPECT_EQ(accounts[0].path, "/mail/office");
  EXPECT_EQ(accounts[0].server, "imap.example.org");
  EXPECT_EQ(accounts[1].name, "Ähm \"2\"");
  EXPECT_EQ(accounts[1].layout, Layout::nested);
  EXPECT_EQ(accounts[1].path, "/mail/nest");
  EXPECT_EQ(accounts[2].type, AccountType::pop);
  EXPECT_EQ(accounts[0].id.size(), 36U);
  EXPECT_EQ(mail.disk.info("/profile/mail/accounts.json", FollowLinks::yes)->permissions, 0600U);

  EXPECT_TRUE(mail.client().removeAccount("Third"));
  EXPECT_EQ(mail.client().removeAccount("Third").error().number, error_number::accountNotFound);
  EXPECT_EQ(mail.disk.tree("/mail"), before) << "no mail is touched";

  // The local mailboxes: a folder of the profile, or elsewhere.
  EXPECT_TRUE(mail.client().mailboxes(localAccountName)->empty());
  ASSERT_TRUE(mail.client().makeMailbox(localAccountName, "Receipts/2024"));
  EXPECT_EQ(*mail.client().mailboxes(localAccountName),
            (std::vector<std::string>{"Receipts", "Receipts/2024"}));
  mail.addAccount("On My Mac", "/mail/nest");
  EXPECT_EQ(*mail.client().mailboxes(localAccountName), std::vector<std::string>{"INBOX"});
  EXPECT_EQ(mail.client().accounts()->size(), 3U);
}

TEST(Mailboxes, AreMadeInBothLayouts) {
  TestMail mail;
  mail.makeFolder("/mail/plus");
  mail.disk.put("/mail/plus/subscriptions", "Old\n");
  mail.makeFolder("/mail/v2");
  mail.disk.put("/mail/v2/subscriptions", "V\t2\n\nOld\n");
  mail.makeFolder("/mail/nest/INBOX");
  mail.addAccount("Plus", "/mail/plus");
  mail.addAccount("V2", "/mail/v2");
  mail.addAccount("Nest", "/mail/nest");
  for (const auto* account : {"Plus", "V2", "Nest"}) {
    ASSERT_TRUE(mail.client().makeMailbox(account, "Büro/\"A\" \\B")) << account;
    const auto paths = *mail.client().mailboxes(account);
    EXPECT_EQ(paths, (std::vector<std::string>{"INBOX", "Büro", "Büro/\"A\" \\B"})) << account;
    const auto again = mail.client().makeMailbox(account, "Büro");
    ASSERT_FALSE(again);
    EXPECT_EQ(again.error().number, error_number::mailboxExists);
  }
  EXPECT_EQ(mail.disk.bytes("/mail/plus/subscriptions"), "Old\nB&APw-ro\nB&APw-ro.\"A\" \\B\n");
  EXPECT_EQ(mail.disk.bytes("/mail/v2/subscriptions"), "V\t2\n\nOld\nB&APw-ro\nB&APw-ro\t\"A\" \\B\n");
  EXPECT_TRUE(mail.disk.exists("/mail/plus/.B&APw-ro.\"A\" \\B/cur"));
  const auto bad = mail.client().makeMailbox("Plus", "a.b");
  ASSERT_FALSE(bad);
  EXPECT_EQ(bad.error().number, error_number::invalidName);
  EXPECT_TRUE(mail.strayFiles().empty());
}

}  // namespace
}  // namespace quillbox::mailclient

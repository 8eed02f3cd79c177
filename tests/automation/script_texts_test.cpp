// The texts, character by character, against files that hold what the mail client is to be sent.
#include "automation/script_texts.h"

#include <fstream>
#include <optional>
#include <sstream>
#include <string>

#include <gtest/gtest.h>

namespace quillbox {
namespace {

using namespace script_texts;

std::string fixture(const std::string& name) {
  std::ifstream in(std::string(QUILLBOX_SOURCE_DIR) + "/tests/automation/fixtures/" + name + ".applescript",
                   std::ios::binary);
  std::ostringstream text;
  text << in.rdbuf();
  std::string bytes = text.str();
  EXPECT_TRUE(bytes.ends_with('\n')) << name;
  if (!bytes.empty()) bytes.pop_back();  // the file's own line end
  return bytes;
}

TEST(ScriptTexts, AreExactlyTheFixtures) {
  TransferOptions yellow{.label = MessageLabelAppEnum::yellow,
                         .flag = MessageFlagAppEnum::gray,
                         .markAsRead = true,
                         .mode = TransferMode::move,
                         .playSound = true,
                         .reactivate = true,
                         .scriptRequiredMessage = "Script needed"};
  TransferOptions plain{
      .markAsRead = false, .mode = TransferMode::copy, .scriptRequiredMessage = "Script needed"};
  TransferOptions removing{.label = MessageLabelAppEnum::remove,
                           .flag = MessageFlagAppEnum::remove,
                           .scriptRequiredMessage = "Script needed"};
  TransferOptions odd{
      .flag = MessageFlagAppEnum::red, .markAsRead = false, .scriptRequiredMessage = "Script needed"};
  const struct {
    const char* name;
    std::optional<std::string> text;
  } rows[] = {
      {"accounts", accounts()},
      {"account_names", accountNames()},
      {"any_gmail_accounts", anyGmailAccounts()},
      {"mailbox_count", mailboxCount()},
      {"front_window_bounds", frontWindowBounds()},
      {"automation_test", automationTest()},
      {"selected_messages", selectedMessages(Include::no, Include::no)},
      {"selected_messages_both", selectedMessages(Include::yes, Include::yes)},
      {"selected_messages_body", selectedMessages(Include::yes, Include::no)},
      {"selected_messages_source", selectedMessages(Include::no, Include::yes)},
      {"transfer_yellow_gray_move", transferSelectedMessages("Projects/He said \"hi\\ho\"", "Work", yellow)},
      {"transfer_plain_copy_local", transferSelectedMessages("Receipts", "On My Mac", plain)},
      {"transfer_remove_remove", transferSelectedMessages("A/B", "a\\\"b", removing)},
      {"transfer_odd_names", transferSelectedMessages("¬ a\nb\t$PATH$/🗂 é", "\\", odd)},
      {"show_frontmost", showMailbox("Say \"x\"/a\\b", "Work", Activation::mail, Viewer::frontmost)},
      {"show_new_viewer", showMailbox("Say \"x\"/a\\b", "Wo\"rk", Activation::quillbox, Viewer::newViewer)},
      {"show_frontmost_local", showMailbox("Receipts", "On My Mac", Activation::quillbox, Viewer::frontmost)},
      {"show_new_viewer_local",
       showMailbox("Receipts/¬\n\\\"", "On My Mac", Activation::mail, Viewer::newViewer)},
      {"create_nested_local", createMailbox("2024", "Receipts/\"a\"\\", "On My Mac", "there")},
      {"create_top_level", createMailbox("a\n\"b\"", "", "W\\\"", "\\")},
      {"create_nested", createMailbox("q\"b\\c", "Projects", "Work", "“q\"b\\c” is there")},
      {"create_top_level_local", createMailbox("Receipts", "", "On My Mac", "there")},
      {"flag_gray_reactivated", flagSelection(6, Reactivate::yes)},
      {"flag_cleared", flagSelection(-1, Reactivate::no)},
      {"label_removed", labelSelection(MessageLabelAppEnum::remove, Reactivate::no)},
      {"label_yellow_reactivated", labelSelection(MessageLabelAppEnum::yellow, Reactivate::yes)},
  };
  for (const auto& row : rows) {
    ASSERT_TRUE(row.text.has_value()) << row.name;
    EXPECT_EQ(*row.text, fixture(row.name)) << row.name;
  }
}

TEST(ScriptTexts, FlagsAndLabelsThatMeanNothingRunNothing) {
  for (const std::int64_t flag : {-2, -3, 7, 1000}) EXPECT_FALSE(flagSelection(flag, Reactivate::no)) << flag;
  EXPECT_FALSE(labelSelection(MessageLabelAppEnum::none, Reactivate::yes));
}

// A name cannot open an insertion of its own: "$PATH$" stays what it is.
TEST(ScriptTexts, InsertedNamesAreNotReadAsPlaces) {
  const auto text = transferSelectedMessages("$ACCOUNT$", "$PATH$", {});
  EXPECT_NE(text.find("mailbox \"$ACCOUNT$\" of account \"$PATH$\""), std::string::npos);
}

}  // namespace
}  // namespace quillbox

// What the actions on the mail client send, by which settings, and when they send nothing.
#include "automation/mail_actions.h"

#include <functional>
#include <optional>
#include <string>
#include <vector>

#include <gtest/gtest.h>

#include "support/script_surroundings.h"

namespace quillbox {
namespace {

using script_texts::Activation;
using script_texts::Reactivate;
using script_texts::Viewer;

class MailActionsTest : public testing::Test, protected ScriptSurroundings {
 protected:
  // Runs an action to its end and gives "ok" or its error.
  template <class T>
  std::string outcome(const std::function<void(MailActions::Completion<T>)>& start) {
    std::string said;
    start([&](const QuillboxResult<T>& result) {
      EXPECT_TRUE(dispatch_.isMain());
      said += result ? "ok" : result.error().identifier();
    });
    EXPECT_EQ(said, "") << "a completion inside the call";
    dispatch_.runUntilIdle();
    return said;
  }
  std::string show(const Mailbox& mailbox, Viewer viewer = Viewer::frontmost) {
    return outcome<void>([&](auto done) { actions_.showMailbox(mailbox, viewer, std::move(done)); });
  }
  std::string flag(std::int64_t index) {
    return outcome<void>([&](auto done) { actions_.flagSelection(index, std::move(done)); });
  }
  std::string label(MessageLabelAppEnum colour) {
    return outcome<void>([&](auto done) { actions_.labelSelection(colour, std::move(done)); });
  }
  std::string create(const char* name, const char* parent) {
    return outcome<Mailbox>(
        [&](auto done) { actions_.createMailbox(name, parent, "Work", std::move(done)); });
  }
  std::string bounds() {
    return outcome<WindowBounds>([&](auto done) { actions_.frontmostMailWindowBounds(std::move(done)); });
  }
  std::string test() {
    return outcome<void>([&](auto done) { actions_.testAutomation(std::move(done)); });
  }

  MailActions actions_{{helper_, settings_, localizer_, dispatch_, log_}};
  const Mailbox box_ = Mailbox::make("2024", "Projects/2024", "Work");
};

TEST_F(MailActionsTest, SendTheTextsThatTheSettingsAskFor) {
  for (const bool keepOpen : {false, true}) {
    for (const bool stayAfterFlags : {false, true}) {
      for (const bool stayAfterShowing : {false, true}) {
        ASSERT_TRUE(settings_.keepOpenAfterFiling.set(keepOpen));
        ASSERT_TRUE(settings_.stayOpenAfterFlaggingAndLabeling.set(stayAfterFlags));
        ASSERT_TRUE(settings_.stayOpenAfterShowingMailbox.set(stayAfterShowing));
        engine_.forget();
        for (const auto& said :
             {flag(-1), flag(6), label(MessageLabelAppEnum::gray), show(box_), show(box_, Viewer::newViewer)})
          EXPECT_EQ(said, "ok");
        const auto back = keepOpen && stayAfterFlags ? Reactivate::yes : Reactivate::no;
        const auto front = stayAfterShowing ? Activation::quillbox : Activation::mail;
        EXPECT_EQ(engine_.texts(),
                  (std::vector<std::string>{
                      *script_texts::flagSelection(-1, back), *script_texts::flagSelection(6, back),
                      *script_texts::labelSelection(MessageLabelAppEnum::gray, back),
                      script_texts::showMailbox("Projects/2024", "Work", front, Viewer::frontmost),
                      script_texts::showMailbox("Projects/2024", "Work", front, Viewer::newViewer)}));
      }
    }
  }
  EXPECT_TRUE(log_.contains("Trying to show: Projects/2024 of account: Work"));
  engine_.forget();
  EXPECT_EQ(create("2024", "Projects"), "ok");
  EXPECT_EQ(create("Projects", ""), "ok");
  EXPECT_EQ(test(), "ok");
  EXPECT_EQ(engine_.texts(),
            (std::vector<std::string>{
                script_texts::createMailbox("2024", "Projects", "Work", "LN_new_mailbox_exists_error 2024"),
                script_texts::createMailbox("Projects", "", "Work", "LN_new_mailbox_exists_error Projects"),
                script_texts::automationTest()}));
}

TEST_F(MailActionsTest, SendNothingWithoutAMailClientOrAnythingToDo) {
  EXPECT_EQ(flag(-2), "ok");
  EXPECT_EQ(flag(7), "ok");
  EXPECT_EQ(label(MessageLabelAppEnum::none), "ok");
  workspace_.setRunning(mailBundleIdentifier, false);
  for (const auto& said : {show(box_), show(Mailbox::make("x\\", "x\\", "Work")), flag(1),
                           label(MessageLabelAppEnum::red), create("a", ""), bounds(), test()})
    EXPECT_EQ(said, "mailNotRunning");
  EXPECT_TRUE(engine_.calls().empty());
}

// The show text leaves backslashes single, so these names would end their quotes early, or not at all.
TEST_F(MailActionsTest, NamesThatWouldRunAsScriptAreNotShown) {
  const struct {
    const char* name;
    bool isSent;
  } rows[] = {
      {"a\\b", true},     {"say \"hi\"", true},       {"\"", true},   {"x\\\\", true},
      {"x\\\\\"", true},  {"x\\\" & evil --", false}, {"x\\", false}, {"\\\"", false},
      {"x\\\\\\", false}, {"x\\\"\nevil\n--", false},
  };
  for (const auto& row : rows) {
    for (const auto& mailbox :
         {Mailbox::make(row.name, row.name, "Work"), Mailbox::make("a", "a", row.name)}) {
      engine_.forget();
      const auto said = show(mailbox);
      EXPECT_EQ(engine_.calls().size(), row.isSent ? 1U : 0U) << row.name;
      EXPECT_EQ(said == "ok", row.isSent) << row.name << ": " << said;
      EXPECT_EQ(said.find("could not be found\", number: -2404") == std::string::npos, row.isSent) << said;
    }
  }
}

TEST_F(MailActionsTest, BoundsAreFourIntegersOrAnError) {
  const auto number = [](std::int32_t value) { return Descriptor::int32(value); };
  engine_.answer(Descriptor::list({number(-5), number(0), number(800), number(600)}));
  EXPECT_EQ(bounds(), "ok");
  for (const auto& answer :
       {Descriptor(), number(3), Descriptor::text("1, 2, 3, 4"),
        Descriptor::list({number(1), number(2), number(3)}),
        Descriptor::list({number(1), number(2), number(3), Descriptor::missingValue()})}) {
    engine_.answer(answer);
    EXPECT_NE(bounds().find("for the bounds of its window"), std::string::npos) << answer.description();
  }
  engine_.answer(std::unexpected(ScriptError{"Can’t get window 1.", -1728, {}, {}, false}));
  EXPECT_NE(bounds().find("number: -1728"), std::string::npos);
}

}  // namespace
}  // namespace quillbox

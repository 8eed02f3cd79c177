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
#include "support/recording_frontend.h"

namespace quillbox {

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

#include "cli/batch.h"

#include <memory>
#include <utility>

#include "base/json.h"
#include "base/text.h"
#include "cli/registry.h"
#include "cli/session.h"
#include "cli/shell_words.h"

namespace quillbox::cli {
namespace {

// Keeps itself alive through the replies that it waits for. A command that answers at once must not deepen
// the stack, so next() loops for as long as answers come before the action returns.
class BatchRun : public std::enable_shared_from_this<BatchRun> {
 public:
  BatchRun(Session& session, BatchChannels channels, std::function<void()> done)
      : session_(session), channels_(std::move(channels)), done_(std::move(done)) {}

  void next() {
    while (auto line = channels_.readLine()) {
      const auto trimmed = text::trim(*line);
      if (trimmed.empty() || trimmed.front() == '#') continue;
      if (!start(trimmed)) return;
    }
    done_();
  }

 private:
  // Whether the reply is printed already.
  bool start(std::string_view line) {
    auto choice = parse(line);
    if (!choice) {
      channels_.printLine(batchLine(forward(choice)));
      return true;
    }
    auto state = std::make_shared<Call>();
    choice->action(session_, OutputForm::json,
                   [self = shared_from_this(), state](const Result<std::string>& reply) {
                     if (std::exchange(state->answered, true)) return;
                     self->channels_.printLine(batchLine(reply));
                     if (state->returned) self->next();
                   });
    state->returned = true;
    return state->answered;
  }

  static Result<Choice> parse(std::string_view line) {
    if (!text::isValidUtf8(line)) return fail(error_number::textNotUtf8, "The line is not valid UTF-8");
    const auto words = splitShellWords(line);
    if (!words) return forward(words);
    return parseBatchCommand(*words);
  }

  struct Call {
    bool answered = false;
    bool returned = false;
  };

  Session& session_;
  BatchChannels channels_;
  std::function<void()> done_;
};

}  // namespace

void runBatch(Session& session, BatchChannels channels, std::function<void()> done) {
  std::make_shared<BatchRun>(session, std::move(channels), std::move(done))->next();
}

std::string batchLine(const Result<std::string>& reply) {
  if (!reply) {
    Json error = Json::object();
    error["message"] = text::singleLine(reply.error().message);
    error["number"] = reply.error().number;
    Json line = Json::object();
    line["error"] = std::move(error);
    return writeJson(line);
  }
  if (reply->empty()) return R"({"ok":null})";
  // Several documents, one a line, become one array.
  if (reply->find('\n') != std::string::npos) {
    return R"({"ok":[)" + text::replaceAll(*reply, "\n", ",") + "]}";
  }
  return R"({"ok":)" + *reply + "}";
}

}  // namespace quillbox::cli

#include "suggestions/training_data.h"

#include <utility>

namespace quillbox {

void fetchTrainingData(AppleScriptHelper& helper, Dispatch& dispatch, const Localizer& localizer,
                       const std::optional<Mailbox>& mailbox, std::function<bool()> cancelled,
                       std::function<void(TrainingData)> done, ScriptOrder order) {
  const std::function<void(Result<Descriptor>)> finish = [&dispatch, cancelled = std::move(cancelled),
                                                          done = std::move(done)](Result<Descriptor> answer) {
    dispatch.background(QualityOfService::userInitiated, [cancelled, done, answer = std::move(answer)] {
      done(answer ? parseTrainingData(*answer, cancelled) : TrainingData(std::unexpected(answer.error())));
    });
  };
  // Sending a script would start the mail client.
  if (const auto error = helper.readinessError()) return finish(std::unexpected(error->toError(localizer)));
  helper.runAppleScriptHandlerAsync(
      "Scripts/generateTrainingData", "generateTrainingData",
      {mailbox ? mailbox->path : std::string(), mailbox ? mailbox->account : std::string()},
      [finish](AppleScriptResult result) {
        if (result) return finish(std::move(*result));
        finish(std::unexpected(result.error().toError()));
      },
      order);
}

}  // namespace quillbox

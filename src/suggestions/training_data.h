// Asks the mail client for training examples: of the selected messages, or of a whole mailbox.
#pragma once

#include <functional>
#include <optional>
#include <string>
#include <vector>

#include "automation/applescript_helper.h"
#include "base/result.h"
#include "model/mailbox.h"
#include "platform/dispatch.h"
#include "platform/localizer.h"
#include "suggestions/training_example.h"

namespace quillbox {

using TrainingData = Result<std::vector<TrainingExample>>;

// Runs the handler of Scripts/generateTrainingData for `mailbox`, or for the selection when there is none,
// and reads its result on a background queue. Called on the main queue; `done` is called once, on a
// background queue, also with the reason why the mail client cannot be asked. `cancelled` is asked on a
// background queue and gives error -128. With
// ScriptOrder::selection no filing that is asked for later begins before the messages have been read.
void fetchTrainingData(AppleScriptHelper& helper, Dispatch& dispatch, const Localizer& localizer,
                       const std::optional<Mailbox>& mailbox, std::function<bool()> cancelled,
                       std::function<void(TrainingData)> done, ScriptOrder order = ScriptOrder::any);

}  // namespace quillbox

// What the suggestions tell the views. Posted and observed on the main queue, without an object.
#pragma once

#include "platform/notification_center.h"

namespace quillbox::notification {

// A training run began or ended.
inline constexpr NotificationName<NoObject> isTrainingSuggestions{"Quillbox.isTrainingSuggestions"};
inline constexpr NotificationName<NoObject> doneTrainingSuggestions{"Quillbox.doneTrainingSuggestions"};
// The selected messages are being looked up for a prediction; whoever predicted posts the end.
inline constexpr NotificationName<NoObject> isPredictingSuggestions{"Quillbox.isPredictingSuggestions"};
inline constexpr NotificationName<NoObject> donePredictingSuggestions{"Quillbox.donePredictingSuggestions"};
// currentExamples() has changed: time to predict.
inline constexpr NotificationName<NoObject> currentExamplesUpdated{"Quillbox.currentExamplesUpdated"};
// The setting is off; what was learnt is forgotten until it is on again.
inline constexpr NotificationName<NoObject> smartSuggestionsDisabled{"Quillbox.smartSuggestionsDisabled"};

}  // namespace quillbox::notification

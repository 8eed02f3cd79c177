// What sync tells the rest of the process. Posted on the main queue.
#pragma once

#include "platform/notification_center.h"

namespace quillbox {

// The favourites list is at its latest, whether it changed or not.
inline constexpr NotificationName<NoObject> iCloudSyncDidUpdateToLatest{"iCloudSyncDidUpdateToLatest"};
// The mirrored settings were taken over from the cloud store.
inline constexpr NotificationName<NoObject> cloudDefaultsSyncDidUpdateToLatest{
    "CloudDefaultsSyncDidUpdateToLatest"};

}  // namespace quillbox

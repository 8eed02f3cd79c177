// Sounds: the system's beep and the application's own files.
#pragma once

#include "platform/file_system.h"

namespace quillbox {

// Main queue only. Both return at once; a sound that cannot be played is not an error.
class SoundPlayer {
 public:
  virtual ~SoundPlayer() = default;
  virtual void beep() = 0;
  virtual void play(const Path& file) = 0;
};

}  // namespace quillbox

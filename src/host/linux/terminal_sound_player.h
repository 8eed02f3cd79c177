// Sounds of a program without a window: the terminal's bell, and nothing else.
#pragma once

#include "platform/log.h"
#include "platform/sound_player.h"

namespace quillbox {

// Says in the log, at debug level, which file it cannot play.
class TerminalSoundPlayer final : public SoundPlayer {
 public:
  explicit TerminalSoundPlayer(Log& log) : log_(log) {}
  // Rings when standard error is a terminal.
  void beep() override;
  void play(const Path& file) override;

 private:
  Log& log_;
};

}  // namespace quillbox

#include "host/linux/terminal_sound_player.h"

#include <unistd.h>

namespace quillbox {

void TerminalSoundPlayer::beep() {
  if (isatty(STDERR_FILENO) == 0) return;
  const char bell = '\a';
  // A bell that nobody hears is no failure.
  [[maybe_unused]] const auto written = write(STDERR_FILENO, &bell, 1);
}

void TerminalSoundPlayer::play(const Path& file) {
  log_.debug("A program without a window cannot play " + file.string());
}

}  // namespace quillbox

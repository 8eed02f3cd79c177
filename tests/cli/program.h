// Runs the real quillboxctl.
#pragma once

#include <string>
#include <vector>

namespace quillbox {

struct Ended {
  int status = -1;
  std::string out;
  std::string err;
};

// With `input` as standard input. Fails the test when the program cannot be started or dies of a signal.
Ended runQuillboxctl(const std::vector<std::string>& arguments, const std::string& input = {});

}  // namespace quillbox

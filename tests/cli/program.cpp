#include "program.h"

#include <array>
#include <thread>

#include <fcntl.h>
#include <gtest/gtest.h>
#include <spawn.h>
#include <sys/wait.h>
#include <unistd.h>

extern char** environ;

namespace quillbox {
namespace {

std::string readAll(int descriptor) {
  std::string all;
  std::array<char, 1 << 16> piece{};
  ssize_t got = 0;
  while ((got = read(descriptor, piece.data(), piece.size())) > 0)
    all.append(piece.data(), static_cast<std::size_t>(got));
  close(descriptor);
  return all;
}

}  // namespace

Ended runQuillboxctl(const std::vector<std::string>& arguments, const std::string& input) {
  const std::string program = std::string(QUILLBOX_BIN_DIR) + "/quillboxctl";
  std::vector<char*> words{const_cast<char*>(program.c_str())};
  for (const auto& argument : arguments) words.push_back(const_cast<char*>(argument.c_str()));
  words.push_back(nullptr);

  int in[2];
  int out[2];
  int err[2];
  for (int* ends : {in, out, err}) {
    if (pipe2(ends, O_CLOEXEC) != 0) std::abort();
  }
  posix_spawn_file_actions_t actions;
  posix_spawn_file_actions_init(&actions);
  posix_spawn_file_actions_adddup2(&actions, in[0], STDIN_FILENO);
  posix_spawn_file_actions_adddup2(&actions, out[1], STDOUT_FILENO);
  posix_spawn_file_actions_adddup2(&actions, err[1], STDERR_FILENO);
  pid_t child = 0;
  const int failed = posix_spawn(&child, program.c_str(), &actions, nullptr, words.data(), environ);
  posix_spawn_file_actions_destroy(&actions);
  close(in[0]);
  close(out[1]);
  close(err[1]);
  if (failed != 0) {
    ADD_FAILURE() << "cannot start " << program;
    for (const int descriptor : {in[1], out[0], err[0]}) close(descriptor);
    return {};
  }
  Ended ended;
  std::thread reader([&] { ended.err = readAll(err[0]); });
  std::thread writer([&] {
    for (std::size_t done = 0; done < input.size();) {
      const auto wrote = write(in[1], input.data() + done, input.size() - done);
      if (wrote <= 0) break;
      done += static_cast<std::size_t>(wrote);
    }
    close(in[1]);
  });
  ended.out = readAll(out[0]);
  reader.join();
  writer.join();
  int status = 0;
  waitpid(child, &status, 0);
  EXPECT_TRUE(WIFEXITED(status)) << "died of signal " << (WIFSIGNALED(status) ? WTERMSIG(status) : 0);
  ended.status = WIFEXITED(status) ? WEXITSTATUS(status) : -1;
  return ended;
}

}  // namespace quillbox

// A file descriptor with an owner.
#pragma once

#include <cerrno>
#include <utility>

#include <unistd.h>

namespace quillbox {

class FileDescriptor {
 public:
  FileDescriptor() = default;
  explicit FileDescriptor(int number) : number_(number) {}
  FileDescriptor(FileDescriptor&& other) noexcept : number_(std::exchange(other.number_, -1)) {}
  FileDescriptor& operator=(FileDescriptor&& other) noexcept {
    if (this != &other) {
      (void)close();
      number_ = std::exchange(other.number_, -1);
    }
    return *this;
  }
  ~FileDescriptor() { (void)close(); }

  int get() const { return number_; }
  explicit operator bool() const { return number_ >= 0; }

  // 0 or the errno. EINTR counts as closed: Linux has given the number up.
  int close() {
    if (number_ < 0) return 0;
    const int result = ::close(std::exchange(number_, -1));
    return result == 0 || errno == EINTR ? 0 : errno;
  }

 private:
  int number_ = -1;
};

// Repeats a system call while signals interrupt it: retrying([&] { return ::read(fd, data, size); }).
template <class Call>
auto retrying(const Call& call) {
  auto result = call();
  while (result == -1 && errno == EINTR) result = call();
  return result;
}

}  // namespace quillbox

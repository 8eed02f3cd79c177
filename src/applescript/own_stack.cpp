#include "applescript/own_stack.h"

#include <cstdint>
#include <exception>
#include <new>

#include <sys/mman.h>
#include <ucontext.h>

#if defined(__SANITIZE_ADDRESS__)
#define QUILLBOX_ADDRESS_SANITIZER 1
#elif defined(__SANITIZE_THREAD__)
#define QUILLBOX_THREAD_SANITIZER 1
#elif defined(__has_feature)
#if __has_feature(address_sanitizer)
#define QUILLBOX_ADDRESS_SANITIZER 1
#elif __has_feature(thread_sanitizer)
#define QUILLBOX_THREAD_SANITIZER 1
#endif
#endif

#if defined(QUILLBOX_ADDRESS_SANITIZER)
#include <sanitizer/common_interface_defs.h>
#elif defined(QUILLBOX_THREAD_SANITIZER)
#include <sanitizer/tsan_interface.h>
#endif

namespace quillbox::applescript {
namespace {

// The deepest expression that the grammar lets through, evaluated below the last call that was still allowed.
constexpr std::size_t kReserve = std::size_t{8} << 20U;
constexpr std::size_t kGuard = std::size_t{64} << 10U;  // a multiple of every page size

// Memory whose lowest part cannot be touched: whoever runs over the end is stopped, not let into foreign
// memory.
class StackMemory {
 public:
  explicit StackMemory(std::size_t bytes) : bytes_(bytes + kGuard) {
    base_ = mmap(nullptr, bytes_, PROT_READ | PROT_WRITE, MAP_PRIVATE | MAP_ANONYMOUS | MAP_NORESERVE, -1, 0);
    if (base_ == MAP_FAILED) throw std::bad_alloc();
    if (mprotect(base_, kGuard, PROT_NONE) != 0) {
      munmap(base_, bytes_);
      throw std::bad_alloc();
    }
  }
  ~StackMemory() { munmap(base_, bytes_); }
  StackMemory(const StackMemory&) = delete;
  StackMemory& operator=(const StackMemory&) = delete;

  void* bottom() const { return static_cast<char*>(base_) + kGuard; }
  std::size_t size() const { return bytes_ - kGuard; }

 private:
  std::size_t bytes_;
  void* base_;
};

// The two stacks and the way between them. The sanitizers are told of each switch.
class Excursion {
 public:
  Excursion(std::size_t bytes, const std::function<void()>& work) : memory_(bytes), work_(work) {}

  // Both contexts are switched to by setcontext, since the sanitizers take over swapcontext without being
  // able to follow it. getcontext returns twice: before the excursion, and after it.
  [[gnu::noinline]] void run() {
    getcontext(&there_);
    there_.uc_stack.ss_sp = memory_.bottom();
    there_.uc_stack.ss_size = memory_.size();
    there_.uc_link = nullptr;
    // makecontext hands over ints.
    const auto self = reinterpret_cast<std::uintptr_t>(this);
    makecontext(&there_, reinterpret_cast<void (*)()>(&Excursion::enter), 2,
                static_cast<unsigned>(self >> 32U), static_cast<unsigned>(self));
    leave();
    getcontext(&here_);
    if (!*static_cast<volatile bool*>(&started_)) {
      started_ = true;
      setcontext(&there_);
    }
    arrive();
    if (thrown_) std::rethrow_exception(thrown_);
  }

 private:
  static void enter(unsigned high, unsigned low) {
    // NOLINTNEXTLINE(performance-no-int-to-ptr): the two ints that makecontext let through
    auto* self = reinterpret_cast<Excursion*>(static_cast<std::uintptr_t>(high) << 32U | low);
    self->begin();
    try {
      self->work_();
    } catch (...) {
      self->thrown_ = std::current_exception();
    }
    self->end();
    setcontext(&self->here_);
  }

#if defined(QUILLBOX_ADDRESS_SANITIZER)
  void leave() { __sanitizer_start_switch_fiber(&saved_, memory_.bottom(), memory_.size()); }
  void begin() { __sanitizer_finish_switch_fiber(nullptr, &callerBottom_, &callerSize_); }
  void end() { __sanitizer_start_switch_fiber(nullptr, callerBottom_, callerSize_); }
  void arrive() { __sanitizer_finish_switch_fiber(saved_, nullptr, nullptr); }

  void* saved_ = nullptr;
  const void* callerBottom_ = nullptr;
  std::size_t callerSize_ = 0;
#elif defined(QUILLBOX_THREAD_SANITIZER)
  void leave() {
    caller_ = __tsan_get_current_fiber();
    fiber_ = __tsan_create_fiber(0);
    __tsan_switch_to_fiber(fiber_, 0);
  }
  void begin() {}
  void end() { __tsan_switch_to_fiber(caller_, 0); }
  void arrive() { __tsan_destroy_fiber(fiber_); }

  void* caller_ = nullptr;
  void* fiber_ = nullptr;
#else
  void leave() {}
  void begin() {}
  void end() {}
  void arrive() {}
#endif

  StackMemory memory_;
  const std::function<void()>& work_;
  ucontext_t here_{};
  ucontext_t there_{};
  std::exception_ptr thrown_;
  bool started_ = false;
};

}  // namespace

std::size_t stackOfThisBuild(std::size_t bytes) {
#if defined(QUILLBOX_ADDRESS_SANITIZER)
  return bytes * 3;
#elif defined(QUILLBOX_THREAD_SANITIZER)
  return bytes / 2;
#else
  return bytes;
#endif
}

void runOnOwnStack(std::size_t bytes, const std::function<void()>& work) {
  Excursion excursion(stackOfThisBuild(bytes + kReserve), work);
  excursion.run();
}

}  // namespace quillbox::applescript

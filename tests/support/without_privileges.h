// While one lives, folders without write permission cannot be written, even when the test runs as root. Holds
// for the thread that makes it and for threads started meanwhile.
#pragma once

#include <array>
#include <cstdint>

#include <linux/capability.h>
#include <sys/syscall.h>
#include <unistd.h>

namespace quillbox {

class WithoutPrivileges {
 public:
  WithoutPrivileges() {
    ::syscall(SYS_capget, &header_, before_.data());
    auto less = before_;
    for (const int capability : {CAP_DAC_OVERRIDE, CAP_DAC_READ_SEARCH, CAP_FOWNER})
      less[0].effective &= ~(std::uint32_t{1} << capability);
    ::syscall(SYS_capset, &header_, less.data());
  }
  ~WithoutPrivileges() { ::syscall(SYS_capset, &header_, before_.data()); }
  WithoutPrivileges(const WithoutPrivileges&) = delete;
  WithoutPrivileges& operator=(const WithoutPrivileges&) = delete;

 private:
  __user_cap_header_struct header_{_LINUX_CAPABILITY_VERSION_3, 0};
  std::array<__user_cap_data_struct, _LINUX_CAPABILITY_U32S_3> before_{};
};

}  // namespace quillbox

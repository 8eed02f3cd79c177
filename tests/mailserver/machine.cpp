#include "machine.h"

#include <filesystem>
#include <fstream>
#include <string>

#include <fcntl.h>
#include <grp.h>
#include <gtest/gtest.h>
#include <linux/capability.h>
#include <pwd.h>
#include <sched.h>
#include <sys/mount.h>
#include <sys/prctl.h>
#include <sys/stat.h>
#include <sys/syscall.h>
#include <unistd.h>

namespace quillbox::mailclient {
namespace {

namespace fs = std::filesystem;

Path ownDisk;
Path anyOtherDisk;

std::string temporaryFolder(const Path& in) {
  std::string pattern = (in / "quillbox-disk-XXXXXX").string();
  return mkdtemp(pattern.data()) == nullptr ? "" : pattern;
}

// In a mount namespace of our own, so that nothing has to be unmounted afterwards.
void mountSmallDisk() {
  if (mount("none", "/", nullptr, MS_REC | MS_PRIVATE, nullptr) != 0) return;
  const auto folder = temporaryFolder(fs::temp_directory_path());
  if (folder.empty()) return;
  const auto options = "mode=1777,size=" + std::to_string(smallDiskSize);
  if (mount("quillbox", folder.c_str(), "tmpfs", MS_NOSUID | MS_NODEV, options.c_str()) == 0) {
    ownDisk = folder;
  } else {
    rmdir(folder.c_str());
  }
}

// To be root in a namespace is enough to mount there.
bool becomeRootOfNamespace() {
  const auto user = getuid();
  const auto group = getgid();
  if (unshare(CLONE_NEWUSER | CLONE_NEWNS) != 0) return false;
  std::ofstream("/proc/self/setgroups") << "deny";
  std::ofstream("/proc/self/uid_map") << user << ' ' << user << " 1";
  std::ofstream("/proc/self/gid_map") << group << ' ' << group << " 1";
  return true;
}

void dropCapabilities() {
  __user_cap_header_struct header{_LINUX_CAPABILITY_VERSION_3, 0};
  __user_cap_data_struct none[2] = {};
  syscall(SYS_capset, &header, none);
}

void becomeNobody() {
  const auto* nobody = getpwnam("nobody");
  ASSERT_NE(nobody, nullptr);
  ASSERT_EQ(setgroups(0, nullptr), 0);
  ASSERT_EQ(setresgid(nobody->pw_gid, nobody->pw_gid, nobody->pw_gid), 0);
  ASSERT_EQ(setresuid(nobody->pw_uid, nobody->pw_uid, nobody->pw_uid), 0);
  // The leak checker looks at its own process, which a change of user forbids.
  prctl(PR_SET_DUMPABLE, 1);
}

class Machine final : public testing::Environment {
 public:
  void SetUp() override {
    owner_ = getpid();
    if (geteuid() == 0) {
      if (unshare(CLONE_NEWNS) == 0) mountSmallDisk();
      becomeNobody();
    } else if (becomeRootOfNamespace()) {
      mountSmallDisk();
      dropCapabilities();
    }
    anyOtherDisk = ownDisk;
    const Path shared = "/dev/shm";
    struct stat here{};
    struct stat there{};
    if (anyOtherDisk.empty() && access(shared.c_str(), W_OK) == 0 && stat(shared.c_str(), &there) == 0 &&
        stat(fs::temp_directory_path().c_str(), &here) == 0 && here.st_dev != there.st_dev) {
      anyOtherDisk = shared;
    }
  }
  void TearDown() override {
    if (getpid() != owner_) return;
    // The mount goes with the process, its folder only when it may be removed.
    if (!ownDisk.empty() && umount2(ownDisk.c_str(), MNT_DETACH) == 0) rmdir(ownDisk.c_str());
  }

 private:
  pid_t owner_ = 0;
};

const auto* const machine = testing::AddGlobalTestEnvironment(new Machine);

}  // namespace

const Path& smallDisk() {
  return ownDisk;
}
const Path& otherDisk() {
  return anyOtherDisk;
}

}  // namespace quillbox::mailclient

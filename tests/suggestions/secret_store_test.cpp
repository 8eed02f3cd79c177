// Where the Linux host keeps a secret, with and without a service, and what it says when the service is away.
#include "host/linux/secret_store.h"

#include <cerrno>
#include <map>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "base/bytes.h"
#include "base/error_numbers.h"
#include "suggestions/advanced_log_manager.h"
#include "suggestions/examples.h"
#include "support/fakes.h"
#include "support/faulty_file_system.h"
#include "support/memory_file_system.h"

namespace quillbox {
namespace {

enum class Mood { answers, away, forgetful };

struct Desktop {
  Mood mood = Mood::answers;
  std::map<std::string, std::string> secrets;
};

class FakeService final : public SecretService {
 public:
  explicit FakeService(Desktop& desktop) : desktop_(desktop) {}
  Result<std::optional<std::string>> lookup(std::string_view name, std::string_view folder) override {
    if (desktop_.mood == Mood::away) return fail(error_number::notAvailable, "no service");
    const auto found = desktop_.secrets.find(key(name, folder));
    return found == desktop_.secrets.end() ? std::nullopt : std::optional(found->second);
  }
  Result<void> store(std::string_view name, std::string_view folder, std::string_view secret) override {
    if (desktop_.mood == Mood::away) return fail(error_number::notAvailable, "no service");
    if (desktop_.mood == Mood::answers) desktop_.secrets[key(name, folder)] = secret;
    return {};
  }

 private:
  static std::string key(std::string_view name, std::string_view folder) {
    return std::string(folder) + ":" + std::string(name);
  }
  Desktop& desktop_;
};

class LinuxSecrets : public testing::Test {
 protected:
  LinuxSecrets() { disk_.putDirectory("/data"); }

  LinuxSecretStore store() { return {files_, random_, "/data", std::make_unique<FakeService>(desktop_)}; }
  LinuxSecretStore fileStore() { return {files_, random_, "/data", nullptr}; }
  std::string keyFile() const { return disk_.bytes("/data/k.key"); }

  MemoryFileSystem disk_;
  FaultyFileSystem files_{disk_};
  FixedRandomSource random_;
  Desktop desktop_;
  const std::string secret_ = std::string("\0\xFFsecret\n", 9);
};

TEST_F(LinuxSecrets, TheServiceKeepsItWhereOneAnswers) {
  EXPECT_EQ(store().read("k").value(), std::nullopt);
  ASSERT_TRUE(store().write("k", secret_));
  EXPECT_EQ(keyFile(), "service\n");
  EXPECT_EQ(store().read("k").value(), secret_);
  // The note about it may get lost, but not the secret.
  ASSERT_TRUE(disk_.remove("/data/k.key"));
  EXPECT_EQ(store().read("k").value(), secret_);
  EXPECT_EQ(keyFile(), "service\n");

  desktop_.mood = Mood::away;
  EXPECT_EQ(store().read("k").error().number, error_number::notAvailable);
  EXPECT_EQ(fileStore().read("k").error().number, error_number::notAvailable);
  desktop_.mood = Mood::answers;
  desktop_.secrets.clear();
  EXPECT_EQ(store().read("k").value(), std::nullopt);
}

TEST_F(LinuxSecrets, AFileKeepsItWhereNoServiceDoes) {
  for (const Mood mood : {Mood::away, Mood::forgetful}) {
    desktop_.mood = mood;
    ASSERT_TRUE(store().write("k", secret_));
    EXPECT_EQ(keyFile(), toBase64(secret_) + "\n");
    EXPECT_EQ(disk_.info("/data/k.key", FollowLinks::no)->permissions, 0600U);
    EXPECT_EQ(store().read("k").value(), secret_);
  }
  EXPECT_EQ(fileStore().read("k").value(), secret_);
  // The file goes on being asked when a service appears, and its permissions are mended.
  desktop_.mood = Mood::answers;
  ASSERT_TRUE(disk_.setPermissions("/data/k.key", 0644));
  EXPECT_EQ(store().read("k").value(), secret_);
  EXPECT_EQ(disk_.info("/data/k.key", FollowLinks::no)->permissions, 0600U);
}

TEST_F(LinuxSecrets, ADamagedOrUnreadableFileIsNotTakenForNone) {
  for (const auto& bytes :
       {std::string(), std::string("not base64!"), std::string("\0\0", 2), std::string(99'999, 'A')}) {
    disk_.put("/data/k.key", bytes);
    EXPECT_FALSE(fileStore().read("k"));
    EXPECT_EQ(keyFile(), bytes);
  }
  files_.failReadsWhen([](const FaultyFileSystem::Step&) { return std::optional(EACCES); });
  EXPECT_EQ(fileStore().read("k").error().number, EACCES);
  files_.reset();
  files_.failStep(1, ENOSPC);
  EXPECT_EQ(fileStore().write("k", secret_).error().number, ENOSPC);
}

// A log sealed with the service's secret is left alone while the service is away.
TEST_F(LinuxSecrets, TheLogWaitsForAServiceThatIsAway) {
  RecordingLog log;
  auto secrets = store();
  AdvancedLogManager manager({files_, random_, secrets, log}, "/data", AdvancedLogMode::encrypted);
  ASSERT_TRUE(manager.append(received("s", "a@b")));
  desktop_.mood = Mood::away;
  AdvancedLogManager later({files_, random_, secrets, log}, "/data", AdvancedLogMode::encrypted);
  EXPECT_EQ(later.loadAll().error().message, "no service");
  EXPECT_FALSE(later.append(received("t", "a@b")));
  desktop_.mood = Mood::answers;
  EXPECT_EQ(later.loadAll().value().size(), 1U);
}

}  // namespace
}  // namespace quillbox

// Keeps secrets in the desktop's secret service where one answers, else in files that only their owner can
// read.
#pragma once

#include <memory>
#include <mutex>

#include "platform/clock.h"
#include "platform/file_system.h"
#include "platform/secret_store.h"

namespace quillbox {

// The secret service of a desktop session (org.freedesktop.secrets).
class SecretService {
 public:
  virtual ~SecretService() = default;
  // `folder` tells the secrets of several profiles apart. An error means that the service did not answer.
  virtual Result<std::optional<std::string>> lookup(std::string_view name, std::string_view folder) = 0;
  virtual Result<void> store(std::string_view name, std::string_view folder, std::string_view secret) = 0;
};

// The service by way of libsecret, which is loaded when it is first needed; a machine without it, or without
// a session bus, gives error_number::notAvailable on every call. A call ends after a minute at most.
std::unique_ptr<SecretService> desktopSecretService();

// NAME.key in `folder` says where the secret NAME is: it holds the secret itself in base64, or the word
// "service". So a service that does not answer for once is told apart from a secret that was never made.
class LinuxSecretStore final : public SecretStore {
 public:
  // Without a service every secret goes into its file. The folder exists.
  LinuxSecretStore(FileSystem& files, RandomSource& random, Path folder,
                   std::unique_ptr<SecretService> service);

  Result<std::optional<std::string>> read(std::string_view name) override;
  Result<void> write(std::string_view name, std::string_view secret) override;

 private:
  Path keyFile(std::string_view name) const;
  Result<void> writeFile(std::string_view name, std::string_view content);
  Result<std::optional<std::string>> readFromService(std::string_view name);

  FileSystem& files_;
  RandomSource& random_;
  const Path folder_;
  const std::unique_ptr<SecretService> service_;
  std::mutex mutex_;
};

}  // namespace quillbox

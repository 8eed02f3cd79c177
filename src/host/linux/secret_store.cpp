#include "host/linux/secret_store.h"

#include <cerrno>

#include <fmt/format.h>

#include "base/bytes.h"
#include "base/error_numbers.h"
#include "base/text.h"

namespace quillbox {
namespace {

constexpr std::string_view kInService = "service";
constexpr std::uint32_t kOwnerOnly = 0600;
constexpr std::uint64_t kMaxFileSize = 64 * 1024;  // bytes

}  // namespace

LinuxSecretStore::LinuxSecretStore(FileSystem& files, RandomSource& random, Path folder,
                                   std::unique_ptr<SecretService> service)
    : files_(files), random_(random), folder_(std::move(folder)), service_(std::move(service)) {}

Path LinuxSecretStore::keyFile(std::string_view name) const {
  return folder_ / (std::string(name) + ".key");
}

Result<std::optional<std::string>> LinuxSecretStore::readFromService(std::string_view name) {
  if (!service_) {
    return fail(
        error_number::notAvailable,
        fmt::format("The secret {} is kept in the desktop’s secret service, which is not used here.", name));
  }
  return service_->lookup(name, folder_.string());
}

Result<std::optional<std::string>> LinuxSecretStore::read(std::string_view name) {
  const std::scoped_lock lock(mutex_);
  const Path path = keyFile(name);
  const auto bytes = files_.read(path, kMaxFileSize);
  if (!bytes && bytes.error().number != ENOENT) return forward(bytes);
  if (!bytes) {
    // The file may have been lost on its own. A service that does not answer was never given the secret, as
    // far as anyone can tell.
    if (!service_) return std::nullopt;
    auto found = service_->lookup(name, folder_.string());
    if (!found || !*found) return std::nullopt;
    (void)writeFile(name, kInService);
    return found;
  }
  const std::string_view content = text::trim(*bytes);
  if (content == kInService) return readFromService(name);
  auto secret = fromBase64(content);
  if (!secret || secret->empty()) {
    return fail(error_number::damagedFile,
                fmt::format("{} is damaged: it holds no key. Put a copy in its place, or remove it to have a "
                            "new key made.",
                            path.string()));
  }
  if (const auto info = files_.info(path); info && (info->permissions & 0077U) != 0) {
    (void)files_.setPermissions(path, kOwnerOnly);
  }
  return std::move(*secret);
}

Result<void> LinuxSecretStore::write(std::string_view name, std::string_view secret) {
  const std::scoped_lock lock(mutex_);
  if (service_ && service_->store(name, folder_.string(), secret)) {
    // Some services take what they then do not keep.
    const auto kept = service_->lookup(name, folder_.string());
    if (kept && *kept == secret) return writeFile(name, kInService);
  }
  return writeFile(name, toBase64(secret));
}

Result<void> LinuxSecretStore::writeFile(std::string_view name, std::string_view content) {
  const auto random = random_.bytes16();
  const std::string_view raw(reinterpret_cast<const char*>(random.data()), random.size());
  return writeAtomically(files_, keyFile(name), std::string(content) + "\n", kOwnerOnly, toHex(raw));
}

}  // namespace quillbox

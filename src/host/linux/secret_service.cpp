// The desktop's secret service. libsecret is opened at run time, so that the program also starts where it is
// missing; its headers give the types where they were there at build time.
#include <chrono>
#include <condition_variable>
#include <mutex>
#include <thread>

#include <dlfcn.h>
#include <fmt/format.h>

#include "base/bytes.h"
#include "base/error_numbers.h"
#include "host/linux/secret_store.h"

#if __has_include(<libsecret/secret.h>)
#include <libsecret/secret.h>
#define QUILLBOX_HAS_LIBSECRET 1
#endif

namespace quillbox {
namespace {

#ifdef QUILLBOX_HAS_LIBSECRET

constexpr std::chrono::seconds kPatience{60};
constexpr const char* kLibrary = "libsecret-1.so.0";

const SecretSchema& schema() {
  static const SecretSchema made = [] {
    SecretSchema value{};
    value.name = "com.brix.Quillbox4.Secret";
    value.flags = SECRET_SCHEMA_NONE;
    value.attributes[0] = {"name", SECRET_SCHEMA_ATTRIBUTE_STRING};
    value.attributes[1] = {"folder", SECRET_SCHEMA_ATTRIBUTE_STRING};
    return value;
  }();
  return made;
}

struct Functions {
  decltype(&secret_password_store_sync) store = nullptr;
  decltype(&secret_password_lookup_sync) lookup = nullptr;
  decltype(&secret_password_free) freePassword = nullptr;
  decltype(&g_error_free) freeError = nullptr;
  decltype(&g_cancellable_new) newCancellable = nullptr;
  decltype(&g_cancellable_cancel) cancel = nullptr;
  decltype(&g_object_unref) unref = nullptr;
};

// Never closed: GLib cannot be unloaded.
const Functions* functions() {
  static const auto found = []() -> std::unique_ptr<const Functions> {
    void* library = dlopen(kLibrary, RTLD_NOW | RTLD_LOCAL);
    if (library == nullptr) return nullptr;
    auto all = std::make_unique<Functions>();
    bool complete = true;
    const auto get = [&](auto& function, const char* name) {
      // Symbols of GLib are found through the libraries that this one depends on.
      function = reinterpret_cast<std::remove_reference_t<decltype(function)>>(dlsym(library, name));
      complete = complete && function != nullptr;
    };
    get(all->store, "secret_password_store_sync");
    get(all->lookup, "secret_password_lookup_sync");
    get(all->freePassword, "secret_password_free");
    get(all->freeError, "g_error_free");
    get(all->newCancellable, "g_cancellable_new");
    get(all->cancel, "g_cancellable_cancel");
    get(all->unref, "g_object_unref");
    if (!complete) return nullptr;
    return all;
  }();
  return found.get();
}

// Cancels what it was given to when it is not destroyed in time.
class Deadline {
 public:
  explicit Deadline(const Functions& all) : all_(all), cancellable_(all.newCancellable()) {
    watcher_ = std::thread([this] {
      std::unique_lock lock(mutex_);
      if (!ended_.wait_for(lock, kPatience, [this] { return done_; })) all_.cancel(cancellable_);
    });
  }
  ~Deadline() {
    {
      const std::scoped_lock lock(mutex_);
      done_ = true;
    }
    ended_.notify_one();
    watcher_.join();
    all_.unref(cancellable_);
  }
  Deadline(const Deadline&) = delete;
  Deadline& operator=(const Deadline&) = delete;

  GCancellable* cancellable() const { return cancellable_; }

 private:
  const Functions& all_;
  GCancellable* cancellable_;
  std::mutex mutex_;
  std::condition_variable ended_;
  bool done_ = false;
  std::thread watcher_;
};

class LibSecret final : public SecretService {
 public:
  Result<std::optional<std::string>> lookup(std::string_view name, std::string_view folder) override {
    const Functions* all = functions();
    if (all == nullptr) return missing();
    const Deadline deadline(*all);
    GError* error = nullptr;
    char* found = all->lookup(&schema(), deadline.cancellable(), &error, "name", std::string(name).c_str(),
                              "folder", std::string(folder).c_str(), nullptr);
    if (error != nullptr) return failure(*all, error);
    if (found == nullptr) return std::nullopt;
    auto secret = fromBase64(found);
    all->freePassword(found);
    if (!secret)
      return fail(error_number::damagedFile, "The secret in the desktop’s secret service is damaged.");
    return std::move(*secret);
  }

  Result<void> store(std::string_view name, std::string_view folder, std::string_view secret) override {
    const Functions* all = functions();
    if (all == nullptr) return missing();
    const Deadline deadline(*all);
    GError* error = nullptr;
    const bool stored =
        all->store(&schema(), SECRET_COLLECTION_DEFAULT, "Quillbox: key of the suggestions log",
                   toBase64(secret).c_str(), deadline.cancellable(), &error, "name",
                   std::string(name).c_str(), "folder", std::string(folder).c_str(), nullptr) != 0;
    if (error != nullptr) return failure(*all, error);
    if (!stored)
      return fail(error_number::notAvailable, "The desktop’s secret service did not take the secret.");
    return {};
  }

 private:
  static std::unexpected<Error> missing() {
    return fail(error_number::notAvailable,
                fmt::format("There is no secret service: {} could not be loaded.", kLibrary));
  }
  static std::unexpected<Error> failure(const Functions& all, GError* error) {
    auto failed = fail(error_number::notAvailable,
                       fmt::format("The desktop’s secret service does not answer: {}", error->message));
    all.freeError(error);
    return failed;
  }
};

#endif

}  // namespace

std::unique_ptr<SecretService> desktopSecretService() {
#ifdef QUILLBOX_HAS_LIBSECRET
  return std::make_unique<LibSecret>();
#else
  return nullptr;
#endif
}

}  // namespace quillbox

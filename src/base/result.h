// How a failure travels: as a value with a number and one sentence.
#pragma once

#include <cstdint>
#include <expected>
#include <string>
#include <utility>

namespace quillbox {

// What went wrong, for a person and for a script.
// `number` follows three ranges that never meet: script and Quillbox errors are negative
// (base/error_numbers.h), file-system errors are the positive errno value of the call that failed, and 0 is
// never used. `message` is one line, a sentence that names the thing concerned; it does not repeat the
// number.
struct Error {
  std::int64_t number = -2700;
  std::string message;

  bool operator==(const Error&) const = default;
};

// The one result type. A function that returns it throws nothing.
template <class T, class E = Error>
using Result = std::expected<T, E>;

// return fail(-2404, "The mailbox ... could not be found");
inline std::unexpected<Error> fail(std::int64_t number, std::string message) {
  return std::unexpected(Error{number, std::move(message)});
}

// Hands the error of one result on as the error of another: if (!r) return forward(r);
template <class T>
std::unexpected<Error> forward(const Result<T>& failed) {
  return std::unexpected(failed.error());
}

// A broken invariant: prints `what` to standard error and aborts. Not for bad input.
[[noreturn]] void fatal(const std::string& what) noexcept;

}  // namespace quillbox

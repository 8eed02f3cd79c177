// The file name of one message in a Maildir folder: "unique,S=1234:2,FSa,foreign" and what its parts mean.
#pragma once

#include <cstdint>
#include <optional>
#include <set>
#include <string>
#include <string_view>

namespace quillbox::mailclient {

// The flags that a file name can hold, as the letters D F P R S T (cr.yp.to/proto/maildir.html), and the
// keywords of the folder as the letters a to z.
namespace flag {
inline constexpr char draft = 'D';
inline constexpr char flagged = 'F';
inline constexpr char passed = 'P';
inline constexpr char replied = 'R';
inline constexpr char seen = 'S';
inline constexpr char trashed = 'T';
}  // namespace flag

struct MessageName {
  // Everything before ":2,"; the part that stays when flags change. Of a name without ":2," the whole name.
  std::string base;
  // Letters of the info part in ASCII order, each once: "FSa". Characters that are neither A-Z nor a-z are
  // part of it too, and survive a change of flags.
  std::string flags;
  // What stands behind the first comma of the flags, the comma included; it belongs to other programs.
  std::string foreign;
  // Whether the name has an info part at all.
  bool hasInfo = false;

  static MessageName parse(std::string_view fileName);
  // The file name; with an info part when there was one or there is something to put into it.
  std::string fileName() const;

  bool has(char letter) const { return flags.find(letter) != std::string::npos; }
  void set(char letter, bool on);
};

// Whether a name in cur/ or new/ can be a message's: not hidden, not empty.
bool isMessageFileName(std::string_view fileName);

// The name up to ":2,", or all of a name without.
std::string_view baseOf(std::string_view fileName);
// The rest of it.
std::string_view infoOf(std::string_view fileName);

// The base without mbsync's ",U=" field, which belongs to one folder only. This is a message's lasting
// identity.
std::string stableId(std::string_view fileName);
// Below, at or above 0 as the stableId of `fileName` comes before `id`, is it or comes behind it; makes no
// copy.
int compareStableId(std::string_view fileName, std::string_view id);
// `base` without ",U=".
std::string withoutUid(std::string_view base);

// The seconds since 1970 with which delivery agents begin a name; 0 when it does not begin with a number.
std::int64_t deliveryTime(std::string_view fileName);

// The value of the ",S=" field (the size in bytes), where there is a readable one.
std::optional<std::uint64_t> sizeField(std::string_view fileName);

// The base of a new, unique name: "seconds.RHEX.quillbox" with the ",S=" and ",W=" fields of `model` (the
// name of the message that is copied), so that servers need not measure it again.
std::string freshBase(std::int64_t seconds, std::string_view randomHex, std::string_view model);

// A positive number below 2^29 for scripts, the same in every process.
std::int32_t scriptId(std::string_view stableId);

}  // namespace quillbox::mailclient

#include "mailclient/folders.h"

#include <algorithm>
#include <cerrno>
#include <optional>

#include <fmt/format.h>

#include "base/error_numbers.h"
#include "base/text.h"
#include "mailclient/dot_lock.h"
#include "mailclient/name_codes.h"

namespace quillbox::mailclient {
namespace {

constexpr int kDeepest = 64;  // nested folders below this are somebody's accident

std::vector<std::string> components(std::string_view path) {
  std::vector<std::string> parts(1);
  for (const char c : path) {
    if (c == '/') {
      parts.emplace_back();
    } else {
      parts.back() += c;
    }
  }
  return parts;
}

bool sameIgnoringAsciiCase(std::string_view a, std::string_view b) {
  return std::ranges::equal(a, b, [](char x, char y) {
    const auto lower = [](char c) { return c >= 'A' && c <= 'Z' ? static_cast<char>(c + 32) : c; };
    return lower(x) == lower(y);
  });
}

bool isDirectory(FileSystem& files, const Path& path) {
  const auto info = files.info(path);
  return info && info->kind == FileKind::directory;
}

bool isMaildir(FileSystem& files, const Path& directory) {
  return isDirectory(files, directory / "cur");
}

// ---- Maildir++ names ----

// One component between the dots of ".Parent.Child".
std::string shownComponent(std::string_view raw) {
  if (auto decoded = decodeModifiedUtf7(raw)) {
    const bool ambiguous = holdsReadableByte(*decoded) || decoded->find('/') != std::string::npos ||
                           decoded->find('.') != std::string::npos;
    if (!ambiguous) return *decoded;
  }
  std::string out;
  for (const char c : raw) {
    if (c == '&' || c < 0x20 || c > 0x7e) {
      appendReadableByte(out, static_cast<unsigned char>(c));
    } else {
      out += c;
    }
  }
  return out;
}

std::string rawComponent(std::string_view shown) {
  return holdsReadableByte(shown) ? bytesOfReadable(shown) : encodeModifiedUtf7(shown);
}

// ".Work.2024" gives "Work/2024". A folder ".INBOX" beside the root would be a second "INBOX": it is shown
// with its dot, which no other component can hold.
std::string shownDotted(std::string_view directoryName) {
  std::string path;
  if (directoryName == ".INBOX") return std::string(directoryName);
  std::size_t begin = 1;
  while (true) {
    const auto dot = directoryName.find('.', begin);
    path += shownComponent(directoryName.substr(begin, dot - begin));
    if (dot == std::string_view::npos) return path;
    path += '/';
    begin = dot + 1;
  }
}

std::string dottedName(std::string_view path) {
  if (path == ".INBOX") return ".INBOX";
  std::string out;
  for (const auto& part : components(path)) out += "." + rawComponent(part);
  return out;
}

Result<FolderList> listDotted(FileSystem& files, const Path& root) {
  FolderList list;
  std::vector<std::string> names;
  const auto listed = files.list(root, [&](std::string_view name, FileKind kind) {
    if (name.size() > 1 && name.front() == '.' && kind != FileKind::regular) names.emplace_back(name);
    return true;
  });
  if (!listed) return forward(listed);
  if (isMaildir(files, root)) list.folders.push_back({std::string(inboxName), root});
  for (const auto& name : names) {
    const auto cur = files.info(root / name / "cur");
    if (cur && cur->kind == FileKind::directory) {
      list.folders.push_back({shownDotted(name), root / name});
    } else if (!cur && cur.error().number != ENOENT && cur.error().number != ENOTDIR) {
      list.unreadable.push_back((root / name).string());
    }
  }
  return list;
}

// ---- nested names ----

bool isReserved(std::string_view name) {
  return name == "cur" || name == "new" || name == "tmp";
}

class NestedWalk {
 public:
  NestedWalk(FileSystem& files, FolderList& list, const Path& root)
      : files_(files), list_(list), root_(root) {}

  // Whether `directory` is a mailbox itself; walks into everything below it.
  Result<bool> walk(const Path& directory, const std::string& path, int depth) {
    bool hasCur = false;
    std::vector<std::pair<std::string, FileKind>> children;
    const auto listed = files_.list(directory, [&](std::string_view name, FileKind kind) {
      if (kind == FileKind::regular) return true;
      if (isReserved(name)) {
        hasCur = hasCur || (name == "cur" && kind != FileKind::other);
      } else {
        children.emplace_back(name, kind);
      }
      return true;
    });
    if (!listed) return forward(listed);
    const auto place = list_.folders.size();
    list_.folders.push_back({path, directory});
    if (depth < kDeepest) {
      for (const auto& [name, kind] : children) visit(directory, path, name, kind, depth);
    }
    if (!hasCur) list_.folders.erase(list_.folders.begin() + static_cast<std::ptrdiff_t>(place));
    return hasCur;
  }

 private:
  void visit(const Path& directory, const std::string& path, const std::string& name, FileKind kind,
             int depth) {
    const Path child = directory / name;
    if (kind == FileKind::symbolicLink) {
      const auto info = files_.info(child);
      if (!info || info->kind != FileKind::directory || leadsBack(directory, *info)) return;
    } else if (kind != FileKind::directory) {
      return;
    }
    // Hidden folders that are no mailboxes are other programs' data, and may be large.
    if (name.front() == '.' && !isMaildir(files_, child)) return;
    const auto shown = path.empty() ? readableBytes(name) : path + "/" + readableBytes(name);
    if (const auto walked = walk(child, shown, depth + 1); !walked) {
      if (walked.error().number != ENOENT) list_.unreadable.push_back(child.string());
    }
  }

  // Whether a link in `directory` leads to a folder that holds it: following it would never end.
  bool leadsBack(Path directory, const FileInfo& target) const {
    while (true) {
      const auto above = files_.info(directory);
      if (!above || (above->device == target.device && above->inode == target.inode)) return true;
      if (directory == root_) return false;
      directory = directory.parent_path();
    }
  }

  FileSystem& files_;
  FolderList& list_;
  const Path& root_;
};

Result<FolderList> listNested(FileSystem& files, const Path& root) {
  FolderList list;
  const auto walked = NestedWalk(files, list, root).walk(root, "", 0);
  if (!walked) return forward(walked);
  if (*walked) {
    const bool taken = std::ranges::any_of(list.folders, [](const Folder& f) { return f.path == inboxName; });
    list.folders.front().path = taken ? "." : std::string(inboxName);
  }
  return list;
}

// Below `depth` levels, the first folder with a cur.
bool holdsMaildir(FileSystem& files, const Path& directory, int depth) {
  bool found = false;
  std::vector<std::string> children;
  (void)files.list(directory, [&](std::string_view name, FileKind kind) {
    if (kind == FileKind::directory || kind == FileKind::symbolicLink) {
      if (name == "cur") found = true;
      if (name.front() != '.' && !isReserved(name)) children.emplace_back(name);
    }
    return !found;
  });
  if (found) return true;
  return depth > 0 && std::ranges::any_of(children, [&](const std::string& name) {
           return holdsMaildir(files, directory / name, depth - 1);
         });
}

Path directoryFor(const Path& root, Layout layout, std::string_view path) {
  if (layout == Layout::maildirPlusPlus) return path == inboxName ? root : root / dottedName(path);
  Path directory = root;
  for (const auto& part : components(path)) directory /= bytesOfReadable(part);
  return directory;
}

// A path that no mailbox can have, whatever lies on the disk.
bool isImpossible(Layout layout, std::string_view path) {
  if (path.empty() || path.find('\0') != std::string_view::npos) return true;
  for (const auto& part : components(path)) {
    if (part.empty() || part == "..") return true;
    if (layout == Layout::maildirPlusPlus) {
      const auto raw = holdsReadableByte(part) ? bytesOfReadable(part) : part;
      if (raw.find('/') != std::string::npos) return true;
      if (raw.find('.') != std::string::npos && path != ".INBOX") return true;
    } else {
      const auto raw = bytesOfReadable(part);
      if (raw == "." || raw == ".." || isReserved(raw) || raw.find('/') != std::string::npos) return true;
    }
  }
  return false;
}

}  // namespace

Result<Layout> detectLayout(FileSystem& files, const Path& root) {
  const auto shown = readableBytes(root.string());
  const auto info = files.info(root);
  if (!info) {
    if (info.error().number == ENOENT) {
      return fail(error_number::maildirUnusable, fmt::format("The folder {} does not exist", shown));
    }
    return fail(error_number::maildirUnusable,
                fmt::format("The folder {} can’t be read: {}", shown, info.error().message));
  }
  if (info->kind != FileKind::directory) {
    return fail(error_number::maildirUnusable, fmt::format("{} is not a folder", shown));
  }
  bool hasCur = false;
  bool hasNew = false;
  bool hasDotted = false;
  std::vector<std::string> children;
  const auto listed = files.list(root, [&](std::string_view name, FileKind kind) {
    if (kind == FileKind::regular) return true;
    if (name == "cur") hasCur = true;
    if (name == "new") hasNew = true;
    if (name.front() == '.') {
      if (!hasDotted && isMaildir(files, root / name)) hasDotted = true;
    } else if (!isReserved(name)) {
      children.emplace_back(name);
    }
    return true;
  });
  if (!listed) {
    return fail(error_number::maildirUnusable,
                fmt::format("The folder {} can’t be read: {}", shown, listed.error().message));
  }
  if (hasCur && hasNew && hasDotted) return Layout::maildirPlusPlus;
  const bool nested = std::ranges::any_of(
      children, [&](const std::string& name) { return holdsMaildir(files, root / name, 4); });
  if (nested) return Layout::nested;
  if (hasCur && hasNew) return Layout::maildirPlusPlus;
  return fail(
      error_number::maildirUnusable,
      fmt::format("The folder {} is not a Maildir: neither it nor a folder inside it holds cur and new",
                  shown));
}

Result<FolderList> listFolders(FileSystem& files, const Path& root, Layout layout) {
  auto list = layout == Layout::maildirPlusPlus ? listDotted(files, root) : listNested(files, root);
  if (!list) return list;
  // "/" below every other character, so that children stand behind their parent.
  const auto before = [](const Folder& a, const Folder& b) {
    const bool aInbox = a.path == inboxName;
    const bool bInbox = b.path == inboxName;
    if (aInbox != bInbox) return aInbox;
    const auto rank = [](char c) { return c == '/' ? 0 : 1 + static_cast<unsigned char>(c); };
    return std::ranges::lexicographical_compare(a.path, b.path, {}, rank, rank);
  };
  std::ranges::sort(list->folders, before);
  return list;
}

Result<Folder> findFolder(FileSystem& files, const Path& root, Layout layout, std::string_view path) {
  const auto missing = [&] {
    return fail(error_number::mailboxNotFound,
                fmt::format("The mailbox “{}” could not be found", text::singleLine(readableBytes(path))));
  };
  std::string wanted(path);
  if (wanted.size() > 1 && wanted.back() == '/') wanted.pop_back();
  if (sameIgnoringAsciiCase(wanted, inboxName)) {
    if (layout == Layout::nested) {
      for (const auto& name : {wanted, std::string(inboxName)}) {
        if (isMaildir(files, root / name)) return Folder{name, root / name};
      }
    } else if (wanted != inboxName && isMaildir(files, directoryFor(root, layout, wanted))) {
      return Folder{wanted, directoryFor(root, layout, wanted)};
    }
    if (isMaildir(files, root)) return Folder{std::string(inboxName), root};
    return missing();
  }
  if (layout == Layout::nested && wanted == ".") {
    if (isMaildir(files, root) && isMaildir(files, root / inboxName)) return Folder{wanted, root};
    return missing();
  }
  if (isImpossible(layout, wanted)) return missing();
  auto directory = directoryFor(root, layout, wanted);
  // "inbox/Sub" for "INBOX/Sub", as in IMAP.
  const auto slash = wanted.find('/');
  if (slash != std::string::npos && sameIgnoringAsciiCase(wanted.substr(0, slash), inboxName) &&
      !isMaildir(files, directory)) {
    wanted.replace(0, slash, inboxName);
    directory = directoryFor(root, layout, wanted);
  }
  const auto cur = files.info(directory / "cur");
  if (cur && cur->kind == FileKind::directory) return Folder{wanted, directory};
  if (!cur && cur.error().number != ENOENT && cur.error().number != ENOTDIR &&
      cur.error().number != ENAMETOOLONG) {
    return fail(error_number::maildirUnusable,
                fmt::format("The mailbox “{}” can’t be read: {}", wanted, cur.error().message));
  }
  return missing();
}

Result<void> checkNewPath(Layout layout, std::string_view path) {
  const auto refuse = [&](std::string_view why) {
    return fail(error_number::invalidName,
                fmt::format("“{}” can’t name a mailbox: {}", text::singleLine(readableBytes(path)), why));
  };
  if (path.empty()) return refuse("the name is empty");
  if (!text::isValidUtf8(path)) return refuse("it is not valid UTF-8");
  for (const auto& part : components(path)) {
    if (part.empty()) return refuse("a part of it is empty");
    if (holdsReadableByte(part)) return refuse("it holds the replacement character");
    for (std::size_t at = 0; at < part.size();) {
      const auto c = text::nextCodePoint(part, at);
      if (c < 0x20 || (c >= 0x7f && c < 0xa0)) return refuse("it holds a control character");
    }
    std::size_t length = part.size();
    if (layout == Layout::maildirPlusPlus) {
      if (part.find('.') != std::string::npos) {
        return refuse(
            "mailboxes of this account can’t have a “.” in their name (it separates the levels on disk)");
      }
      length = dottedName(path).size();
    } else {
      if (isReserved(part)) return refuse("cur, new and tmp are taken by the mail store itself");
      if (part.front() == '.') return refuse("it begins with a “.”");
    }
    if (length > 255) return refuse("it is too long");
  }
  return {};
}

Result<std::vector<Folder>> foldersToMake(FileSystem& files, const Path& root, Layout layout,
                                          std::string_view path) {
  if (auto fine = checkNewPath(layout, path); !fine) return forward(fine);
  std::vector<Folder> missing;
  for (std::string_view at = path; !at.empty(); at = parentPath(at)) {
    const auto found = findFolder(files, root, layout, at);
    if (found) {
      // "inbox/Sub" becomes a child of the inbox as it is spelled.
      for (auto& folder : missing) {
        folder.path = found->path + folder.path.substr(at.size());
        folder.directory = directoryFor(root, layout, folder.path);
      }
      break;
    }
    if (found.error().number != error_number::mailboxNotFound) return forward(found);
    missing.insert(missing.begin(), Folder{std::string(at), directoryFor(root, layout, at)});
  }
  if (missing.empty()) {
    return fail(error_number::mailboxExists,
                fmt::format("The mailbox “{}” exists already", text::singleLine(path)));
  }
  return missing;
}

Result<void> makeFolder(FileSystem& files, const Path& directory) {
  if (auto made = makeDirectories(files, directory, 0700); !made) return made;
  for (const auto* part : {"tmp", "new", "cur"}) {
    const auto made = files.makeDirectory(directory / part, 0700);
    if (!made && made.error().number != EEXIST) return made;
  }
  if (auto synced = files.syncDirectory(directory); !synced) return synced;
  return files.syncDirectory(directory.parent_path());
}

Result<void> subscribe(const Environment& environment, const Path& root, Layout layout, std::string_view path,
                       std::string_view token) {
  auto& files = environment.files;
  if (layout != Layout::maildirPlusPlus) return {};
  const Path file = root / "subscriptions";
  if (const auto there = files.info(file); !there) {
    if (there.error().number == ENOENT) return {};
    return forward(there);
  }
  auto lock = DotLock::take(environment, file, token);
  if (!lock) return forward(lock);
  auto bytes = files.read(file, 16 << 20);
  if (!bytes) return forward(bytes);
  // Version 2 begins with "V\t2" and an empty line and puts tabs between the levels.
  const bool tabbed = bytes->starts_with("V\t2\n");
  std::string line = dottedName(path).substr(1);
  if (tabbed) std::ranges::replace(line, '.', '\t');
  if (("\n" + *bytes).find("\n" + line + "\n") != std::string::npos) return {};
  if (!bytes->empty() && bytes->back() != '\n') *bytes += '\n';
  return lock->replace(file, *bytes + line + "\n");
}

std::string_view leafName(std::string_view path) {
  const auto slash = path.rfind('/');
  return slash == std::string_view::npos ? path : path.substr(slash + 1);
}

std::string_view parentPath(std::string_view path) {
  const auto slash = path.rfind('/');
  return slash == std::string_view::npos ? std::string_view() : path.substr(0, slash);
}

}  // namespace quillbox::mailclient

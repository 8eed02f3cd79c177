// Reads the includes of src/ and holds them against cmake/house.txt and the rules about what may be named
// where.
#include <algorithm>
#include <filesystem>
#include <fstream>
#include <map>
#include <regex>
#include <set>
#include <sstream>
#include <string>
#include <vector>

#include <gtest/gtest.h>

namespace {

namespace fs = std::filesystem;

const fs::path kSource = fs::path(QUILLBOX_SOURCE_DIR) / "src";

struct Room {
  int level = 0;
  std::set<std::string> also;
};

std::map<std::string, Room> readHouse() {
  std::map<std::string, Room> house;
  std::ifstream file(fs::path(QUILLBOX_SOURCE_DIR) / "cmake" / "house.txt");
  for (std::string line; std::getline(file, line);) {
    if (line.empty() || line[0] == '#') continue;
    std::istringstream words(line);
    Room room;
    std::string name;
    std::string word;
    words >> room.level >> name;
    while (words >> word) {
      if (word != "also:") room.also.insert(word);
    }
    house.emplace(name, room);
  }
  return house;
}

struct SourceFile {
  std::string path;  // below src/, with "/"
  std::string room;
  std::string text;
  std::vector<std::string> quoted;  // #include "..."
  std::vector<std::string> angled;  // #include <...>
};

std::string roomOf(const std::string& path, const std::map<std::string, Room>& house) {
  for (auto folder = fs::path(path).parent_path(); !folder.empty(); folder = folder.parent_path()) {
    if (house.contains(folder.generic_string())) return folder.generic_string();
  }
  return "";
}

std::vector<SourceFile> readSources(const std::map<std::string, Room>& house) {
  static const std::regex include(R"re(^\s*#\s*(?:include|import)\s*(?:"([^"]+)"|<([^>]+)>))re");
  std::vector<SourceFile> files;
  for (const auto& entry : fs::recursive_directory_iterator(kSource)) {
    const auto extension = entry.path().extension();
    if (extension != ".h" && extension != ".cpp" && extension != ".mm") continue;
    SourceFile file;
    file.path = fs::relative(entry.path(), kSource).generic_string();
    file.room = roomOf(file.path, house);
    std::ifstream in(entry.path());
    for (std::string line; std::getline(in, line);) {
      file.text += line + "\n";
      std::smatch match;
      if (!std::regex_search(line, match, include)) continue;
      if (match[1].matched) file.quoted.push_back(match[1]);
      if (match[2].matched) file.angled.push_back(match[2]);
    }
    files.push_back(std::move(file));
  }
  return files;
}

class House : public testing::Test {
 protected:
  const std::map<std::string, Room> house_ = readHouse();
  const std::vector<SourceFile> files_ = readSources(house_);

  bool isHostSide(const SourceFile& file) const {
    return file.room.starts_with("host/") || file.room == "main";
  }
};

TEST_F(House, IncludesGoDownTheLevelsOnly) {
  ASSERT_GT(files_.size(), 10U);
  for (const auto& file : files_) {
    EXPECT_NE(file.room, "") << file.path << " lies in no folder of cmake/house.txt";
    for (const auto& included : file.quoted) {
      if (!fs::exists(kSource / included)) {
        ADD_FAILURE() << file.path << " includes \"" << included << "\", which is not below src/";
        continue;
      }
      const auto target = roomOf(included, house_);
      if (target == file.room) continue;
      const auto& from = house_.at(file.room);
      const auto& to = house_.at(target);
      EXPECT_TRUE(to.level < from.level || (to.level == from.level && from.also.contains(target)))
          << file.path << " (level " << from.level << ") includes " << included << " (level " << to.level
          << ")";
      if (target == "mailclient") {
        EXPECT_GE(from.level, 6) << file.path << ": the core never sees the mail client";
      }
      if (file.room == "automation") {
        EXPECT_NE(target, "applescript") << file.path << ": automation sees the script-engine port only";
      }
    }
  }
}

TEST_F(House, FilesDoNotIncludeEachOtherInCircles) {
  std::map<std::string, std::vector<std::string>> edges;
  for (const auto& file : files_) edges[file.path] = file.quoted;
  std::map<std::string, int> state;  // 1 on the path, 2 done
  std::vector<std::string> trail;
  const auto visit = [&](const auto& self, const std::string& path) -> void {
    if (state[path] == 2) return;
    if (state[path] == 1) {
      std::string circle;
      for (const auto& step : trail) circle += step + " -> ";
      ADD_FAILURE() << circle << path;
      return;
    }
    state[path] = 1;
    trail.push_back(path);
    for (const auto& next : edges[path]) self(self, next);
    trail.pop_back();
    state[path] = 2;
  };
  for (const auto& file : files_) visit(visit, file.path);
}

TEST_F(House, ToolkitPlatformAndLibrariesStayInTheirRooms) {
  static const std::regex platformIfdef(
      R"(#\s*(if|ifdef|ifndef|elif)\b.*(__APPLE__|__linux__|_WIN32|__unix__|Q_OS_))");
  static const std::regex qt(R"(^(Q[A-Z]\w+|Qt\w+/.*|q\w+\.h)$)");
  for (const auto& file : files_) {
    const bool mayUseQt =
        file.room == "ui" || file.room == "host/qt" || file.room == "host/linux" || file.room == "main";
    for (const auto& header : file.angled) {
      EXPECT_TRUE(mayUseQt || !std::regex_match(header, qt)) << file.path << " includes <" << header << ">";
      EXPECT_TRUE(file.room == "mailclient" || !header.starts_with("gmime")) << file.path << " uses GMime";
    }
    if (file.path.ends_with(".h") && file.path != "base/json.h") {
      for (const auto& header : file.angled) {
        EXPECT_FALSE(header.starts_with("nlohmann")) << file.path << ": JSON belongs into the codec's .cpp";
      }
      for (const auto& header : file.quoted) EXPECT_NE(header, "base/json.h") << file.path;
    }
    EXPECT_TRUE(isHostSide(file) || !std::regex_search(file.text, platformIfdef))
        << file.path << " asks for a platform";
    EXPECT_TRUE(file.room == "host/macos" || !file.path.ends_with(".mm")) << file.path;
  }
}

TEST_F(House, TimeChanceEnvironmentAndFilesComeThroughPorts) {
  static const std::vector<std::string> headers = {"fstream",  "random",     "thread",     "unistd.h",
                                                   "fcntl.h",  "sys/stat.h", "sys/file.h", "sys/time.h",
                                                   "dirent.h", "ctime"};
  static const std::regex calls(
      R"((system_clock|steady_clock|high_resolution_clock)::now|\bgetenv\s*\(|\bfopen\s*\(|\brand\s*\(|std::filesystem::(exists|remove|rename|copy|create|status|is_|file_size|last_write|directory_iterator|current_path|absolute|canonical))");
  for (const auto& file : files_) {
    if (isHostSide(file)) continue;
    for (const auto& header : headers) {
      EXPECT_EQ(std::ranges::count(file.angled, header), 0) << file.path << " includes <" << header << ">";
    }
    std::smatch match;
    EXPECT_FALSE(std::regex_search(file.text, match, calls)) << file.path << " calls " << match.str();
  }
}

}  // namespace

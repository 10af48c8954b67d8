#include "inputs/folder_walk.h"

#include <dirent.h>
#include <fnmatch.h>
#include <sys/stat.h>

#include <algorithm>
#include <cerrno>
#include <clocale>
#include <functional>
#include <memory>
#include <string_view>
#include <utility>

namespace mediaprobe {
namespace {

enum class Kind { kFile, kFolder, kOther };

Kind KindOf(mode_t mode) {
  if (S_ISREG(mode)) return Kind::kFile;
  return S_ISDIR(mode) ? Kind::kFolder : Kind::kOther;
}

/// Of what a link leads to, but a link to a folder is no folder.
Kind KindOf(const dirent& entry, const std::string& path) {
  if (entry.d_type == DT_REG) return Kind::kFile;
  if (entry.d_type == DT_DIR) return Kind::kFolder;
  struct stat status {};
  if (entry.d_type == DT_UNKNOWN) {
    if (lstat(path.c_str(), &status) != 0) return Kind::kOther;
    if (!S_ISLNK(status.st_mode)) return KindOf(status.st_mode);
  } else if (entry.d_type != DT_LNK) {
    return Kind::kOther;
  }
  return stat(path.c_str(), &status) == 0 && S_ISREG(status.st_mode) ? Kind::kFile : Kind::kOther;
}

/// While it lives, this thread takes text for UTF-8, whatever the user's locale says; for bytes where the system has no
/// such locale.
class Utf8Characters {
 public:
  Utf8Characters() {
    static const locale_t utf8 = newlocale(LC_CTYPE_MASK, "C.UTF-8", nullptr);
    before_ = uselocale(utf8);
  }
  ~Utf8Characters() { uselocale(before_); }
  Utf8Characters(const Utf8Characters&) = delete;
  Utf8Characters& operator=(const Utf8Characters&) = delete;

 private:
  locale_t before_;
};

/// By characters; by bytes, too, since the C library tries that for names that are no UTF-8 and for all others.
bool Matches(const std::string& pattern, const std::string& name, std::string_view path_below) {
  const Utf8Characters characters;
  const bool has_slash = pattern.find('/') != std::string::npos;
  return fnmatch(pattern.c_str(), has_slash ? std::string(path_below).c_str() : name.c_str(), 0) == 0;
}

}  // namespace

FolderWalk::FolderWalk(std::string folder, WalkFilter filter) : filter_(std::move(filter)) {
  const std::string root = folder.ends_with('/') ? folder : folder + '/';
  root_size_ = root.size();
  if (const int error = Enter(root); error != 0) unreadable_root_ = Found{std::move(folder), error};
}

int FolderWalk::Enter(const std::string& folder) {
  const std::unique_ptr<DIR, int (*)(DIR*)> stream(opendir(folder.c_str()), closedir);
  if (!stream) return errno;
  Level level{folder, {}};
  // Only errno tells a failure from the end.
  for (errno = 0; const dirent* entry = readdir(stream.get()); errno = 0) {
    const std::string_view name = entry->d_name;
    if (name == "." || name == "..") continue;
    const Kind kind = KindOf(*entry, folder + entry->d_name);
    if (kind != Kind::kOther) level.entries.push_back({entry->d_name, kind == Kind::kFolder});
  }
  const int error = errno;
  std::ranges::sort(level.entries, std::greater<>(), &Entry::name);
  levels_.push_back(std::move(level));
  return error;
}

bool FolderWalk::IsWanted(const Entry& entry, const std::string& path) const {
  const std::string_view below = std::string_view(path).substr(root_size_);
  const auto matches = [&](const std::string& pattern) { return Matches(pattern, entry.name, below); };
  if (std::ranges::any_of(filter_.exclude, matches)) return false;
  return entry.is_folder || filter_.include.empty() || std::ranges::any_of(filter_.include, matches);
}

std::optional<FolderWalk::Found> FolderWalk::Next() {
  if (unreadable_root_) return std::exchange(unreadable_root_, std::nullopt);
  while (!levels_.empty()) {
    Level& level = levels_.back();
    if (level.entries.empty()) {
      levels_.pop_back();
      continue;
    }
    const Entry entry = std::move(level.entries.back());
    level.entries.pop_back();
    std::string path = level.path + entry.name;
    if (!IsWanted(entry, path)) continue;
    if (!entry.is_folder) return Found{std::move(path)};
    if (const int error = Enter(path + "/"); error != 0) return Found{std::move(path), error};
    return std::nullopt;
  }
  return std::nullopt;
}

}  // namespace mediaprobe

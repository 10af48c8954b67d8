#pragma once

#include <cstddef>
#include <optional>
#include <string>
#include <vector>

namespace mediaprobe {

/// Shell patterns. One with a slash in it is held against the path below the walked folder, one without against the
/// last name of the path. An empty list of includes means every file.
struct WalkFilter {
  std::vector<std::string> include;  ///< of files
  std::vector<std::string> exclude;  ///< of files and folders
};

/// The regular files under a folder, its folders' files included: files in the order of their names, byte by byte, and
/// folders among them. Links to files are followed, links to folders are not, so that a walk ends. Folders that cannot
/// be read are given as if they were files, the walked one as it was named, which lets their failure be told.
class FolderWalk {
 public:
  FolderWalk(std::string folder, WalkFilter filter);

  /// The path of the next file, beginning with the folder's own name; empty when there are no more.
  std::optional<std::string> Next();

 private:
  struct Entry {
    std::string name;
    bool is_folder;
  };
  struct Level {
    std::string path;            // with a slash at its end
    std::vector<Entry> entries;  // the next one last
  };

  /// False when the folder cannot be read.
  bool Enter(const std::string& folder);
  bool IsWanted(const Entry& entry, const std::string& path) const;

  std::size_t root_size_;
  WalkFilter filter_;
  std::vector<Level> levels_;
  std::optional<std::string> unreadable_root_;
};

}  // namespace mediaprobe

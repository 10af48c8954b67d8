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
/// be read to their end are given as well, the walked one as it was named, before what could be read of them.
class FolderWalk {
 public:
  struct Found {
    std::string path;  ///< beginning with the walked folder's own name
    int error = 0;     ///< why a folder cannot be read, as errno has it; 0 for a file
  };

  FolderWalk(std::string folder, WalkFilter filter);

  /// Looks into one more folder at most. Empty when nothing was found so far; there is more to come until `is_done`.
  std::optional<Found> Next();
  bool is_done() const { return levels_.empty() && !unreadable_root_; }

 private:
  struct Entry {
    std::string name;
    bool is_folder;
  };
  struct Level {
    std::string path;            // with a slash at its end
    std::vector<Entry> entries;  // the next one last
  };

  /// Returns what the folder cannot be read to its end for, as errno has it; 0 when it has been.
  int Enter(const std::string& folder);
  bool IsWanted(const Entry& entry, const std::string& path) const;

  std::size_t root_size_;
  WalkFilter filter_;
  std::vector<Level> levels_;
  std::optional<Found> unreadable_root_;
};

}  // namespace mediaprobe

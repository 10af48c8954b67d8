#pragma once

#include <filesystem>
#include <fstream>
#include <string>

namespace fakes {

/// An empty folder of the test's own, removed at the end.
class TempFolder {
 public:
  TempFolder() {
    std::string name = (std::filesystem::temp_directory_path() / "mediainfo-test-XXXXXX").string();
    path_ = mkdtemp(name.data());
  }
  TempFolder(const TempFolder&) = delete;
  TempFolder& operator=(const TempFolder&) = delete;
  ~TempFolder() { std::filesystem::remove_all(path_); }

  const std::filesystem::path& path() const { return path_; }
  /// Path of a new file in the folder.
  std::string MakeFile(const std::string& name) const {
    std::ofstream(path_ / name) << "content";
    return (path_ / name).string();
  }

 private:
  std::filesystem::path path_;
};

}  // namespace fakes

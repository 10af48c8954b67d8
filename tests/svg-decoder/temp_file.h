#pragma once

#include <unistd.h>
#include <zlib.h>

#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <string>
#include <string_view>

/// An empty folder of the test's own, removed at the end.
class TempFolder {
 public:
  TempFolder() {
    std::string name = (std::filesystem::temp_directory_path() / "svg-decoder-test-XXXXXX").string();
    path_ = mkdtemp(name.data());
  }
  TempFolder(const TempFolder&) = delete;
  TempFolder& operator=(const TempFolder&) = delete;
  ~TempFolder() { std::filesystem::remove_all(path_); }

  const std::filesystem::path& path() const { return path_; }
  /// Path of a new file in the folder.
  std::string Make(const std::string& name, std::string_view content) const {
    std::ofstream(path_ / name, std::ios::binary).write(content.data(), static_cast<std::streamsize>(content.size()));
    return (path_ / name).string();
  }

 private:
  std::filesystem::path path_;
};

/// `content` as one gzip member.
inline std::string Gzip(std::string_view content) {
  z_stream stream{};
  constexpr int kGzipWindowBits = 15 + 16;
  deflateInit2(&stream, Z_BEST_COMPRESSION, Z_DEFLATED, kGzipWindowBits, 8, Z_DEFAULT_STRATEGY);
  std::string packed(deflateBound(&stream, static_cast<uLong>(content.size())), '\0');
  stream.next_in = reinterpret_cast<Bytef*>(const_cast<char*>(content.data()));
  stream.avail_in = static_cast<uInt>(content.size());
  stream.next_out = reinterpret_cast<Bytef*>(packed.data());
  stream.avail_out = static_cast<uInt>(packed.size());
  deflate(&stream, Z_FINISH);
  packed.resize(stream.total_out);
  deflateEnd(&stream);
  return packed;
}

// The media server's image query on each sample picture, and on big stills, which are a sample with a hole behind it or
// in it: "bytes_read" is what one query reads of the file.

#include <benchmark/benchmark.h>
#include <unistd.h>

#include <algorithm>
#include <cstdint>
#include <filesystem>
#include <fstream>
#include <stdexcept>
#include <string>
#include <vector>

#include "media_server/imedia_server.h"
#include "platform/com_ptr.h"
#include "platform/text.h"

namespace bench {
namespace {

namespace fs = std::filesystem;

constexpr std::uintmax_t kBigBytes = 1'000'000'000;

/// What this process has read so far, as the kernel counts it.
std::int64_t BytesRead() {
  std::ifstream io("/proc/self/io");
  std::string key;
  std::int64_t value = 0;
  while (io >> key >> value) {
    if (key == "rchar:") return value;
  }
  return 0;
}

media_server::IMediaServer& Server() {
  static const auto server = [] {
    platform::ComPtr<media_server::IMediaServer> made;
    CreateMediaServer("", "", "", "", "", made.Put());
    return made;
  }();
  return *server.Get();
}

void Query(const std::u16string& path) {
  imagecore::QkImageInfo info;
  if (Server().QueryImage(path.c_str(), &info) == 0) throw std::runtime_error("no answer");
  benchmark::DoNotOptimize(info.width);
}

void QueryImage(benchmark::State& state, const fs::path& file) {
  const std::u16string path = platform::PathToUtf16(file.string());
  Query(path);  // loads what is loaded once
  // Asking how much was read reads, too.
  const std::int64_t start = BytesRead();
  const std::int64_t cost_of_asking = BytesRead() - start;
  const std::int64_t before = BytesRead();
  Query(path);
  const std::int64_t read = BytesRead() - before - cost_of_asking;
  for ([[maybe_unused]] auto iteration : state) Query(path);
  state.counters["bytes_read"] = static_cast<double>(read);
}

/// A folder of big stills, gone with the process.
class BigStills {
 public:
  BigStills() : folder_(fs::temp_directory_path() / ("big-stills-" + std::to_string(::getpid()))) {
    fs::create_directory(folder_);
    // The picture data of all of these come last, so the file may be longer.
    for (const char* name : {"upright.jpg", "mirrored.tif", "still.avif", "generated.png"}) {
      const fs::path big = folder_ / name;
      fs::copy_file(fs::path(SAMPLES_FOLDER) / "pictures" / name, big);
      fs::resize_file(big, kBigBytes);
      paths_.push_back(big);
    }
  }
  BigStills(const BigStills&) = delete;
  BigStills& operator=(const BigStills&) = delete;
  ~BigStills() {
    std::error_code ignored;
    fs::remove_all(folder_, ignored);
  }
  const std::vector<fs::path>& Paths() const { return paths_; }

 private:
  fs::path folder_;
  std::vector<fs::path> paths_;
};

void Register(const std::string& group, std::vector<fs::path> paths) {
  std::sort(paths.begin(), paths.end());
  for (const fs::path& path : paths) {
    benchmark::RegisterBenchmark((group + "/" + path.filename().string()).c_str(), QueryImage, path)
        ->Unit(benchmark::kMicrosecond);
  }
}

const bool kAreRegistered = [] {
  const fs::directory_iterator pictures(fs::path(SAMPLES_FOLDER) / "pictures");
  Register("QueryImage", {fs::begin(pictures), fs::end(pictures)});
  static const BigStills big;
  Register("QueryBigImage", big.Paths());
  return true;
}();

}  // namespace
}  // namespace bench

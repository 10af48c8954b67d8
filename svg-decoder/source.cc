#include "svg-decoder/source.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>
#include <zlib.h>

#include <algorithm>
#include <cerrno>
#include <new>
#include <system_error>
#include <utility>

#include "core/error_text.h"

namespace svg_decoder {
namespace {

/// The largest drawings seen are maps and circuit layouts of some 20 MB.
constexpr std::size_t kMostBytes = std::size_t{32} << 20;
constexpr char kTooLarge[] = "larger than 32 MB, which is as much as is read of an SVG";
constexpr char kTooLargeUnpacked[] = "larger than 32 MB when unpacked, which is as much as is read of an SVG";
constexpr char kDamagedPacking[] = "damaged SVG: its compressed data is broken";

constexpr std::string_view kGzipMark = "\x1F\x8B";
constexpr int kGzipWindowBits = MAX_WBITS + 16;
constexpr std::string_view kFileScheme = "file:/";

/// As the media information module takes a path from a URL: six characters are skipped wherever "file:/" was found.
std::optional<std::string> PathOf(std::string_view url) {
  if (url.starts_with("http")) {
    CoreSetErrorText("SVGs are read from files only");
    return std::nullopt;
  }
  if (url.find(":/") == std::string_view::npos) return std::string(url);
  if (url.find(kFileScheme) == std::string_view::npos) {
    CoreSetErrorText("unknown protocol");
    return std::nullopt;
  }
  return std::string(url.substr(kFileScheme.size()));
}

class File {
 public:
  /// Does not wait for the other end of a pipe.
  explicit File(const std::string& path) : descriptor_(open(path.c_str(), O_RDONLY | O_CLOEXEC | O_NONBLOCK)) {}
  ~File() {
    if (descriptor_ >= 0) close(descriptor_);
  }
  File(const File&) = delete;
  File& operator=(const File&) = delete;

  bool IsOpen() const { return descriptor_ >= 0; }

  bool IsRegular() const {
    struct stat status {};
    return fstat(descriptor_, &status) == 0 && S_ISREG(status.st_mode);
  }

  /// Appends what follows, up to `most` bytes in all; false when reading fails.
  bool ReadUpTo(std::size_t most, std::string& bytes) const {
    constexpr std::size_t kStep = std::size_t{64} << 10;
    while (bytes.size() < most) {
      const std::size_t old_size = bytes.size();
      bytes.resize(std::min(old_size + std::max(kStep, old_size), most));
      const ssize_t got = read(descriptor_, bytes.data() + old_size, bytes.size() - old_size);
      bytes.resize(old_size + static_cast<std::size_t>(std::max<ssize_t>(got, 0)));
      if (got < 0 && errno == EINTR) continue;
      if (got <= 0) return got == 0;
    }
    return true;
  }

 private:
  int descriptor_;
};

void SetSystemReason() { CoreSetErrorText(std::generic_category().message(errno).c_str()); }

class Inflater {
 public:
  explicit Inflater(std::string_view packed) {
    // zlib reads through this pointer; its type is older than const.
    stream_.next_in = reinterpret_cast<Bytef*>(const_cast<char*>(packed.data()));
    stream_.avail_in = static_cast<uInt>(packed.size());
    if (inflateInit2(&stream_, kGzipWindowBits) != Z_OK) throw std::bad_alloc();
  }
  ~Inflater() { inflateEnd(&stream_); }
  Inflater(const Inflater&) = delete;
  Inflater& operator=(const Inflater&) = delete;

  /// Z_OK while there may be more.
  int InflateInto(std::string& bytes, std::size_t from) {
    stream_.next_out = reinterpret_cast<Bytef*>(bytes.data() + from);
    stream_.avail_out = static_cast<uInt>(bytes.size() - from);
    const int result = inflate(&stream_, Z_NO_FLUSH);
    bytes.resize(bytes.size() - stream_.avail_out);
    return result;
  }

 private:
  z_stream stream_{};
};

}  // namespace

std::optional<std::string> Unpack(std::string packed) {
  if (!packed.starts_with(kGzipMark)) return packed;

  constexpr std::size_t kStep = std::size_t{64} << 10;
  Inflater inflater(packed);
  std::string bytes;
  int result = Z_OK;
  while (result == Z_OK && bytes.size() <= kMostBytes) {
    const std::size_t old_size = bytes.size();
    bytes.resize(std::min(old_size + std::max(kStep, old_size), kMostBytes + 1));
    result = inflater.InflateInto(bytes, old_size);
  }
  if (bytes.size() > kMostBytes) {
    CoreSetErrorText(kTooLargeUnpacked);
    return std::nullopt;
  }
  if (result != Z_STREAM_END) {
    CoreSetErrorText(kDamagedPacking);
    return std::nullopt;
  }
  return bytes;
}

std::optional<std::string> ReadSource(std::string_view url) {
  const std::optional<std::string> path = PathOf(url);
  if (!path) return std::nullopt;
  const File file(*path);
  if (!file.IsOpen()) {
    SetSystemReason();
    return std::nullopt;
  }
  if (!file.IsRegular()) {
    CoreSetErrorText("not a regular file");
    return std::nullopt;
  }
  std::string bytes;
  if (!file.ReadUpTo(kMostBytes + 1, bytes)) {
    SetSystemReason();
    return std::nullopt;
  }
  if (bytes.empty()) {
    CoreSetErrorText("empty file");
    return std::nullopt;
  }
  if (bytes.size() > kMostBytes) {
    CoreSetErrorText(kTooLarge);
    return std::nullopt;
  }
  return Unpack(std::move(bytes));
}

}  // namespace svg_decoder

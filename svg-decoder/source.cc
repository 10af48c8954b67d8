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

constexpr std::size_t kStep = std::size_t{64} << 10;
constexpr std::string_view kGzipMark = "\x1F\x8B";
constexpr int kGzipWindowBits = MAX_WBITS + 16;
constexpr std::string_view kFileScheme = "file:/";

std::nullopt_t Fail(const char* reason) {
  CoreSetErrorText(reason);
  return std::nullopt;
}

std::nullopt_t FailWithSystemReason() { return Fail(std::generic_category().message(errno).c_str()); }

/// As the media information module takes a path from a URL: six characters are skipped wherever "file:/" was found.
std::optional<std::string> PathOf(std::string_view url) {
  if (url.starts_with("http")) return Fail("SVGs are read from files only");
  if (url.find(":/") == std::string_view::npos) return std::string(url);
  if (url.find(kFileScheme) == std::string_view::npos) return Fail("unknown protocol");
  return std::string(url.substr(kFileScheme.size()));
}

std::size_t Take(std::string_view& from, char* buffer, std::size_t size) {
  const std::size_t taken = from.copy(buffer, size);
  from.remove_prefix(taken);
  return taken;
}

}  // namespace

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

  /// Size in bytes; empty for what is no regular file.
  std::optional<std::size_t> Size() const {
    struct stat status {};
    if (fstat(descriptor_, &status) != 0 || !S_ISREG(status.st_mode)) return std::nullopt;
    return static_cast<std::size_t>(status.st_size);
  }

  std::optional<std::size_t> Read(char* buffer, std::size_t size) const {
    ssize_t got = -1;
    do {
      got = read(descriptor_, buffer, size);
    } while (got < 0 && errno == EINTR);
    if (got < 0) return FailWithSystemReason();
    return static_cast<std::size_t>(got);
  }

 private:
  int descriptor_;
};

class Inflater {
 public:
  Inflater() {
    if (inflateInit2(&stream_, kGzipWindowBits) != Z_OK) throw std::bad_alloc();
  }
  ~Inflater() { inflateEnd(&stream_); }
  Inflater(const Inflater&) = delete;
  Inflater& operator=(const Inflater&) = delete;

  bool HasEnded() const { return result_ == Z_STREAM_END; }
  bool IsBroken() const { return result_ != Z_OK && result_ != Z_BUF_ERROR && result_ != Z_STREAM_END; }

  /// Takes from `packed` and gives how many bytes that made.
  std::size_t Inflate(std::string_view& packed, char* buffer, std::size_t size) {
    // zlib reads through this pointer; its type is older than const.
    stream_.next_in = reinterpret_cast<Bytef*>(const_cast<char*>(packed.data()));
    stream_.avail_in = static_cast<uInt>(packed.size());
    stream_.next_out = reinterpret_cast<Bytef*>(buffer);
    stream_.avail_out = static_cast<uInt>(size);
    result_ = inflate(&stream_, Z_NO_FLUSH);
    packed.remove_prefix(packed.size() - stream_.avail_in);
    return size - stream_.avail_out;
  }

 private:
  z_stream stream_{};
  int result_ = Z_OK;
};

std::optional<std::size_t> MemorySource::Read(char* buffer, std::size_t size) { return Take(rest_, buffer, size); }

std::unique_ptr<FileSource> FileSource::Open(std::string_view url) {
  const std::optional<std::string> path = PathOf(url);
  if (!path) return nullptr;
  auto file = std::make_unique<File>(*path);
  if (!file->IsOpen()) {
    FailWithSystemReason();
    return nullptr;
  }
  const std::optional<std::size_t> size = file->Size();
  if (!size || *size == 0 || *size > kMostBytes) {
    CoreSetErrorText(!size ? "not a regular file" : *size == 0 ? "empty file" : kTooLarge);
    return nullptr;
  }
  auto source = std::make_unique<FileSource>(std::move(file));
  return source->Start() ? std::move(source) : nullptr;
}

FileSource::FileSource(std::unique_ptr<File> file) : file_(std::move(file)) {}
FileSource::~FileSource() = default;

bool FileSource::Start() {
  if (!Refill()) return false;
  if (rest_.starts_with(kGzipMark)) inflater_ = std::make_unique<Inflater>();
  return true;
}

std::optional<std::size_t> FileSource::Refill() {
  input_.resize(kStep);
  const std::optional<std::size_t> got = file_->Read(input_.data(), input_.size());
  rest_ = {input_.data(), got.value_or(0)};
  return got;
}

std::optional<std::size_t> FileSource::Read(char* buffer, std::size_t size) {
  const std::optional<std::size_t> got = inflater_ ? ReadPacked(buffer, size) : ReadPlain(buffer, size);
  if (!got) return std::nullopt;
  given_ += *got;
  if (given_ > kMostBytes) return Fail(inflater_ ? kTooLargeUnpacked : kTooLarge);
  return got;
}

std::optional<std::size_t> FileSource::ReadPlain(char* buffer, std::size_t size) {
  if (!rest_.empty()) return Take(rest_, buffer, size);
  return file_->Read(buffer, size);
}

std::optional<std::size_t> FileSource::ReadPacked(char* buffer, std::size_t size) {
  while (!inflater_->HasEnded()) {
    if (rest_.empty()) {
      const std::optional<std::size_t> got = Refill();
      if (!got) return std::nullopt;
      if (*got == 0) return Fail(kDamagedPacking);
    }
    const std::size_t made = inflater_->Inflate(rest_, buffer, size);
    if (inflater_->IsBroken()) return Fail(kDamagedPacking);
    if (made > 0) return made;
  }
  return 0;
}

std::optional<std::string> FileSource::ReadAll() {
  std::string bytes;
  std::size_t size = 0;
  while (true) {
    bytes.resize(size + std::max(size, kStep));
    const std::optional<std::size_t> got = Read(bytes.data() + size, bytes.size() - size);
    if (!got) return std::nullopt;
    size += *got;
    bytes.resize(size);
    if (*got == 0) return bytes;
  }
}

}  // namespace svg_decoder

#include "media-server/digest/content_digest.h"

#include <algorithm>
#include <array>
#include <filesystem>
#include <memory>
#include <span>
#include <system_error>
#include <vector>

#include "media-server/digest/digest_library.h"
#include "media-server/digest/sequence_pattern.h"
#include "media-server/io/file_source.h"
#include "media-server/io/sibling_library.h"

namespace media_server {
namespace {

constexpr std::size_t kChunk = 256 * 1024;             // stays in the processor's cache between read and digest
constexpr std::uint64_t kReadAhead = 4 * 1024 * 1024;  // what a disk fetches while the chunks before it are digested

constexpr char kNoDigest[] = "the digest cannot be computed";

bool AddFile(const std::string& path, IMd5& md5, std::string* reason) {
  const auto source = OpenFileSource(path.c_str(), reason);
  return source && AddContent(*source, md5, reason);
}

std::unique_ptr<IMd5> MakeMd5() {
  static const auto make = LoadSiblingFunction<MakeMd5Function>(kDigestLibraryName, kMakeMd5);
  return std::unique_ptr<IMd5>(make ? make() : nullptr);
}

bool AddFrames(SequencePattern frames, IMd5& md5, std::string* reason) {
  auto frame = frames.Next();
  if (!frame) {
    *reason = "a sequence without frames";
    return false;
  }
  for (; frame; frame = frames.Next()) {
    if (AddFile(*frame, md5, reason)) continue;
    *reason += ": " + *frame;
    return false;
  }
  return true;
}

bool Exists(const std::string& path) {
  std::error_code failure;
  return std::filesystem::exists(path, failure);
}

std::string ToHex(std::span<const std::uint8_t> bytes) {
  constexpr char kDigits[] = "0123456789abcdef";
  std::string text;
  for (const std::uint8_t byte : bytes) {
    text += kDigits[byte >> 4];
    text += kDigits[byte & 15];
  }
  return text;
}

}  // namespace

bool AddContent(IByteSource& source, IMd5& md5, std::string* reason) {
  std::vector<std::uint8_t> chunk(kChunk);
  const std::uint64_t size = source.Size().value_or(0);
  for (std::uint64_t at = 0; at < size; at += kChunk) {
    if (at % kReadAhead == 0) source.WillRead(at + kReadAhead, kReadAhead);
    const auto piece = std::span(chunk).first(static_cast<std::size_t>(std::min<std::uint64_t>(kChunk, size - at)));
    if (source.ReadAt(at, piece) < piece.size()) {
      const char* failure = source.ReadFailure();
      *reason = failure != nullptr ? failure : "cannot be read to its end";
      return false;
    }
    if (!md5.Update(piece)) {
      *reason = kNoDigest;
      return false;
    }
  }
  return true;
}

std::optional<std::string> DigestContent(const std::string& path, std::string* reason) {
  const auto md5 = MakeMd5();
  if (!md5) {
    *reason = "the digest library is missing";
    return std::nullopt;
  }
  const auto frames = SequencePattern::Parse(path);
  // A file may have brackets in its name.
  const bool read = frames && !Exists(path) ? AddFrames(*frames, *md5, reason) : AddFile(path, *md5, reason);
  if (!read) return std::nullopt;
  std::array<std::uint8_t, 16> digest{};
  if (!md5->Finish(&digest)) {
    *reason = kNoDigest;
    return std::nullopt;
  }
  return ToHex(digest);
}

}  // namespace media_server

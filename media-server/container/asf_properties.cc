#include "media-server/container/asf_properties.h"

#include <limits>
#include <string_view>

#include "media-server/container/byte_reader.h"

namespace media_server {
namespace {

using namespace std::string_view_literals;

constexpr std::string_view kFileProperties = "\xA1\xDC\xAB\x8C\x47\xA9\xCF\x11\x8E\xE4\x00\xC0\x0C\x20\x53\x65"sv;
constexpr std::string_view kHeaderExtension = "\xB5\x03\xBF\x5F\x2E\xA9\xCF\x11\x8E\xE3\x00\xC0\x0C\x20\x53\x65"sv;
constexpr std::string_view kExtendedStreamProperties =
    "\xCB\xA5\xE6\x14\x72\xC6\x32\x43\x83\x99\xA9\x69\x52\x06\x5B\x5A"sv;
constexpr std::string_view kContentEncryption = "\xFB\xB3\x11\x22\x23\xBD\xD2\x11\xB4\xB7\x00\xA0\xC9\x55\xFC\x6E"sv;
constexpr std::string_view kExtendedContentEncryption =
    "\x14\xE6\x8A\x29\x22\x26\x17\x4C\xB9\x35\xDA\xE0\x7E\xE9\x28\x9C"sv;
constexpr std::uint64_t kHeaderHead = 30;     // the header object's own id, size, count and two reserved bytes
constexpr std::uint64_t kObjectHead = 24;     // id and size
constexpr std::size_t kFlagsEnd = 92;         // of the file properties object
constexpr std::uint64_t kExtensionHead = 46;  // the header extension object's own id, reserved fields and size
constexpr int kMostObjects = 64;

constexpr std::uint64_t kTicksPerSecond = 10'000'000;
// Writers put a single tick where they know no time, or what stood in memory.
constexpr std::uint64_t kShortestFrame = kTicksPerSecond / 1000;
constexpr std::uint64_t kLongestFrame = kTicksPerSecond * 60;
constexpr std::int64_t kSecondsFrom1601To1970 = 11'644'473'600;

AsfFileProperties ReadProperties(ByteReader& reader) {
  reader.Skip(16);  // file id
  const std::uint64_t file_size = reader.Le64();
  const std::uint64_t creation_date = reader.Le64();
  reader.Skip(8);  // packets
  const std::uint64_t play_duration = reader.Le64();
  reader.Skip(8);  // send duration
  const std::uint64_t preroll_ms = reader.Le64();
  const bool is_broadcast = (reader.Le32() & 1) != 0;
  AsfFileProperties properties;
  if (!is_broadcast) {
    properties.file_size_bytes = file_size;
    const double seconds =
        static_cast<double>(play_duration) / kTicksPerSecond - static_cast<double>(preroll_ms) / 1000;
    if (seconds > 0) properties.duration_s = seconds;
  }
  // Writers without a clock leave 0 in one of the two epochs, or what stood in memory.
  const std::int64_t creation = static_cast<std::int64_t>(creation_date / kTicksPerSecond) - kSecondsFrom1601To1970;
  if (creation > 0) properties.creation_unix_s = creation;
  return properties;
}

// Calls `visit` with id, place and size of each object from `offset` to `end`, until it says that it has seen enough.
template <typename Visit>
void ForEachObject(IByteSource& source, std::uint64_t offset, std::uint64_t end, Visit visit) {
  for (int i = 0; i < kMostObjects && offset < end; ++i) {
    const auto bytes = ReadBytes(source, offset, kObjectHead);
    ByteReader reader(bytes);
    const std::string_view id = AsText(reader.Take(16));
    const std::uint64_t size = reader.Le64();
    if (!reader.Ok() || size < kObjectHead || size > end - offset) return;
    if (visit(id, offset, size)) return;
    offset += size;
  }
}

constexpr std::uint64_t kNoEnd = std::numeric_limits<std::uint64_t>::max();

std::optional<AsfFrameTime> ReadFrameTime(IByteSource& source, std::uint64_t offset) {
  constexpr std::uint64_t kStreamNumber = kObjectHead + 48;  // behind times, rates, buffers and flags
  const auto bytes = ReadBytes(source, offset + kStreamNumber, 12);
  ByteReader reader(bytes);
  AsfFrameTime time{.stream_number = reader.Le16()};
  reader.Skip(2);  // language
  time.ticks = reader.Le64();
  const bool is_possible = reader.Ok() && time.ticks >= kShortestFrame && time.ticks <= kLongestFrame;
  return is_possible ? std::optional(time) : std::nullopt;
}

}  // namespace

std::optional<AsfFileProperties> ReadAsfFileProperties(IByteSource& source) {
  std::optional<AsfFileProperties> properties;
  ForEachObject(source, kHeaderHead, kNoEnd, [&](std::string_view id, std::uint64_t offset, std::uint64_t) {
    if (id != kFileProperties) return false;
    const auto bytes = ReadBytes(source, offset, kFlagsEnd);
    ByteReader reader(bytes);
    reader.Skip(kObjectHead);
    properties = ReadProperties(reader);
    if (!reader.Ok()) properties.reset();
    return true;
  });
  return properties;
}

std::vector<AsfFrameTime> ReadAsfFrameTimes(IByteSource& source) {
  std::vector<AsfFrameTime> times;
  const auto visit_extension = [&](std::string_view id, std::uint64_t offset, std::uint64_t) {
    const auto time = id == kExtendedStreamProperties ? ReadFrameTime(source, offset) : std::nullopt;
    if (time) times.push_back(*time);
    return false;
  };
  ForEachObject(source, kHeaderHead, kNoEnd, [&](std::string_view id, std::uint64_t offset, std::uint64_t size) {
    if (id != kHeaderExtension) return false;
    ForEachObject(source, offset + kExtensionHead, offset + size, visit_extension);
    return true;
  });
  return times;
}

bool IsProtectedAsf(IByteSource& source) {
  bool is_protected = false;
  ForEachObject(source, kHeaderHead, kNoEnd, [&](std::string_view id, std::uint64_t, std::uint64_t) {
    is_protected = id == kContentEncryption || id == kExtendedContentEncryption;
    return is_protected;
  });
  return is_protected;
}

double AsfFrameTime::FramesPerSecond() const {
  return static_cast<double>(kTicksPerSecond) / static_cast<double>(ticks);
}

}  // namespace media_server

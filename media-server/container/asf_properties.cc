#include "media-server/container/asf_properties.h"

#include <limits>
#include <string_view>

#include "media-server/container/byte_reader.h"

namespace media_server {
namespace {

using namespace std::string_view_literals;

constexpr std::string_view kFileProperties = "\xA1\xDC\xAB\x8C\x47\xA9\xCF\x11\x8E\xE4\x00\xC0\x0C\x20\x53\x65"sv;
constexpr std::uint64_t kHeaderHead = 30;  // the header object's own id, size, count and two reserved bytes
constexpr std::uint64_t kObjectHead = 24;  // id and size
constexpr std::size_t kFlagsEnd = 92;      // of the file properties object
constexpr int kMostObjects = 64;

constexpr std::uint64_t kTicksPerSecond = 10'000'000;
constexpr std::int64_t kSecondsFrom1601To1970 = 11'644'473'600;

AsfFileProperties ReadProperties(ByteReader& reader) {
  reader.Skip(16);  // file id
  const std::uint64_t file_size = reader.Le64();
  const std::uint64_t creation_date = reader.Le64();
  reader.Skip(32);  // packets, durations, preroll
  const bool is_broadcast = (reader.Le32() & 1) != 0;
  AsfFileProperties properties;
  if (!is_broadcast) properties.file_size_bytes = file_size;
  if (creation_date != 0) {
    properties.creation_unix_s = static_cast<std::int64_t>(creation_date / kTicksPerSecond) - kSecondsFrom1601To1970;
  }
  return properties;
}

}  // namespace

std::optional<AsfFileProperties> ReadAsfFileProperties(IByteSource& source) {
  std::uint64_t offset = kHeaderHead;
  for (int i = 0; i < kMostObjects; ++i) {
    const auto bytes = ReadBytes(source, offset, kFlagsEnd);
    ByteReader reader(bytes);
    const std::string_view id = AsText(reader.Take(16));
    const std::uint64_t object_size = reader.Le64();
    if (!reader.Ok() || object_size < kObjectHead) return std::nullopt;
    if (id == kFileProperties) {
      const AsfFileProperties properties = ReadProperties(reader);
      if (!reader.Ok()) return std::nullopt;
      return properties;
    }
    if (object_size > std::numeric_limits<std::uint64_t>::max() - offset) return std::nullopt;
    offset += object_size;
  }
  return std::nullopt;
}

}  // namespace media_server

#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <string_view>
#include <variant>
#include <vector>

#include "core/rational.h"

namespace mediaprobe {

/// One value of a metadata store. Texts are as the file has them, valid UTF-8 or not.
using MetadataValue = std::variant<std::int64_t, double, std::string, core::Rational>;

/// Keys are the interface's own texts, which live as long as the program. Only keys that have a value stand here.
struct MetadataEntry {
  std::string_view key;
  MetadataValue value;
};
using Metadata = std::vector<MetadataEntry>;

/// The value under `key`, or null.
const MetadataValue* FindMetadata(const Metadata& metadata, std::string_view key);

/// Degrees, north and east positive.
struct Location {
  double latitude;
  double longitude;
};

/// What the streams of every kind tell. Whatever the file does not tell is empty.
struct StreamRecord {
  std::uint32_t index = 0;  ///< in the file, from 0
  std::uint32_t id = 0;     ///< the container's own
  std::optional<std::string> codec;
  std::optional<std::string> language;
  std::vector<std::string_view> disposition;
};

/// What picture and sound streams have in common.
struct CodedStreamRecord : StreamRecord {
  std::optional<std::string> codec_long;
  std::optional<std::string> fourcc;
  std::optional<std::variant<std::int64_t, std::string>> profile;  ///< the name, or the codec's number for want of one
  std::optional<std::uint64_t> duration_100ns;
  std::optional<std::uint32_t> bit_rate_bps;
  std::vector<std::string_view> flags;
};

struct VideoRecord : CodedStreamRecord {
  std::optional<std::int32_t> level;  ///< as the codec numbers it
  std::optional<std::uint32_t> width;
  std::optional<std::uint32_t> height;
  std::optional<std::uint32_t> display_width;
  std::optional<std::uint32_t> display_height;
  std::optional<core::Rational> frame_rate;  ///< frames per second
  std::optional<std::uint32_t> frame_count;
  std::uint32_t rotation_degrees = 0;  ///< clockwise
  std::string_view flip;
  std::optional<std::string_view> field_order;
  std::optional<std::string> chroma;
  std::optional<std::int32_t> bit_depth;
  std::optional<std::variant<std::int64_t, std::string>> color_primaries;  ///< the name, or the H.273 number
  std::optional<std::string_view> color_range;
  Metadata metadata;
};

struct AudioRecord : CodedStreamRecord {
  std::optional<std::uint32_t> sample_rate_hz;
  std::optional<std::uint32_t> channels;
  std::optional<std::uint32_t> bits_per_sample;
};

using SubpictureRecord = StreamRecord;

struct ProgramRecord {
  std::uint32_t id = 0;
  std::optional<std::uint64_t> duration_100ns;
  std::optional<std::uint32_t> bit_rate_bps;
  std::vector<VideoRecord> video;
  std::vector<AudioRecord> audio;
  std::vector<SubpictureRecord> subpicture;
};

/// What the media service tells of one file.
struct MediaRecord {
  std::string format;
  std::string format_long;
  std::string fourcc;  ///< container code
  std::optional<std::uint64_t> size_bytes;
  std::optional<std::uint64_t> duration_100ns;
  std::optional<std::uint64_t> bit_rate_bps;
  std::vector<ProgramRecord> programs;
  Metadata metadata;
};

/// The answer for one input.
struct Record {
  std::string input;                 ///< as given
  std::optional<std::string> error;  ///< why there is no answer, in words; the rest is empty then
  std::optional<std::int64_t> created_s;
  std::optional<std::int64_t> modified_s;  ///< both in seconds since 1970
  std::optional<Location> location;
  std::optional<std::string> aigc;  ///< the AI-generated-content label's text
  MediaRecord media;
};

}  // namespace mediaprobe

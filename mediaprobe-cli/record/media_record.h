#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <string_view>
#include <variant>
#include <vector>

#include "core/rational.h"
#include "record/metadata.h"

namespace mediaprobe {

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

}  // namespace mediaprobe

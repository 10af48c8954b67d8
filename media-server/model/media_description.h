#pragma once

#include <cstddef>
#include <cstdint>
#include <optional>
#include <string>
#include <vector>

#include "media-server/model/media_tags.h"
#include "media_server/format_records.h"
#include "media_server/istream.h"

namespace media_server {

inline constexpr std::int32_t kUnknownProfile = -99;

/// The extended properties of a picture stream, named after their keys in property_keys.h. Empty is not delivered.
struct PictureProperties {
  std::optional<std::int32_t> transfer_characteristics;
  std::optional<std::int32_t> matrix_coefficients;
  std::optional<std::int32_t> alpha_channel;
  std::optional<double> max_frame_rate;  ///< frames per second
  std::optional<std::string> format_profile;
  std::optional<std::string> format_settings_gop;
  std::optional<std::int32_t> format_settings_cabac;
  std::optional<std::int32_t> format_settings_ref_frame;
  std::optional<std::int32_t> is_truncated;
  std::optional<std::int32_t> is_dolby_vision;
  std::optional<std::int32_t> count_of_views;
  std::optional<std::int32_t> full_idr;
  std::optional<std::int32_t> clean_aperture_width;
  std::optional<std::int32_t> clean_aperture_height;
  std::optional<std::int32_t> clean_aperture_xoff;
  std::optional<std::int32_t> clean_aperture_yoff;
  std::optional<std::int32_t> frame_view_3d_mode;
  std::optional<std::int32_t> frame_view_3d_angle;
};

enum class StreamKind { kPicture, kSound, kSubpicture };

struct StreamDescription {
  StreamKind kind = StreamKind::kPicture;
  std::uint32_t index = 0;
  std::uint32_t id = 0;         ///< the container's own
  std::uint32_t codec_tag = 0;  ///< first character in the least significant byte
  std::uint32_t bit_rate = 0;   ///< bits/s, 0 unknown
  std::string codec_name;
  std::string codec_long_name;
  std::string language;
  double duration = 0;  ///< seconds
  std::int32_t profile = kUnknownProfile;
  std::uint32_t disposition = 0;

  /// Of a picture stream.
  PictureFormat picture{};
  std::int32_t orientation = kOrientationUpright;
  PictureProperties properties;

  /// Of a sound stream.
  SoundFormat sound{};
};

struct ProgramDescription {
  std::uint32_t number = 1;
  double duration = 0;         ///< seconds
  std::uint32_t bit_rate = 0;  ///< bits/s, 0 unknown
  /// Streams of all kinds that the file has in this program, also those that are not described.
  std::uint32_t stream_count = 0;
  /// Positions in MediaDescription::streams.
  std::vector<std::size_t> streams;
};

/// Everything that is known about one media file. Texts are valid UTF-8.
struct MediaDescription {
  std::uint32_t format_fourcc = 0;
  std::string format_name;
  std::string format_long_name;
  double duration = 0;         ///< seconds, 0 unknown
  std::uint64_t bit_rate = 0;  ///< bits/s, 0 unknown
  std::uint64_t file_size = 0;
  MediaTags tags;
  /// Creation and modification time in local time, as IMetadata::GetDate gives them; empty for none.
  std::string date_text;
  std::vector<StreamDescription> streams;
  std::vector<ProgramDescription> programs;
};

}  // namespace media_server

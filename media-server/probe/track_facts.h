#pragma once

#include <cstdint>
#include <optional>
#include <string>

namespace media_server::probe {

/// What our own container readers know about one track and libavformat does not tell.
struct TrackFacts {
  bool encrypted = false;
  std::optional<std::uint32_t> id;          ///< the container's own id of the track
  std::optional<std::string> language;      ///< in place of what libavformat tells
  std::optional<bool> lossless;             ///< of sound whose codec can be both
  std::optional<double> frame_rate;         ///< that the track's header tells
  std::optional<double> max_frame_rate;     ///< from the shortest sample
  std::optional<bool> constant_frame_rate;  ///< whether all samples but the last take the same time

  /// Clean aperture in whole pixels (rounded); offsets are those of its centre from the picture's centre.
  struct CleanAperture {
    std::int32_t width = 0;
    std::int32_t height = 0;
    std::int32_t x_offset = 0;
    std::int32_t y_offset = 0;
  };
  std::optional<CleanAperture> clean_aperture;
};

}  // namespace media_server::probe

#pragma once

#include <cstdint>
#include <optional>
#include <span>

struct AVStream;

namespace media_server::probe {

/// What a container says about a picture stream as a whole, beside the codec's header.
struct PictureSideData {
  bool dolby_vision = false;
  bool mastering_display = false;  ///< describes the display on which high dynamic range pictures were graded
  /// libavutil's stereo 3D type (AV_STEREO3D_...), and the horizontal field of view in degrees.
  std::optional<std::int32_t> stereo_mode;
  std::optional<std::int32_t> field_of_view;
  std::optional<std::int32_t> views;

  /// Pixels cut from each edge for display.
  struct Cropping {
    std::uint32_t top = 0;
    std::uint32_t bottom = 0;
    std::uint32_t left = 0;
    std::uint32_t right = 0;
  };
  std::optional<Cropping> cropping;
};

PictureSideData ReadPictureSideData(const AVStream& stream);

/// The nine numbers of the display matrix; empty when the stream has none.
std::span<const std::uint8_t> DisplayMatrixOf(const AVStream& stream);

}  // namespace media_server::probe

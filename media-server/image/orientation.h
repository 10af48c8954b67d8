#pragma once

#include <cstdint>
#include <optional>

#include "media-server/container/display_matrix.h"
#include "media-server/image/picture_headers.h"

namespace media_server::image {

/// The orientation by its Exif number (tag 0x0112, CIPA DC-008 4.6.4 A), 1 to 8; empty for others.
std::optional<Orientation> OrientationFromExif(std::uint32_t value);

Orientation OrientationFromTurn(const DisplayTurn& turn);

/// Puts together what a container says in several steps: each one is done to what the steps before it gave.
class OrientationSteps {
 public:
  /// `degrees` is a multiple of 90.
  void RotateClockwise(std::int32_t degrees);
  void FlipHorizontally();
  void FlipVertically();

  /// The same as one flip and one rotation behind it.
  Orientation Result() const;

 private:
  // As a flip from left to right, then a rotation: a flip behind a rotation is one before it that turns the other way.
  bool flipped_ = false;
  std::int32_t degrees_ = 0;  // 0 to 359, clockwise
};

}  // namespace media_server::image

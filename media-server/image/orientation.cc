#include "media-server/image/orientation.h"

#include <array>

namespace media_server::image {

std::optional<Orientation> OrientationFromExif(std::uint32_t value) {
  using enum imagecore::Flip;
  constexpr std::array kByNumber = {
      Orientation{kFlipNone, 0},        Orientation{kFlipHorizontal, 0},   Orientation{kFlipNone, 180},
      Orientation{kFlipVertical, 0},    Orientation{kFlipHorizontal, 270}, Orientation{kFlipNone, 90},
      Orientation{kFlipHorizontal, 90}, Orientation{kFlipNone, 270},
  };
  if (value < 1 || value > kByNumber.size()) return std::nullopt;
  return kByNumber[value - 1];
}

Orientation OrientationFromTurn(const DisplayTurn& turn) {
  OrientationSteps steps;
  if (turn.mirrored) steps.FlipHorizontally();
  steps.RotateClockwise(90 * turn.quarter_turns);
  return steps.Result();
}

void OrientationSteps::RotateClockwise(std::int32_t degrees) { degrees_ = ((degrees_ + degrees) % 360 + 360) % 360; }

void OrientationSteps::FlipHorizontally() {
  flipped_ = !flipped_;
  degrees_ = (360 - degrees_) % 360;
}

void OrientationSteps::FlipVertically() {
  FlipHorizontally();
  RotateClockwise(180);
}

Orientation OrientationSteps::Result() const {
  if (flipped_ && degrees_ == 180) return {imagecore::kFlipVertical, 0};
  return {flipped_ ? imagecore::kFlipHorizontal : imagecore::kFlipNone, degrees_};
}

}  // namespace media_server::image

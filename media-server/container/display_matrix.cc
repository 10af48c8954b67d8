#include "media-server/container/display_matrix.h"

#include <cmath>
#include <numbers>

namespace media_server {
namespace {

/// Clockwise quarter turns, 0 to 3, of the direction (x, y) in a picture whose y axis points down.
int QuarterTurns(double x, double y) {
  const double turns = std::atan2(y, x) / (std::numbers::pi / 2);
  return (static_cast<int>(std::lround(turns)) + 4) % 4;
}

}  // namespace

std::optional<DisplayTurn> ReadDisplayMatrix(std::span<const std::int32_t, 9> matrix) {
  const double a = matrix[0];
  const double b = matrix[1];
  const double c = matrix[3];
  const double d = matrix[4];
  const double determinant = a * d - b * c;
  if (determinant == 0) return std::nullopt;

  // The first row is where the picture's x axis goes, after a mirroring the opposite of it. The angle is not told by
  // av_display_rotation_get, which takes a horizontal flip for a half turn.
  const bool mirrored = determinant < 0;
  return DisplayTurn{mirrored, mirrored ? QuarterTurns(-a, -b) : QuarterTurns(a, b)};
}

}  // namespace media_server

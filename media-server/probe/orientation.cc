#include "media-server/probe/orientation.h"

#include <cmath>
#include <cstring>
#include <numbers>

#include "media-server/probe/side_data.h"
#include "media_server/istream.h"

namespace media_server::probe {
namespace {

/// Clockwise quarter turns, 0 to 3, of the direction (x, y) in a picture whose y axis points down.
int QuarterTurns(double x, double y) {
  const double turns = std::atan2(y, x) / (std::numbers::pi / 2);
  return (static_cast<int>(std::lround(turns)) + 4) % 4;
}

}  // namespace

std::int32_t OrientationOfMatrix(const std::int32_t matrix[9]) {
  const double a = matrix[0];
  const double b = matrix[1];
  const double c = matrix[3];
  const double d = matrix[4];
  const double determinant = a * d - b * c;
  if (determinant == 0) return kOrientationUpright;

  // The first row is where the picture's x axis goes. The angle is not told by av_display_rotation_get, which takes a
  // horizontal flip for a half turn.
  if (determinant > 0) return 90 * QuarterTurns(a, b);
  switch (QuarterTurns(a, b)) {
    case 0:
      return kOrientationFlipVertical;
    case 2:
      return kOrientationFlipHorizontal;
    default:
      return 90 * QuarterTurns(-a, -b);
  }
}

std::int32_t OrientationOf(const AVStream& stream) {
  const auto data = DisplayMatrixOf(stream);
  std::int32_t matrix[9];
  if (data.size() < sizeof matrix) return kOrientationUpright;
  std::memcpy(matrix, data.data(), sizeof matrix);
  return OrientationOfMatrix(matrix);
}

}  // namespace media_server::probe

#include "media-server/probe/orientation.h"

#include <array>
#include <cstring>

#include "media-server/container/display_matrix.h"
#include "media-server/probe/side_data.h"
#include "media_server/istream.h"

namespace media_server::probe {

std::int32_t OrientationOfMatrix(std::span<const std::int32_t, 9> matrix) {
  const auto turn = ReadDisplayMatrix(matrix);
  if (!turn) return kOrientationUpright;
  if (turn->mirrored && turn->quarter_turns == 0) return kOrientationFlipHorizontal;
  if (turn->mirrored && turn->quarter_turns == 2) return kOrientationFlipVertical;
  return 90 * turn->quarter_turns;
}

std::int32_t OrientationOf(const AVStream& stream) {
  const auto data = DisplayMatrixOf(stream);
  std::array<std::int32_t, 9> matrix;
  if (data.size() < sizeof matrix) return kOrientationUpright;
  std::memcpy(matrix.data(), data.data(), sizeof matrix);
  return OrientationOfMatrix(matrix);
}

}  // namespace media_server::probe

#pragma once

#include <cstdint>
#include <optional>
#include <span>

namespace media_server {

/// What shows a picture upright: where `mirrored`, an exchange of left and right; then quarter turns clockwise, 0 to 3.
struct DisplayTurn {
  bool mirrored = false;
  int quarter_turns = 0;

  friend bool operator==(const DisplayTurn&, const DisplayTurn&) = default;
};

/// Reads a display matrix, rows {a, b, u}, {c, d, v}, {x, y, w} (ISO/IEC 14496-12 6.2.2). Angles are taken to the
/// nearest quarter turn. Empty for a matrix that leaves no picture.
std::optional<DisplayTurn> ReadDisplayMatrix(std::span<const std::int32_t, 9> matrix);

}  // namespace media_server

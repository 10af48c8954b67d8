#pragma once

#include <cstdint>

struct AVStream;

namespace media_server::probe {

/// The kOrientation... code (media_server/istream.h) of a picture stream's display matrix; upright when it has none.
std::int32_t OrientationOf(const AVStream& stream);

/// The same of a matrix of nine 32-bit numbers, rows {a, b, u}, {c, d, v}, {x, y, w}. Angles are taken to the nearest
/// quarter turn; a mirroring combined with a quarter turn is told as the quarter turn.
std::int32_t OrientationOfMatrix(const std::int32_t matrix[9]);

}  // namespace media_server::probe

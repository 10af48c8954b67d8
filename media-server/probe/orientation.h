#pragma once

#include <cstdint>
#include <span>

struct AVStream;

namespace media_server::probe {

/// The kOrientation... code (media_server/istream.h) of a picture stream's display matrix; upright when it has none.
std::int32_t OrientationOf(const AVStream& stream);

/// The same of a matrix as ReadDisplayMatrix takes it; a mirroring combined with a quarter turn is told as the quarter
/// turn.
std::int32_t OrientationOfMatrix(std::span<const std::int32_t, 9> matrix);

}  // namespace media_server::probe

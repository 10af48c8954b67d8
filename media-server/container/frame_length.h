#pragma once

#include <cstdint>
#include <optional>

#include "media-server/io/byte_source.h"

namespace media_server {

/// The length of sound of which no header tells it.
struct FrameLength {
  double seconds = 0;
  std::uint64_t bit_rate = 0;  ///< of the frames, in bits per second
};

/// Measures the frames of ADTS or MPEG audio behind the ID3v2 tags. In inputs of up to 4 MiB all are counted; of longer
/// ones those of the first 512 KiB, and of 64 pieces of 32 KiB that stand for the rest. Where requests to a server
/// would be made, 128 KiB and 8 pieces. Empty without any frame, where bytes could not be read, and where the length of
/// the input is not known.
std::optional<FrameLength> MeasureFrames(IByteSource& source);

}  // namespace media_server

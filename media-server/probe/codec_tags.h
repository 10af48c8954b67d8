#pragma once

#include <cstdint>

struct AVFormatContext;
struct AVCodecParameters;

namespace media_server::probe {

/// A stream's codec tag, first character in the least significant byte: the container's own, else the codec's usual
/// one; 0 when there is neither.
std::uint32_t CodecTag(const AVFormatContext& context, const AVCodecParameters& codec);

}  // namespace media_server::probe

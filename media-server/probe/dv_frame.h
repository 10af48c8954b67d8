#pragma once

#include <cstdint>
#include <optional>
#include <span>

#include "media-server/codec/picture_parameters.h"

struct AVFormatContext;
struct AVStream;

namespace media_server::probe {

/// What a DV frame (IEC 61834-2, SMPTE ST 314, ST 370) tells of itself in the headers of its first blocks. Of a frame
/// that is cut short at least the first 480 bytes are wanted; empty for anything else.
std::optional<codec::PictureParameters> ReadDvFrame(std::span<const std::uint8_t> frame);

/// Whether `stream` is DV whose container names no size, as a file of frames alone does.
bool IsUnsizedDv(const AVStream& stream);

/// The parameters of the next frame of `stream`; packets are read up to it. All empty when none comes. The frame's rate
/// becomes that of the stream, to which libavformat 7.1 gives the rate of its clock, 60,000 a second; its size makes
/// the bit rate.
codec::PictureParameters ReadNextDvFrame(AVFormatContext& context, AVStream& stream);

}  // namespace media_server::probe

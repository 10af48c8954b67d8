#pragma once

#include "media-server/codec/picture_parameters.h"
#include "media-server/probe/sample_reader.h"

struct AVStream;

namespace media_server::probe {

/// What the codec's own header says about a stream's pictures: read from the container's copy of it, from a cover's own
/// bytes, or from the first sample for codecs that keep their header there. Nothing for codecs without a reader.
codec::PictureParameters ReadPictureHeader(AVStream& stream, const SampleReader& samples);

}  // namespace media_server::probe

#pragma once

#include <optional>

#include "media-server/codec/picture_parameters.h"
#include "media-server/codec/profile_names.h"
#include "media-server/codec/sei.h"
#include "media-server/probe/sample_reader.h"

struct AVStream;

namespace media_server::probe {

/// What a picture stream's own coded bytes say, without decoding a picture.
struct PictureHeader {
  codec::PictureParameters parameters;
  codec::SeiFacts sei;
  std::optional<codec::ProfiledCodec> profiled_codec;  ///< set for codecs whose profiles have names
  std::optional<bool> full_idr;                        ///< whether every key frame seen is an IDR picture
};

/// Reads the header of a stream: from the container's copy of it, from a cover's own bytes, or from the first samples,
/// of which there is one where no index places them. Empty facts for codecs without a reader.
PictureHeader ReadPictureHeader(AVStream& stream, const SampleReader& samples);

}  // namespace media_server::probe

#pragma once

#include <optional>

#include "media-server/image/jpeg_xl_codestream.h"
#include "media-server/image/picture_headers.h"
#include "media-server/io/byte_source.h"

namespace media_server::image {

/// Adds up how long the frames of an animation are shown, going from header to header without decoding. `codestream` is
/// the codestream alone. Empty where a header cannot be passed by: one with an extension or a permuted table of
/// contents, which is compressed, one that is damaged, and where the input ends before the last frame's.
std::optional<Animation> ReadJpegXlAnimation(IByteSource& codestream, const JpegXlFrameRules& rules);

}  // namespace media_server::image

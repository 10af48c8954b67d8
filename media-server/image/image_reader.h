#pragma once

#include <optional>
#include <string>
#include <string_view>

#include "media-server/image/picture_headers.h"
#include "media-server/io/byte_source.h"

namespace media_server::image {

/// Reads the headers of a still or animated image; its pixels are never decoded. Of a still no more than some 256 KiB
/// are read however large it is; a GIF, which does not tell where its frames lie, is walked whole, and animations frame
/// by frame, both up to a bound of their own. The format is known by content. Empty, and the reason in words, when
/// `source` is no image or its headers do not tell its size; a file whose headers are whole is answered although its
/// picture is cut short.
std::optional<PictureHeaders> ReadPictureHeaders(IByteSource& source, std::string* reason);

/// Whether there is a reader for the format that IdentifyFormat gives this short name.
bool IsReadable(std::string_view format);

}  // namespace media_server::image

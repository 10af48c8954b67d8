#pragma once

#include "media-server/image/picture_headers.h"
#include "media-server/image/picture_tags.h"

namespace media_server {

/// File name of the library that decodes XMP and IPTC, which lies beside the media server library, and its one exported
/// function: fills the empty fields of `*tags`, the label aside, with what those payloads of `metadata` tell, XMP
/// before IPTC. What cannot be decoded tells nothing. Safe to call from any thread.
///
/// A library of its own, as loading Exiv2 costs more than a whole probe: only files pay for it whose Exif or
/// container leaves open what their XMP or IPTC tell.
inline constexpr char kPictureTagsLibraryName[] = "libMediaServerPictureTags.so";
inline constexpr char kReadPictureTags[] = "ReadMediaServerPictureTags";
using ReadPictureTagsFunction = void (*)(const image::EmbeddedMetadata& metadata, image::PictureTags* tags);

}  // namespace media_server

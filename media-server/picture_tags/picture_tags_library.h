#pragma once

#include "media-server/image/picture_headers.h"
#include "media-server/image/picture_tags.h"

namespace media_server {

/// File name of the library that decodes Exif, XMP and IPTC, which lies beside the media server library, and its one
/// exported function: fills the empty fields of `*tags` with what the payloads of `metadata` tell. What cannot be
/// decoded tells nothing. Safe to call from any thread.
///
/// A library of its own, as loading Exiv2 costs more than a whole probe: only pictures with metadata pay for it.
inline constexpr char kPictureTagsLibraryName[] = "libMediaServerPictureTags.so";
inline constexpr char kReadPictureTags[] = "ReadMediaServerPictureTags";
using ReadPictureTagsFunction = void (*)(const image::EmbeddedMetadata& metadata, image::PictureTags* tags);

}  // namespace media_server

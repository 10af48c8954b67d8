#pragma once

#include <span>
#include <string>
#include <string_view>

#include "media-server/image/wanted_tags.h"

namespace media_server::picture_tags {

/// A small well-formed packet with those of the `wanted` properties of `packet` that are plain texts, written as
/// attributes, the first of each name; empty when there are none. Everything else is left out: a decoder takes time by
/// the length of a packet, follows its nesting with calls of its own and remembers every namespace it meets.
///
/// A packet that is no well-formed XML gives what stands before the place where that shows; one with a document type,
/// which XMP does not know, gives nothing.
std::string CompactXmp(std::string_view packet, std::span<const image::XmpName> wanted);

}  // namespace media_server::picture_tags

#pragma once

#include <cstdint>
#include <string>

#include "media-server/io/byte_source.h"

namespace media_server {

/// Where the content of `source` begins: behind the ID3v2 tags that stand in front, up to 16 in a row.
std::uint64_t SkipId3v2(IByteSource& source);

/// The tag that `source` begins with as it was before the zeros were put into it that keep players from taking it for
/// sound (ID3v2.3 section 5), as long as it is with them. Empty where there are none, where they are counted into
/// frames (as from version 2.4 on), and for tags beyond 2 MiB.
std::string ResynchronisedId3v2(IByteSource& source);

/// Bytes in frames of 64 KiB and more, as covers are, among the first 64 frames of the tag that `source` begins with.
/// 0 without a tag, and for one with an extended header.
std::uint64_t LargeId3v2Frames(IByteSource& source);

}  // namespace media_server

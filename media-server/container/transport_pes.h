#pragma once

#include <cstddef>
#include <cstdint>
#include <vector>

#include "media-server/io/byte_source.h"

namespace media_server {

/// Up to `most` bytes that the first PES packet of an MPEG transport stream's packet identifier begins with, without
/// its head (ISO/IEC 13818-1, 2.4.3.6): of pictures, the first one. Looks at the first 64 KiB, and at packets of 188,
/// 192 and 204 bytes. Empty where no such packet begins there, and where it is scrambled.
std::vector<std::uint8_t> ReadFirstPes(IByteSource& source, std::uint16_t pid, std::size_t most);

}  // namespace media_server

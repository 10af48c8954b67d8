#pragma once

#include <cstdint>
#include <optional>

#include "media-server/io/byte_source.h"

namespace media_server {

/// The file properties object of an ASF header (ASF specification 3.2), as far as libavformat keeps it to itself.
struct AsfFileProperties {
  /// Empty for a broadcast, whose sizes mean nothing.
  std::optional<std::uint64_t> file_size_bytes;
  /// Seconds since 1970 UTC; the file counts 100 ns from 1601, and a zero is no time.
  std::optional<std::int64_t> creation_unix_s;
};

/// Looks among the first 64 objects of the header. Empty when none of them is the file properties object.
std::optional<AsfFileProperties> ReadAsfFileProperties(IByteSource& source);

}  // namespace media_server

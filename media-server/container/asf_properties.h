#pragma once

#include <cstdint>
#include <optional>
#include <vector>

#include "media-server/io/byte_source.h"

namespace media_server {

/// The file properties object of an ASF header (ASF specification 3.2), as far as libavformat keeps it to itself.
struct AsfFileProperties {
  /// Empty for a broadcast, whose sizes mean nothing.
  std::optional<std::uint64_t> file_size_bytes;
  /// Without the time that players fill their buffers in. Empty for a broadcast, too, and for what is not above 0.
  std::optional<double> duration_s;
  /// Seconds since 1970 UTC; the file counts 100 ns from 1601. Empty for what is not after 1970.
  std::optional<std::int64_t> creation_unix_s;
};

/// Looks among the first 64 objects of the header. Empty when none of them is the file properties object.
std::optional<AsfFileProperties> ReadAsfFileProperties(IByteSource& source);

/// How long a frame of a stream is shown on average, by its extended stream properties (ASF specification 4.1).
struct AsfFrameTime {
  std::uint16_t stream_number = 0;
  std::uint64_t ticks = 0;  ///< of 100 ns; from 1 ms to a minute

  double FramesPerSecond() const;
};

/// The frame times in the header extension object, of at most 64 streams; those that are not possible are left out.
std::vector<AsfFrameTime> ReadAsfFrameTimes(IByteSource& source);

/// Whether the header has an object that tells how the content is encrypted.
bool IsProtectedAsf(IByteSource& source);

}  // namespace media_server

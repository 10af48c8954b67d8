#pragma once

#include <cstdint>
#include <optional>

#include "media-server/container/matroska_scan.h"
#include "media-server/io/byte_source.h"

namespace media_server {

inline constexpr std::uint64_t kMostOfMatroskaEnd = std::uint64_t{768} << 10;

/// When the last frame of a Matroska or WebM file ends, in seconds on the clock of its blocks, for files whose writer
/// could not go back to tell it. Looks for the last cluster in the last kMostOfMatroskaEnd bytes, as far as the source
/// lets it, or else, unless the source is remote, goes from cluster to cluster where they tell their sizes, 1,000 at
/// most. Empty where there is no such cluster, or none with a block.
std::optional<double> ReadMatroskaEnd(IByteSource& source, const MatroskaScan& scan);

}  // namespace media_server

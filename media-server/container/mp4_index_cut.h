#pragma once

#include <cstdint>
#include <optional>
#include <vector>

#include "media-server/container/mp4_boxes.h"

namespace media_server {

/// The boxes that tell where a track's samples lie, as far as there are any.
struct Mp4SampleTables {
  std::optional<Mp4Box> sizes;              ///< stsz
  std::optional<Mp4Box> chunks;             ///< stco, co64
  std::optional<Mp4Box> samples_of_chunks;  ///< stsc
  std::optional<Mp4Box> time_offsets;       ///< ctts
  bool stand_twice = false;                 ///< one of them does
};

/// Counts for the tables of a track with which they tell of its first samples only.
struct Mp4IndexCut {
  struct Count {
    std::uint64_t offset;  ///< of the count, four bytes, in the file
    std::uint32_t value;
  };
  std::vector<Count> counts;
  std::uint64_t bytes = 0;         ///< of the samples that are left
  std::uint64_t bytes_of_all = 0;  ///< of all samples
};

/// Enough for the eight key frames that are looked at, ten seconds apart, and for three groups of pictures.
inline constexpr std::uint32_t kMp4SamplesLeft = 8192;

/// Where a track's tables may end: behind `samples_left`, with a whole chunk. Empty for tables of less than twice as
/// many, or of more than 16 MiB or half of what may still be read, and where they are not plain: samples of one size,
/// broken or doubled tables.
std::optional<Mp4IndexCut> CutMp4Index(Mp4BoxReader& boxes, const Mp4SampleTables& tables,
                                       std::uint32_t samples_left = kMp4SamplesLeft);

}  // namespace media_server

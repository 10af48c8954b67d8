#pragma once

#include <cstddef>
#include <cstdint>
#include <optional>
#include <vector>

#include "media-server/io/byte_source.h"

namespace media_server {

/// Reads the beginnings of a Matroska track's frames in the order of the file and passes over the rest, so that it
/// costs some hundred bytes a frame however large frames are. Borrows the source.
class MatroskaFrames {
 public:
  /// `track_number` is the number that the track's entry has.
  MatroskaFrames(IByteSource& source, std::uint64_t track_number);

  /// Up to kFrameStart bytes that the next frame begins with. Empty at the end of the input, where a block is cut,
  /// holds several frames or none, and behind 1,024 elements: no frame follows then.
  std::vector<std::uint8_t> Next();

  static constexpr std::size_t kFrameStart = 512;

 private:
  std::vector<std::uint8_t> FrameOf(std::uint64_t block, std::uint64_t block_size);

  IByteSource& source_;
  std::uint64_t track_number_;
  std::uint64_t offset_ = 0;  // of the next element
  int elements_left_;
};

}  // namespace media_server

#pragma once

#include <cstddef>
#include <cstdint>
#include <vector>

#include "media-server/io/byte_source.h"

struct AVFormatContext;
struct AVStream;

namespace media_server::probe {

/// Reads the beginning of single samples where the container's index tells their places (MP4 and MOV), without
/// demuxing. Borrows the source.
class SampleReader {
 public:
  SampleReader(const AVFormatContext& context, IByteSource& source);

  /// Number of samples that the index of `stream` places; 0 for containers without such an index.
  int SampleCount(AVStream& stream) const;
  bool IsKeySample(AVStream& stream, int sample) const;
  /// Up to `size` first bytes of a sample below SampleCount; fewer at the end of the sample or file.
  std::vector<std::uint8_t> ReadStart(AVStream& stream, int sample, std::size_t size) const;
  /// True when each sample costs a request to a server.
  bool IsRemote() const { return source_.IsRemote(); }

 private:
  bool has_sample_index_;
  IByteSource& source_;
};

}  // namespace media_server::probe

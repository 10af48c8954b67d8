#pragma once

#include <cstddef>
#include <cstdint>
#include <optional>
#include <string_view>
#include <vector>

#include "media-server/io/byte_source.h"
#include "media-server/probe/packet_walk.h"

struct AVFormatContext;
struct AVStream;

namespace media_server::probe {

/// Reads the beginning of single samples: where the container's index tells their places (MP4 and MOV) without
/// demuxing. Borrows context and source.
class SampleReader {
 public:
  SampleReader(AVFormatContext& context, IByteSource& source);

  /// Number of samples that the index of `stream` places; 0 for containers without such an index.
  int SampleCount(AVStream& stream) const;
  bool IsKeySample(AVStream& stream, int sample) const;
  /// Up to `size` first bytes of a sample; fewer at the end of the sample or file, none from SampleCount on.
  std::vector<std::uint8_t> ReadStart(AVStream& stream, int sample, std::size_t size) const;
  /// The first bytes of the first sample that tells the format of its pictures (of VP9, a key frame), at most
  /// kSampleStart. Without an index it is taken from the packets that come next, which are those that analysis has read
  /// where there was one; H.264 and HEVC of a transport stream are read from its start. Empty when there is none.
  std::vector<std::uint8_t> ReadFirst(AVStream& stream) const;
  /// The packets that `ReadFirst` took from those that come next, and that nobody else gets.
  PacketSum TakenPackets() const { return taken_packets_; }
  /// True when each sample costs a request to a server.
  bool IsRemote() const { return source_.IsRemote(); }
  /// libavformat's name of the container.
  std::string_view Demuxer() const;

  /// Enough for a sample's headers: an encoder that signs its work puts up to 1 KiB of text before the first slice.
  static constexpr std::size_t kSampleStart = 4096;

 private:
  struct Packet {
    int stream;
    std::vector<std::uint8_t> start;
  };

  int FirstToTellFormat(AVStream& stream) const;
  std::vector<Packet> ReadPackets() const;

  AVFormatContext& context_;
  bool has_sample_index_;
  IByteSource& source_;
  mutable std::optional<std::vector<Packet>> first_packets_;  // can be read only once
  mutable PacketSum taken_packets_;
};

}  // namespace media_server::probe

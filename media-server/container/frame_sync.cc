#include "media-server/container/frame_sync.h"

#include <algorithm>
#include <array>
#include <cstddef>
#include <span>
#include <string_view>

#include "media-server/container/adts_header.h"
#include "media-server/container/byte_reader.h"
#include "media-server/container/mpeg_audio_header.h"

namespace media_server {
namespace {

using Bytes = std::span<const std::uint8_t>;

constexpr std::size_t kHeaderSize = 16;
constexpr int kFramesWanted = 4;
constexpr int kFramesWantedAtEnd = 2;

/// One frame header: how long the frame is, and the bits that stay the same in all frames of one stream.
struct Frame {
  FrameStream stream;
  std::uint32_t size_bytes;
  std::uint32_t constants;

  bool SameStream(const Frame& other) const { return stream == other.stream && constants == other.constants; }
};

std::optional<Frame> ParseMpegAudio(Bytes bytes) {
  const auto header = ReadMpegAudioHeader(bytes);
  if (!header) return std::nullopt;
  constexpr std::array kStreams = {FrameStream::kMpegLayer1, FrameStream::kMpegLayer2, FrameStream::kMpegLayer3};
  return Frame{kStreams[static_cast<std::size_t>(header->layer - 1)], header->size_bytes, header->constants};
}

std::optional<Frame> ParseAdts(Bytes bytes) {
  const auto header = ReadAdtsHeader(bytes);
  if (!header) return std::nullopt;
  return Frame{FrameStream::kAdts, header->size_bytes, header->constants};
}

std::optional<Frame> ParseLoas(Bytes header) {
  ByteReader reader(header);
  const std::uint32_t word = reader.Be24();
  const std::uint32_t payload = word & 0x1FFF;
  if (!reader.Ok() || word >> 13 != 0x2B7 || payload == 0) return std::nullopt;
  return Frame{FrameStream::kLoas, payload + 3, 0};
}

// ATSC A/52 5.4.1.4, table 5.18: kbit/s by half the frame size code.
constexpr std::array<std::uint16_t, 19> kAc3BitRates = {32,  40,  48,  56,  64,  80,  96,  112, 128, 160,
                                                        192, 224, 256, 320, 384, 448, 512, 576, 640};
constexpr std::uint32_t kLastAc3StreamId = 10;
constexpr std::uint32_t kLastEac3StreamId = 16;

std::optional<Frame> ParseAc3(Bytes header) {
  if (header.size() < 7 || header[0] != 0x0B || header[1] != 0x77) return std::nullopt;
  const std::uint32_t stream_id = header[5] >> 3;
  const std::uint32_t rate_code = header[4] >> 6;
  if (stream_id > kLastEac3StreamId) return std::nullopt;
  if (stream_id > kLastAc3StreamId) {
    const std::uint32_t words = ((header[2] & 7U) << 8 | header[3]) + 1;
    return Frame{FrameStream::kEac3, words * 2, rate_code};
  }
  const std::uint32_t size_code = header[4] & 0x3F;
  if (rate_code == 3 || size_code / 2 >= kAc3BitRates.size()) return std::nullopt;
  const std::uint32_t kbps = kAc3BitRates[size_code / 2];
  // A frame is 1536 samples: at 48 kHz and 32 kHz whole words for every bit rate, at 44.1 kHz rounded down, odd codes
  // one more.
  const std::array<std::uint32_t, 3> words = {kbps * 2, kbps * 96000 / 44100 + (size_code & 1), kbps * 3};
  return Frame{FrameStream::kAc3, words[rate_code] * 2, rate_code};
}

std::optional<Frame> ParseDts(Bytes header) {
  ByteReader reader(header);
  const std::uint32_t sync = reader.Be32();
  const std::uint64_t bits = reader.BigEndian(6);
  const std::uint32_t size = static_cast<std::uint32_t>(bits >> 20 & 0x3FFF) + 1;
  constexpr std::uint32_t kCoreSync = 0x7FFE8001;
  constexpr std::uint32_t kSmallestFrame = 96;
  if (!reader.Ok() || sync != kCoreSync || size < kSmallestFrame) return std::nullopt;
  return Frame{FrameStream::kDts, size, static_cast<std::uint32_t>(bits >> 10 & 0xF)};
}

using FrameParser = std::optional<Frame> (*)(Bytes header);
constexpr std::array<FrameParser, 5> kParsers = {ParseMpegAudio, ParseAdts, ParseLoas, ParseAc3, ParseDts};

bool EndsStream(Bytes bytes) {
  const std::string_view text = AsText(bytes);
  return bytes.empty() || text.starts_with("TAG") || text.starts_with("APETAGEX") || text.starts_with("ID3");
}

bool FramesFollow(IByteSource& source, std::uint64_t offset, FrameParser parse, const Frame& first) {
  Frame frame = first;
  for (int proven = 1; proven < kFramesWanted; ++proven) {
    offset += frame.size_bytes;
    const auto header = ReadBytes(source, offset, kHeaderSize);
    const auto next = parse(header);
    if (!next || !next->SameStream(first)) return proven >= kFramesWantedAtEnd && EndsStream(header);
    frame = *next;
  }
  return true;
}

constexpr std::size_t kTransportWindow = 4096;
constexpr std::size_t kTransportPacketsWanted = 10;
constexpr std::size_t kTransportPacketsLeast = 3;
constexpr std::array<std::size_t, 3> kTransportPitches = {188, 192, 204};

bool TransportPacketsFollow(Bytes window, TransportPackets where, std::size_t wanted, std::size_t least) {
  std::size_t packets = 0;
  for (std::size_t at = where.start; at + 4 <= window.size() && packets < wanted; at += where.pitch, ++packets) {
    const bool reserved_adaptation = (window[at + 3] & 0x30) == 0;
    if (window[at] != 0x47 || reserved_adaptation) return false;
  }
  const bool whole_input_seen = window.size() < kTransportWindow;
  return packets == wanted || (whole_input_seen && packets >= least);
}

}  // namespace

std::optional<TransportPackets> FindTransportPackets(Bytes window, std::size_t wanted, std::size_t least) {
  for (const std::size_t pitch : kTransportPitches) {
    for (std::size_t start = 0; start < pitch; ++start) {
      const TransportPackets packets{start, pitch};
      if (TransportPacketsFollow(window, packets, wanted, least)) return packets;
    }
  }
  return std::nullopt;
}

std::optional<FrameStream> ProveFrameStream(IByteSource& source, std::uint64_t offset) {
  const auto window = ReadBytes(source, offset, kTransportWindow);
  const Bytes header = Bytes(window).first(std::min(kHeaderSize, window.size()));
  for (const FrameParser parse : kParsers) {
    const auto first = parse(header);
    if (first && FramesFollow(source, offset, parse, *first)) return first->stream;
  }
  if (FindTransportPackets(window, kTransportPacketsWanted, kTransportPacketsLeast)) return FrameStream::kMpegTransport;
  return std::nullopt;
}

}  // namespace media_server

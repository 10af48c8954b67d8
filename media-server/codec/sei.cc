#include "media-server/codec/sei.h"

#include <algorithm>
#include <array>

#include "media-server/codec/bit_reader.h"
#include "media-server/codec/video_usability.h"
#include "media-server/container/byte_reader.h"

namespace media_server::codec {
namespace {

using Bytes = std::span<const std::uint8_t>;

void ReadFramePacking(Bytes message, SeiFacts& facts) {
  BitReader bits(message);
  bits.UnsignedGolomb();    // frame_packing_arrangement_id
  if (bits.Flag()) return;  // frame_packing_arrangement_cancel_flag
  const std::uint32_t type = bits.Bits(7);
  if (!bits.Ok() || type > static_cast<std::uint32_t>(FramePacking::kFrameSequence)) return;
  facts.frame_packing = static_cast<FramePacking>(type);
}

void ReadMasteringDisplay(Bytes message, SeiFacts& facts) {
  // Three primaries and the white point as two 16-bit numbers each, two luminances of 32 bits.
  if (message.size() >= 24) facts.mastering_display = true;
}

void ReadAlternativeTransfer(Bytes message, SeiFacts& facts) {
  if (message.empty()) return;
  const auto transfer = NamedColor(0, message.front(), 0).transfer;
  if (transfer) facts.preferred_transfer = transfer;
}

void ReadAlphaChannel(Bytes message, SeiFacts& facts) {
  BitReader bits(message);
  const bool cancelled = bits.Flag();  // alpha_channel_cancel_flag
  if (bits.Ok() && !cancelled) facts.alpha_channel = true;
}

struct MessageReader {
  std::size_t payload_type;
  void (*read)(Bytes message, SeiFacts& facts);
};

constexpr std::array<MessageReader, 4> kReaders = {{
    {45, ReadFramePacking},
    {137, ReadMasteringDisplay},
    {147, ReadAlternativeTransfer},
    {165, ReadAlphaChannel},
}};

/// payload_type and payload_size: any number of 0xFF bytes and a last byte, all added up.
std::size_t ReadSum(ByteReader& bytes) {
  std::size_t sum = 0;
  std::uint8_t byte = 0xFF;
  while (byte == 0xFF && bytes.Ok()) sum += byte = bytes.U8();
  return sum;
}

}  // namespace

void ReadSei(Bytes payload, SeiFacts& facts) {
  constexpr std::size_t kSmallestMessage = 2;  // what is left behind the last message is its trailing bits
  ByteReader bytes(payload);
  while (bytes.Remaining() > kSmallestMessage) {
    const std::size_t type = ReadSum(bytes);
    const std::size_t size = ReadSum(bytes);
    const Bytes message = bytes.Take(size);
    if (!bytes.Ok()) return;
    const auto reader = std::ranges::find(kReaders, type, &MessageReader::payload_type);
    if (reader != kReaders.end()) reader->read(message, facts);
  }
}

}  // namespace media_server::codec

#include "media-server/image/webp.h"

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <optional>
#include <string>
#include <string_view>

#include "media-server/codec/picture_parameters.h"
#include "media-server/container/byte_reader.h"
#include "media-server/image/exif_payload.h"
#include "media-server/image/fourcc.h"
#include "media-server/image/frame_delays.h"
#include "media-server/image/header_window.h"

namespace media_server::image {
namespace {

using Bytes = std::span<const std::uint8_t>;

constexpr std::size_t kFileHeaderSize = 12;
constexpr std::size_t kChunkHeaderSize = 8;
constexpr std::size_t kFrameHeaderSize = 16;  // of ANMF, RFC 9649 section 2.7.1.2

// A few chunks beside the picture in a still; more than two hours of frames at 30 per second.
constexpr int kMostChunks = 1024;
constexpr int kMostAnimationChunks = 262144;

/// A chunk's code, and where its payload lies.
struct Chunk {
  std::string type;
  std::uint64_t offset = 0;
  std::uint32_t size = 0;

  std::uint64_t Next() const { return offset + size + size % 2; }  // padded to even
};

/// What a coded frame itself tells.
struct CodedFrame {
  PictureSize size;
  int chroma_sampling = 0;
  bool has_alpha = false;
};

/// The header of a key frame (RFC 6386, 9.1).
std::optional<CodedFrame> ReadLossy(Bytes payload) {
  constexpr std::uint32_t kStartCode = 0x9D012A;
  ByteReader reader(payload);
  const bool is_key_frame = (reader.Le16() & 1) == 0;
  reader.Skip(1);  // rest of the frame tag
  const std::uint32_t start_code = reader.Be24();
  const std::uint32_t width = reader.Le16() & 0x3FFFU;  // the two bits above are a scaling hint
  const std::uint32_t height = reader.Le16() & 0x3FFFU;
  if (!reader.Ok() || !is_key_frame || start_code != kStartCode) return std::nullopt;
  return CodedFrame{{width, height}, codec::kChroma420, false};
}

/// RFC 9649, 3.4.
std::optional<CodedFrame> ReadLossless(Bytes payload) {
  constexpr std::uint8_t kSignature = 0x2F;
  ByteReader reader(payload);
  const std::uint8_t signature = reader.U8();
  const std::uint32_t fields = reader.Le32();
  if (!reader.Ok() || signature != kSignature) return std::nullopt;
  const PictureSize size{(fields & 0x3FFF) + 1, (fields >> 14 & 0x3FFF) + 1};
  return CodedFrame{size, codec::kChromaRgb, (fields >> 28 & 1) != 0};
}

class WebpWalk {
 public:
  WebpWalk(IByteSource& source, PictureHeaders& headers) : window_(source), headers_(headers) {}

  bool Run() {
    ByteReader header(window_.View(0, kFileHeaderSize));
    header.Skip(4);
    end_ = kChunkHeaderSize + std::uint64_t{header.Le32()};  // what lies behind is no part of the picture
    bool ended = false;
    for (int i = 0; i < (is_animated_ ? kMostAnimationChunks : kMostChunks) && !ended; ++i) ended = !TakeChunk();
    // A part of the sum would be a wrong answer; what a cut file still has is what a viewer plays.
    if (is_animated_ && ended && !window_.Spent()) headers_.animation = delays_.Describe();
    return headers_.size.has_value();
  }

 private:
  std::optional<Chunk> ReadChunk(std::uint64_t offset) {
    // The header of a frame and of the chunks in it come along, so that one short read does for a frame.
    constexpr std::size_t kFrameStart = 64;
    ByteReader reader(window_.View(offset, kChunkHeaderSize, kFrameStart));
    Chunk chunk{std::string(AsText(reader.Take(4))), offset + kChunkHeaderSize, reader.Le32()};
    return reader.Ok() ? std::optional(std::move(chunk)) : std::nullopt;
  }

  /// False behind the last chunk, and behind the first if that tells no size.
  bool TakeChunk() {
    if (at_ >= end_) return false;
    const auto chunk = ReadChunk(at_);
    if (!chunk) return false;
    if (chunk->type == "VP8X" && !headers_.size) TakeExtendedHeader(*chunk);
    if (chunk->type == "VP8 " || chunk->type == "VP8L") TakeCodedFrame(*chunk);
    if (!headers_.size) return false;
    if (chunk->type == "ANMF" && is_animated_) TakeFrame(*chunk);
    if (chunk->type == "EXIF") TakeExif(*chunk);
    if (chunk->type == "XMP ") headers_.metadata.AddXmp(AsText(window_.Copy(chunk->offset, chunk->size)));
    at_ = chunk->Next();
    return true;
  }

  /// RFC 9649, 2.7.1: what it says holds over the frames.
  void TakeExtendedHeader(const Chunk& chunk) {
    constexpr std::size_t kSize = 10;
    constexpr std::uint8_t kAnimationFlag = 0x02;
    constexpr std::uint8_t kAlphaFlag = 0x10;
    ByteReader reader(window_.View(chunk.offset, kSize));
    const std::uint8_t flags = reader.U8();
    reader.Skip(3);
    const auto width = static_cast<std::uint32_t>(reader.LittleEndian(3) + 1);
    const auto height = static_cast<std::uint32_t>(reader.LittleEndian(3) + 1);
    if (!reader.Ok()) return;
    headers_.size = PictureSize{width, height};
    headers_.alpha = (flags & kAlphaFlag) != 0 ? imagecore::kAlphaStraight : imagecore::kAlphaNone;
    headers_.bit_depth = 8;
    is_animated_ = (flags & kAnimationFlag) != 0;
    if (is_animated_) window_.RaiseBudget(kMostAnimationBytes);
  }

  /// The first one tells how the picture is coded, and its size where no extended header does.
  void TakeCodedFrame(const Chunk& chunk) {
    constexpr std::size_t kLongestStart = 10;
    if (headers_.fourcc != 0) return;
    const Bytes start = window_.View(chunk.offset, std::min<std::size_t>(chunk.size, kLongestStart));
    const auto frame = chunk.type == "VP8L" ? ReadLossless(start) : ReadLossy(start);
    if (!frame) return;
    headers_.fourcc = FourCC(chunk.type);
    headers_.bit_depth = 8;
    // The frames of an animation may be of both kinds.
    if (!is_animated_) headers_.chroma_sampling = frame->chroma_sampling;
    if (headers_.size) return;
    headers_.size = frame->size;
    headers_.alpha = frame->has_alpha ? imagecore::kAlphaStraight : imagecore::kAlphaNone;
  }

  /// RFC 9649, 2.7.1.2: durations count milliseconds.
  void TakeFrame(const Chunk& chunk) {
    ByteReader reader(window_.View(chunk.offset, std::min<std::size_t>(chunk.size, kFrameHeaderSize)));
    reader.Skip(12);  // place and size
    const auto duration_ms = static_cast<std::uint32_t>(reader.LittleEndian(3));
    if (!reader.Ok()) return;
    delays_.Add(duration_ms, 1000);
    if (delays_.Count() > 1) return;
    auto part = ReadChunk(chunk.offset + kFrameHeaderSize);
    if (part && part->type == "ALPH") part = ReadChunk(part->Next());
    if (part && (part->type == "VP8 " || part->type == "VP8L")) TakeCodedFrame(*part);
  }

  void TakeExif(const Chunk& chunk) {
    if (!headers_.metadata.exif.empty()) return;
    headers_.metadata.exif = TiffOfExifBlock(window_.Copy(chunk.offset, chunk.size), ExifPrefix::kNone);
  }

  HeaderWindow window_;
  PictureHeaders& headers_;
  std::uint64_t at_ = kFileHeaderSize;
  std::uint64_t end_ = 0;
  FrameDelays delays_;
  bool is_animated_ = false;
};

}  // namespace

bool ReadWebp(IByteSource& source, PictureHeaders& headers) {
  headers.type = imagecore::kPictureWebP;
  return WebpWalk(source, headers).Run();
}

}  // namespace media_server::image

#include "media-server/image/png.h"

#include <algorithm>
#include <bit>
#include <chrono>
#include <cstddef>
#include <string_view>
#include <utility>

#include "media-server/codec/picture_parameters.h"
#include "media-server/container/byte_reader.h"
#include "media-server/image/exif_payload.h"
#include "media-server/image/fourcc.h"
#include "media-server/image/frame_delays.h"
#include "media-server/image/header_window.h"
#include "media-server/image/png_text.h"

namespace media_server::image {
namespace {

using Bytes = std::span<const std::uint8_t>;

constexpr std::size_t kSignatureSize = 8;
constexpr std::size_t kChunkHeaderSize = 8;
constexpr std::size_t kChecksumSize = 4;
constexpr std::size_t kHeaderSize = 13;
constexpr std::uint32_t kLongestChunk = 0x7FFFFFFF;  // PNG specification, 5.3
constexpr std::uint8_t kPalette = 3;

// libpng writes picture data in pieces of 8 KiB: enough for 128 MB of them.
constexpr int kMostChunks = 16384;
// Two chunks a frame: more than an hour at 30 frames per second.
constexpr int kMostAnimationChunks = 262144;

/// IHDR (11.2.1).
std::optional<PngStart> ReadHeader(Bytes data) {
  ByteReader reader(data);
  PngStart start;
  start.size.width = reader.Be32();
  start.size.height = reader.Be32();
  start.bit_depth = reader.U8();
  start.color_type = reader.U8();
  reader.Skip(3);  // compression, filter, interlace
  if (!reader.Ok() || start.bit_depth > 16 || !std::has_single_bit(start.bit_depth)) return std::nullopt;
  return start;
}

/// tIME (11.3.5.2), in UTC.
std::optional<std::int64_t> ReadTime(Bytes data) {
  ByteReader reader(data);
  const std::chrono::year year{reader.Be16()};
  const std::chrono::month month{reader.U8()};
  const std::chrono::day day{reader.U8()};
  const int hour = reader.U8();
  const int minute = reader.U8();
  const int second = reader.U8();
  const std::chrono::year_month_day date{year, month, day};
  if (!reader.Ok() || !date.ok() || hour > 23 || minute > 59 || second > 60) return std::nullopt;
  const std::chrono::sys_seconds midnight = std::chrono::sys_days(date);
  return midnight.time_since_epoch().count() + hour * 3600 + minute * 60 + second;
}

class PngWalk {
 public:
  PngWalk(IByteSource& source, PictureHeaders& headers) : window_(source), headers_(headers) {}

  bool Run() {
    bool ended = false;
    for (int i = 0; i < (is_animated_ ? kMostAnimationChunks : kMostChunks) && !ended; ++i) ended = !TakeChunk();
    // A part of the sum would be a wrong answer; what a cut file still has is what a viewer plays.
    if (is_animated_ && ended && !window_.Spent()) headers_.animation = delays_.Describe();
    return headers_.size.has_value();
  }

 private:
  struct Chunk {
    std::string_view type;
    std::uint64_t offset;  // of the data
    std::uint32_t size;
  };

  /// False behind the last chunk.
  bool TakeChunk() {
    // The control of a frame and the header of its data come along, so that one short read does for a frame.
    constexpr std::size_t kFrameStart = 64;
    ByteReader reader(window_.View(at_, kChunkHeaderSize, is_animated_ ? kFrameStart : 0));
    const std::uint32_t size = reader.Be32();
    const std::string type(AsText(reader.Take(4)));
    if (!reader.Ok() || size > kLongestChunk || type == "IEND") return false;
    const bool is_apple = at_ == kSignatureSize && type == "CgBI";
    if (!headers_.size && !is_apple && type != "IHDR") return false;
    if (is_apple) premultiplied_ = true;
    Take({type, at_ + kChunkHeaderSize, size});
    at_ += kChunkHeaderSize + std::uint64_t{size} + kChecksumSize;
    return is_apple || headers_.size.has_value();
  }

  void Take(const Chunk& chunk) {
    struct Row {
      std::string_view type;
      void (PngWalk::*take)(const Chunk& chunk);
    };
    static constexpr Row kRows[] = {
        {"IHDR", &PngWalk::TakeHeader},       {"tRNS", &PngWalk::TakeTransparency},
        {"IDAT", &PngWalk::TakePictureData},  {"acTL", &PngWalk::TakeAnimationControl},
        {"fcTL", &PngWalk::TakeFrameControl}, {"tIME", &PngWalk::TakeTime},
        {"eXIf", &PngWalk::TakeExif},         {"tEXt", &PngWalk::TakeText},
        {"zTXt", &PngWalk::TakeText},         {"iTXt", &PngWalk::TakeText},
    };
    const auto* row = std::ranges::find(kRows, chunk.type, &Row::type);
    if (row != std::end(kRows)) (this->*row->take)(chunk);
  }

  Bytes Data(const Chunk& chunk, std::size_t most) {
    return window_.View(chunk.offset, std::min<std::size_t>(chunk.size, most));
  }

  imagecore::AlphaMode Alpha() const {
    return premultiplied_ ? imagecore::kAlphaPremultiplied : imagecore::kAlphaStraight;
  }

  void TakeHeader(const Chunk& chunk) {
    const auto header = ReadHeader(Data(chunk, kHeaderSize));
    if (!header || headers_.size) return;
    headers_.size = header->size;
    headers_.bit_depth = header->color_type == kPalette ? 8 : header->bit_depth;
    headers_.chroma_sampling = (header->color_type & 2) != 0 ? codec::kChromaRgb : codec::kChroma400;
    if (header->HasAlphaChannel()) headers_.alpha = Alpha();
  }

  /// Transparent colours or alpha of the palette (11.3.1.1), before the picture data.
  void TakeTransparency(const Chunk&) {
    if (!headers_.alpha) headers_.alpha = Alpha();
  }

  void TakePictureData(const Chunk&) {
    if (!headers_.alpha) headers_.alpha = imagecore::kAlphaNone;
    has_picture_data_ = true;
  }

  /// acTL makes an animation only before the picture data (14.2.1).
  void TakeAnimationControl(const Chunk&) {
    if (is_animated_ || has_picture_data_) return;
    is_animated_ = true;
    window_.RaiseBudget(kMostAnimationBytes);
  }

  /// fcTL (14.2.2): a denominator of 0 stands for 100.
  void TakeFrameControl(const Chunk& chunk) {
    constexpr std::size_t kFrameControlSize = 26;
    if (!is_animated_) return;
    ByteReader reader(Data(chunk, kFrameControlSize));
    reader.Skip(20);  // number, size, place
    const std::uint16_t numerator = reader.Be16();
    const std::uint16_t denominator = reader.Be16();
    if (reader.Ok()) delays_.Add(numerator, denominator == 0 ? 100 : denominator);
  }

  void TakeTime(const Chunk& chunk) {
    constexpr std::size_t kTimeSize = 7;
    headers_.metadata.modified = ReadTime(Data(chunk, kTimeSize));
  }

  /// eXIf (11.3.5.5) holds over what stands in a text.
  void TakeExif(const Chunk& chunk) {
    auto exif = TiffOfExifBlock(window_.Copy(chunk.offset, chunk.size), ExifPrefix::kNone);
    if (!exif.empty()) headers_.metadata.exif = std::move(exif);
  }

  void TakeText(const Chunk& chunk) {
    constexpr std::size_t kLongestKeyword = 79;  // 11.3.3.1
    const std::string_view start = AsText(Data(chunk, kLongestKeyword + 1));
    if (!IsPngMetadata(start.substr(0, start.find('\0')))) return;
    const auto text = ReadPngText(chunk.type, window_.Copy(chunk.offset, chunk.size));
    if (text) TakePngText(*text, headers_.metadata);
  }

  HeaderWindow window_;
  PictureHeaders& headers_;
  std::uint64_t at_ = kSignatureSize;
  FrameDelays delays_;
  bool is_animated_ = false;
  bool has_picture_data_ = false;
  bool premultiplied_ = false;  // as Apple's tools leave it (CgBI)
};

}  // namespace

std::optional<PngStart> ReadPngStart(Bytes bytes) {
  using namespace std::string_view_literals;
  ByteReader reader(bytes);
  const bool is_png = AsText(reader.Take(kSignatureSize)) == "\x89PNG\r\n\x1a\n"sv;
  reader.Skip(4);  // length
  if (!is_png || AsText(reader.Take(4)) != "IHDR") return std::nullopt;
  return ReadHeader(reader.TakeRest());
}

bool ReadPng(IByteSource& source, PictureHeaders& headers) {
  headers.type = imagecore::kPicturePng;
  headers.fourcc = FourCC("PNG ");
  return PngWalk(source, headers).Run();
}

}  // namespace media_server::image

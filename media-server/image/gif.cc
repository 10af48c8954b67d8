#include "media-server/image/gif.h"

#include <algorithm>
#include <cstddef>
#include <string>
#include <string_view>
#include <vector>

#include "media-server/codec/picture_parameters.h"
#include "media-server/container/byte_reader.h"
#include "media-server/image/fourcc.h"
#include "media-server/image/frame_delays.h"

namespace media_server::image {
namespace {

// Block labels (GIF89a, appendix A).
constexpr std::uint8_t kExtension = 0x21;
constexpr std::uint8_t kImageDescriptor = 0x2C;
constexpr std::uint8_t kGraphicControl = 0xF9;
constexpr std::uint8_t kApplication = 0xFF;

constexpr std::uint16_t kTicksPerSecond = 100;

/// Bytes from front to back, fetched in pieces that grow while the walk goes on.
class ByteStream {
 public:
  explicit ByteStream(IByteSource& source) : source_(source) {}

  /// The next byte; 0 past the end or the bound, with AtEnd true.
  std::uint8_t Next() {
    if (used_ == piece_.size() && !Fetch()) return 0;
    return piece_[used_++];
  }

  std::uint16_t NextLe16() {
    const std::uint8_t low = Next();
    return static_cast<std::uint16_t>(low | Next() << 8);
  }

  void Skip(std::size_t size) {
    while (size > 0) {
      if (used_ == piece_.size() && !Fetch()) return;
      const std::size_t step = std::min(size, piece_.size() - used_);
      used_ += step;
      size -= step;
    }
  }

  bool AtEnd() const { return at_end_; }
  bool BoundHit() const { return bound_hit_; }

 private:
  bool Fetch() {
    constexpr std::size_t kFirstPiece = 4096;
    constexpr std::size_t kLongestPiece = 64 * 1024;
    bound_hit_ = offset_ >= kMostGifBytes;
    if (bound_hit_) {
      at_end_ = true;
      return false;
    }
    piece_ = ReadBytes(source_, offset_, std::clamp(piece_.size() * 2, kFirstPiece, kLongestPiece));
    offset_ += piece_.size();
    used_ = 0;
    at_end_ = piece_.empty();
    return !at_end_;
  }

  IByteSource& source_;
  std::uint64_t offset_ = 0;
  std::vector<std::uint8_t> piece_;
  std::size_t used_ = 0;
  bool at_end_ = false;
  bool bound_hit_ = false;
};

class GifWalk {
 public:
  GifWalk(IByteSource& source, PictureHeaders& headers) : stream_(source), headers_(headers) {}

  bool Run() {
    stream_.Skip(6);  // signature and version
    const std::uint16_t width = stream_.NextLe16();
    const std::uint16_t height = stream_.NextLe16();
    if (stream_.AtEnd()) return false;
    headers_.size = PictureSize{width, height};
    headers_.bit_depth = 8;
    headers_.chroma_sampling = codec::kChromaRgb;
    const std::uint8_t flags = stream_.Next();
    stream_.Skip(2);  // background, aspect ratio
    SkipColorTable(flags);
    while (TakeBlock()) {
    }
    if (!stream_.BoundHit()) headers_.animation = delays_.Describe();
    if (headers_.animation) headers_.animation->frame_rate = delays_.MeanRate();
    return true;
  }

 private:
  /// False at the trailer, at the end, and where no block starts.
  bool TakeBlock() {
    const std::uint8_t label = stream_.Next();
    if (stream_.AtEnd()) return false;
    if (label == kExtension) {
      TakeExtension();
      return true;
    }
    if (label != kImageDescriptor) return label == 0;  // zeros between blocks: some writers end a block twice
    TakeFrame();
    return true;
  }

  void TakeExtension() {
    const std::uint8_t label = stream_.Next();
    if (label == kApplication) return TakeApplication();
    if (label == kGraphicControl) return TakeGraphicControl();
    SkipSubBlocks();
  }

  /// GIF89a, 23: holds for the frame that follows.
  void TakeGraphicControl() {
    constexpr std::uint8_t kSize = 4;
    const std::uint8_t size = stream_.Next();
    if (size == kSize) {
      has_transparent_color_ = (stream_.Next() & 1) != 0;
      delay_ = stream_.NextLe16();
      stream_.Skip(1);  // which colour
    } else {
      stream_.Skip(size);
    }
    if (size != 0) SkipSubBlocks();
  }

  /// GIF89a, 20.
  void TakeFrame() {
    stream_.Skip(8);  // place and size
    const std::uint8_t flags = stream_.Next();
    if (stream_.AtEnd()) return;
    if (delays_.Count() == 0) {
      headers_.alpha = has_transparent_color_ ? imagecore::kAlphaStraight : imagecore::kAlphaNone;
    }
    delays_.Add(delay_, kTicksPerSecond);
    delay_ = 0;
    SkipColorTable(flags);
    stream_.Skip(1);  // code size
    SkipSubBlocks();
  }

  void SkipColorTable(std::uint8_t flags) {
    if ((flags & 0x80) != 0) stream_.Skip(std::size_t{3} << ((flags & 7) + 1));
  }

  void SkipSubBlocks() {
    while (const std::uint8_t size = stream_.Next()) stream_.Skip(size);
  }

  /// GIF89a, 26.
  void TakeApplication() {
    constexpr std::string_view kXmp = "XMP DataXMP";
    const std::uint8_t name_size = stream_.Next();
    std::string name;
    for (std::uint8_t i = 0; i < name_size; ++i) name += static_cast<char>(stream_.Next());
    if (name == kXmp) return TakeXmp();
    if (name_size != 0) SkipSubBlocks();
  }

  /// The packet is no run of sub-blocks, but can be skipped as one: behind it stands a trailer of the bytes 1, FF, FE,
  /// ... 1, 0, 0, and whichever of them a reader of sub-blocks lands on leads it to the end (XMP specification part 3,
  /// 1.1.2).
  void TakeXmp() {
    std::string packet;
    while (const std::uint8_t size = stream_.Next()) {
      if (packet.size() <= kMostMetadataBytes) packet += static_cast<char>(size);
      for (std::uint8_t i = 0; i < size; ++i) {
        const char c = static_cast<char>(stream_.Next());
        if (packet.size() <= kMostMetadataBytes) packet += c;
      }
    }
    // A packet has no such control character: the first one is the trailer's.
    const auto trailer = packet.find('\1');
    if (trailer != packet.npos) headers_.metadata.AddXmp(std::string_view(packet).substr(0, trailer));
  }

  ByteStream stream_;
  PictureHeaders& headers_;
  FrameDelays delays_;
  std::uint16_t delay_ = 0;
  bool has_transparent_color_ = false;
};

}  // namespace

bool ReadGif(IByteSource& source, PictureHeaders& headers) {
  headers.type = imagecore::kPictureGif;
  headers.fourcc = FourCC("GIF ");
  return GifWalk(source, headers).Run();
}

}  // namespace media_server::image

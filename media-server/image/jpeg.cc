#include "media-server/image/jpeg.h"

#include <algorithm>
#include <array>
#include <cstddef>
#include <cstdint>
#include <optional>
#include <span>
#include <string_view>
#include <utility>
#include <vector>

#include "media-server/codec/picture_parameters.h"
#include "media-server/container/byte_reader.h"
#include "media-server/image/exif_payload.h"
#include "media-server/image/fourcc.h"
#include "media-server/image/header_window.h"
#include "media-server/image/photoshop_resources.h"
#include "media-server/image/segment_names.h"

namespace media_server::image {
namespace {

using namespace std::string_view_literals;
using Bytes = std::span<const std::uint8_t>;

// Markers (ITU-T T.81, table B.1).
constexpr std::uint8_t kTemporary = 0x01;
constexpr std::uint8_t kFirstRestart = 0xD0;
constexpr std::uint8_t kStartOfImage = 0xD8;
constexpr std::uint8_t kEndOfImage = 0xD9;
constexpr std::uint8_t kStartOfScan = 0xDA;
constexpr std::uint8_t kNumberOfLines = 0xDC;
constexpr std::uint8_t kHierarchicalProgression = 0xDE;
constexpr std::uint8_t kApp1 = 0xE1;
constexpr std::uint8_t kApp13 = 0xED;
constexpr std::uint8_t kApp14 = 0xEE;
constexpr std::uint8_t kJpegLsFrame = 0xF7;  // ITU-T T.87, C.2.1

// Depth maps and colour profiles may take some hundred segments of 64 KiB.
constexpr int kMostSegments = 2048;

constexpr std::string_view kExif = "Exif\0"sv;  // padded to six bytes, not always with a zero
constexpr std::size_t kExifSize = 6;

bool StandsAlone(std::uint8_t marker) {
  return marker == kTemporary || (marker >= kFirstRestart && marker <= kStartOfImage);
}

/// SOF0 to SOF15 without DHT (C4), JPG (C8) and DAC (CC). The header of a hierarchical progression looks like theirs
/// and tells the size of the whole picture, before frames that may be smaller (T.81, B.3.2).
bool IsFrame(std::uint8_t marker) {
  const bool is_numbered = marker >= 0xC0 && marker <= 0xCF && marker != 0xC4 && marker != 0xC8 && marker != 0xCC;
  return is_numbered || marker == kHierarchicalProgression || marker == kJpegLsFrame;
}

/// Of three components, in the order of the file.
using ComponentIds = std::array<std::uint8_t, 3>;
/// Horizontal factor above, vertical below, of each of three components.
using SamplingFactors = std::array<std::uint8_t, 3>;

/// Only the ratio of luma to chroma counts: encoders write 2x2, 1x2, 1x2 as well as 2x1, 1x1, 1x1 for 4:2:2.
std::optional<int> ChromaOfFactors(const SamplingFactors& factors) {
  struct Sampling {
    unsigned horizontal;
    unsigned vertical;
    int chroma_sampling;
  };
  constexpr std::array<Sampling, 6> kSamplings = {{{1, 1, codec::kChroma444},
                                                   {2, 1, codec::kChroma422},
                                                   {2, 2, codec::kChroma420},
                                                   {1, 2, codec::kChroma440},
                                                   {4, 1, codec::kChroma411},
                                                   {4, 2, codec::kChroma410}}};
  if (factors[1] != factors[2]) return std::nullopt;
  const unsigned horizontal = factors[1] >> 4;
  const unsigned vertical = factors[1] & 15;
  if (horizontal == 0 || vertical == 0) return std::nullopt;
  for (const Sampling& sampling : kSamplings) {
    const bool matches =
        factors[0] >> 4 == sampling.horizontal * horizontal && (factors[0] & 15) == sampling.vertical * vertical;
    if (matches) return sampling.chroma_sampling;
  }
  return std::nullopt;
}

class JpegWalk {
 public:
  JpegWalk(IByteSource& source, PictureHeaders& headers) : window_(source), headers_(headers) {}

  bool Run() {
    for (int i = 0; i < kMostSegments; ++i) {
      const auto marker = TakeMarker();
      if (!marker || *marker == kEndOfImage) break;
      if (StandsAlone(*marker)) continue;
      ByteReader length(window_.View(at_, 2));
      const std::uint16_t size = length.Be16();  // counts itself
      if (size < 2) break;
      if (*marker == kStartOfScan) {
        if (headers_.size && headers_.size->height == 0) headers_.size->height = CountLines(at_ + size);
        break;
      }
      TakeSegment(*marker, at_ + 2, size - 2U);
      at_ += size;
    }
    const auto iptc = FindPhotoshopResource(photoshop_, kIptcResource);
    headers_.metadata.iptc.assign(iptc.begin(), iptc.end());
    return headers_.size && headers_.size->height != 0;
  }

 private:
  /// The next marker, `at_` behind it. Fill bytes (T.81, B.1.1.2) are skipped, and so is what a segment that lies about
  /// its size leaves in front of the next marker.
  std::optional<std::uint8_t> TakeMarker() {
    const auto is_marker = [](std::uint8_t code) { return code != 0 && code != 0xFF; };
    // What tells a segment's kind comes along, so that one short read does for a segment that is skipped.
    constexpr std::size_t kSegmentStart = 64;
    for (const std::size_t size : {std::size_t{2}, HeaderWindow::kLongestView}) {
      const Bytes bytes = window_.View(at_, size, kSegmentStart);
      for (std::size_t i = 1; i < bytes.size(); ++i) {
        if (bytes[i - 1] != 0xFF || !is_marker(bytes[i])) continue;
        at_ += i + 1;
        return bytes[i];
      }
    }
    return std::nullopt;
  }

  void TakeSegment(std::uint8_t marker, std::uint64_t offset, std::size_t size) {
    if (IsFrame(marker) && !headers_.size) TakeFrame(offset, size);
    if (marker == kApp1) TakeApp1(offset, size);
    if (marker == kApp13) TakeApp13(offset, size);
    if (marker == kApp14) TakeApp14(offset, size);
  }

  /// A frame header behind its length (T.81, B.2.2).
  void TakeFrame(std::uint64_t offset, std::size_t size) {
    constexpr std::size_t kThreeComponents = 6 + 3 * 3;
    ByteReader frame(window_.View(offset, std::min(size, kThreeComponents)));
    const int precision = frame.U8();
    const std::uint16_t height = frame.Be16();
    const std::uint16_t width = frame.Be16();
    const unsigned components = frame.U8();
    if (!frame.Ok() || precision < 1 || precision > 16 || width == 0) return;
    headers_.size = PictureSize{width, height};
    headers_.bit_depth = precision;
    headers_.alpha = imagecore::kAlphaNone;
    if (components == 1) headers_.chroma_sampling = codec::kChroma400;
    if (components == 3) {
      ComponentIds ids{};
      SamplingFactors factors{};
      for (std::size_t i = 0; i < factors.size(); ++i) {
        ids[i] = frame.U8();
        factors[i] = frame.U8();
        frame.Skip(1);  // quantisation table
      }
      headers_.chroma_sampling = IsRgb(ids) ? codec::kChromaRgb : ChromaOfFactors(factors);
    }
  }

  /// Adobe's segment tells whether colours were transformed (ITU-T T.872, 6.5.3). Without one, writers of RGB name the
  /// components so.
  bool IsRgb(const ComponentIds& ids) const {
    constexpr ComponentIds kRgb = {'R', 'G', 'B'};
    return adobe_transform_ ? *adobe_transform_ == 0 : ids == kRgb;
  }

  /// Lines of a frame that told none, out of the segment behind the first scan (T.81, B.2.5); 0 when it is too far off.
  std::uint16_t CountLines(std::uint64_t scan) {
    constexpr std::size_t kSegmentSize = 6;
    while (true) {
      const Bytes bytes = window_.View(scan, HeaderWindow::kLongestView);
      if (bytes.size() < kSegmentSize) return 0;
      for (std::size_t i = 0; i + kSegmentSize <= bytes.size(); ++i) {
        const std::uint8_t code = bytes[i + 1];
        const bool goes_on = bytes[i] != 0xFF || code == 0 || code == 0xFF || StandsAlone(code);
        if (goes_on) continue;
        return code == kNumberOfLines ? ByteReader(bytes.subspan(i + 4)).Be16() : std::uint16_t{0};
      }
      scan += bytes.size() - kSegmentSize + 1;
    }
  }

  void TakeApp1(std::uint64_t offset, std::size_t size) {
    const std::string_view name = AsText(window_.View(offset, std::min(size, kXmpSegment.size())));
    EmbeddedMetadata& metadata = headers_.metadata;
    if (name.starts_with(kExif) && size > kExifSize && metadata.exif.empty()) {
      metadata.exif = TiffOfExifBlock(window_.Copy(offset + kExifSize, size - kExifSize), ExifPrefix::kNone);
      return;
    }
    if (name != kXmpSegment) return;
    const auto packet = window_.Copy(offset + kXmpSegment.size(), size - kXmpSegment.size());
    metadata.AddXmp(AsText(packet));
  }

  /// Image resources that do not fit into one segment go on in the next (Adobe, "Photoshop 3.0" segments).
  void TakeApp13(std::uint64_t offset, std::size_t size) {
    if (AsText(window_.View(offset, std::min(size, kPhotoshopSegment.size()))) != kPhotoshopSegment) return;
    const auto blocks = window_.Copy(offset + kPhotoshopSegment.size(), size - kPhotoshopSegment.size());
    photoshop_.insert(photoshop_.end(), blocks.begin(), blocks.end());
  }

  void TakeApp14(std::uint64_t offset, std::size_t size) {
    constexpr std::string_view kAdobe = "Adobe";
    constexpr std::size_t kTransform = 11;  // behind the name, the version and two words of flags
    const Bytes segment = window_.View(offset, std::min(size, kTransform + 1));
    if (AsText(segment).starts_with(kAdobe) && segment.size() > kTransform) adobe_transform_ = segment[kTransform];
  }

  HeaderWindow window_;
  PictureHeaders& headers_;
  std::optional<std::uint8_t> adobe_transform_;
  std::uint64_t at_ = 2;  // behind the start of the image
  std::vector<std::uint8_t> photoshop_;
};

}  // namespace

bool ReadJpeg(IByteSource& source, PictureHeaders& headers) {
  headers.type = imagecore::kPictureJpeg;
  headers.fourcc = FourCC("JPEG");
  return JpegWalk(source, headers).Run();
}

}  // namespace media_server::image

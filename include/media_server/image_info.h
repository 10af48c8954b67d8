#pragma once

#include <cstddef>
#include <cstdint>
#include <cstdlib>

/// The record that the media server's image query fills.
namespace imagecore {

/// What kind of file a picture lies in (QkImageInfo::picture_type).
enum PictureType : std::int32_t {
  kPictureJpeg = 1,
  kPicturePng = 2,
  kPictureGif = 3,
  kPictureWebP = 4,
  kPictureBmp = 5,
  kPictureTiff = 6,
  kPictureHeif = 7,
  kPictureAvif = 8,
  kPictureJpegXl = 9,
  kPicturePsd = 10,
  kPictureCameraRaw = 11,
  kPictureOpenExr = 12,
  kPictureSvg = 13,
  kPictureOther = 99,
};

/// To show a picture upright it is flipped first, then rotated (QkImageInfo::flip, QkImageInfo::rotation).
enum Flip : std::int32_t {
  kFlipNone = 0,
  kFlipHorizontal = 1,  ///< left and right change places
  kFlipVertical = 2,
};

/// QkImageInfo::alpha_mode.
enum AlphaMode : std::int32_t {
  kAlphaNone = 0,
  kAlphaStraight = 1,
  kAlphaPremultiplied = 2,
};

/// Bits of QkImageInfo::flags: which fields tell something.
enum ImageFlag : std::uint32_t {
  kHasFlip = 0x1,
  kHasPictureType = 0x2,
  kHasWidth = 0x4,
  kHasHeight = 0x8,
  kHasRotation = 0x10,
  kHasGifFrameRateNum = 0x20,
  kHasGifFrameRateDen = 0x40,
  kHasSequenceTotalFrames = 0x80,
  kHasGpsLatitude = 0x100,
  kHasGpsLongitude = 0x200,
  kHasExposureTime = 0x400,
  kHasSequenceDuration = 0x800,
  kHasWebPDuration = 0x1000,
  kHasGifDuration = 0x2000,
  kHasCameraMaker = 0x4000,
  kHasCameraModel = 0x8000,
  kHasGpsLatitudeRef = 0x10000,
  kHasGpsLongitudeRef = 0x20000,
  kHasFourCC = 0x40000,
  kHasAigcData = 0x80000,
  kHasAigcSize = 0x100000,
  kHasAvifDuration = 0x200000,
  kHasDate = 0x4000000,
};

inline constexpr std::size_t kImageTextCapacity = 256;  ///< bytes of each text field, its terminator included

/// What is known of one image, or of the first image of a sequence. The layout is fixed: media server and module agree
/// on every offset. Texts are UTF-8 with a terminator.
struct QkImageInfo {
  QkImageInfo() = default;
  QkImageInfo(const QkImageInfo&) = delete;
  QkImageInfo& operator=(const QkImageInfo&) = delete;
  ~QkImageInfo() { ReleaseAigc(); }

  /// Frees the label, which the media server allocated with malloc.
  void ReleaseAigc() {
    std::free(aigc_data);
    aigc_data = nullptr;
    aigc_size = 0;
  }

  std::uint32_t flags = 0;  ///< ImageFlag bits; a field without its bit means nothing
  std::int32_t flip = 0;
  std::int32_t picture_type = 0;
  std::int32_t width = 0;               ///< pixels of the stored picture, before it is flipped and rotated
  std::int32_t height = 0;              ///< likewise
  std::int32_t rotation = 0;            ///< 0, 90, 180 or 270 degrees clockwise
  std::int32_t gif_frame_rate_num = 0;  ///< frames per second
  std::int32_t gif_frame_rate_den = 0;
  std::int32_t sequence_total_frames = 0;
  std::uint8_t padding[4] = {};
  double gps_latitude = 0;   ///< degrees without sign; the hemisphere stands in the reference
  double gps_longitude = 0;  ///< likewise
  double exposure_time_s = 0;
  double sequence_duration_s = 0;
  double webp_duration_s = 0;
  double gif_duration_s = 0;
  double avif_duration_s = 0;
  char date[kImageTextCapacity] = {};  ///< combined date text, as IMediaInfo's
  char camera_maker[kImageTextCapacity] = {};
  char camera_model[kImageTextCapacity] = {};
  char gps_latitude_ref[kImageTextCapacity] = {};   ///< "N" or "S"
  char gps_longitude_ref[kImageTextCapacity] = {};  ///< "E" or "W"
  std::uint32_t fourcc = 0;    ///< of the coded picture, first character in the least significant byte
  std::int32_t aigc_size = 0;  ///< bytes of the label's text, without its terminator
  char* aigc_data = nullptr;   ///< label of AI-generated content; malloc, freed with the record
  std::uint32_t reserved = 0;
  std::int32_t alpha_mode = 0;  ///< told whenever any flag is set
  std::uint8_t reserved_tail[24] = {};
};

static_assert(sizeof(void*) != 8 || sizeof(QkImageInfo) == 1424);
static_assert(offsetof(QkImageInfo, gps_latitude) == 40);
static_assert(offsetof(QkImageInfo, avif_duration_s) == 88);
static_assert(offsetof(QkImageInfo, date) == 96);
static_assert(offsetof(QkImageInfo, fourcc) == 1376);
static_assert(offsetof(QkImageInfo, aigc_data) == 1384);
static_assert(sizeof(void*) != 8 || offsetof(QkImageInfo, alpha_mode) == 1396);

}  // namespace imagecore

#include "media-server/image/tiff.h"

#include <algorithm>
#include <array>
#include <limits>
#include <tuple>
#include <vector>

#include "media-server/container/byte_reader.h"
#include "media-server/image/embedded_jpeg.h"
#include "media-server/image/exif_values.h"
#include "media-server/image/fourcc.h"
#include "media-server/image/header_window.h"
#include "media-server/image/metered_source.h"
#include "media-server/image/photoshop_resources.h"
#include "media-server/image/tiff_directory.h"

namespace media_server::image {
namespace {

constexpr std::uint16_t kNewSubfileType = 0x00FE;
constexpr std::uint16_t kSubfileType = 0x00FF;
constexpr std::uint16_t kImageWidth = 0x0100;
constexpr std::uint16_t kImageLength = 0x0101;
constexpr std::uint16_t kCompression = 0x0103;
constexpr std::uint16_t kPhotometricInterpretation = 0x0106;
constexpr std::uint16_t kMake = 0x010F;
constexpr std::uint16_t kExtraSamples = 0x0152;
constexpr std::uint16_t kXmp = 0x02BC;
constexpr std::uint16_t kIptc = 0x83BB;
constexpr std::uint16_t kPhotoshop = 0x8649;
constexpr std::uint16_t kPixelXDimension = 0xA002;
constexpr std::uint16_t kPixelYDimension = 0xA003;
constexpr std::uint16_t kDngVersion = 0xC612;

// Of Panasonic's raw format, whose tags below 0x100 are its own.
constexpr std::uint16_t kSensorWidth = 0x0002;
constexpr std::uint16_t kSensorHeight = 0x0003;
constexpr std::uint16_t kSensorTop = 0x0004;
constexpr std::uint16_t kSensorLeft = 0x0005;
constexpr std::uint16_t kSensorBottom = 0x0006;
constexpr std::uint16_t kSensorRight = 0x0007;
constexpr std::uint16_t kPanasonicJpeg = 0x002E;

constexpr std::size_t kMostSubDirectories = 16;  // of one directory
constexpr std::size_t kMostExtraSamples = 16;

// For directories and Exif, so that something is left for other metadata. Those get what these do not use.
constexpr std::uint64_t kDirectoryBudget = kMostStillBytes - 96 * 1024;

/// What one directory says of its picture.
struct TiffPicture {
  PictureSize size;
  bool is_full = false;         ///< neither a reduced version nor a mask or map of another picture
  bool is_sensor_data = false;  ///< one sample a pixel behind a colour filter, or linear values (DNG 1.7, chapter 2)
  std::uint64_t compression = 1;
  imagecore::AlphaMode alpha = imagecore::kAlphaNone;
};

/// NewSubfileType: bit 1 tells a page of many, each other bit a picture that belongs to another one (TIFF 6.0, section
/// 8; DNG 1.7, chapter 4). The older SubfileType: 2 is a reduced version.
bool IsFull(const TiffWalker& walker, const TiffDirectory& directory) {
  constexpr std::uint64_t kPage = 2;
  constexpr std::uint64_t kOldReduced = 2;
  if (const auto type = walker.Number(directory, kNewSubfileType)) return (*type & ~kPage) == 0;
  return walker.Number(directory, kSubfileType) != kOldReduced;
}

bool IsSensorData(const TiffWalker& walker, const TiffDirectory& directory) {
  constexpr std::array<std::uint64_t, 2> kPhotometric = {32803, 34892};
  // Sony, Epson, Samsung (two), Nikon, Kodak, Pentax.
  constexpr std::array<std::uint64_t, 7> kCompressions = {32767, 32769, 32770, 32772, 34713, 65000, 65535};
  const auto is_one_of = [&](std::uint16_t tag, std::span<const std::uint64_t> values) {
    const auto value = walker.Number(directory, tag);
    return value && std::ranges::find(values, *value) != values.end();
  };
  return is_one_of(kPhotometricInterpretation, kPhotometric) || is_one_of(kCompression, kCompressions);
}

/// ExtraSamples: 1 is associated alpha, 2 is unassociated alpha (TIFF 6.0, section 18).
imagecore::AlphaMode AlphaOf(const TiffWalker& walker, const TiffDirectory& directory) {
  const TiffEntry* entry = directory.Find(kExtraSamples);
  if (!entry) return imagecore::kAlphaNone;
  for (const std::uint64_t sample : walker.Numbers(*entry, kMostExtraSamples)) {
    if (sample == 1) return imagecore::kAlphaPremultiplied;
    if (sample == 2) return imagecore::kAlphaStraight;
  }
  return imagecore::kAlphaNone;
}

std::optional<PictureSize> SizeOf(std::optional<std::uint64_t> width, std::optional<std::uint64_t> height) {
  constexpr std::uint64_t kMost = std::numeric_limits<std::uint32_t>::max();
  if (!width || !height || *width == 0 || *height == 0 || *width > kMost || *height > kMost) return std::nullopt;
  return PictureSize{static_cast<std::uint32_t>(*width), static_cast<std::uint32_t>(*height)};
}

/// The part of the sensor between its borders, or all of it.
std::optional<PictureSize> PanasonicSize(const TiffWalker& walker, const TiffDirectory& directory) {
  const auto number = [&](std::uint16_t tag) { return walker.Number(directory, tag).value_or(0); };
  const std::uint64_t left = number(kSensorLeft);
  const std::uint64_t right = number(kSensorRight);
  const std::uint64_t top = number(kSensorTop);
  const std::uint64_t bottom = number(kSensorBottom);
  if (right > left && bottom > top) return SizeOf(right - left, bottom - top);
  return SizeOf(number(kSensorWidth), number(kSensorHeight));
}

std::uint32_t FourCCOf(std::uint64_t compression) {
  struct Row {
    std::uint64_t compression;
    std::uint32_t fourcc;
  };
  constexpr std::array kRows = {
      Row{6, FourCC("JPEG")},      // before technical note 2
      Row{7, FourCC("JPEG")},      // lossless in camera raw files
      Row{34892, FourCC("JPEG")},  // lossy in DNG
      Row{34712, FourCC("MJP2")},  // JPEG 2000
      Row{50001, FourCC("WEBP")},  // libtiff's own number
      Row{50002, FourCC("jxl ")},  // likewise
      Row{52546, FourCC("jxl ")},  // in DNG 1.7
  };
  const auto row = std::ranges::find(kRows, compression, &Row::compression);
  return row == kRows.end() ? FourCC("TIFF") : row->fourcc;
}

class TiffReader {
 public:
  /// `walker` reads from `metered`, which reads from `source`.
  TiffReader(IByteSource& source, MeteredSource& metered, TiffWalker& walker, PictureHeaders& headers)
      : source_(source), metered_(metered), walker_(walker), headers_(headers) {}

  bool Run() {
    if (!Gather()) return false;
    const bool is_raw = IsCameraRaw();
    headers_.type = is_raw ? imagecore::kPictureCameraRaw : imagecore::kPictureTiff;
    const TiffPicture* picture = is_raw ? SensorPicture() : FirstPicture();
    if (picture) headers_.size = picture->size;
    headers_.alpha = is_raw || !picture ? imagecore::kAlphaNone : picture->alpha;
    headers_.fourcc = FourCCOf(picture ? picture->compression : 1);
    if (is_raw && !(picture && picture->is_sensor_data)) TakeFinishedSize();
    TakeMetadata();
    return headers_.size.has_value();
  }

 private:
  bool IsPanasonic() const { return walker_.magic() == TiffWalker::kMagicPanasonic; }

  /// The pictures of the first directory and its sub-directories; those of the next ones in the chain as long as none
  /// is of full resolution.
  bool Gather() {
    std::uint64_t offset = walker_.first();
    while (const auto directory = walker_.Read(offset)) {
      TakePicture(*directory);
      if (const TiffEntry* subs = directory->Find(kTiffSubDirectories)) {
        for (const std::uint64_t sub_offset : walker_.Numbers(*subs, kMostSubDirectories)) {
          if (const auto sub = walker_.Read(sub_offset)) TakePicture(*sub);
        }
      }
      if (!first_) first_ = *directory;
      if (std::ranges::any_of(pictures_, &TiffPicture::is_full)) break;
      offset = directory->next;
    }
    return first_.has_value();
  }

  void TakePicture(const TiffDirectory& directory) {
    auto size = SizeOf(walker_.Number(directory, kImageWidth), walker_.Number(directory, kImageLength));
    if (!size && IsPanasonic()) size = PanasonicSize(walker_, directory);
    if (!size) return;
    TiffPicture picture;
    picture.size = *size;
    picture.is_full = IsFull(walker_, directory);
    picture.is_sensor_data = IsPanasonic() || IsSensorData(walker_, directory);
    picture.compression = walker_.Number(directory, kCompression).value_or(1);
    picture.alpha = AlphaOf(walker_, directory);
    pictures_.push_back(picture);
  }

  bool IsCameraRaw() const {
    const std::uint16_t magic = walker_.magic();
    if (magic != TiffWalker::kMagicTiff && magic != TiffWalker::kMagicBigTiff) return true;
    if (first_->Find(kDngVersion) || std::ranges::any_of(pictures_, &TiffPicture::is_sensor_data)) return true;
    if (HasRawMark()) return true;
    // What remains when a file is cut before the directory of the sensor's picture: a camera's small picture first.
    return first_->Find(kMake) && first_->Find(kTiffSubDirectories) && !IsFull(walker_, *first_);
  }

  /// Behind the header, of Canon's newer and oldest raws and of Phase One's.
  bool HasRawMark() const {
    const auto bytes = ReadBytes(metered_, 8, 8);
    const std::string_view mark = AsText(bytes);
    if (walker_.magic() != TiffWalker::kMagicTiff || mark.size() < 8) return false;
    if (mark.starts_with("CR\2") || mark.starts_with("\xba\xb0\xac\xbb")) return true;
    return mark.starts_with("MMMMRaw") || (mark.starts_with("IIII") && mark.ends_with("waR"));
  }

  const TiffPicture* FirstPicture() const {
    const auto full = std::ranges::find_if(pictures_, &TiffPicture::is_full);
    if (full != pictures_.end()) return &*full;
    return pictures_.empty() ? nullptr : &pictures_.front();
  }

  /// Beside the sensor's picture there are previews, which older files do not mark as such: some as large as it.
  const TiffPicture* SensorPicture() const {
    const auto rank = [](const TiffPicture& picture) {
      return std::tuple(picture.is_full && picture.is_sensor_data, picture.is_full,
                        std::uint64_t{picture.size.width} * picture.size.height);
    };
    const auto best = std::ranges::max_element(pictures_, {}, rank);
    return best == pictures_.end() ? nullptr : &*best;
  }

  /// Where the directories tell only previews, the sensor's picture is as large as the finished one or little larger.
  void TakeFinishedSize() {
    const auto exif = walker_.Read(walker_.Number(*first_, kTiffExifDirectory).value_or(0));
    if (!exif) return;
    const auto size = SizeOf(walker_.Number(*exif, kPixelXDimension), walker_.Number(*exif, kPixelYDimension));
    const bool is_larger =
        size && (!headers_.size || (size->width >= headers_.size->width && size->height >= headers_.size->height));
    if (is_larger) headers_.size = size;
  }

  void TakeMetadata() {
    const TiffEntry* jpeg = IsPanasonic() ? first_->Find(kPanasonicJpeg) : nullptr;
    const auto jpeg_position = jpeg ? walker_.ValuePosition(*jpeg) : std::nullopt;
    if (jpeg_position) headers_.metadata = ReadEmbeddedJpeg(metered_, *jpeg_position).metadata;
    if (headers_.metadata.exif.empty()) headers_.metadata.exif_values = ReadExifValues(metered_, 0);

    HeaderWindow window(source_, kMostStillBytes - kDirectoryBudget + metered_.BytesLeft());
    if (headers_.metadata.xmp.empty()) headers_.metadata.xmp = AsText(Payload(window, kXmp));
    if (headers_.metadata.iptc.empty()) headers_.metadata.iptc = Iptc(window);
  }

  std::vector<std::uint8_t> Payload(HeaderWindow& window, std::uint16_t tag,
                                    std::uint64_t most = std::numeric_limits<std::uint64_t>::max()) const {
    const TiffEntry* entry = first_->Find(tag);
    const auto position = entry ? walker_.ValuePosition(*entry) : std::nullopt;
    const auto size = entry ? entry->ByteSize() : std::nullopt;
    if (!position || !size) return {};
    return window.Copy(*position, std::min(*size, most));
  }

  /// The data sets of the tag of their own, or of Photoshop's resources.
  std::vector<std::uint8_t> Iptc(HeaderWindow& window) const {
    constexpr std::uint8_t kDataSetMark = 0x1C;
    constexpr std::size_t kWord = 4;
    auto iptc = Payload(window, kIptc);
    // Some writers declare the tag as LONG, and then some of them turn round the bytes of each number.
    const bool is_turned = iptc.size() >= kWord && iptc[0] != kDataSetMark && iptc[kWord - 1] == kDataSetMark;
    if (is_turned) {
      for (auto word = iptc.begin(); iptc.end() - word >= std::ptrdiff_t{kWord}; word += kWord) {
        std::reverse(word, word + kWord);
      }
    }
    if (!iptc.empty()) return iptc;
    // The resource stands among the first ones, before thumbnails and paths.
    constexpr std::uint64_t kMostResourceBytes = 64 * 1024;
    const auto resources = Payload(window, kPhotoshop, kMostResourceBytes);
    const auto found = FindPhotoshopResource(resources, kIptcResource);
    return {found.begin(), found.end()};
  }

  IByteSource& source_;
  MeteredSource& metered_;
  TiffWalker& walker_;
  PictureHeaders& headers_;
  std::optional<TiffDirectory> first_;
  std::vector<TiffPicture> pictures_;
};

}  // namespace

bool ReadTiff(IByteSource& source, PictureHeaders& headers) {
  MeteredSource metered(source, kDirectoryBudget);
  auto walker = TiffWalker::Open(metered, 0);
  return walker && TiffReader(source, metered, *walker, headers).Run();
}

}  // namespace media_server::image

#include "media-server/image/canon_raw.h"

#include <algorithm>
#include <limits>
#include <vector>

#include "media-server/container/byte_reader.h"
#include "media-server/container/mp4_boxes.h"
#include "media-server/container/mp4_movie.h"
#include "media-server/image/box_uuids.h"
#include "media-server/image/exif_values.h"
#include "media-server/image/fourcc.h"
#include "media-server/image/tiff_directory.h"
#include "media-server/io/span_source.h"

namespace media_server::image {
namespace {

constexpr Mp4BoxLimits kLimits = {.boxes = 1024, .bytes = 192 * 1024};
constexpr Mp4BoxLimits kMovieLimits = {.boxes = 1024, .bytes = 32 * 1024};
constexpr std::size_t kMostDirectoryBytes = 16 * 1024;
constexpr std::size_t kMostXmpBytes = 112 * 1024;

class CanonRawReader {
 public:
  CanonRawReader(IByteSource& source, PictureHeaders& headers)
      : source_(source), headers_(headers), boxes_(source, kLimits) {}

  bool Read() {
    Mp4BoxRange range = boxes_.WholeInput();
    while (const auto box = boxes_.Next(range)) {
      if (box->Is("moov")) ReadMovieBox(*box);
      if (box->Is("uuid") && box->uuid == kXmpBox) {
        headers_.metadata.AddXmp(AsText(boxes_.WholePayload(*box, kMostXmpBytes)));
      }
    }
    headers_.metadata.exif_values = ReadExifValues(image_, exif_, gps_);
    headers_.size = SizeOfDirectory();
    if (!headers_.size) headers_.size = SizeOfLargestTrack();
    return headers_.size.has_value();
  }

 private:
  void ReadMovieBox(const Mp4Box& movie) {
    Mp4BoxRange range = boxes_.Children(movie);
    while (const auto box = boxes_.Next(range)) {
      if (box->Is("uuid") && box->uuid == kCanonBox) ReadDirectories(*box);
    }
  }

  /// The three directories of Exif, each as a TIFF structure of its own.
  void ReadDirectories(const Mp4Box& canon) {
    Mp4BoxRange range = boxes_.Children(canon);
    while (const auto box = boxes_.Next(range)) {
      if (box->Is("CMT1")) image_ = boxes_.WholePayload(*box, kMostDirectoryBytes);
      if (box->Is("CMT2")) exif_ = boxes_.WholePayload(*box, kMostDirectoryBytes);
      if (box->Is("CMT4")) gps_ = boxes_.WholePayload(*box, kMostDirectoryBytes);
    }
  }

  std::optional<PictureSize> SizeOfDirectory() const {
    constexpr std::uint16_t kImageWidth = 0x0100;
    constexpr std::uint16_t kImageLength = 0x0101;
    SpanSource source(image_);
    auto walker = TiffWalker::Open(source, 0);
    const auto directory = walker ? walker->Read(walker->first()) : std::nullopt;
    if (!directory) return std::nullopt;
    const auto width = walker->Number(*directory, kImageWidth);
    const auto height = walker->Number(*directory, kImageLength);
    constexpr std::uint64_t kMost = std::numeric_limits<std::uint32_t>::max();
    if (!width || !height || *width > kMost || *height > kMost) return std::nullopt;
    return PictureSize{static_cast<std::uint32_t>(*width), static_cast<std::uint32_t>(*height)};
  }

  std::optional<PictureSize> SizeOfLargestTrack() {
    std::optional<PictureSize> largest;
    for (const Mp4Track& track : ReadMp4Movie(source_, kMovieLimits).tracks) {
      const bool is_larger =
          !largest || std::uint64_t{track.width} * track.height > std::uint64_t{largest->width} * largest->height;
      if (track.sample_entry == "CRAW" && is_larger) largest = PictureSize{track.width, track.height};
    }
    return largest;
  }

  IByteSource& source_;
  PictureHeaders& headers_;
  Mp4BoxReader boxes_;
  std::vector<std::uint8_t> image_, exif_, gps_;
};

}  // namespace

bool ReadCanonRaw(IByteSource& source, PictureHeaders& headers) {
  headers.type = imagecore::kPictureCameraRaw;
  headers.fourcc = FourCC("CRAW");
  headers.alpha = imagecore::kAlphaNone;
  return CanonRawReader(source, headers).Read();
}

}  // namespace media_server::image

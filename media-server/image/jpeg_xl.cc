#include "media-server/image/jpeg_xl.h"

#include <algorithm>
#include <string_view>
#include <vector>

#include "media-server/container/byte_reader.h"
#include "media-server/container/mp4_boxes.h"
#include "media-server/image/exif_payload.h"
#include "media-server/image/fourcc.h"
#include "media-server/image/jpeg_xl_codestream.h"

namespace media_server::image {
namespace {

using namespace std::string_view_literals;

/// Names of extra channels may stand between the size and what is asked.
constexpr std::size_t kCodestreamHeadBytes = 4096;
constexpr std::size_t kMostPayloadBytes = 112 * 1024;
constexpr Mp4BoxLimits kLimits = {.boxes = 1024, .bytes = 240 * 1024};

class JpegXlBoxes {
 public:
  JpegXlBoxes(IByteSource& source, PictureHeaders& headers) : headers_(headers), boxes_(source, kLimits) {}

  /// Reads the boxes; returns the begin of the codestream, which may lie in several.
  std::vector<std::uint8_t> Read() {
    constexpr std::uint64_t kPartNumber = 4;
    Mp4BoxRange range = boxes_.WholeInput();
    while (const auto box = boxes_.Next(range)) {
      auto& metadata = headers_.metadata;
      if (box->Is("jxlc")) AddCodestream(*box, 0);
      if (box->Is("jxlp")) AddCodestream(*box, kPartNumber);
      if (box->Is("Exif") && metadata.exif.empty())
        metadata.exif = TiffOfExifBlock(boxes_.WholePayload(*box, kMostPayloadBytes), ExifPrefix::kOffset);
      if (box->Is("xml ")) metadata.AddXmp(AsText(boxes_.WholePayload(*box, kMostPayloadBytes)));
    }
    return std::move(codestream_);
  }

 private:
  void AddCodestream(const Mp4Box& box, std::uint64_t skip) {
    const auto part = boxes_.Payload(box, kCodestreamHeadBytes - codestream_.size(), skip);
    codestream_.insert(codestream_.end(), part.begin(), part.end());
  }

  PictureHeaders& headers_;
  Mp4BoxReader boxes_;
  std::vector<std::uint8_t> codestream_;
};

}  // namespace

bool ReadJpegXl(IByteSource& source, PictureHeaders& headers) {
  headers.type = imagecore::kPictureJpegXl;
  headers.fourcc = FourCC("jxl ");
  auto codestream = ReadBytes(source, 0, kCodestreamHeadBytes);
  if (!AsText(codestream).starts_with("\xFF\x0A"sv)) codestream = JpegXlBoxes(source, headers).Read();
  const auto header = ParseJpegXlHeader(codestream);
  if (!header) return false;
  headers.size = header->size;
  headers.orientation = header->orientation;
  headers.alpha = header->alpha;
  return true;
}

}  // namespace media_server::image

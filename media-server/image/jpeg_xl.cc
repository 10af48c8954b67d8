#include "media-server/image/jpeg_xl.h"

#include <algorithm>
#include <span>
#include <string_view>
#include <utility>
#include <vector>

#include "media-server/container/byte_reader.h"
#include "media-server/container/mp4_boxes.h"
#include "media-server/image/brotli.h"
#include "media-server/image/exif_payload.h"
#include "media-server/image/fourcc.h"
#include "media-server/image/jpeg_xl_codestream.h"
#include "media-server/image/jpeg_xl_frames.h"

namespace media_server::image {
namespace {

using namespace std::string_view_literals;

/// Names of extra channels may stand between the size and what is asked.
constexpr std::size_t kCodestreamHeadBytes = 4096;
constexpr std::size_t kMostPayloadBytes = 112 * 1024;
/// Encoders pack Exif and XMP; a thousand boxes that unpack to much are a trap.
constexpr int kMostPackedBoxes = 4;
constexpr Mp4BoxLimits kLimits = {.boxes = 1024, .bytes = 240 * 1024};

/// A codestream in the parts of the file that hold it.
class JoinedSource final : public IByteSource {
 public:
  explicit JoinedSource(IByteSource& file) : file_(file) {}

  void Add(std::uint64_t offset, std::uint64_t size) {
    parts_.push_back({offset, size_});
    size_ += size;
  }

  std::size_t ReadAt(std::uint64_t offset, std::span<std::uint8_t> out) override {
    std::size_t done = 0;
    while (done < out.size() && offset < size_) {
      const auto behind = std::ranges::upper_bound(parts_, offset, {}, &Part::begin);
      const Part& part = *(behind - 1);
      const std::uint64_t end = behind != parts_.end() ? behind->begin : size_;
      const auto left = out.subspan(done);
      const auto piece = left.first(static_cast<std::size_t>(std::min<std::uint64_t>(left.size(), end - offset)));
      const std::size_t got = file_.ReadAt(part.file_offset + (offset - part.begin), piece);
      done += got;
      offset += got;
      if (got < piece.size()) break;
    }
    return done;
  }
  std::optional<std::uint64_t> Size() const override { return size_; }

 private:
  struct Part {
    std::uint64_t file_offset;
    std::uint64_t begin;  // in the codestream
  };

  IByteSource& file_;
  std::vector<Part> parts_;
  std::uint64_t size_ = 0;
};

class JpegXlBoxes {
 public:
  JpegXlBoxes(IByteSource& source, PictureHeaders& headers)
      : headers_(headers), boxes_(source, kLimits), codestream_(source) {}

  /// Reads the boxes; returns the codestream, which may lie in several.
  JoinedSource& Read() {
    constexpr std::uint64_t kPartNumber = 4;
    Mp4BoxRange range = boxes_.WholeInput();
    while (const auto box = boxes_.Next(range)) {
      if (box->Is("jxlc")) AddCodestream(*box, 0);
      if (box->Is("jxlp")) AddCodestream(*box, kPartNumber);
      if (IsMetadata(box->Type())) AddMetadata(box->Type(), boxes_.WholePayload(*box, kMostPayloadBytes));
      if (box->Is("brob")) AddPacked(boxes_.WholePayload(*box, kMostPayloadBytes));
    }
    return codestream_;
  }

 private:
  void AddCodestream(const Mp4Box& box, std::uint64_t skip) {
    if (box.payload_size > skip) codestream_.Add(box.payload_offset + skip, box.payload_size - skip);
  }

  static bool IsMetadata(std::string_view type) { return type == "Exif" || type == "xml "; }

  void AddMetadata(std::string_view type, std::vector<std::uint8_t> payload) {
    auto& metadata = headers_.metadata;
    if (type == "xml ") metadata.AddXmp(AsText(payload));
    if (type == "Exif" && metadata.exif.empty())
      metadata.exif = TiffOfExifBlock(std::move(payload), ExifPrefix::kOffset);
  }

  /// The type of the box that was packed, then its payload as a Brotli stream.
  void AddPacked(std::span<const std::uint8_t> payload) {
    constexpr std::size_t kTypeBytes = 4;
    if (payload.size() < kTypeBytes || packed_boxes_ == kMostPackedBoxes) return;
    const std::string_view type = AsText(payload.first(kTypeBytes));
    if (!IsMetadata(type)) return;
    ++packed_boxes_;
    AddMetadata(type, DecompressBrotli(payload.subspan(kTypeBytes), kMostPayloadBytes));
  }

  PictureHeaders& headers_;
  Mp4BoxReader boxes_;
  JoinedSource codestream_;
  int packed_boxes_ = 0;
};

bool ReadCodestream(IByteSource& codestream, std::span<const std::uint8_t> head, PictureHeaders& headers) {
  const auto header = ParseJpegXlHeader(head);
  if (!header) return false;
  headers.size = header->size;
  headers.orientation = header->orientation;
  headers.alpha = header->alpha;
  if (header->frame_rules) headers.animation = ReadJpegXlAnimation(codestream, *header->frame_rules);
  return true;
}

}  // namespace

bool ReadJpegXl(IByteSource& source, PictureHeaders& headers) {
  headers.type = imagecore::kPictureJpegXl;
  headers.fourcc = FourCC("jxl ");
  const auto head = ReadBytes(source, 0, kCodestreamHeadBytes);
  if (AsText(head).starts_with("\xFF\x0A"sv)) return ReadCodestream(source, head, headers);
  JpegXlBoxes boxes(source, headers);
  JoinedSource& codestream = boxes.Read();
  return ReadCodestream(codestream, ReadBytes(codestream, 0, kCodestreamHeadBytes), headers);
}

}  // namespace media_server::image

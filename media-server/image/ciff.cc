#include "media-server/image/ciff.h"

#include <algorithm>
#include <bit>
#include <cmath>
#include <string_view>
#include <vector>

#include "media-server/container/byte_reader.h"
#include "media-server/image/fourcc.h"
#include "media-server/image/header_window.h"
#include "media-server/image/metered_source.h"
#include "media-server/image/shot_exif.h"

namespace media_server::image {
namespace {

// Types of heap entries: the two bits above tell where the data stand, the three bits below them what they are.
constexpr std::uint16_t kPlaceMask = 0xC000;
constexpr std::uint16_t kInHeap = 0x0000;
constexpr std::uint16_t kKindMask = 0x3800;
constexpr std::uint16_t kHeapKinds[] = {0x2800, 0x3000};
constexpr std::uint16_t kMakeModel = 0x080A;
constexpr std::uint16_t kCapturedTime = 0x180E;
constexpr std::uint16_t kImageSpec = 0x1810;
constexpr std::uint16_t kExposure = 0x1818;

constexpr int kMostHeaps = 16;
constexpr std::uint16_t kMostEntries = 128;  // of one heap

struct Heap {
  std::uint64_t offset = 0;
  std::uint64_t size = 0;
};

class CiffReader {
 public:
  CiffReader(IByteSource& source, PictureHeaders& headers) : source_(source), headers_(headers) {}

  bool Run(Heap root) {
    heaps_.push_back(root);
    for (std::size_t i = 0; i < heaps_.size() && i < kMostHeaps; ++i) ReadHeap(heaps_[i]);
    headers_.metadata.exif_values = ExifOf(shot_);
    return headers_.size.has_value();
  }

 private:
  /// A heap ends with the place of its directory: a count, then type, size and place of each entry.
  void ReadHeap(const Heap heap) {
    constexpr std::size_t kEntrySize = 10;
    if (heap.size < 4) return;
    const std::uint32_t place = ByteReader(ReadBytes(source_, heap.offset + heap.size - 4, 4)).Le32();
    const auto count_bytes = ReadBytes(source_, heap.offset + place, 2);
    const std::uint16_t count = std::min(ByteReader(count_bytes).Le16(), kMostEntries);
    const auto bytes = ReadBytes(source_, heap.offset + place + 2, count * kEntrySize);
    ByteReader entries(bytes);
    while (entries.Remaining() >= kEntrySize) {
      const std::uint16_t type = entries.Le16();
      Heap data;
      data.size = entries.Le32();
      data.offset = heap.offset + entries.Le32();
      if ((type & kPlaceMask) == kInHeap) TakeEntry(type, data);
    }
  }

  void TakeEntry(std::uint16_t type, const Heap& data) {
    constexpr std::size_t kMostValueBytes = 256;
    if (std::ranges::find(kHeapKinds, type & kKindMask) != std::end(kHeapKinds)) {
      heaps_.push_back(data);
      return;
    }
    if (type != kMakeModel && type != kCapturedTime && type != kImageSpec && type != kExposure) return;
    const auto bytes =
        ReadBytes(source_, data.offset, static_cast<std::size_t>(std::min<std::uint64_t>(data.size, kMostValueBytes)));
    ByteReader value(bytes);
    if (type == kMakeModel) TakeMakeModel(AsText(bytes));
    if (type == kImageSpec) TakeImageSpec(value);
    if (type == kCapturedTime) {
      const std::uint32_t local_s = value.Le32();
      if (value.Ok() && local_s != 0) shot_.taken_s = local_s;
    }
    if (type == kExposure) {
      value.Skip(4);  // compensation
      const float speed_apex = std::bit_cast<float>(value.Le32());
      if (value.Ok()) shot_.exposure_time_s = std::exp2(-speed_apex);
    }
  }

  void TakeMakeModel(std::string_view texts) {
    const std::size_t maker_end = std::min(texts.find('\0'), texts.size());
    shot_.maker = texts.substr(0, maker_end);
    texts.remove_prefix(std::min(maker_end + 1, texts.size()));
    shot_.model = texts.substr(0, texts.find('\0'));
  }

  void TakeImageSpec(ByteReader& value) {
    const std::uint32_t width = value.Le32();
    const std::uint32_t height = value.Le32();
    value.Skip(4);  // pixel aspect ratio
    const auto degrees = static_cast<std::int32_t>(value.Le32());
    if (!value.Ok()) return;
    headers_.size = PictureSize{width, height};
    if (degrees > -360 && degrees < 360 && degrees % 90 == 0) {
      headers_.orientation = Orientation{imagecore::kFlipNone, (degrees + 360) % 360};
    }
  }

  IByteSource& source_;
  PictureHeaders& headers_;
  std::vector<Heap> heaps_;
  Shot shot_;
};

}  // namespace

bool ReadCiff(IByteSource& file, PictureHeaders& headers) {
  MeteredSource source(file, kMostStillBytes);
  headers.type = imagecore::kPictureCameraRaw;
  headers.fourcc = FourCC("CRW ");
  headers.alpha = imagecore::kAlphaNone;
  const auto header_bytes = ReadBytes(source, 0, 6);
  ByteReader header(header_bytes);
  header.Skip(2);  // byte order, always the same
  const std::uint32_t root_offset = header.Le32();
  const auto file_size = source.Size();
  if (!header.Ok() || !file_size || *file_size < root_offset) return false;
  return CiffReader(source, headers).Run({root_offset, *file_size - root_offset});
}

}  // namespace media_server::image

#include "media-server/image/image_reader.h"

#include <algorithm>
#include <array>
#include <limits>
#include <string_view>

#include "media-server/container/format_identity.h"
#include "media-server/image/ani.h"
#include "media-server/image/bmp.h"
#include "media-server/image/canon_raw.h"
#include "media-server/image/ciff.h"
#include "media-server/image/exif_values.h"
#include "media-server/image/fujifilm_raw.h"
#include "media-server/image/gif.h"
#include "media-server/image/heif.h"
#include "media-server/image/icon.h"
#include "media-server/image/jpeg.h"
#include "media-server/image/jpeg_2000.h"
#include "media-server/image/jpeg_xl.h"
#include "media-server/image/jpeg_xr.h"
#include "media-server/image/minolta_raw.h"
#include "media-server/image/mng.h"
#include "media-server/image/netpbm.h"
#include "media-server/image/open_exr.h"
#include "media-server/image/png.h"
#include "media-server/image/psd.h"
#include "media-server/image/qoi.h"
#include "media-server/image/radiance.h"
#include "media-server/image/rare_formats.h"
#include "media-server/image/sigma_raw.h"
#include "media-server/image/targa.h"
#include "media-server/image/texture.h"
#include "media-server/image/tiff.h"
#include "media-server/image/webp.h"
#include "media-server/io/span_source.h"

namespace media_server::image {
namespace {

/// Reads what the headers tell into an empty record; false when they do not tell the picture's size.
using Reader = bool (*)(IByteSource& source, PictureHeaders& headers);

/// By the short name that IdentifyFormat gives.
struct Row {
  std::string_view format;
  Reader read;
};

constexpr std::array kReaders = {
    Row{"ani", ReadAnimatedCursor},
    Row{"avif", ReadAvif},
    Row{"bmp", ReadBmp},
    Row{"bpg", ReadBpg},
    Row{"cr3", ReadCanonRaw},
    Row{"crw", ReadCiff},
    Row{"dds", ReadDds},
    Row{"dpx", ReadDpx},
    Row{"exr", ReadOpenExr},
    Row{"ff", ReadFarbfeld},
    Row{"gif", ReadGif},
    Row{"hdr", ReadRadiance},
    Row{"heif", ReadHeif},
    Row{"ico", ReadIcon},
    Row{"ilbm", ReadIlbm},
    Row{"j2c", ReadJpeg2000},
    Row{"jng", ReadJng},
    Row{"jp2", ReadJpeg2000},
    Row{"jpeg", ReadJpeg},
    Row{"jxl", ReadJpegXl},
    Row{"jxr", ReadJpegXr},
    Row{"ktx", ReadKtx},
    Row{"mng", ReadMng},
    Row{"mrw", ReadMinoltaRaw},
    Row{"orf", ReadTiff},
    Row{"pcx", ReadPcx},
    Row{"png", ReadPng},
    Row{"pnm", ReadNetpbm},
    Row{"psb", ReadPsd},
    Row{"psd", ReadPsd},
    Row{"qoi", ReadQoi},
    Row{"raf", ReadFujifilmRaw},
    Row{"ras", ReadSunRaster},
    Row{"rw2", ReadTiff},
    Row{"sgi", ReadSgi},
    Row{"tga", ReadTarga},
    Row{"tiff", ReadTiff},
    Row{"webp", ReadWebp},
    Row{"x3f", ReadSigmaRaw},
    Row{"xcf", ReadXcf},
};

constexpr auto FindReader(std::string_view format) { return std::ranges::find(kReaders, format, &Row::format); }

/// Remembers whether a read wanted more than there was.
class EndNotingSource final : public IByteSource {
 public:
  explicit EndNotingSource(IByteSource& source) : source_(source) {}

  std::size_t ReadAt(std::uint64_t offset, std::span<std::uint8_t> out) override {
    const std::size_t read = source_.ReadAt(offset, out);
    met_end_ = met_end_ || read < out.size();
    return read;
  }
  std::optional<std::uint64_t> Size() const override { return source_.Size(); }
  bool met_end() const { return met_end_; }

 private:
  IByteSource& source_;
  bool met_end_ = false;
};

/// Whether the record of the image query can hold it.
bool IsPlausible(const PictureSize& size) {
  constexpr std::uint32_t kMost = std::numeric_limits<std::int32_t>::max();
  return size.width > 0 && size.width <= kMost && size.height > 0 && size.height <= kMost;
}

}  // namespace

bool IsReadable(std::string_view format) { return FindReader(format) != kReaders.end(); }

std::optional<PictureHeaders> ReadPictureHeaders(IByteSource& source, std::string* reason) {
  if (source.Size() == 0) {
    *reason = "empty file";
    return std::nullopt;
  }
  const auto identity = IdentifyFormat(source);
  const auto row = FindReader(identity ? identity->names.short_name : std::string_view());
  if (row == kReaders.end()) {
    *reason =
        identity && identity->kind == ContentKind::kStillImage ? "an image format that is not read: " : "not an image";
    if (identity && identity->kind == ContentKind::kStillImage) *reason += identity->names.long_name;
    return std::nullopt;
  }
  EndNotingSource noting(source);
  PictureHeaders headers;
  if (!row->read(noting, headers) || !headers.size || !IsPlausible(*headers.size)) {
    *reason = noting.met_end() ? "file ends early" : "the picture's header is damaged";
    return std::nullopt;
  }
  EmbeddedMetadata& metadata = headers.metadata;
  if (!metadata.exif.empty()) {
    SpanSource exif(metadata.exif);
    metadata.exif_values = ReadExifValues(exif, 0);
  }
  return headers;
}

}  // namespace media_server::image

#include "media-server/image/open_exr.h"

#include <algorithm>
#include <bit>
#include <cmath>
#include <cstdio>
#include <limits>
#include <string_view>
#include <utility>
#include <vector>

#include "media-server/container/byte_reader.h"
#include "media-server/image/exif_values.h"
#include "media-server/image/fourcc.h"
#include "media-server/image/header_window.h"

namespace media_server::image {
namespace {

/// Text up to its terminator; empty, and `reader` failed, when there is none.
std::string_view TakeText(ByteReader& reader, std::span<const std::uint8_t> bytes) {
  const std::string_view rest = AsText(bytes.subspan(reader.Position()));
  const auto end = rest.find('\0');
  if (end == rest.npos) {
    reader.Skip(reader.Remaining() + 1);
    return {};
  }
  reader.Skip(end + 1);
  return rest.substr(0, end);
}

/// box2i: xMin, yMin, xMax, yMax, both ends inclusive.
std::optional<PictureSize> SizeOfWindow(std::span<const std::uint8_t> value) {
  ByteReader reader(value);
  const std::int64_t left = static_cast<std::int32_t>(reader.Le32());
  const std::int64_t top = static_cast<std::int32_t>(reader.Le32());
  const std::int64_t width = static_cast<std::int32_t>(reader.Le32()) - left + 1;
  const std::int64_t height = static_cast<std::int32_t>(reader.Le32()) - top + 1;
  constexpr std::int64_t kMost = std::numeric_limits<std::uint32_t>::max();
  if (!reader.Ok() || width < 1 || height < 1 || width > kMost || height > kMost) return std::nullopt;
  return PictureSize{static_cast<std::uint32_t>(width), static_cast<std::uint32_t>(height)};
}

/// chlist: for each channel a name and 16 bytes; an empty name ends it. Colours are stored multiplied with alpha
/// ("Scene-Linear Image Representation", "Premultiplied vs. Un-Premultiplied Color Channels").
std::optional<imagecore::AlphaMode> AlphaOfChannels(std::span<const std::uint8_t> value) {
  ByteReader reader(value);
  while (reader.Ok()) {
    const std::string_view name = TakeText(reader, value);
    if (name == "A") return imagecore::kAlphaPremultiplied;
    if (reader.Ok() && name.empty()) return imagecore::kAlphaNone;
    reader.Skip(16);
  }
  return std::nullopt;
}

/// An attribute that is told as a tag of Exif ("Standard Attributes").
struct TagAttribute {
  std::string_view name;
  std::string_view type;
  ExifDirectory directory;
  ExifTag tag;
  void (*keep)(const TagAttribute& attribute, std::vector<std::uint8_t> value, ExifValues& exif);
};

void Keep(ExifDirectory directory, ExifTag tag, std::string_view type, std::vector<std::uint8_t> value,
          ExifValues& exif) {
  constexpr std::uint16_t kAscii = 2;
  constexpr std::uint16_t kFloat = 11;
  const bool is_number = type == "float";
  const auto count = static_cast<std::uint32_t>(is_number ? 1 : value.size());
  exif.values.push_back({directory, tag, is_number ? kFloat : kAscii, count, std::move(value)});
}

void KeepText(ExifDirectory directory, ExifTag tag, std::string_view text, ExifValues& exif) {
  Keep(directory, tag, "string", {text.begin(), text.end()}, exif);
}

void KeepAsItStands(const TagAttribute& attribute, std::vector<std::uint8_t> value, ExifValues& exif) {
  Keep(attribute.directory, attribute.tag, attribute.type, std::move(value), exif);
}

/// Degrees north or east. Exif has the hemisphere in the tag before that of the angle.
void KeepAngle(const TagAttribute& attribute, std::vector<std::uint8_t> value, ExifValues& exif) {
  constexpr std::uint8_t kSign = 0x80;
  const bool is_negative = (value[3] & kSign) != 0;
  value[3] &= static_cast<std::uint8_t>(~kSign);
  const std::string_view hemispheres = attribute.tag == kExifGpsLatitude ? "NS" : "EW";
  KeepText(attribute.directory, static_cast<ExifTag>(attribute.tag - 1), hemispheres.substr(is_negative ? 1 : 0, 1),
           exif);
  KeepAsItStands(attribute, std::move(value), exif);
}

/// Seconds to add to local time to get UTC; Exif has "+02:00" for clocks that are ahead.
void KeepOffset(const TagAttribute& attribute, std::vector<std::uint8_t> value, ExifValues& exif) {
  constexpr float kDay = 86400;
  const auto behind = std::bit_cast<float>(ByteReader(value).Le32());
  if (!(std::abs(behind) < kDay)) return;
  const int minutes = static_cast<int>(std::lround(std::abs(behind) / 60));
  char text[32];
  std::snprintf(text, sizeof text, "%c%02d:%02d", behind > 0 ? '-' : '+', minutes / 60, minutes % 60);
  KeepText(attribute.directory, attribute.tag, text, exif);
}

constexpr TagAttribute kTagAttributes[] = {
    {"cameraMake", "string", ExifDirectory::kImage, kExifMake, KeepAsItStands},
    {"cameraModel", "string", ExifDirectory::kImage, kExifModel, KeepAsItStands},
    {"capDate", "string", ExifDirectory::kExif, kExifDateTimeOriginal, KeepAsItStands},
    {"expTime", "float", ExifDirectory::kExif, kExifExposureTime, KeepAsItStands},
    {"latitude", "float", ExifDirectory::kGps, kExifGpsLatitude, KeepAngle},
    {"longitude", "float", ExifDirectory::kGps, kExifGpsLongitude, KeepAngle},
    {"utcOffset", "float", ExifDirectory::kExif, kExifOffsetTimeOriginal, KeepOffset},
};

/// Null for a name and type that none of the rows has.
const TagAttribute* FindTagAttribute(std::string_view name, std::string_view type) {
  const auto* row = std::ranges::find(kTagAttributes, name, &TagAttribute::name);
  return row != std::end(kTagAttributes) && row->type == type ? row : nullptr;
}

bool IsKnown(const TagAttribute& attribute, const ExifValues& exif) {
  return exif.Find(attribute.directory, attribute.tag) != nullptr;
}

void TakeTag(const TagAttribute& attribute, std::vector<std::uint8_t> value, ExifValues& exif) {
  if (attribute.type == "float" && value.size() != sizeof(float)) return;
  if (!IsKnown(attribute, exif)) attribute.keep(attribute, std::move(value), exif);
}

bool IsComplete(const PictureHeaders& headers) {
  const ExifValues& exif = headers.metadata.exif_values;
  return headers.size && headers.alpha &&
         std::ranges::all_of(kTagAttributes, [&](const TagAttribute& each) { return IsKnown(each, exif); });
}

}  // namespace

bool ReadOpenExr(IByteSource& source, PictureHeaders& headers) {
  constexpr int kMostAttributes = 128;
  constexpr std::size_t kMostNames = 2 * 256 + 4;  // name and type of up to 255 characters, size of the value
  HeaderWindow window(source);
  headers.type = imagecore::kPictureOpenExr;
  headers.fourcc = FourCC("EXR ");
  std::uint64_t offset = 8;  // magic number, version and flags
  for (int i = 0; i < kMostAttributes && !IsComplete(headers); ++i) {
    const auto bytes = window.View(offset, kMostNames);
    ByteReader reader(bytes);
    const std::string_view name = TakeText(reader, bytes);
    if (name.empty()) break;
    const std::string_view type = TakeText(reader, bytes);
    const std::uint32_t size = reader.Le32();
    if (!reader.Ok()) break;
    offset += reader.Position();
    if (name == "dataWindow" && !headers.size) headers.size = SizeOfWindow(window.Copy(offset, size));
    if (name == "channels" && !headers.alpha) headers.alpha = AlphaOfChannels(window.Copy(offset, size));
    const TagAttribute* tag = FindTagAttribute(name, type);
    if (tag != nullptr && size <= kMostExifValueBytes) {
      TakeTag(*tag, window.Copy(offset, size), headers.metadata.exif_values);
    }
    offset += size;
  }
  return headers.size.has_value();
}

}  // namespace media_server::image

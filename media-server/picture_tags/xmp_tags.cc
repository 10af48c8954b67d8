#include "media-server/picture_tags/xmp_tags.h"

#include <algorithm>
#include <array>
#include <charconv>
#include <cmath>
#include <exiv2/xmp_exiv2.hpp>
#include <mutex>
#include <string>
#include <vector>

#include "media-server/image/orientation.h"
#include "media-server/metadata/timestamp.h"
#include "media-server/metadata/xmp_label.h"
#include "media-server/picture_tags/compact_xmp.h"
#include "media-server/picture_tags/tag_values.h"

namespace media_server::picture_tags {
namespace {

using image::PictureTags;

/// Takes a number off the front of `text`; empty when there is none.
std::optional<double> TakeNumber(std::string_view& text) {
  double value = 0;
  const auto [end, error] = std::from_chars(text.data(), text.data() + text.size(), value, std::chars_format::fixed);
  if (error != std::errc()) return std::nullopt;
  text.remove_prefix(static_cast<std::size_t>(end - text.data()));
  return value;
}

/// "1/125", "0.008": a number or a quotient of two.
std::optional<double> ParseQuotient(std::string_view text) {
  const auto numerator = TakeNumber(text);
  if (!numerator || text.empty()) return numerator;
  if (text[0] != '/') return std::nullopt;
  text.remove_prefix(1);
  const auto denominator = TakeNumber(text);
  if (!denominator || *denominator == 0 || !text.empty()) return std::nullopt;
  return *numerator / *denominator;
}

/// "48,51.5N", "33,51,24S" (XMP specification, part 2, section 1.2.7.4): degrees, minutes and perhaps seconds.
void ReadPlace(std::string_view text, std::string_view letters, double most, std::optional<double>& degrees,
               std::optional<char>& hemisphere) {
  std::array<double, 3> parts{};
  std::size_t count = 0;
  while (count < parts.size()) {
    const auto part = TakeNumber(text);
    if (!part) return;
    parts[count++] = *part;
    if (!text.starts_with(',')) break;
    text.remove_prefix(1);
  }
  if (text.size() != 1) return;
  const auto letter = HemisphereOf(text, letters);
  const auto angle = AngleOf(std::span(parts).first(count), most);
  if (!letter || !angle) return;
  degrees = angle;
  hemisphere = letter;
}

/// One property: whether its fact is still wanted, and how its text is taken for it.
struct Property {
  XmpName name;
  bool (*is_wanted)(const PictureTags& tags);
  void (*read)(const std::string& text, PictureTags& tags);
};

constexpr std::string_view kTiff = "http://ns.adobe.com/tiff/1.0/";
constexpr std::string_view kExif = "http://ns.adobe.com/exif/1.0/";
constexpr std::string_view kXmp = "http://ns.adobe.com/xap/1.0/";
constexpr std::string_view kPhotoshop = "http://ns.adobe.com/photoshop/1.0/";

constexpr auto kLacksCreated = [](const PictureTags& tags) { return !tags.created; };
constexpr auto kReadCreated = [](const std::string& text, PictureTags& tags) {
  tags.created = ParseLocalTimestamp(text);
};
constexpr auto kLacksExposure = [](const PictureTags& tags) { return !tags.exposure_time_s; };

// In the order of precedence.
constexpr Property kProperties[] = {
    {{"tiff", kTiff, "Make"},
     [](const PictureTags& tags) { return !tags.maker; },
     [](const std::string& text, PictureTags& tags) { tags.maker = TextOf(text); }},
    {{"tiff", kTiff, "Model"},
     [](const PictureTags& tags) { return !tags.model; },
     [](const std::string& text, PictureTags& tags) { tags.model = TextOf(text); }},
    {{"exif", kExif, "DateTimeOriginal"}, kLacksCreated, kReadCreated},
    {{"xmp", kXmp, "CreateDate"}, kLacksCreated, kReadCreated},
    {{"photoshop", kPhotoshop, "DateCreated"}, kLacksCreated, kReadCreated},
    {{"xmp", kXmp, "ModifyDate"},
     [](const PictureTags& tags) { return !tags.modified; },
     [](const std::string& text, PictureTags& tags) { tags.modified = ParseLocalTimestamp(text); }},
    {{"exif", kExif, "ExposureTime"},
     kLacksExposure,
     [](const std::string& text, PictureTags& tags) {
       tags.exposure_time_s = ExposureOf(ParseQuotient(text).value_or(0));
     }},
    {{"exif", kExif, "ShutterSpeedValue"},
     kLacksExposure,
     [](const std::string& text, PictureTags& tags) {
       const auto stops = ParseQuotient(text);
       if (stops) tags.exposure_time_s = ExposureOf(std::exp2(-*stops));
     }},
    {{"tiff", kTiff, "Orientation"},
     [](const PictureTags& tags) { return !tags.orientation; },
     [](const std::string& text, PictureTags& tags) {
       if (text.size() == 1 && text[0] > '0') {
         tags.orientation = image::OrientationFromExif(static_cast<std::uint32_t>(text[0] - '0'));
       }
     }},
    {{"exif", kExif, "GPSLatitude"},
     [](const PictureTags& tags) { return !tags.latitude_degrees; },
     [](const std::string& text, PictureTags& tags) {
       ReadPlace(text, "NS", 90, tags.latitude_degrees, tags.latitude_ref);
     }},
    {{"exif", kExif, "GPSLongitude"},
     [](const PictureTags& tags) { return !tags.longitude_degrees; },
     [](const std::string& text, PictureTags& tags) {
       ReadPlace(text, "EW", 180, tags.longitude_degrees, tags.longitude_ref);
     }},
};

/// The properties of facts that are still wanted, where the packet has their names somewhere in its text. Looking for
/// them is cheap, and in most packets there are none: Exif told it all.
std::vector<XmpName> WantedNames(std::string_view packet, const PictureTags& tags) {
  std::vector<XmpName> names;
  for (const Property& property : kProperties) {
    if (!property.is_wanted(tags) || packet.find(property.name.local_name) == packet.npos) continue;
    names.push_back(property.name);
  }
  return names;
}

std::string KeyOf(const XmpName& name) {
  std::string key = "Xmp.";
  return key.append(name.prefix).append(".").append(name.local_name);
}

/// Exiv2's lock is for its namespaces alone, and the first call sets up the toolkit below it.
void Decode(const std::string& packet, Exiv2::XmpData& data) {
  static std::mutex mutex;
  const std::scoped_lock lock(mutex);
  Exiv2::XmpParser::decode(data, packet);
}

}  // namespace

void ReadXmpLabel(std::string_view packet, PictureTags& tags) {
  if (!tags.aigc) tags.aigc = ReadXmpAigcLabel(packet);
}

void ReadXmpTags(std::string_view packet, PictureTags& tags) {
  // A packet may be padded with NULs behind its end.
  packet = packet.substr(0, packet.find('\0'));
  const auto wanted = WantedNames(packet, tags);
  if (wanted.empty()) return;
  const std::string compact = CompactXmp(packet, wanted);
  if (compact.empty()) return;
  Exiv2::XmpData data;
  Decode(compact, data);
  for (const Property& property : kProperties) {
    if (!property.is_wanted(tags)) continue;
    const auto found = data.findKey(Exiv2::XmpKey(KeyOf(property.name)));
    if (found != data.end()) property.read(found->toString(), tags);
  }
}

}  // namespace media_server::picture_tags

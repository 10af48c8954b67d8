#include "media-server/image/wanted_tags.h"

#include <algorithm>

namespace media_server::image {
namespace {

constexpr std::string_view kTiff = "http://ns.adobe.com/tiff/1.0/";
constexpr std::string_view kExif = "http://ns.adobe.com/exif/1.0/";
constexpr std::string_view kXmp = "http://ns.adobe.com/xap/1.0/";
constexpr std::string_view kPhotoshop = "http://ns.adobe.com/photoshop/1.0/";

// In the order of precedence.
constexpr XmpName kNames[] = {
    {"tiff", kTiff, "Make", XmpFact::kMaker},
    {"tiff", kTiff, "Model", XmpFact::kModel},
    {"exif", kExif, "DateTimeOriginal", XmpFact::kCreated},
    {"xmp", kXmp, "CreateDate", XmpFact::kCreated},
    {"photoshop", kPhotoshop, "DateCreated", XmpFact::kCreated},
    {"xmp", kXmp, "ModifyDate", XmpFact::kModified},
    {"exif", kExif, "ExposureTime", XmpFact::kExposureTime},
    {"exif", kExif, "ShutterSpeedValue", XmpFact::kShutterSpeed},
    {"tiff", kTiff, "Orientation", XmpFact::kOrientation},
    {"exif", kExif, "GPSLatitude", XmpFact::kLatitude},
    {"exif", kExif, "GPSLongitude", XmpFact::kLongitude},
};

/// Whether `name` stands in the packet as the name of an element or attribute and not as a part of a longer one.
bool Names(std::string_view packet, std::string_view name) {
  constexpr std::string_view kBefore = ":<";
  constexpr std::string_view kBehind = " \t\r\n=/>";
  for (std::size_t at = packet.find(name); at != packet.npos; at = packet.find(name, at + 1)) {
    const std::size_t end = at + name.size();
    if (at == 0 || end == packet.size()) continue;
    if (kBefore.find(packet[at - 1]) != kBefore.npos && kBehind.find(packet[end]) != kBehind.npos) return true;
  }
  return false;
}

}  // namespace

bool IsLacking(XmpFact fact, const PictureTags& tags) {
  switch (fact) {
    case XmpFact::kMaker:
      return !tags.maker;
    case XmpFact::kModel:
      return !tags.model;
    case XmpFact::kCreated:
      return !tags.created;
    case XmpFact::kModified:
      return !tags.modified;
    case XmpFact::kExposureTime:
    case XmpFact::kShutterSpeed:
      return !tags.exposure_time_s;
    case XmpFact::kOrientation:
      return !tags.orientation;
    case XmpFact::kLatitude:
      return !tags.latitude_degrees;
    case XmpFact::kLongitude:
      return !tags.longitude_degrees;
  }
  return false;
}

std::vector<XmpName> WantedXmpNames(std::string_view packet, const PictureTags& tags) {
  packet = packet.substr(0, packet.find('\0'));
  std::vector<XmpName> wanted;
  for (const XmpName& name : kNames) {
    if (IsLacking(name.fact, tags) && Names(packet, name.local_name)) wanted.push_back(name);
  }
  return wanted;
}

bool HasWantedIptc(std::span<const std::uint8_t> data_sets, const PictureTags& tags) {
  if (tags.created) return false;
  const std::string_view bytes(reinterpret_cast<const char*>(data_sets.data()), data_sets.size());
  constexpr std::string_view kTimes[] = {"\x1C\x02\x37", "\x1C\x02\x3C", "\x1C\x02\x3E", "\x1C\x02\x3F"};
  return std::ranges::any_of(kTimes, [&](std::string_view head) { return bytes.find(head) != bytes.npos; });
}

}  // namespace media_server::image

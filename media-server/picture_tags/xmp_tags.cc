#include "media-server/picture_tags/xmp_tags.h"

#include <array>
#include <charconv>
#include <cmath>
#include <exiv2/xmp_exiv2.hpp>
#include <mutex>
#include <string>

#include "media-server/image/orientation.h"
#include "media-server/image/tag_values.h"
#include "media-server/image/wanted_tags.h"
#include "media-server/metadata/timestamp.h"
#include "media-server/picture_tags/compact_xmp.h"

namespace media_server::picture_tags {
namespace {

using image::PictureTags;
using image::XmpFact;
using image::XmpName;

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
  const auto letter = image::HemisphereOf(text, letters);
  const auto angle = image::AngleOf(std::span(parts).first(count), most);
  if (!letter || !angle) return;
  degrees = angle;
  hemisphere = letter;
}

void ReadOrientation(std::string_view text, std::optional<image::Orientation>& orientation) {
  if (text.size() != 1 || text[0] <= '0') return;
  orientation = image::OrientationFromExif(static_cast<std::uint32_t>(text[0] - '0'));
}

/// Sets the fact, which is still lacking, where `text` tells it.
void Read(XmpFact fact, const std::string& text, PictureTags& tags) {
  switch (fact) {
    case XmpFact::kMaker:
      tags.maker = image::TextOf(text);
      return;
    case XmpFact::kModel:
      tags.model = image::TextOf(text);
      return;
    case XmpFact::kCreated:
      tags.created = ParseLocalTimestamp(text);
      return;
    case XmpFact::kModified:
      tags.modified = ParseLocalTimestamp(text);
      return;
    case XmpFact::kExposureTime:
      tags.exposure_time_s = image::ExposureOf(ParseQuotient(text).value_or(0));
      return;
    case XmpFact::kShutterSpeed:
      if (const auto stops = ParseQuotient(text)) tags.exposure_time_s = image::ExposureOf(std::exp2(-*stops));
      return;
    case XmpFact::kOrientation:
      return ReadOrientation(text, tags.orientation);
    case XmpFact::kLatitude:
      return ReadPlace(text, "NS", 90, tags.latitude_degrees, tags.latitude_ref);
    case XmpFact::kLongitude:
      return ReadPlace(text, "EW", 180, tags.longitude_degrees, tags.longitude_ref);
  }
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

void ReadXmpTags(std::string_view packet, PictureTags& tags) {
  // A packet may be padded with NULs behind its end.
  packet = packet.substr(0, packet.find('\0'));
  const auto wanted = image::WantedXmpNames(packet, tags);
  if (wanted.empty()) return;
  const std::string compact = CompactXmp(packet, wanted);
  if (compact.empty()) return;
  Exiv2::XmpData data;
  Decode(compact, data);
  for (const XmpName& name : wanted) {
    if (!image::IsLacking(name.fact, tags)) continue;
    const auto found = data.findKey(Exiv2::XmpKey(KeyOf(name)));
    if (found != data.end()) Read(name.fact, found->toString(), tags);
  }
}

}  // namespace media_server::picture_tags

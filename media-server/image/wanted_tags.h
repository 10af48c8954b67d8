#pragma once

#include <cstdint>
#include <span>
#include <string_view>
#include <vector>

#include "media-server/image/picture_tags.h"

namespace media_server::image {

/// What a property of an XMP packet tells.
enum class XmpFact {
  kMaker,
  kModel,
  kCreated,
  kModified,
  kExposureTime,
  kShutterSpeed,  ///< an exposure time, in stops
  kOrientation,
  kLatitude,
  kLongitude,
};

/// The name of a property. The prefix is the one by which the namespace is usually known.
struct XmpName {
  std::string_view prefix;
  std::string_view namespace_uri;
  std::string_view local_name;
  XmpFact fact = XmpFact::kMaker;
};

bool IsLacking(XmpFact fact, const PictureTags& tags);

/// The properties of facts that `tags` lacks, in the order of precedence, where the packet has their names somewhere in
/// its text up to the first NUL, with which packets are padded. Looking for them is cheap, and in most packets there
/// are none: Exif told it all.
std::vector<XmpName> WantedXmpNames(std::string_view packet, const PictureTags& tags);

/// Whether a data set of the time of creation or of digitizing, 2:55, 2:60, 2:62 or 2:63 of IPTC-IIM 4.2, begins
/// somewhere in `data_sets` and `tags` lacks the time of creation.
bool HasWantedIptc(std::span<const std::uint8_t> data_sets, const PictureTags& tags);

}  // namespace media_server::image

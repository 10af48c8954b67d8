#include "media-server/probe/tags_of_xmp.h"

#include <optional>

#include "media-server/image/picture_headers.h"
#include "media-server/image/picture_tags.h"
#include "media-server/image/wanted_tags.h"
#include "media-server/io/sibling_library.h"
#include "media-server/picture_tags/picture_tags_library.h"

namespace media_server::probe {
namespace {

using image::PictureTags;

// What is known, and what a media file has no place for, is not looked for.
PictureTags KnownTags(const MediaTags& tags) {
  PictureTags known{.created = tags.created, .modified = tags.modified, .exposure_time_s = 0.0};
  known.orientation.emplace();
  if (!tags.maker.empty()) known.maker = tags.maker;
  if (!tags.model.empty()) known.model = tags.model;
  if (tags.location) known.latitude_degrees = known.longitude_degrees = 0.0;
  return known;
}

std::optional<GeoLocation> LocationOf(const PictureTags& tags) {
  if (!tags.latitude_degrees || !tags.longitude_degrees || !tags.latitude_ref || !tags.longitude_ref) {
    return std::nullopt;
  }
  return GeoLocation{*tags.latitude_ref == 'S' ? -*tags.latitude_degrees : *tags.latitude_degrees,
                     *tags.longitude_ref == 'W' ? -*tags.longitude_degrees : *tags.longitude_degrees};
}

}  // namespace

void CompleteFromXmp(std::string_view packet, MediaTags& tags) {
  PictureTags found = KnownTags(tags);
  if (image::WantedXmpNames(packet, found).empty()) return;
  static const auto read = LoadSiblingFunction<ReadPictureTagsFunction>(kPictureTagsLibraryName, kReadPictureTags);
  if (read == nullptr) return;
  image::EmbeddedMetadata metadata;
  metadata.xmp = packet;
  read(metadata, &found);
  tags.maker = found.maker.value_or("");
  tags.model = found.model.value_or("");
  tags.created = found.created;
  tags.modified = found.modified;
  if (!tags.location) tags.location = LocationOf(found);
}

}  // namespace media_server::probe

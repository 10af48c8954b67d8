// The metadata of a picture, as a carrier hands them on: Exif through our own readers, XMP and IPTC through the
// library.

#include <cmath>
#include <optional>
#include <string>

#include "fuzz/picture_oracle.h"
#include "media-server/container/byte_reader.h"
#include "media-server/container/text.h"
#include "media-server/image/exif_tags.h"
#include "media-server/image/exif_values.h"
#include "media-server/io/span_source.h"
#include "media-server/picture_tags/picture_tags_library.h"

extern "C" void ReadMediaServerPictureTags(const media_server::image::EmbeddedMetadata& metadata,
                                           media_server::image::PictureTags* tags);

namespace media_server {
namespace {

void CheckText(const std::optional<std::string>& text) {
  if (!text) return;
  FUZZ_CHECK(!text->empty());
  FUZZ_CHECK(TextFromUtf8(AsBytes(*text)) == *text);
}

void Check(const image::PictureTags& tags) {
  CheckText(tags.maker);
  CheckText(tags.model);
  if (tags.latitude_degrees) FUZZ_CHECK(*tags.latitude_degrees >= 0 && *tags.latitude_degrees <= 90);
  if (tags.longitude_degrees) FUZZ_CHECK(*tags.longitude_degrees >= 0 && *tags.longitude_degrees <= 180);
  if (tags.latitude_ref) FUZZ_CHECK(tags.latitude_degrees && (*tags.latitude_ref == 'N' || *tags.latitude_ref == 'S'));
  if (tags.longitude_ref) {
    FUZZ_CHECK(tags.longitude_degrees && (*tags.longitude_ref == 'E' || *tags.longitude_ref == 'W'));
  }
  if (tags.exposure_time_s) FUZZ_CHECK(std::isfinite(*tags.exposure_time_s) && *tags.exposure_time_s > 0);
  if (tags.orientation) {
    FUZZ_CHECK(tags.orientation->rotation_degrees % 90 == 0 && tags.orientation->rotation_degrees < 360);
  }
}

}  // namespace
}  // namespace media_server

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  using namespace media_server;
  if (size == 0) return 0;
  const std::span bytes(data + 1, size - 1);
  image::EmbeddedMetadata metadata;
  image::PictureTags tags;
  switch (data[0] % 3) {
    case 0: {
      SpanSource source(bytes);
      image::ReadExifTags(image::ReadExifValues(source, 0), tags);
      break;
    }
    case 1:
      metadata.xmp = AsText(bytes);
      break;
    default:
      metadata.iptc.assign(bytes.begin(), bytes.end());
      break;
  }
  ReadMediaServerPictureTags(metadata, &tags);
  Check(tags);
  return 0;
}

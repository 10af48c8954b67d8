#include "media-server/picture_tags/picture_tags_library.h"

#include <exiv2/error.hpp>
#include <new>

#include "media-server/picture_tags/iptc_tags.h"
#include "media-server/picture_tags/xmp_tags.h"
#include "platform/export.h"

namespace media_server {
namespace {

/// Exiv2 throws on what it cannot decode; what was read before stays. That memory ran out is the caller's to tell.
template <typename Function>
void Guarded(Function&& read) {
  try {
    read();
  } catch (const std::bad_alloc&) {
    throw;
  } catch (...) {
  }
}

}  // namespace
}  // namespace media_server

extern "C" PLATFORM_EXPORT void ReadMediaServerPictureTags(const media_server::image::EmbeddedMetadata& metadata,
                                                           media_server::image::PictureTags* tags) {
  using namespace media_server;
  // Its messages would go to the host's standard error.
  static const bool quiet = (Exiv2::LogMsg::setLevel(Exiv2::LogMsg::mute), true);
  static_cast<void>(quiet);
  Guarded([&] { picture_tags::ReadXmpTags(metadata.xmp, *tags); });
  Guarded([&] { picture_tags::ReadIptcTags(metadata.iptc, *tags); });
}

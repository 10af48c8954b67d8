#include "known_services.h"

#include <algorithm>
#include <array>
#include <string_view>

#include "mediainfo/iimage_info.h"
#include "mediainfo/imedia_file_info.h"
#include "mediainfo/isvg_info.h"
#include "mediainfo/service_ids.h"
#include "mediauuid/imedia_uuid.h"
#include "service/isvg_decode_sink.h"

namespace module_check {
namespace {

using namespace service::mediainfo;

template <typename Interface>
bool Has(service::ISession* session) {
  return dynamic_cast<Interface*>(session) != nullptr;
}

constexpr std::array<KnownService, 5> kKnownServices{{
    {.name = kMediaFileInfoServiceName,
     .uuid = kMediaFileInfoServiceUuid,
     .destroyed = 0,
     .refused = 1,
     .has_shared_sessions = true,
     .keyed_query_writes = false,
     .keyed_request = 1,
     .shared_released = 0,
     .has_interface = Has<IMediaFileInfo>},
    {.name = kImageInfoServiceName,
     .uuid = kImageInfoServiceUuid,
     .destroyed = 1,
     .refused = 0,
     .has_shared_sessions = false,
     .keyed_query_writes = true,
     .keyed_request = 1,
     .shared_released = 0,
     .has_interface = Has<IImageInfo>},
    {.name = kSvgInfoServiceName,
     .uuid = kSvgInfoServiceUuid,
     .destroyed = 1,
     .refused = 0,
     .has_shared_sessions = true,
     .keyed_query_writes = true,
     .keyed_request = 0,
     .shared_released = 0xFFFF'FFFF,
     .has_interface = Has<ISvgInfo>},
    {.name = kMediaUuidServiceName,
     .uuid = kMediaUuidServiceUuid,
     .destroyed = 0,
     .refused = 1,
     .has_shared_sessions = false,
     .keyed_query_writes = true,
     .keyed_request = 1,
     .shared_released = 0,
     .has_interface = Has<service::mediauuid::IMediaUuid>},
    {.name = service::kSvgDecoderServiceName,
     .uuid = service::kSvgDecoderServiceName,
     .destroyed = 0,
     .refused = 1,
     .has_shared_sessions = true,
     .keyed_query_writes = true,
     .keyed_request = 1,
     .shared_released = 0,
     .has_interface = Has<service::ISVGDecodeSink>},
}};

}  // namespace

std::span<const KnownService> KnownServices() { return kKnownServices; }

const KnownService* FindKnownService(const char* name) {
  if (name == nullptr) return nullptr;
  const auto* const found = std::ranges::find(kKnownServices, std::string_view(name), &KnownService::name);
  return found == kKnownServices.end() ? nullptr : found;
}

}  // namespace module_check

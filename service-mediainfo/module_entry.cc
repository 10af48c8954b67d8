#include <array>

#include "mediainfo/service_ids.h"
#include "platform/export.h"
#include "service-mediainfo/image/service.h"
#include "service-mediainfo/media_info/media_file_info_service.h"
#include "service-mediainfo/media_uuid/media_uuid_service.h"
#include "service-mediainfo/settings.h"
#include "service-mediainfo/svg/service.h"
#include "service/module_descriptor.h"

namespace service::mediainfo {
namespace {

// Reached through variables, so that these two words of each record are copied in when the library is loaded.
const char* media_file_name = kMediaFileInfoServiceName;
const char* media_file_uuid = kMediaFileInfoServiceUuid;
const char* image_name = kImageInfoServiceName;
const char* image_uuid = kImageInfoServiceUuid;
const char* svg_name = kSvgInfoServiceName;
const char* svg_uuid = kSvgInfoServiceUuid;
const char* media_uuid_name = kMediaUuidServiceName;
const char* media_uuid_uuid = kMediaUuidServiceUuid;

void Release(IService* service) { delete service; }

const std::array<ServiceDescriptor, 4> kTable{{
    {media_file_name, "mediainfo based on velmora multimedia codec", media_file_uuid, 0, settings::Init,
     media_info::impl::MediaFileInfoService::Create, Release, 0, 0},
    {image_name, "mediainfo for image", image_uuid, 0, nullptr, image::Service::Create, Release, 0, 0},
    {svg_name, "mediainfo for svg", svg_uuid, 0, nullptr, svg::Service::Create, Release, 0, 0},
    {media_uuid_name, "media uuid", media_uuid_uuid, 0, nullptr, media_uuid::impl::MediaUuidService::Create, Release, 0,
     0},
}};

}  // namespace
}  // namespace service::mediainfo

extern "C" PLATFORM_EXPORT bool GetServiceModuleInfo(const service::ServiceDescriptor** table_out,
                                                     std::uint32_t* count_out) {
  if (table_out == nullptr || count_out == nullptr) return true;
  *table_out = service::mediainfo::kTable.data();
  *count_out = static_cast<std::uint32_t>(service::mediainfo::kTable.size());
  return true;
}

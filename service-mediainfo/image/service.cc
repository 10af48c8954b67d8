#include "service-mediainfo/image/service.h"

#include <memory>
#include <new>

#include "core/log.h"
#include "platform/library.h"
#include "service-mediainfo/configured_media_server.h"
#include "service-mediainfo/image/session.h"

namespace service::mediainfo::image {
namespace {

/// The library is never unloaded; null functions where it, or they, are missing.
ImageLibrary LoadImageLibrary() {
  const HMODULE library = LoadLibraryA(media_server::kImageLibraryName);
  if (library == nullptr) return {};
  ImageLibrary found;
  found.get_image_sequence_size = reinterpret_cast<media_server::GetImageSequenceSizeFunction>(
      GetProcAddress(library, media_server::kGetImageSequenceSize));
  found.get_image_size =
      reinterpret_cast<media_server::GetImageSizeFunction>(GetProcAddress(library, media_server::kGetImageSize));
  CoreLogPrint("mediainfo", kCoreLogInfo, "Load GetImageSequenceSize[0x%p] GetImageSize[0x%p]",
               reinterpret_cast<void*>(found.get_image_sequence_size), reinterpret_cast<void*>(found.get_image_size));
  return found;
}

}  // namespace

IService* Service::Create() {
  std::unique_ptr<Service> service(new (std::nothrow) Service);
  if (!service) return nullptr;
  service->media_server_ = MakeConfiguredMediaServer();
  service->library_ = LoadImageLibrary();
  if (service->library_.get_image_size == nullptr) {
    CoreLogPrint("mediainfo", kCoreLogInfo, "Load %s failed!", media_server::kImageLibraryName);
    return nullptr;
  }
  return service.release();
}

ISession* Service::CreateSession() { return new (std::nothrow) session(library_, media_server_.Get()); }

std::uint32_t Service::DestroySession(ISession* any_session) {
  auto* own = dynamic_cast<session*>(any_session);
  if (own == nullptr) return 0;
  delete own;
  return 1;
}

}  // namespace service::mediainfo::image

#pragma once

#include "media_server/image_library.h"
#include "media_server/imedia_server.h"
#include "platform/com_ptr.h"
#include "service-mediainfo/service_base.h"

namespace service::mediainfo::image {

/// What the image library gives. Nothing here calls it: pictures are read through the media server, and the library
/// only decides whether there is an image service.
struct ImageLibrary {
  media_server::GetImageSizeFunction get_image_size = nullptr;
  media_server::GetImageSequenceSizeFunction get_image_sequence_size = nullptr;
};

/// Makes the sessions that describe images, and owns the media server that they ask.
class Service final : public ServiceBase {
 public:
  /// Create function of the service's descriptor: a new service with a media server made from the module's settings,
  /// though there may be none. Null, and logged, when the image library or its GetImageSize is missing; null as well
  /// when memory runs out.
  static IService* Create();

  ISession* CreateSession() override;
  /// 1 when the session was this service's kind and is destroyed, else 0.
  std::uint32_t DestroySession(ISession* session) override;

 private:
  ImageLibrary library_;
  platform::ComPtr<media_server::IMediaServer> media_server_;
};

}  // namespace service::mediainfo::image

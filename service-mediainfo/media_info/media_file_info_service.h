#pragma once

#include "media_server/imedia_server.h"
#include "platform/com_ptr.h"
#include "service/iservice.h"

namespace service::mediainfo::media_info::impl {

/// Makes the sessions that describe media files, and owns the media server that they open files with.
class MediaFileInfoService final : public IService {
 public:
  /// Create function of the service's descriptor: a new service with a media server made from the module's settings.
  /// Without one the service's sessions use the codec component. Null when memory runs out.
  static IService* Create();

  std::uint32_t FirstStateQuery() override { return 0; }
  bool SecondStateQuery() override { return true; }
  ISession* CreateSession() override;
  std::uint32_t DestroySession(ISession* session) override;
  std::shared_ptr<ISession> CreateSharedSession(std::uintptr_t reserved) override;
  std::uint32_t KeyedQuery(std::uintptr_t first, std::uintptr_t second, std::uint32_t* result) override;
  std::uint32_t KeyedRequest(std::uintptr_t first, std::uintptr_t second, std::uintptr_t third,
                             std::uint32_t* result) override;
  std::uint32_t ReleaseSharedSession(std::shared_ptr<ISession> session) override;
  bool FinalQuery() override { return false; }

 private:
  platform::ComPtr<media_server::IMediaServer> media_server_;
};

}  // namespace service::mediainfo::media_info::impl

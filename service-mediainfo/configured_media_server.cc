#include "service-mediainfo/configured_media_server.h"

#include "service-mediainfo/settings.h"

namespace service::mediainfo {

platform::ComPtr<media_server::IMediaServer> MakeConfiguredMediaServer() {
  platform::ComPtr<media_server::IMediaServer> server;
  // The status tells nothing that the pointer does not.
  CreateMediaServer(settings::media_info_path.c_str(), settings::media_proxy_path.c_str(), settings::app_path.c_str(),
                    settings::app_res_path.c_str(), settings::log_path.c_str(), server.Put());
  return server;
}

}  // namespace service::mediainfo

#pragma once

#include <string>

#include "media_server/imedia_server.h"
#include "platform/com_ptr.h"

namespace media_server {

/// What CreateMediaServer is told and this server needs.
struct ServerSettings {
  std::string proxy;  ///< HTTP proxy for network URLs, empty for none
};

/// A media server, for CreateMediaServer and for tests that want no library around it. Throws std::bad_alloc.
platform::ComPtr<IMediaServer> MakeMediaServer(ServerSettings settings);

}  // namespace media_server

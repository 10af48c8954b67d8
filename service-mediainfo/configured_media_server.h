#pragma once

#include "media_server/imedia_server.h"
#include "platform/com_ptr.h"

namespace service::mediainfo {

/// A media server made from the module's settings; empty when none could be made.
platform::ComPtr<media_server::IMediaServer> MakeConfiguredMediaServer();

}  // namespace service::mediainfo

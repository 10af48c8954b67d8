#pragma once

#include <string>

#include "service/iconfig.h"

/// What the host configured, UTF-8; empty until the init function found a value. They are separate strings because the
/// media server takes them as separate arguments. Written by the init function only, before any service exists.
namespace service::mediainfo::settings {

extern std::string media_info_path;
extern std::string media_proxy_path;
extern std::string app_path;
extern std::string app_res_path;
extern std::string log_path;

/// Init function of the media file info service: takes over the values that `config` has, leaves the others as they
/// were, and loads the support libraries when there is an application path. Always true; null is ignored.
bool Init(IConfig* config);

}  // namespace service::mediainfo::settings

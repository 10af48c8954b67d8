#include "service-mediainfo/settings.h"

#include "service-mediainfo/support_libraries.h"

namespace service::mediainfo::settings {
namespace {

/// Folder of the support libraries below the application path; the spelling is the folder's own.
constexpr char kSupportFolder[] = "/userepace";

/// False when the host has no such key.
bool Read(IConfig& config, const char* key, std::string& setting) {
  const char* value = config.GetString(key, 0);
  if (value == nullptr) return false;
  setting = value;
  return true;
}

}  // namespace

std::string media_info_path;
std::string media_proxy_path;
std::string app_path;
std::string app_res_path;
std::string log_path;

bool Init(IConfig* config) try {
  if (config == nullptr) return true;
  Read(*config, config_keys::kMediaInfoPath, media_info_path);
  Read(*config, config_keys::kMediaProxyPath, media_proxy_path);
  if (Read(*config, config_keys::kSetAppPath, app_path)) load_support_libraries((app_path + kSupportFolder).c_str());
  Read(*config, config_keys::kSetAppResPath, app_res_path);
  Read(*config, config_keys::kSetLogPath, log_path);
  return true;
} catch (const std::exception&) {
  return true;
}

}  // namespace service::mediainfo::settings

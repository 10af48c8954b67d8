#include "media_host.h"

#include <algorithm>
#include <filesystem>
#include <stdexcept>

#include "core/log.h"
#include "mediainfo/imedia_file_info.h"
#include "mediainfo/result.h"
#include "mediainfo/service_ids.h"

namespace bench {

MediaHost::MediaHost() : manager_(ZORServiceMrgAcqire(/*reserved=*/0)) {
  CoreLogSetLevel(kCoreLogOff);
  for (const char* key : {service::config_keys::kMediaInfoPath, service::config_keys::kSetAppPath,
                          service::config_keys::kSetAppResPath}) {
    configuration_.Set(key, LIBRARY_FOLDER);
  }
  configuration_.Set(service::config_keys::kMediaProxyPath, "");
  configuration_.Set(service::config_keys::kSetLogPath, "");
  if (!manager_->LoadModule(LIBRARY_FOLDER "/service-mediainfo.so", &configuration_)) {
    throw std::runtime_error("cannot load the module in " LIBRARY_FOLDER);
  }
  service_ = AcquireService(service::mediainfo::kMediaFileInfoServiceName);
}

MediaHost::~MediaHost() {
  service_.reset();
  manager_->ReleaseServices();
}

std::shared_ptr<service::IService> MediaHost::AcquireService(const char* name) {
  auto service = manager_->AcquireService(name, /*create=*/true, /*reserved=*/0);
  if (!service) throw std::runtime_error(std::string("the module gives no service ") + name);
  return service;
}

void MediaHost::OpenAndClose(const std::string& path) {
  service::ISession* session = service_->CreateSession();
  auto* file = dynamic_cast<service::mediainfo::IMediaFileInfo*>(session);
  std::string url = path;
  const bool is_open = file != nullptr && file->SetURL(url.data()) == service::mediainfo::kSuccess;
  service_->DestroySession(session);
  if (!is_open) throw std::runtime_error("cannot open " + path);
}

std::vector<std::string> SamplePaths() {
  std::vector<std::string> paths;
  for (const auto& entry : std::filesystem::directory_iterator(SAMPLES_FOLDER)) {
    const std::string extension = entry.path().extension();
    if (!extension.empty() && extension != ".md") paths.push_back(entry.path());
  }
  std::sort(paths.begin(), paths.end());
  return paths;
}

std::string FileName(const std::string& path) { return std::filesystem::path(path).filename(); }

}  // namespace bench

#include "host.h"

#include <cstdlib>
#include <filesystem>
#include <string_view>
#include <system_error>

#include "core/loading.h"
#include "mediainfo/service_ids.h"

namespace mediaprobe {
namespace {

constexpr char kLibraryFolderVariable[] = "MEDIAPROBE_LIBRARY_DIR";
constexpr char kProxyVariable[] = "http_proxy";  // as other programs read it
constexpr char kModuleName[] = "service-mediainfo.so";
constexpr char kSvgDecoderName[] = "svg-decoder.so";

}  // namespace

std::string LibraryFolder() {
  if (const char* folder = std::getenv(kLibraryFolderVariable); folder && *folder) return folder;
  std::error_code no_link;
  const std::filesystem::path program = std::filesystem::read_symlink("/proc/self/exe", no_link);
  return program.parent_path().parent_path() / "lib" / "mediainfo";
}

Host::Host(const std::string& library_folder)
    : module_path_(library_folder + "/" + kModuleName), manager_(ZORServiceMrgAcqire(/*reserved=*/0)) {
  for (const char* key : {service::config_keys::kMediaInfoPath, service::config_keys::kSetAppPath,
                          service::config_keys::kSetAppResPath}) {
    configuration_.Set(key, library_folder);
  }
  if (const char* proxy = std::getenv(kProxyVariable)) configuration_.Set(service::config_keys::kMediaProxyPath, proxy);
  if (manager_ && !manager_->LoadModule(module_path_.c_str(), &configuration_)) manager_ = nullptr;
}

Host::~Host() {
  if (manager_) manager_->ReleaseServices();
}

std::shared_ptr<service::IService> Host::AcquireService(const char* name) const {
  if (!manager_) return nullptr;
  CoreTellLoading(name);
  // Without its decoder the SVG service says so itself.
  if (std::string_view(name) == service::mediainfo::kSvgInfoServiceName) LoadSvgDecoder();
  return manager_->AcquireService(name, /*create=*/true, /*reserved=*/0);
}

void Host::LoadSvgDecoder() const {
  manager_->LoadModule((library_folder() + "/" + kSvgDecoderName).c_str(), /*config=*/nullptr);
}

std::string Host::library_folder() const { return std::filesystem::path(module_path_).parent_path(); }

std::vector<const service::ServiceDescriptor*> Host::Services() const {
  std::vector<const service::ServiceDescriptor*> services;
  if (!manager_) return services;
  LoadSvgDecoder();
  for (std::uint32_t i = 0; i < manager_->GetServiceCount(); ++i) services.push_back(manager_->GetService(i));
  return services;
}

}  // namespace mediaprobe

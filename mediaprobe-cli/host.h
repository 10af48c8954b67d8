#pragma once

#include <memory>
#include <string>
#include <vector>

#include "service/configuration.h"
#include "service/iservice.h"
#include "service/iservice_manager.h"
#include "service/module_descriptor.h"

namespace mediaprobe {

/// Folder of the libraries that the tool loads: the environment variable MEDIAPROBE_LIBRARY_DIR where it is set and not
/// empty, else lib/mediainfo beside the folder of the running program.
std::string LibraryFolder();

/// The process's service host with the media information module loaded.
class Host {
 public:
  /// Loads the module from `library_folder` and tells it the folders of the application, and the proxy for network URLs
  /// that the environment variable http_proxy names.
  explicit Host(const std::string& library_folder);
  /// Releases the services; sessions and services that were handed out must be gone.
  ~Host();
  Host(const Host&) = delete;
  Host& operator=(const Host&) = delete;

  /// Whether the module could be loaded.
  bool is_loaded() const { return manager_ != nullptr; }
  /// The service named `name`; empty when the module could not be loaded or has no such service. The SVG service brings
  /// its decoder module with it.
  std::shared_ptr<service::IService> AcquireService(const char* name) const;
  /// Those of the module and of the SVG decoder's, in the order of their registration.
  std::vector<const service::ServiceDescriptor*> Services() const;
  const std::string& module_path() const { return module_path_; }
  /// The module's path up to its last slash, as the libraries name one another.
  std::string module_folder() const { return module_path_.substr(0, module_path_.rfind('/') + 1); }
  /// Folder of the libraries.
  std::string library_folder() const;

 private:
  /// The decoder that the SVG service asks for: a module of its own, which no other input is to pay for.
  void LoadSvgDecoder() const;

  service::Configuration configuration_;
  std::string module_path_;
  service::IServiceManager* manager_;
};

}  // namespace mediaprobe

#pragma once

#include <memory>
#include <string>
#include <vector>

#include "service/configuration.h"
#include "service/iservice.h"
#include "service/iservice_manager.h"

namespace bench {

/// A host with the built module loaded, as an application has it. Throws std::runtime_error when it cannot be.
class MediaHost {
 public:
  MediaHost();
  ~MediaHost();
  MediaHost(const MediaHost&) = delete;
  MediaHost& operator=(const MediaHost&) = delete;

  /// Another service of the module. Throws std::runtime_error when there is none.
  std::shared_ptr<service::IService> AcquireService(const char* name);

  /// Opens a session on the file and closes it again. Throws std::runtime_error when it cannot be opened.
  void OpenAndClose(const std::string& path);
  /// The same, asking the open session for everything that it can tell.
  void Probe(const std::string& path);

 private:
  template <typename Ask>
  void WithSession(const std::string& path, Ask ask);

  service::Configuration configuration_;
  service::IServiceManager* manager_;
  std::shared_ptr<service::IService> service_;
};

/// Paths of the sample files, in the order of their names.
std::vector<std::string> SamplePaths();
/// The last part of a path.
std::string FileName(const std::string& path);

}  // namespace bench

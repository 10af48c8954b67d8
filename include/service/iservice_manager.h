#pragma once

#include <cstdint>
#include <memory>

#include "platform/export.h"
#include "service/iconfig.h"
#include "service/iservice.h"
#include "service/module_descriptor.h"

#if defined(SERVICE_LIBRARY)
#define SERVICE_API PLATFORM_EXPORT
#else
#define SERVICE_API PLATFORM_IMPORT
#endif

namespace service {

/// Loads modules, knows their services by name and by UUID, and creates each service once, when it is first acquired.
/// Safe to call from any thread.
class IServiceManager {
 public:
  virtual ~IServiceManager() = default;

  /// Loads the module at `path` (UTF-8), runs the init function of each of its services with `config`, and registers
  /// them. False when the file is no module, an init function refuses, or a name or UUID is taken; then nothing is
  /// registered. Loading the same module twice is no failure and changes nothing.
  virtual bool LoadModule(const char* path, IConfig* config) = 0;
  /// Registers a table that is in the process already, on the same terms. The table must outlive the manager's use of
  /// it.
  virtual bool RegisterServices(const ServiceDescriptor* table, std::uint32_t count, IConfig* config) = 0;
  /// Number of registered services, and the descriptor of one in the order of registration (null past the end).
  virtual std::uint32_t GetServiceCount() = 0;
  virtual const ServiceDescriptor* GetService(std::uint32_t index) = 0;
  /// Drops the manager's own references, latest service first. A service that somebody still holds is released with the
  /// last reference to it. Registered services stay registered and are created anew when acquired again.
  virtual void ReleaseServices() = 0;
  virtual void Reserved6() = 0;
  virtual void Reserved7() = 0;

  /// The service with the name or UUID `id` (letter case of a UUID does not matter). With `create` false only a service
  /// that exists already is given. Empty when unknown, or when its create function gives null (the next call tries
  /// again).
  virtual std::shared_ptr<IService> AcquireService(const char* id, bool create, std::uintptr_t reserved) = 0;
};

}  // namespace service

/// The process's service manager; it lives until the process ends. Never null in this framework; callers test all the
/// same.
extern "C" SERVICE_API service::IServiceManager* ZORServiceMrgAcqire(std::uintptr_t reserved);

#pragma once

#include <cstddef>
#include <deque>
#include <mutex>
#include <span>
#include <string>

#include "service/iservice_manager.h"
#include "service_keys.h"

namespace service {

/// Functions of modules (init, create and, from ReleaseServices, release) run one at a time, and may call the manager
/// themselves. A service that asks for itself while it is being created gets nothing.
class ServiceManager final : public IServiceManager {
 public:
  ServiceManager() = default;
  ~ServiceManager() override;
  ServiceManager(const ServiceManager&) = delete;
  ServiceManager& operator=(const ServiceManager&) = delete;

  bool LoadModule(const char* path, IConfig* config) override;
  bool RegisterServices(const ServiceDescriptor* table, std::uint32_t count, IConfig* config) override;
  std::uint32_t GetServiceCount() override;
  const ServiceDescriptor* GetService(std::uint32_t index) override;
  void ReleaseServices() override;
  void Reserved6() override {}
  void Reserved7() override {}
  std::shared_ptr<IService> AcquireService(const char* id, bool create, std::uintptr_t reserved) override;

 private:
  struct Entry {
    const ServiceDescriptor* descriptor = nullptr;
    std::shared_ptr<IService> service;
    std::uint64_t creation = 0;  ///< rank in the order of creation, from 1
    bool is_being_created = false;
  };

  bool Register(std::span<const ServiceDescriptor> table, IConfig* config, std::string* fault);
  bool IsRegistered(std::span<const ServiceDescriptor> table);
  bool HasFreeKeys(const ServiceKeys& keys, std::string* fault);
  void AddEntries(std::span<const ServiceDescriptor> table, const ServiceKeys& keys);
  Entry* FindEntry(const char* id);
  std::shared_ptr<IService> Existing(const Entry& entry);
  std::shared_ptr<IService> Create(Entry& entry);
  std::shared_ptr<IService> TakeLatest(std::uint64_t last_creation);

  /// Held while functions of modules run; recursive because they may call back. Taken before data_mutex_.
  std::recursive_mutex module_code_mutex_;
  /// Guards what follows, and is never held while foreign code runs: existing services are found without waiting for
  /// one that is being created.
  std::mutex data_mutex_;
  std::deque<Entry> entries_;  ///< a deque, because Create holds on to an entry while others are added
  ServiceKeys keys_;
  std::uint64_t creations_ = 0;
};

}  // namespace service

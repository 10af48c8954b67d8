#include "service_manager.h"

#include <algorithm>
#include <exception>
#include <new>
#include <utility>

#include "core/error_text.h"
#include "core/log.h"
#include "module_loader.h"

namespace service {
namespace {

constexpr char kLogTag[] = "service";

/// The descriptor's own release function destroys the service, on whichever thread the last reference goes.
std::shared_ptr<IService> CallCreate(const ServiceDescriptor& descriptor) noexcept {
  try {
    IService* service = descriptor.create();
    return service ? std::shared_ptr<IService>(service, descriptor.release) : nullptr;
  } catch (...) {
    return nullptr;
  }
}

/// Runs `attempt`, which tells the reason of a failure through its argument, and makes that reason known.
template <typename Attempt>
bool ReportFailure(const char* subject, Attempt attempt) noexcept {
  try {
    std::string fault;
    if (attempt(&fault)) return true;
    CoreSetErrorText(fault.c_str());
  } catch (const std::bad_alloc&) {
    CoreSetErrorText("out of memory");
  } catch (const std::exception& error) {
    CoreSetErrorText(error.what());
  } catch (...) {
    CoreSetErrorText("unknown exception");
  }
  CoreLogPrint(kLogTag, kCoreLogError, "cannot register the services of %s: %s", subject, CoreErrorText());
  return false;
}

}  // namespace

ServiceManager::~ServiceManager() { ReleaseServices(); }

bool ServiceManager::LoadModule(const char* path, IConfig* config) {
  if (!path) path = "";
  return ReportFailure(path, [&](std::string* fault) {
    const std::lock_guard module_code_lock(module_code_mutex_);
    const auto table = LoadServiceTable(path, fault);
    return table && Register(*table, config, fault);
  });
}

bool ServiceManager::RegisterServices(const ServiceDescriptor* table, std::uint32_t count, IConfig* config) {
  return ReportFailure("a table", [&](std::string* fault) {
    const std::lock_guard module_code_lock(module_code_mutex_);
    return Register({table, table ? count : 0}, config, fault);
  });
}

bool ServiceManager::Register(std::span<const ServiceDescriptor> table, IConfig* config, std::string* fault) {
  if (IsRegistered(table)) return true;
  const std::optional<ServiceKeys> keys = ReadServiceKeys(table, fault);
  if (!keys || !HasFreeKeys(*keys, fault)) return false;

  for (const ServiceDescriptor& descriptor : table) {
    if (descriptor.init && !descriptor.init(config)) {
      *fault = std::string("the init function of \"") + descriptor.name + "\" refused";
      return false;
    }
  }
  // Once more, since an init function may have registered services itself.
  if (!HasFreeKeys(*keys, fault)) return false;
  AddEntries(table, *keys);
  return true;
}

bool ServiceManager::IsRegistered(std::span<const ServiceDescriptor> table) {
  const std::lock_guard data_lock(data_mutex_);
  return std::ranges::any_of(entries_, [&](const Entry& entry) { return entry.descriptor == table.data(); });
}

bool ServiceManager::HasFreeKeys(const ServiceKeys& keys, std::string* fault) {
  const std::lock_guard data_lock(data_mutex_);
  const auto taken = std::ranges::find_if(keys, [&](const auto& key) { return keys_.contains(key.first); });
  if (taken == keys.end()) return true;
  *fault = "another service is called \"" + taken->first + "\"";
  return false;
}

void ServiceManager::AddEntries(std::span<const ServiceDescriptor> table, const ServiceKeys& keys) {
  const std::lock_guard data_lock(data_mutex_);
  const std::size_t first = entries_.size();
  ServiceKeys all_keys = keys_;
  for (const auto& [key, index] : keys) all_keys.emplace(key, first + index);
  try {
    for (const ServiceDescriptor& descriptor : table) entries_.emplace_back().descriptor = &descriptor;
  } catch (...) {
    entries_.resize(first);
    throw;
  }
  keys_.swap(all_keys);
}

std::uint32_t ServiceManager::GetServiceCount() {
  const std::lock_guard data_lock(data_mutex_);
  return static_cast<std::uint32_t>(entries_.size());
}

const ServiceDescriptor* ServiceManager::GetService(std::uint32_t index) {
  const std::lock_guard data_lock(data_mutex_);
  return index < entries_.size() ? entries_[index].descriptor : nullptr;
}

void ServiceManager::ReleaseServices() {
  const std::lock_guard module_code_lock(module_code_mutex_);
  std::uint64_t last_creation = 0;
  {
    const std::lock_guard data_lock(data_mutex_);
    // What release functions create from here on stays: a pair that asks for each other would never come to an end.
    last_creation = creations_;
  }
  while (TakeLatest(last_creation)) {
  }
}

std::shared_ptr<IService> ServiceManager::TakeLatest(std::uint64_t last_creation) {
  const std::lock_guard data_lock(data_mutex_);
  Entry* latest = nullptr;
  for (Entry& entry : entries_) {
    if (!entry.service || entry.creation > last_creation) continue;
    if (!latest || entry.creation > latest->creation) latest = &entry;
  }
  return latest ? std::move(latest->service) : nullptr;
}

std::shared_ptr<IService> ServiceManager::AcquireService(const char* id, bool create, std::uintptr_t /*reserved*/) {
  if (!id) return nullptr;
  try {
    Entry* entry = FindEntry(id);
    if (!entry) return nullptr;
    std::shared_ptr<IService> service = Existing(*entry);
    return service || !create ? service : Create(*entry);
  } catch (...) {
    // Out of memory.
    return nullptr;
  }
}

ServiceManager::Entry* ServiceManager::FindEntry(const char* id) {
  const std::string key = ServiceKey(id);
  const std::lock_guard data_lock(data_mutex_);
  const auto found = keys_.find(key);
  return found == keys_.end() ? nullptr : &entries_[found->second];
}

std::shared_ptr<IService> ServiceManager::Existing(const Entry& entry) {
  const std::lock_guard data_lock(data_mutex_);
  return entry.service;
}

std::shared_ptr<IService> ServiceManager::Create(Entry& entry) {
  const std::lock_guard module_code_lock(module_code_mutex_);
  // Another thread may have created it while this one waited.
  if (std::shared_ptr<IService> service = Existing(entry)) return service;
  if (entry.is_being_created) return nullptr;

  entry.is_being_created = true;
  std::shared_ptr<IService> service = CallCreate(*entry.descriptor);
  entry.is_being_created = false;
  if (!service) return nullptr;

  const std::lock_guard data_lock(data_mutex_);
  entry.creation = ++creations_;
  return entry.service = std::move(service);
}

}  // namespace service

service::IServiceManager* ZORServiceMrgAcqire(std::uintptr_t /*reserved*/) {
  // Never destroyed: by the time static destructors run, those of modules may have run before, and a service released
  // after its module's statics are gone would use them. Hosts call ReleaseServices before they end.
  static auto& manager = *new service::ServiceManager;
  return &manager;
}

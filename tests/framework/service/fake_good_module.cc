#include <cstdint>
#include <string>

#include "fake_service.h"
#include "platform/export.h"
#include "service/module_descriptor.h"

namespace {

std::string& ConfiguredPath() {
  static std::string path;
  return path;
}
int init_calls = 0;

/// Its first state query tells the length of the configured path, so that tests see that init ran before.
class ConfiguredService final : public FakeService {
 public:
  std::uint32_t FirstStateQuery() override { return static_cast<std::uint32_t>(ConfiguredPath().size()); }
};

bool Init(service::IConfig* config) {
  ++init_calls;
  const char* path = config ? config->GetString("SetAppPath", 0) : nullptr;
  if (path) ConfiguredPath() = path;
  return true;
}

service::IService* CreateConfigured() { return new ConfiguredService; }
service::IService* CreatePlain() { return new FakeService; }
void Release(service::IService* service) { delete service; }

constexpr service::ServiceDescriptor kTable[] = {
    {"good/configured", "tells what it was configured with", "11111111-2222-3333-4444-555555555551", 0, Init,
     CreateConfigured, Release, 0, 0},
    {"good/plain", "does nothing", "11111111-2222-3333-4444-555555555552", 0, nullptr, CreatePlain, Release, 0, 0},
};

}  // namespace

extern "C" PLATFORM_EXPORT bool GetServiceModuleInfo(const service::ServiceDescriptor** table, std::uint32_t* count) {
  if (table && count) {
    *table = kTable;
    *count = 2;
  }
  return true;
}

extern "C" PLATFORM_EXPORT int InitCalls() { return init_calls; }

#include <cstdint>

#include "fake_service.h"
#include "platform/export.h"
#include "service/module_descriptor.h"

namespace {

bool Accept(service::IConfig* /*config*/) { return true; }
bool Refuse(service::IConfig* /*config*/) { return false; }
service::IService* Create() { return new FakeService; }
void Release(service::IService* service) { delete service; }

constexpr service::ServiceDescriptor kTable[] = {
    {"refusing/first", "", "11111111-2222-3333-4444-555555555561", 0, Accept, Create, Release, 0, 0},
    {"refusing/second", "", "11111111-2222-3333-4444-555555555562", 0, Refuse, Create, Release, 0, 0},
};

}  // namespace

extern "C" PLATFORM_EXPORT bool GetServiceModuleInfo(const service::ServiceDescriptor** table, std::uint32_t* count) {
  *table = kTable;
  *count = 2;
  return true;
}

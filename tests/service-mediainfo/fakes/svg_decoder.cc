#include "fakes/svg_decoder.h"

namespace fakes {

ManagerEntry& manager_entry() {
  static ManagerEntry entry;
  return entry;
}

}  // namespace fakes

// Stands in front of the service library's, also for the module.
service::IServiceManager* ZORServiceMrgAcqire(std::uintptr_t reserved) {
  fakes::manager_entry().reserved_words.push_back(reserved);
  return fakes::manager_entry().manager;
}

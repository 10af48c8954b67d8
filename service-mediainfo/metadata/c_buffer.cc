#include "service-mediainfo/metadata/c_buffer.h"

#include <new>

namespace service::mediainfo {

CBuffer MakeCBuffer(std::size_t size) {
  CBuffer buffer(std::calloc(size, 1));
  if (!buffer) throw std::bad_alloc();
  return buffer;
}

bool StoreBuffer(IMetedataInfo& store, const char* key, CBuffer buffer) {
  const core::ValAny value = core::ValAny::FromBuffer(buffer.get());
  if (!store.SetValue(key, &value)) return false;
  static_cast<void>(buffer.release());
  return true;
}

}  // namespace service::mediainfo

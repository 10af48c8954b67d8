#include "service-mediainfo/metadata/c_buffer.h"

#include <cstring>
#include <new>

namespace service::mediainfo {

CBuffer MakeCBuffer(std::size_t size) {
  // Not calloc, which goes past the memory that glibc keeps ready for each thread.
  CBuffer buffer(std::malloc(size));
  if (!buffer) throw std::bad_alloc();
  std::memset(buffer.get(), 0, size);
  return buffer;
}

bool StoreBuffer(IMetedataInfo& store, const char* key, CBuffer buffer) {
  const core::ValAny value = core::ValAny::FromBuffer(buffer.get());
  if (!store.SetValue(key, &value)) return false;
  static_cast<void>(buffer.release());
  return true;
}

}  // namespace service::mediainfo

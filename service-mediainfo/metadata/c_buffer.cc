#include "service-mediainfo/metadata/c_buffer.h"

#include <algorithm>
#include <new>

namespace service::mediainfo {

CBuffer MakeCBuffer(std::span<const std::byte> content, std::size_t size) {
  // Not calloc, which goes past the memory that glibc keeps ready for each thread. GCC makes one out of malloc and the
  // zeroing of all of it, too.
  CBuffer buffer(std::malloc(size));
  if (!buffer) throw std::bad_alloc();
  auto* const begin = static_cast<std::byte*>(buffer.get());
  std::fill(std::ranges::copy(content, begin).out, begin + size, std::byte{0});
  return buffer;
}

bool StoreBuffer(IMetedataInfo& store, const char* key, CBuffer buffer) {
  const core::ValAny value = core::ValAny::FromBuffer(buffer.get());
  if (!store.SetValue(key, &value)) return false;
  static_cast<void>(buffer.release());
  return true;
}

}  // namespace service::mediainfo

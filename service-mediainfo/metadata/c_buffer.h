#pragma once

#include <cstddef>
#include <cstdlib>
#include <memory>
#include <span>

#include "mediainfo/imetedata_info.h"

namespace service::mediainfo {

struct CFree {
  void operator()(void* buffer) const { std::free(buffer); }
};

/// A buffer from the C allocator, as metadata stores keep them.
using CBuffer = std::unique_ptr<void, CFree>;

/// A buffer of `size` bytes: `content`, which is no longer, and zeros. Throws std::bad_alloc when memory runs out.
CBuffer MakeCBuffer(std::span<const std::byte> content, std::size_t size);

/// Gives `buffer` into the store's keeping under `key`. False, and the buffer freed, when the store does not take it.
bool StoreBuffer(IMetedataInfo& store, const char* key, CBuffer buffer);

}  // namespace service::mediainfo

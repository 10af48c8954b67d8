#pragma once

#include <cstddef>
#include <cstdint>
#include <memory>
#include <vector>

#include "mediainfo/result.h"

namespace service::mediainfo::media_info::impl {

/// Lends the interface of one entry (null for an empty entry). kIndexOutOfRange, and `*out` untouched, past the end;
/// kNoOutput when `out` is null.
template <typename Entry, typename Interface>
std::uint32_t LendEntry(const std::vector<std::shared_ptr<Entry>>& entries, std::uint32_t index, Interface** out) {
  if (index >= entries.size()) return kIndexOutOfRange;
  if (out == nullptr) return kNoOutput;
  *out = entries[std::size_t{index}].get();
  return kSuccess;
}

}  // namespace service::mediainfo::media_info::impl

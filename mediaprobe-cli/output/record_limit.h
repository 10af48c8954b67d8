#pragma once

#include <cstddef>

#include "record/record.h"

namespace mediaprobe {

/// Most bytes of a record in its one-line JSON form.
inline constexpr std::size_t kMostRecordBytes = 4 * 1024 * 1024;

/// Cuts the record's texts until it is no longer than `most` bytes, and marks it as truncated if it had to. All texts
/// are cut to the same length, so that short ones stay whole.
void LimitRecord(Record& record, std::size_t most = kMostRecordBytes);

}  // namespace mediaprobe

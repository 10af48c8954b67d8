#pragma once

#include <cstddef>

#include "record/record.h"

namespace mediaprobe {

/// Most bytes of a record in its one-line JSON form.
inline constexpr std::size_t kMostRecordBytes = 4 * 1024 * 1024;

/// Cuts the record's texts until it is no longer than `most` bytes, and marks it as truncated if it had to. All texts
/// are cut to the same length, so that short ones stay whole.
void LimitRecord(Record& record, std::size_t most = kMostRecordBytes);

/// Sees to it that no output form makes much of a record: cuts its texts, the one-line JSON form to kMostRecordBytes
/// and what the table has on every stream's row to as much for all rows. One that is longer without them becomes an
/// error.
void BoundRecord(Record& record);

/// What a record is that cannot be written out.
Record TooLong(const Record& record);

}  // namespace mediaprobe

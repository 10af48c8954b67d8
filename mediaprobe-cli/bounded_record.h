#pragma once

#include "record/record.h"

namespace mediaprobe {

/// Sees to it that no output form makes much of a record: cuts its texts, the one-line JSON form to kMostRecordBytes
/// and what the table has on every stream's row to as much for all rows. One that is longer without them becomes an
/// error.
void BoundRecord(Record& record);

/// What a record is that cannot be written out.
Record TooLong(const Record& record);

}  // namespace mediaprobe

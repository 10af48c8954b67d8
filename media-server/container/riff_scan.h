#pragma once

#include <cstdint>
#include <optional>
#include <string>

#include "media-server/io/byte_source.h"

namespace media_server {

/// When a broadcast extension chunk (EBU Tech 3285) says that the sound was made: date as "yyyy-mm-dd", time as
/// "hh:mm:ss" if the writer kept to it. What stands between the numbers in the file is free.
struct RiffBroadcast {
  std::string origination_date;
  std::string origination_time;
};

/// A data chunk that reaches to the end of the input.
struct RiffDataToEnd {
  std::optional<std::uint64_t> size_bytes;  ///< empty where the input's length is not known
};

/// Uncompressed sound whose samples have more room than they need bits, by whole bytes.
struct RiffPaddedSamples {
  std::uint32_t room_bits = 0;  ///< for each
  bool is_extensible = false;   ///< the format tells both; it leaves no doubt that they are integers
  double seconds = 0;           ///< of the data chunk, as far as it is there
};

/// What libavformat does not tell of a RIFF, RF64 or BW64 file; nothing of other inputs.
struct RiffScan {
  std::optional<RiffBroadcast> broadcast;
  std::optional<std::string> aigc;            ///< text of an "AIGC" chunk, unchanged but for invalid UTF-8 and padding
  std::optional<std::string> xmp;             ///< "_PMX" chunk
  std::optional<RiffDataToEnd> endless_data;  ///< its size is one that writers of unknown lengths put there
  std::optional<RiffDataToEnd> cut_data;      ///< it ends behind the input
  std::optional<RiffPaddedSamples> padded_samples;
  bool has_dts_sync = false;  ///< the samples may be DTS, which passes for 16-bit ones on a CD
  bool truncated = false;     ///< a chunk, or the whole form, ends behind the input
};

/// Reads the chunks of a RIFF file, at most 4096, and texts of at most 1 MiB each. The size that a writer leaves that
/// could not seek (0, 2 GiB and what is near it, all ones) reaches to the end of the input and is no truncation.
RiffScan ScanRiff(IByteSource& source);

}  // namespace media_server

#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <vector>

#include "media-server/io/byte_source.h"

namespace media_server {

/// A text of a LIST INFO chunk, or the IDIT date of an AVI header: id ("INAM") and value in valid UTF-8.
struct RiffText {
  std::string id;
  std::string value;
};

/// The texts of a broadcast extension chunk (EBU Tech 3285): date as "yyyy-mm-dd", time as "hh:mm:ss" if the writer
/// kept to it.
struct RiffBroadcast {
  std::string description;
  std::string originator;
  std::string origination_date;
  std::string origination_time;
};

/// Where a chunk's content lies in the input.
struct RiffPart {
  std::uint64_t offset = 0;
  std::uint64_t size_bytes = 0;
};

/// A data chunk that reaches to the end of the input.
struct RiffDataToEnd {
  std::optional<std::uint64_t> size_bytes;  ///< empty where the input's length is not known
};

struct RiffScan {
  std::string form_type;        ///< "WAVE", "AVI "; empty when the input is no RIFF, RF64 or BW64 file
  std::vector<RiffText> texts;  ///< in file order, at most 1024
  std::optional<RiffBroadcast> broadcast;
  std::optional<std::string> aigc;            ///< text of an "AIGC" chunk, unchanged but for invalid UTF-8 and padding
  std::optional<std::string> xmp;             ///< "_PMX" chunk
  std::optional<RiffPart> id3;                ///< "id3 " chunk: an ID3v2 tag
  std::optional<RiffDataToEnd> endless_data;  ///< its size is one that writers of unknown lengths put there
  std::optional<RiffDataToEnd> cut_data;      ///< it ends behind the input
  bool truncated = false;                     ///< a chunk, or the whole form, ends behind the input
  bool incomplete = false;                    ///< a bound was reached: what stands here is right but not all
};

/// Reads the chunks of a RIFF file, at most 4096, texts of at most 1 MiB each. The size that a writer leaves that could
/// not seek (0, 2 GiB and what is near it, all ones) reaches to the end of the input and is no truncation.
RiffScan ScanRiff(IByteSource& source);

}  // namespace media_server

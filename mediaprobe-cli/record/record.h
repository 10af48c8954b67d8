#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <variant>

#include "record/image_record.h"
#include "record/media_record.h"
#include "record/metadata.h"
#include "record/svg_record.h"

namespace mediaprobe {

/// The answer for one input.
struct Record {
  std::string input;                      ///< as given, what a URL may keep secret masked
  std::optional<std::string> error;       ///< why there is no answer, in words; everything below tells nothing then
  std::optional<std::string> uuid;        ///< 32 hexadecimal digits, where it was asked for
  std::optional<std::string> uuid_error;  ///< why there is none although it was asked for
  std::optional<std::int64_t> created_s;
  std::optional<std::int64_t> modified_s;  ///< both in seconds since 1970
  std::optional<Location> location;
  std::optional<std::string> aigc;  ///< the AI-generated-content label's text
  bool truncated = false;           ///< texts were cut to bound the record
  /// What the service tells that answered, or that was asked last.
  std::variant<MediaRecord, ImageRecord, SvgRecord> answer;
};

}  // namespace mediaprobe

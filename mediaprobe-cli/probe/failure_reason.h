#pragma once

#include <string>
#include <string_view>

#include "probe/input_path.h"

namespace mediaprobe {

inline constexpr char kNotImage[] = "not an image";
inline constexpr char kNotSvg[] = "not an SVG document";  ///< the decoder of SVGs says the same

/// Whether a reason says that the file holds nothing that the service in question reads, rather than something broken.
bool IsNothingToRead(std::string_view reason);

/// What the file system failed with, `error` as errno has it, in words for a person.
std::string ReasonOf(int error);

/// Why an input could not be opened, in words for a person. What the file system says of a local path comes first, then
/// `service_reason` (what the libraries told, may be empty), then a general word: `not_its_kind`, such as
/// kNotImage, for a local file. Of a sequence it is the first frame that is looked at, and the reason names it.
std::string FailureReason(const InputPath& input, const std::string& service_reason, std::string_view not_its_kind);

}  // namespace mediaprobe

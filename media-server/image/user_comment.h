#pragma once

#include <cstdint>
#include <optional>
#include <span>
#include <string>

namespace media_server::image {

/// The label of AI-generated content that an Exif UserComment holds: its text, when that is a JSON object with the key
/// "AIGC" or, bare, with the label's own key "Label". `comment` starts with the eight bytes that name its character
/// code (Exif 2.32, section 4.6.5).
std::optional<std::string> LabelOfUserComment(std::span<const std::uint8_t> comment);

}  // namespace media_server::image

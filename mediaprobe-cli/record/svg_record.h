#pragma once

#include <cstdint>
#include <optional>

namespace mediaprobe {

/// What the SVG service tells of one file: sizes in CSS pixels.
struct SvgRecord {
  std::optional<std::uint32_t> width;
  std::optional<std::uint32_t> height;
  std::optional<std::uint32_t> view_width;  ///< of the view box
  std::optional<std::uint32_t> view_height;
};

}  // namespace mediaprobe

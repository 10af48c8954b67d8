#pragma once

#include <optional>
#include <string_view>

namespace svg_decoder {

/// What `em` and `rem` are where the document tells no font size: CSS's initial one.
inline constexpr double kInitialFontSizePx = 16;

/// CSS pixels (96 to the inch) of a width or height attribute. Empty for what tells no size by itself: nothing,
/// percentages, lengths relative to a viewport, negative lengths, and what is no length at all, which is the same to
/// CSS. `ex` and `ch` count as half an `em`, as CSS has it where the font cannot be measured.
std::optional<double> ToPixels(std::string_view text, double font_size_px);

/// Width and height of a view box, in user units, both above 0.
struct ViewBox {
  double width;
  double height;
};

/// Empty for what is no view box, and for one that shows nothing because it has no area.
std::optional<ViewBox> ParseViewBox(std::string_view text);

}  // namespace svg_decoder

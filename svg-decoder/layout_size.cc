#include "svg-decoder/layout_size.h"

#include <algorithm>
#include <cmath>
#include <limits>
#include <optional>

#include "svg-decoder/length.h"

namespace svg_decoder {
namespace {

// CSS 2.2, 10.3.2 and 10.6.2.
constexpr double kDefaultWidth = 300;
constexpr double kDefaultHeight = 150;

std::uint32_t ToPixelCount(double pixels) {
  constexpr double kMost = std::numeric_limits<std::uint32_t>::max();
  return static_cast<std::uint32_t>(std::clamp(std::round(pixels), 1.0, kMost));
}

PixelSize ToPixelSize(double width, double height) { return {ToPixelCount(width), ToPixelCount(height)}; }

}  // namespace

PixelSize LayoutSize(const RootElement& root) {
  const double font_size_px = ToPixels(root.font_size, kInitialFontSizePx).value_or(kInitialFontSizePx);
  const std::optional<double> width = ToPixels(root.width, font_size_px);
  const std::optional<double> height = ToPixels(root.height, font_size_px);
  const std::optional<ViewBox> box = ParseViewBox(root.view_box);
  if (!box || (width && height)) return ToPixelSize(width.value_or(kDefaultWidth), height.value_or(kDefaultHeight));
  if (width) return ToPixelSize(*width, *width * box->height / box->width);
  if (height) return ToPixelSize(*height * box->width / box->height, *height);
  return ToPixelSize(box->width, box->height);
}

PixelSize ViewSize(const RootElement& root) {
  const std::optional<ViewBox> box = ParseViewBox(root.view_box);
  return box ? ToPixelSize(box->width, box->height) : LayoutSize(root);
}

}  // namespace svg_decoder

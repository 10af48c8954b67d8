#pragma once

#include <cstdint>

#include "svg-decoder/document.h"

namespace svg_decoder {

/// In CSS pixels, rounded to the nearest, at least 1 each.
struct PixelSize {
  std::uint32_t width;
  std::uint32_t height;

  friend bool operator==(const PixelSize&, const PixelSize&) = default;
};

/// The size at which an SVG is laid out where nothing else is asked for. It is what the root element's width and height
/// attributes tell. What they do not tell follows from the view box: one dimension from the other by the view box's
/// ratio, both as the view box's own size. Without a view box a width is 300 and a height 150, which is CSS's default
/// for replaced content.
///
/// Percentages tell nothing: they are of a viewport that the document does not know. Style sheets and the style
/// attribute do not count, since browsers take no intrinsic size from them.
PixelSize LayoutSize(const RootElement& root);

/// The size of the view box, or LayoutSize where there is none.
PixelSize ViewSize(const RootElement& root);

}  // namespace svg_decoder

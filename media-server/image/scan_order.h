#pragma once

#include "media-server/image/picture_headers.h"

namespace media_server::image {

/// The order in which a file stores its pixels, for formats that leave it open.
struct ScanOrder {
  bool columns_first = false;  ///< the picture's columns are stored one after another, as lines
  bool from_right = false;     ///< the rightmost pixel or column comes first
  bool from_bottom = false;    ///< the bottom line or pixel comes first
};

/// What to do with the lines as stored, the first one on top, to show them upright.
constexpr Orientation OrientationOf(ScanOrder order) {
  using namespace imagecore;
  if (!order.columns_first) {
    if (order.from_right && order.from_bottom) return {kFlipNone, 180};
    if (order.from_right) return {kFlipHorizontal, 0};
    return {order.from_bottom ? kFlipVertical : kFlipNone, 0};
  }
  return {order.from_right == order.from_bottom ? kFlipHorizontal : kFlipNone, order.from_right ? 90 : 270};
}

}  // namespace media_server::image

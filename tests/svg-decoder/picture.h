#pragma once

#include <cairo.h>

#include <cstdint>
#include <cstring>
#include <memory>
#include <string>

/// A PNG file read back.
class Picture {
 public:
  explicit Picture(const std::string& path)
      : surface_(cairo_image_surface_create_from_png(path.c_str()), cairo_surface_destroy) {}

  bool IsThere() const { return cairo_surface_status(surface_.get()) == CAIRO_STATUS_SUCCESS; }
  int width() const { return cairo_image_surface_get_width(surface_.get()); }
  int height() const { return cairo_image_surface_get_height(surface_.get()); }
  /// 0xAARRGGBB, premultiplied.
  std::uint32_t at(int x, int y) const {
    std::uint32_t pixel = 0;
    const int stride = cairo_image_surface_get_stride(surface_.get());
    std::memcpy(&pixel, cairo_image_surface_get_data(surface_.get()) + y * stride + x * 4, sizeof pixel);
    return pixel;
  }

 private:
  std::unique_ptr<cairo_surface_t, void (*)(cairo_surface_t*)> surface_;
};

inline constexpr std::uint32_t kTransparent = 0;
inline constexpr std::uint32_t kRed = 0xFFFF0000;
inline constexpr std::uint32_t kBlue = 0xFF0000FF;

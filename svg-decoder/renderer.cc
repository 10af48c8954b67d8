#include "svg-decoder/renderer.h"

#include <cairo.h>
#include <librsvg/rsvg.h>

#include <algorithm>
#include <cstdio>
#include <memory>

namespace svg_decoder {
namespace {

/// A picture of this many pixels takes 256 MB; its sides keep within cairo's 32767 pixels.
constexpr std::size_t kMostPixels = std::size_t{64} << 20;
constexpr std::size_t kMostSide = 32767;

constexpr double kDotsPerInch = 96;

struct SurfaceDeleter {
  void operator()(cairo_surface_t* surface) const { cairo_surface_destroy(surface); }
};
struct ContextDeleter {
  void operator()(cairo_t* context) const { cairo_destroy(context); }
};
struct HandleDeleter {
  void operator()(RsvgHandle* handle) const { g_object_unref(handle); }
};

bool IsPictureSize(std::size_t width, std::size_t height) {
  return width > 0 && height > 0 && width <= kMostSide && height <= kMostSide && width * height <= kMostPixels;
}

/// Scales the layout size to fit the picture, and puts it in the middle.
void FitLayout(cairo_t* context, const RenderRequest& request) {
  const auto width = static_cast<double>(request.width);
  const auto height = static_cast<double>(request.height);
  const double scale = std::min(width / request.layout_width, height / request.layout_height);
  cairo_translate(context, (width - request.layout_width * scale) / 2, (height - request.layout_height * scale) / 2);
  cairo_scale(context, scale, scale);
}

const char* Render(const RenderRequest& request) {
  if (!IsPictureSize(request.width, request.height)) return "no picture can have the size that is asked for";

  // Without a base file the library resolves no reference to files or hosts.
  const std::unique_ptr<RsvgHandle, HandleDeleter> handle(rsvg_handle_new_from_data(
      reinterpret_cast<const guint8*>(request.document), request.document_size, /*error=*/nullptr));
  if (!handle) return "an SVG that cannot be rendered";
  rsvg_handle_set_dpi(handle.get(), kDotsPerInch);

  const std::unique_ptr<cairo_surface_t, SurfaceDeleter> surface(cairo_image_surface_create(
      CAIRO_FORMAT_ARGB32, static_cast<int>(request.width), static_cast<int>(request.height)));
  const std::unique_ptr<cairo_t, ContextDeleter> context(cairo_create(surface.get()));
  FitLayout(context.get(), request);
  const RsvgRectangle viewport{0, 0, static_cast<double>(request.layout_width),
                               static_cast<double>(request.layout_height)};
  if (!rsvg_handle_render_document(handle.get(), context.get(), &viewport, /*error=*/nullptr) ||
      cairo_status(context.get()) != CAIRO_STATUS_SUCCESS) {
    return "an SVG that cannot be rendered";
  }
  if (cairo_surface_write_to_png(surface.get(), request.path) != CAIRO_STATUS_SUCCESS) {
    std::remove(request.path);
    return "the picture cannot be written";
  }
  return nullptr;
}

}  // namespace
}  // namespace svg_decoder

const char* RenderSvg(const svg_decoder::RenderRequest* request) { return svg_decoder::Render(*request); }

#pragma once

#include <cstddef>
#include <cstdint>

#include "platform/export.h"

namespace svg_decoder {

/// What is rendered and where to.
struct RenderRequest {
  const char* document;  ///< unpacked
  std::size_t document_size;
  /// Size in CSS pixels, which is what percentages in the document are of where it has no size and no view box.
  std::uint32_t layout_width;
  std::uint32_t layout_height;
  const char* path;  ///< of the PNG file (UTF-8)
  /// Of the PNG file, in pixels. The document is scaled alike in both directions and stands in the middle.
  std::size_t width;
  std::size_t height;
};

/// File name of the library that renders, and its one function. It gives null for success, else the reason in words
/// (static text), and no file is left. Nothing that the document refers to is opened.
inline constexpr char kRendererLibrary[] = "libSvgRenderer.so";
inline constexpr char kRenderSvg[] = "RenderSvg";
using RenderSvgFunction = const char* (*)(const RenderRequest*);

}  // namespace svg_decoder

extern "C" PLATFORM_EXPORT const char* RenderSvg(const svg_decoder::RenderRequest* request);

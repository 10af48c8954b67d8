#include "svg-decoder/decoder_session.h"

#include <exception>
#include <utility>

#include "core/error_text.h"
#include "platform/library.h"
#include "svg-decoder/layout_size.h"
#include "svg-decoder/renderer.h"
#include "svg-decoder/source.h"

namespace svg_decoder {
namespace {

constexpr std::uint32_t kLoaded = 1;
constexpr std::uint32_t kNotLoaded = 0;
constexpr std::uint32_t kSuccess = 0;
constexpr std::uint32_t kFailed = 1;

std::uint32_t TellSize(const std::optional<RootElement>& root, PixelSize (*measure)(const RootElement&),
                       std::uint32_t* width_out, std::uint32_t* height_out) {
  if (!root || !width_out || !height_out) return kFailed;
  const PixelSize size = measure(*root);
  *width_out = size.width;
  *height_out = size.height;
  return kSuccess;
}

/// Loaded with the first rendering and kept: it brings a graphics stack that takes longer to load than many SVGs to
/// measure.
RenderSvgFunction Renderer() {
  static const RenderSvgFunction kRenderer = [] {
    HMODULE library = LoadLibraryA(kRendererLibrary);
    return library ? reinterpret_cast<RenderSvgFunction>(GetProcAddress(library, kRenderSvg)) : nullptr;
  }();
  return kRenderer;
}

}  // namespace

void DecoderSession::Reset() {
  url_.clear();
  Forget();
}

void DecoderSession::SetSource(const char* url) { url_ = url ? url : ""; }

std::uint32_t DecoderSession::Load(std::uintptr_t /*first*/, std::uintptr_t /*second*/) {
  CoreSetErrorText(nullptr);
  Forget();
  try {
    std::optional<std::string> document = ReadSource(url_);
    if (!document) return kNotLoaded;
    root_ = ReadDocument(*document);
    if (!root_) return kNotLoaded;
    document_ = *std::move(document);
    return kLoaded;
  } catch (const std::exception& error) {
    CoreSetErrorText(error.what());
    return kNotLoaded;
  }
}

std::uint32_t DecoderSession::GetSize(std::uint32_t* width_out, std::uint32_t* height_out) {
  return TellSize(root_, LayoutSize, width_out, height_out);
}

std::uint32_t DecoderSession::GetViewSize(std::uint32_t* width_out, std::uint32_t* height_out) {
  return TellSize(root_, ViewSize, width_out, height_out);
}

std::uint32_t DecoderSession::Render(std::uintptr_t path, std::uintptr_t width, std::uintptr_t height) {
  CoreSetErrorText(nullptr);
  const char* file = reinterpret_cast<const char*>(path);
  if (!root_ || !file) {
    CoreSetErrorText(root_ ? "no file to render to" : "no SVG is loaded");
    return kFailed;
  }
  const RenderSvgFunction render = Renderer();
  if (!render) {
    CoreSetErrorText("the SVG renderer is missing");
    return kFailed;
  }
  const PixelSize size = LayoutSize(*root_);
  const RenderRequest request{document_.data(), document_.size(), size.width, size.height, file, width, height};
  if (const char* reason = render(&request)) {
    CoreSetErrorText(reason);
    return kFailed;
  }
  return kSuccess;
}

void DecoderSession::Forget() {
  root_.reset();
  document_ = {};
}

}  // namespace svg_decoder

#include "svg-decoder/decoder_session.h"

#include <exception>
#include <memory>
#include <new>

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

bool Fail(const char* reason) {
  CoreSetErrorText(reason);
  return false;
}

}  // namespace

void DecoderSession::Reset() {
  url_.emplace();
  Forget();
}

void DecoderSession::SetSource(const char* url) {
  try {
    url_ = url ? url : "";
  } catch (const std::bad_alloc&) {
    url_.reset();
  }
}

std::uint32_t DecoderSession::Load(std::uintptr_t /*first*/, std::uintptr_t /*second*/) {
  CoreSetErrorText(nullptr);
  Forget();
  try {
    return Load() ? kLoaded : kNotLoaded;
  } catch (const std::bad_alloc&) {
    CoreSetErrorText("out of memory");
    return kNotLoaded;
  } catch (const std::exception& error) {
    CoreSetErrorText(error.what());
    return kNotLoaded;
  }
}

bool DecoderSession::Load() {
  if (!url_) return Fail("out of memory");
  const std::unique_ptr<FileSource> source = FileSource::Open(*url_);
  if (!source) return false;
  loaded_url_ = *url_;
  root_ = ReadDocument(*source);
  return root_.has_value();
}

std::uint32_t DecoderSession::GetSize(std::uint32_t* width_out, std::uint32_t* height_out) {
  return TellSize(root_, LayoutSize, width_out, height_out);
}

std::uint32_t DecoderSession::GetViewSize(std::uint32_t* width_out, std::uint32_t* height_out) {
  return TellSize(root_, ViewSize, width_out, height_out);
}

std::uint32_t DecoderSession::Render(std::uintptr_t path, std::uintptr_t width, std::uintptr_t height) {
  CoreSetErrorText(nullptr);
  try {
    return RenderTo(reinterpret_cast<const char*>(path), width, height) ? kSuccess : kFailed;
  } catch (const std::exception& error) {
    CoreSetErrorText(error.what());
    return kFailed;
  }
}

bool DecoderSession::RenderTo(const char* path, std::size_t width, std::size_t height) const {
  if (!root_) return Fail("no SVG is loaded");
  if (!path) return Fail("no file to render to");
  const RenderSvgFunction render = Renderer();
  if (!render) return Fail("the SVG renderer is missing");

  // The file is read again, since most documents are only measured; it may have changed, so it is looked through again
  // before the renderer sees it.
  const std::unique_ptr<FileSource> source = FileSource::Open(loaded_url_);
  const std::optional<std::string> document = source ? source->ReadAll() : std::nullopt;
  if (!document) return false;
  MemorySource bytes(*document);
  const std::optional<RootElement> root = ReadDocument(bytes);
  if (!root) return false;
  const PixelSize size = LayoutSize(*root);
  const RenderRequest request{document->data(), document->size(), size.width, size.height, path, width, height};
  const char* reason = render(&request);
  return !reason || Fail(reason);
}

void DecoderSession::Forget() {
  root_.reset();
  loaded_url_.clear();
}

}  // namespace svg_decoder

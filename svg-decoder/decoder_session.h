#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <utility>

#include "service/isession.h"
#include "service/isvg_decode_sink.h"
#include "svg-decoder/document.h"

namespace svg_decoder {

/// Reads one SVG after another. The sizes come from the document's root element; only rendering loads the renderer.
class DecoderSession final : public service::ISession, public service::ISVGDecodeSink {
 public:
  void Reserved1() override {}
  void Reset() override;
  void Reserved3() override {}
  void Reserved4() override {}
  void Reserved5() override {}
  std::uint32_t Load(std::uintptr_t first, std::uintptr_t second) override;
  void Reserved7() override {}
  void SetSource(const char* url) override;
  void Reserved9() override {}
  std::uint32_t GetSize(std::uint32_t* width_out, std::uint32_t* height_out) override;
  void Reserved11() override {}
  std::uint32_t GetViewSize(std::uint32_t* width_out, std::uint32_t* height_out) override;
  void Reserved13() override {}
  void Reserved14() override {}
  std::uint32_t Render(std::uintptr_t path, std::uintptr_t width, std::uintptr_t height) override;

 private:
  bool Load();
  bool RenderTo(const char* path, std::size_t width, std::size_t height) const;
  void Forget();

  /// Empty when memory ran out for it.
  std::optional<std::string> url_{std::in_place};
  /// What was loaded last.
  std::string loaded_url_;
  std::optional<RootElement> root_;
};

}  // namespace svg_decoder

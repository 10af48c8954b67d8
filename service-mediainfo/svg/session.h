#pragma once

#include <cstdint>
#include <memory>
#include <string>

#include "mediainfo/isvg_info.h"
#include "service/isession.h"
#include "service/isvg_decode_sink.h"

namespace service::mediainfo::svg {

/// Measures one SVG after another through a session of the SVG decoder service. The class keeps the name that the
/// framework knows it by.
class session final : public ISession, public ISvgInfo {  // NOLINT(readability-identifier-naming)
 public:
  /// Asks the service manager for the decoder. Without one the session stays as it is.
  void AcquireDecoder();

  bool SetPath(char* url) override;
  bool GetSize(std::uint32_t* width_out, std::uint32_t* height_out) override;
  bool GetViewSize(std::uint32_t* width_out, std::uint32_t* height_out) override;
  std::uint32_t Render(std::uintptr_t path, std::uintptr_t width, std::uintptr_t height) override;
  std::uint32_t GetWidth() override { return width_; }
  std::uint32_t GetHeight() override { return height_; }
  std::uint32_t Reserved7() override { return 0; }
  std::uint32_t Reserved8() override { return 0; }

 private:
  bool Load(char* url);

  std::uint32_t width_ = 0;
  std::uint32_t height_ = 0;
  bool loaded_ = false;  ///< whether the decoder took `url_`
  std::shared_ptr<ISVGDecodeSink> decoder_;
  /// The URL of the latest SetPath that named a file, as it was given.
  std::string url_;
};

}  // namespace service::mediainfo::svg

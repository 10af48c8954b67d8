#pragma once

#include <cstdint>

namespace service::mediainfo {

/// Query interface of an SVG session. Use one session from one thread at a time.
class ISvgInfo {
 public:
  virtual ~ISvgInfo() = default;

  /// Loads the SVG that `url` (UTF-8, a file URL or a path) names. True when the decoder took it; false for null, for a
  /// file that does not exist, for the URL that was given last, whatever became of it, and without a decoder. `url` is
  /// writable because a name is also looked for with its extension in the other letter case, changed in place.
  virtual bool SetPath(char* url) = 0;
  /// Size in CSS pixels. False, and the outputs as they were, when the decoder tells none.
  virtual bool GetSize(std::uint32_t* width_out, std::uint32_t* height_out) = 0;
  /// Size of the view box, on the same terms.
  virtual bool GetViewSize(std::uint32_t* width_out, std::uint32_t* height_out) = 0;
  /// Passed on to ISVGDecodeSink::Render with its result.
  virtual std::uint32_t Render(std::uintptr_t path, std::uintptr_t width, std::uintptr_t height) = 0;
  /// What the latest successful GetSize told; 0 before.
  virtual std::uint32_t GetWidth() = 0;
  virtual std::uint32_t GetHeight() = 0;
  /// Both 0.
  virtual std::uint32_t Reserved7() = 0;
  virtual std::uint32_t Reserved8() = 0;
};

}  // namespace service::mediainfo

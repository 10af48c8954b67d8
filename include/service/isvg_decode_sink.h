#pragma once

#include <cstdint>

namespace service {

/// Name under which the SVG decoder service is registered.
inline constexpr char kSvgDecoderServiceName[] = "44B23A7F-C05F-4279-8396-F2DE559C2DCA";

/// Query interface of a session of the SVG decoder service. Use one session from one thread at a time.
class ISVGDecodeSink {
 public:
  virtual ~ISVGDecodeSink() = default;

  virtual void Reserved1() = 0;
  /// Forgets the source and what was loaded.
  virtual void Reset() = 0;
  virtual void Reserved3() = 0;
  virtual void Reserved4() = 0;
  virtual void Reserved5() = 0;
  /// Loads the source. Both words are 0. 1 when it is an SVG; any other value, and the reason in CoreErrorText, when
  /// not.
  virtual std::uint32_t Load(std::uintptr_t first, std::uintptr_t second) = 0;
  virtual void Reserved7() = 0;
  /// `url` (UTF-8): a path, or "file:/" and a path. Copied; where memory runs out for that, Load tells.
  virtual void SetSource(const char* url) = 0;
  virtual void Reserved9() = 0;
  /// Size in CSS pixels, at least 1 each. 0 for success; otherwise the outputs are as they were.
  virtual std::uint32_t GetSize(std::uint32_t* width_out, std::uint32_t* height_out) = 0;
  virtual void Reserved11() = 0;
  /// Size of the view box, or the size for want of one, on the same terms.
  virtual std::uint32_t GetViewSize(std::uint32_t* width_out, std::uint32_t* height_out) = 0;
  virtual void Reserved13() = 0;
  virtual void Reserved14() = 0;
  /// Renders to a PNG file: `path` is a `const char*` (UTF-8), the size is in pixels. 0 for success.
  virtual std::uint32_t Render(std::uintptr_t path, std::uintptr_t width, std::uintptr_t height) = 0;
};

}  // namespace service

#pragma once

#include <cstdint>
#include <memory>

#include "mediainfo/imetedata_info.h"

namespace service::mediainfo {

/// Query interface of an image session: a still image, an animation or a numbered picture sequence. Use one session
/// from one thread at a time.
class IImageInfo {
 public:
  virtual ~IImageInfo() = default;

  /// Probes the image that `url` (UTF-8) names: "file:" URLs name one file, "files:" URLs a sequence, whose name holds
  /// a bracket part such as "img_[0001-0100].png". True when the image could be read. Null is refused and changes
  /// nothing; otherwise a fresh metadata store is made, and width, height and duration keep their old values unless the
  /// new image tells them.
  virtual bool SetPath(const char* url) = 0;
  /// Pixels of the stored picture, before flip and rotation.
  virtual std::int32_t GetWidth() = 0;
  virtual std::int32_t GetHeight() = 0;
  virtual void SetDuration(std::uint64_t duration_100ns) = 0;
  /// Of an animation, or of a sequence at 25 frames per second, in units of 100 ns.
  virtual std::uint64_t GetDuration() = 0;
  /// Kept for the caller; no answer depends on it. Always true.
  virtual bool SetFrameRate(std::uint32_t numerator, std::uint32_t denominator) = 0;
  /// The pair set last, at first 25 and 1.
  virtual void GetFrameRate(std::uint32_t* numerator_out, std::uint32_t* denominator_out) = 0;
  /// The same as GetWidth and GetHeight.
  virtual std::int32_t GetWidthSecondEntry() = 0;
  virtual std::int32_t GetHeightSecondEntry() = 0;
  /// Both 0.
  virtual std::uint32_t Reserved10() = 0;
  virtual std::uint32_t Reserved11() = 0;
  /// The store of the latest SetPath, successful or not, which stays valid for as long as it is held; empty before the
  /// first.
  virtual std::shared_ptr<IMetedataInfo> GetMetadata() = 0;
};

}  // namespace service::mediainfo

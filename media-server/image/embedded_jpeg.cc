#include "media-server/image/embedded_jpeg.h"

#include "media-server/container/byte_reader.h"
#include "media-server/image/jpeg.h"

namespace media_server::image {
namespace {

/// The part of another source from an offset on.
class TailSource final : public IByteSource {
 public:
  TailSource(IByteSource& source, std::uint64_t start) : source_(source), start_(start) {}

  std::size_t ReadAt(std::uint64_t offset, std::span<std::uint8_t> out) override {
    return source_.ReadAt(start_ + offset, out);
  }
  std::optional<std::uint64_t> Size() const override {
    const auto size = source_.Size();
    if (!size) return std::nullopt;
    return *size > start_ ? *size - start_ : 0;
  }

 private:
  IByteSource& source_;
  std::uint64_t start_;
};

}  // namespace

PictureHeaders ReadEmbeddedJpeg(IByteSource& source, std::uint64_t offset) {
  constexpr std::string_view kStartOfImage = "\xff\xd8\xff";
  PictureHeaders headers;
  TailSource tail(source, offset);
  if (AsText(ReadBytes(tail, 0, kStartOfImage.size())) == kStartOfImage) ReadJpeg(tail, headers);
  return headers;
}

}  // namespace media_server::image

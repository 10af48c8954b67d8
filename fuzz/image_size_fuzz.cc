#include "fuzz/picture_oracle.h"
#include "media-server/codec/image_size.h"

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  using namespace media_server::codec;
  const std::span bytes(data, size);
  const auto picture = ReadImageSize(bytes);
  CheckPicture(picture);
  if (!picture) return 0;
  FUZZ_CHECK(picture->width && picture->height);
  // A header decides: what follows it changes nothing, so the answer holds for all longer inputs.
  for (std::size_t shorter = size / 2; shorter < size; shorter += 1 + size / 16) {
    const auto part = ReadImageSize(bytes.first(shorter));
    if (part) FUZZ_CHECK(part->width == picture->width && part->height == picture->height);
  }
  return 0;
}

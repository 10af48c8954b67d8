#include "fuzz/picture_oracle.h"
#include "media-server/codec/av1.h"
#include "media-server/codec/mpeg2.h"
#include "media-server/codec/mpeg4_visual.h"
#include "media-server/codec/profile_names.h"
#include "media-server/codec/prores.h"
#include "media-server/codec/vp9.h"

namespace media_server::codec {
namespace {

using Picture = std::optional<PictureParameters>;

void Check(ProfiledCodec codec, const Picture& picture, int highest_profile) {
  CheckPicture(picture);
  if (!picture) return;
  FUZZ_CHECK(InRange(picture->profile, 0, highest_profile));
  FUZZ_CHECK(ProfileText(codec, *picture).size() <= 64);
}

/// A frame or sequence header that was read has a size; only inter frames of VP9 and bare records go without.
void CheckSized(const Picture& picture) {
  if (picture) FUZZ_CHECK(picture->width && picture->height);
}

}  // namespace
}  // namespace media_server::codec

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  using namespace media_server::codec;
  if (size == 0) return 0;
  const std::span bytes(data + 1, size - 1);
  switch (data[0] % 5) {  // a reader each, so that one input need not suit all
    case 0:
      Check(ProfiledCodec::kAv1, ReadAv1Configuration(bytes), 2);
      Check(ProfiledCodec::kAv1, ReadAv1Sample(bytes), 2);
      CheckSized(ReadAv1Sample(bytes));
      break;
    case 1:
      Check(ProfiledCodec::kVp9, ReadVp9Configuration(bytes), 3);
      Check(ProfiledCodec::kVp9, ReadVp9Frame(bytes), 3);
      break;
    case 2:
      Check(ProfiledCodec::kMpeg2, ReadMpegVideo(bytes), 7);
      CheckSized(ReadMpegVideo(bytes));
      break;
    case 3:
      Check(ProfiledCodec::kMpeg4Visual, ReadMpeg4Visual(bytes), 15);
      CheckSized(ReadMpeg4Visual(bytes));
      break;
    default:
      Check(ProfiledCodec::kProRes, ReadProResFrame(bytes), 5);
      CheckSized(ReadProResFrame(bytes));
      break;
  }
  return 0;
}

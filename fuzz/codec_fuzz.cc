// Readers of codec headers. The first byte chooses one, so that one input need not suit all.

#include <algorithm>
#include <vector>

#include "fuzz/picture_oracle.h"
#include "media-server/codec/av1.h"
#include "media-server/codec/bit_reader.h"
#include "media-server/codec/h261.h"
#include "media-server/codec/h264.h"
#include "media-server/codec/hevc.h"
#include "media-server/codec/intermediate.h"
#include "media-server/codec/mpeg2.h"
#include "media-server/codec/mpeg4_visual.h"
#include "media-server/codec/nal.h"
#include "media-server/codec/profile_names.h"
#include "media-server/codec/prores.h"
#include "media-server/codec/screen_video.h"
#include "media-server/codec/sound_configuration.h"
#include "media-server/codec/vp9.h"

namespace media_server::codec {
namespace {

using Bytes = std::span<const std::uint8_t>;
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

/// Of the studio profiles nothing else is read.
void CheckMpeg4Visual(const Picture& picture) {
  constexpr int kStudio = 14;
  if (!picture || picture->profile != kStudio) return CheckSized(picture);
  FUZZ_CHECK(!picture->width && !picture->bit_depth && !picture->chroma_sampling);
}

/// A frame of VP9 tells its size, and then all of its format, or only its profile.
void CheckVp9Frame(const Picture& picture) {
  if (!picture) return;
  const bool sized = picture->width.has_value();
  FUZZ_CHECK(picture->profile && picture->bit_depth.has_value() == sized && picture->alpha.has_value() == sized);
  FUZZ_CHECK(picture->chroma_sampling.has_value() == sized && picture->color.full_range.has_value() == sized);
  if (sized) FUZZ_CHECK((*picture->bit_depth > 8) == (*picture->profile >= 2));
}

bool IsPieceOf(Bytes piece, Bytes whole) {
  return piece.data() >= whole.data() && piece.data() + piece.size() <= whole.data() + whole.size();
}

/// Units come in order, none twice, and a payload is the unit with some bytes left out.
void CheckUnits(Bytes bytes, int length_size) {
  NalReader reader(bytes, length_size);
  const std::uint8_t* end_of_last = bytes.data();
  for (Bytes nal = reader.Next(); !nal.empty(); nal = reader.Next()) {
    FUZZ_CHECK(IsPieceOf(nal, bytes) && nal.data() >= end_of_last);
    end_of_last = nal.data() + nal.size();
    const auto payload = NalPayload(nal, 1);
    FUZZ_CHECK(payload.size() < nal.size());
    for (std::size_t i = 2; i < payload.size() && nal.size() < 65536; ++i) {
      const bool escaped = payload[i - 2] == 0 && payload[i - 1] == 0 && payload[i] == 3;
      FUZZ_CHECK(!escaped || payload.size() + 1 < nal.size());
    }
  }
}

/// No unit changes but in its length, which leads to the end of the sample at most.
void CheckFit(Bytes sample, int length_size) {
  std::vector<std::uint8_t> fitted(sample.begin(), sample.end());
  FitLastNal(fitted, length_size);
  NalReader before(sample, length_size);
  NalReader after(fitted, length_size);
  for (Bytes nal = before.Next(); !nal.empty(); nal = before.Next()) {
    const Bytes same = after.Next();
    FUZZ_CHECK(std::ranges::equal(same, nal));
    if (length_size == kAnnexB) continue;
    std::size_t length = 0;
    for (int i = length_size; i > 0; --i) length = length << 8 | *(same.data() - i);
    FUZZ_CHECK(length == same.size());
  }
  FUZZ_CHECK(after.Next().empty());
}

void CheckText(ProfiledCodec codec, const PictureParameters& picture) {
  const std::string text = ProfileText(codec, picture);
  FUZZ_CHECK(text.size() <= 64);
  FUZZ_CHECK(text.empty() || picture.profile);
}

void CheckConfiguration(ProfiledCodec codec, const std::optional<NalConfiguration>& configuration) {
  if (!configuration) return;
  FUZZ_CHECK(configuration->nal_length_size >= kAnnexB && configuration->nal_length_size <= 4);
  CheckPicture(configuration->picture);
  CheckText(codec, configuration->picture);
}

void CheckSei(const SeiFacts& facts) {
  if (facts.frame_packing) FUZZ_CHECK(*facts.frame_packing <= FramePacking::kFrameSequence);
  FUZZ_CHECK(InRange(facts.preferred_transfer, 1, 18));
}

void CheckSamples(Bytes sample, int length_size) {
  CheckUnits(sample, length_size);
  CheckFit(sample, length_size);
  CheckPicture(ReadH264ParameterSets(sample, length_size));
  SeiFacts facts;
  ReadH264Sei(sample, length_size, facts);
  ReadHevcSei(sample, length_size, facts);
  CheckSei(facts);
  // More bytes never change what the first slice is: a sample may be read in part.
  const Bytes part = sample.first(sample.size() / 2);
  if (const auto idr = IsH264Idr(part, length_size)) FUZZ_CHECK(IsH264Idr(sample, length_size) == idr);
  if (const auto kind = KindOfHevcPicture(part, length_size)) {
    FUZZ_CHECK(KindOfHevcPicture(sample, length_size) == kind);
  }
}

/// The reader's Exp-Golomb codes against the definition, bit by bit.
void CheckGolomb(Bytes bytes) {
  BitReader codes(bytes);
  BitReader plain(bytes);
  while (true) {
    const std::uint32_t value = codes.UnsignedGolomb();
    if (!codes.Ok()) return;
    unsigned zeros = 0;
    while (!plain.Flag()) ++zeros;
    std::uint64_t suffix = 0;
    for (unsigned i = 0; i < zeros; ++i) suffix = suffix << 1 | plain.Bits(1);
    FUZZ_CHECK(plain.Ok() && value == (std::uint64_t{1} << zeros) - 1 + suffix);
    FUZZ_CHECK(codes.BitsLeft() == plain.BitsLeft());
  }
}

void CheckNal(Bytes bytes) {
  CheckConfiguration(ProfiledCodec::kH264, ReadH264Configuration(bytes));
  CheckConfiguration(ProfiledCodec::kHevc, ReadHevcConfiguration(bytes));
  for (const int length_size : {kAnnexB, 1, 2, 4}) CheckSamples(bytes, length_size);
  CheckGolomb(bytes);
}

void CheckIntermediate(Bytes bytes) {
  CheckPicture(ReadMagicYuvFrame(bytes));
  CheckPicture(HuffYuvFormat(bytes, bytes.empty() ? 0 : bytes.back()));
  std::uint32_t tag = 0;
  for (const std::uint8_t byte : bytes.first(std::min<std::size_t>(bytes.size(), 4))) tag = tag << 8 | byte;
  CheckPicture(UtVideoFormat(tag));
}

/// Zero is never told, and no number is larger than its field.
void CheckSound(Bytes bytes) {
  for (const auto& read :
       {&ReadAacConfiguration, &ReadAlacConfiguration, &ReadFlacConfiguration, &ReadOpusConfiguration}) {
    const SoundConfiguration sound = read(bytes);
    FUZZ_CHECK(InRange(sound.profile, 0, 94));
    FUZZ_CHECK(!sound.channels || (*sound.channels >= 1 && *sound.channels <= 255));
    FUZZ_CHECK(!sound.bits_per_sample || (*sound.bits_per_sample >= 1 && *sound.bits_per_sample <= 255));
    FUZZ_CHECK(!sound.sample_rate_hz || *sound.sample_rate_hz >= 1);
  }
}

}  // namespace
}  // namespace media_server::codec

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  using namespace media_server::codec;
  if (size == 0) return 0;
  const std::span bytes(data + 1, size - 1);
  switch (data[0] % 6) {
    case 0:
      Check(ProfiledCodec::kAv1, ReadAv1Configuration(bytes), 2);
      Check(ProfiledCodec::kAv1, ReadAv1Sample(bytes), 2);
      CheckSized(ReadAv1Sample(bytes));
      break;
    case 1:
      Check(ProfiledCodec::kVp9, ReadVp9Frame(bytes), 3);
      CheckVp9Frame(ReadVp9Frame(bytes));
      break;
    case 2:
      Check(ProfiledCodec::kMpeg2, ReadMpegVideo(bytes), 7);
      CheckSized(ReadMpegVideo(bytes));
      if (const auto type = ReadMpegPictureType(bytes)) FUZZ_CHECK(*type >= 1 && *type <= 3);
      break;
    case 3:
      Check(ProfiledCodec::kMpeg4Visual, ReadMpeg4Visual(bytes), 15);
      CheckMpeg4Visual(ReadMpeg4Visual(bytes));
      break;
    case 4:
      CheckNal(bytes);
      break;
    default:
      Check(ProfiledCodec::kProRes, ReadProResFrame(bytes), 5);
      CheckSized(ReadProResFrame(bytes));
      CheckSized(ReadH261Picture(bytes));
      CheckSized(ReadScreenVideoFrame(bytes));
      CheckIntermediate(bytes);
      CheckSound(bytes);
      break;
  }
  return 0;
}

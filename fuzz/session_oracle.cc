#include "fuzz/session_oracle.h"

#include <cmath>
#include <cstring>
#include <limits>
#include <numeric>

#include "core/rational.h"
#include "core/val_any.h"
#include "fuzz/check.h"
#include "mediainfo/aigc_meta.h"
#include "mediainfo/metedata_keys.h"
#include "mediainfo/result.h"

namespace fuzz {
namespace {

using core::ValAny;
using core::ValType;
using service::mediainfo::IMediaFileInfo;
using service::mediainfo::IMetedataInfo;
using service::mediainfo::IProgramInfo;
using service::mediainfo::IStreamInfo;
using service::mediainfo::ISubPicStreamInfo;
using service::mediainfo::kIndexOutOfRange;
using service::mediainfo::kSuccess;
namespace keys = service::mediainfo::metedata_keys;

/// What texts are cut at, in bytes of UTF-8.
constexpr std::size_t kMostTextBytes = std::size_t{3} << 20;
constexpr std::uint32_t kPastTheEnd = std::numeric_limits<std::uint32_t>::max();

void CheckText(const char* text) { FUZZ_CHECK(text != nullptr && std::strlen(text) <= kMostTextBytes && IsUtf8(text)); }

template <typename Unit>
void CheckWideText(const ValAny& value, std::size_t units) {
  // All of the buffer is there to be read, terminated or not.
  const Unit* text = value.AsBuffer<Unit>();
  FUZZ_CHECK(text != nullptr);
  [[maybe_unused]] const volatile Unit last = text[units - 1];
}

/// The value under `key`, which has the type `type` when there is one.
ValAny Ask(IMetedataInfo& store, const char* key, ValType type) {
  ValAny value;
  const bool told = store.GetValue(key, &value);
  FUZZ_CHECK(value.type() == (told ? type : ValType::kEmpty));
  return value;
}

void CheckTextUnder(IMetedataInfo& store, const char* key) {
  const ValAny value = Ask(store, key, ValType::kBuffer);
  if (value.type() != ValType::kEmpty && value.AsBuffer() != nullptr) CheckText(value.AsBuffer());
}

void CheckDegreesUnder(IMetedataInfo& store, const char* key, double most) {
  const ValAny value = Ask(store, key, ValType::kDouble);
  if (value.type() != ValType::kEmpty) FUZZ_CHECK(value.AsDouble() >= 0 && value.AsDouble() <= most);
}

void CheckMediaStore(IMetedataInfo& store) {
  for (const char* key :
       {keys::kArtist,         keys::kTitle,     keys::kTrackNumber,  keys::kAlbum,       keys::kDate,
        keys::kGenre,          keys::kPublisher, keys::kShow,         keys::kReleaseDate, keys::kActor,
        keys::kDirector,       keys::kProducer,  keys::kScreenwriter, keys::kTagline,     keys::kDescription,
        keys::kComment,        keys::kTvnetwork, keys::kMaker,        keys::kModel,       keys::kGpsLatitudeRef,
        keys::kGpsLongitudeRef}) {
    CheckTextUnder(store, key);
  }
  for (const char* key : {keys::kVideoKind, keys::kContentRating, keys::kDefinition, keys::kAlphaMode}) {
    FUZZ_CHECK(Ask(store, key, ValType::kInt32).type() == ValType::kInt32);
  }
  for (const char* key : {keys::kCreateDate, keys::kModifyDate}) Ask(store, key, ValType::kInt64);
  CheckDegreesUnder(store, keys::kGpsLatitude, 90);
  CheckDegreesUnder(store, keys::kGpsLongitude, 180);
  Ask(store, keys::kImageData, ValType::kBuffer);
  const ValAny label = Ask(store, keys::kAigcMeta, ValType::kBoxed);
  const auto* record = label.AsBoxed<keys::AIGC_META>();
  FUZZ_CHECK(record != nullptr);
  if (record->text != nullptr) FUZZ_CHECK(std::strlen(record->text) <= record->length && IsUtf8(record->text));
}

void CheckStreamStore(IMetedataInfo& store) {
  for (const char* key :
       {keys::kVideoTransferCharacteristics, keys::kVideoMatrixCoefficients, keys::kVideoAlphaChannel,
        keys::kVideoFormatSettingsCabac, keys::kVideoFormatSettingsRefframe, keys::kVideoIsTruncated,
        keys::kVideoIsDolbyVision, keys::kVideoCountOfViews, keys::kVideoFullIdr, keys::kVideoCleanApertureWidth,
        keys::kVideoCleanApertureHeight, keys::kVideoCleanApertureXoff, keys::kVideoCleanApertureYoff,
        keys::kVideoFrameView3dMode, keys::kVideoFrameView3dAngle}) {
    Ask(store, key, ValType::kInt32);
  }
  const ValAny rate = Ask(store, keys::kVideoMaxFramerate, ValType::kBoxed);
  if (rate.IsBoxed()) FUZZ_CHECK(rate.AsBoxed<core::Rational>() != nullptr);
  const ValAny profile = Ask(store, keys::kVideoFormatProfile, ValType::kBuffer);
  if (profile.type() == ValType::kBuffer) CheckWideText<char16_t>(profile, keys::kVideoFormatProfileUnits);
  const ValAny gop = Ask(store, keys::kVideoFormatSettingsGop, ValType::kBuffer);
  if (gop.type() == ValType::kBuffer) CheckWideText<char16_t>(gop, keys::kVideoFormatSettingsGopUnits);
}

void CheckPicture(service::mediainfo::IVideoInfo& video) {
  core::Rational rate;
  FUZZ_CHECK(video.GetFrameRate(&rate) == 0);
  FUZZ_CHECK(rate.numerator >= 0 && rate.denominator > 0);
  FUZZ_CHECK(rate.numerator == 0 || std::gcd(rate.numerator, rate.denominator) == 1);
  FUZZ_CHECK(video.GetRotation() <= 3 && video.GetFlip() <= 3);
  FUZZ_CHECK(video.GetFormatFlag() == ((video.GetFormatCode() & service::mediainfo::kVideoEncrypted) != 0 ? 1 : 0));
}

void CheckSound(service::mediainfo::IAudioInfo& audio) {
  FUZZ_CHECK(audio.Reserved3() == 0);
  FUZZ_CHECK(audio.GetAudioFormatFlag() ==
             ((audio.GetAudioFormatCode() & service::mediainfo::kAudioEncrypted) != 0 ? 1 : 0));
}

void CheckStream(IStreamInfo& stream) {
  const bool is_picture = stream.GetMediaType() == service::mediainfo::kPictureStream;
  FUZZ_CHECK(is_picture || stream.GetMediaType() == service::mediainfo::kSoundStream);
  FUZZ_CHECK((stream.GetVideoInfo() != nullptr) == is_picture && (stream.GetAudioInfo() != nullptr) == !is_picture);
  is_picture ? CheckPicture(*stream.GetVideoInfo()) : CheckSound(*stream.GetAudioInfo());
  for (const char* text : {stream.GetTextA(), stream.GetTextB(), stream.GetTextC()}) CheckText(text);
  FUZZ_CHECK(stream.Reserved10() == 0 && stream.FixedValue14() == 2 && stream.FixedValue15() == 2);
  FUZZ_CHECK(stream.UnsupportedRequest16() == kIndexOutOfRange && stream.UnsupportedRequest17() == kIndexOutOfRange);
  const auto store = stream.GetMetadataInfo();
  FUZZ_CHECK(store != nullptr);
  CheckStreamStore(*store);
}

void CheckStream(ISubPicStreamInfo& stream) {
  CheckText(stream.GetSubPicTextA());
  CheckText(stream.GetSubPicTextB());
}

/// Each of `count` items with its own check, and none past them.
template <typename Owner, typename Item, typename Check>
void CheckItems(Owner& owner, std::uint64_t count, std::uint32_t (Owner::*get)(std::uint32_t, Item**),
                const Check& check) {
  for (std::uint32_t i = 0; i < count; ++i) {
    Item* item = nullptr;
    FUZZ_CHECK((owner.*get)(i, &item) == kSuccess && item != nullptr);
    check(*item);
  }
  for (const std::uint32_t index : {static_cast<std::uint32_t>(count), kPastTheEnd}) {
    Item* item = nullptr;
    FUZZ_CHECK((owner.*get)(index, &item) == kIndexOutOfRange && item == nullptr);
  }
}

void CheckProgram(IProgramInfo& program) {
  const auto check_stream = [](IStreamInfo& stream) { CheckStream(stream); };
  CheckItems(program, program.GetVideoStreamCount(), &IProgramInfo::GetVideoStream, check_stream);
  CheckItems(program, program.GetAudioStreamCount(), &IProgramInfo::GetAudioStream, check_stream);
  CheckItems(program, program.GetSubPicStreamCount(), &IProgramInfo::GetSubPicStream,
             [](ISubPicStreamInfo& stream) { CheckStream(stream); });
}

}  // namespace

void ReadWholeMediaFile(IMediaFileInfo& file) {
  file.GetFormatFourCC();
  file.GetDuration();
  file.GetBitRate();
  file.GetFileSize();
  CheckText(file.GetFormatName());
  CheckText(file.GetFormatLongName());
  for (int i = 0; i < 2; ++i) {
    const auto store = file.GetMetadata();
    FUZZ_CHECK(store != nullptr);
    CheckMediaStore(*store);
  }

  const std::uint64_t count = file.GetProgramCount();
  for (std::uint32_t i = 0; i < count; ++i) {
    IProgramInfo* program = nullptr;
    FUZZ_CHECK(file.GetProgram(&program, i) == kSuccess && program != nullptr);
    CheckProgram(*program);
  }
  IProgramInfo* none = nullptr;
  FUZZ_CHECK(file.GetProgram(&none, static_cast<std::uint32_t>(count)) == kIndexOutOfRange && none == nullptr);

  for (const std::uint32_t id : {0U, 1U, 256U, kPastTheEnd}) {
    // Up to 15 digits that are cut to 32 bits: any number.
    std::int32_t type = -1;
    std::int32_t again = -1;
    FUZZ_CHECK(file.GetStreamType(id, &type) == kSuccess && file.GetStreamType(id, &again) == kSuccess);
    FUZZ_CHECK(type == again);
  }
  std::int64_t creation = 0;
  std::int64_t modification = 0;
  file.GetDates(&creation, &modification);
}

void ReadWholeImage(service::mediainfo::IImageInfo& image) {
  FUZZ_CHECK(image.GetWidth() == image.GetWidthSecondEntry() && image.GetHeight() == image.GetHeightSecondEntry());
  FUZZ_CHECK(image.Reserved10() == 0 && image.Reserved11() == 0);
  image.GetDuration();
  std::uint32_t numerator = 0;
  std::uint32_t denominator = 0;
  image.GetFrameRate(&numerator, &denominator);
  FUZZ_CHECK(numerator == 25 && denominator == 1);
  const auto store = image.GetMetadata();
  FUZZ_CHECK(store != nullptr);

  for (const char* key : {keys::kImageFlag, keys::kImageRotate, keys::kImageFlip, keys::kImageWidth, keys::kImageHeight,
                          keys::kImagePicType, keys::kImagePicSequenceTotalFrames, keys::kImageGifFrameRateNum,
                          keys::kImageGifFrameRateDen, keys::kImageAigcMetaSize, keys::kAlphaMode}) {
    Ask(*store, key, ValType::kInt32);
  }
  Ask(*store, keys::kImageFourCC, ValType::kUInt32);
  for (const char* key :
       {keys::kImageGpsLatitude, keys::kImageGpsLongitude, keys::kImageExposureTime, keys::kImagePicSequenceDuration,
        keys::kImageWebPDuration, keys::kImageGifDuration, keys::kImageAvifDuration}) {
    Ask(*store, key, ValType::kDouble);
  }
  for (const char* key : {keys::kImageGpsLatitudeRef, keys::kImageGpsLongitudeRef, keys::kImageCameraMaker,
                          keys::kImageCameraModel, keys::kImageDate, keys::kImageAigcMetaData}) {
    const ValAny value = Ask(*store, key, ValType::kBuffer);
    if (value.type() == ValType::kBuffer) FUZZ_CHECK(std::strlen(value.AsBuffer()) <= kMostTextBytes);
  }
  for (const char* key : {keys::kImageCreateDate, keys::kImageModifyDate}) Ask(*store, key, ValType::kInt64);
}

}  // namespace fuzz

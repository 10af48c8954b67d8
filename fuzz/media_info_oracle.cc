#include "fuzz/media_info_oracle.h"

#include <cmath>
#include <limits>

#include "fuzz/check.h"
#include "media_server/imetadata.h"
#include "media_server/metadata_keys.h"
#include "media_server/property_keys.h"
#include "platform/com_ptr.h"

namespace fuzz {
namespace {

using media_server::IMediaInfo;
using media_server::IMetadata;
using media_server::IStream;
using platform::ComPtr;
using platform::SystemString;

/// What texts are cut at, with room for one of U+FFFD for every bad byte.
constexpr std::size_t kMostTextUnits = std::size_t{1} << 20;
constexpr std::uint32_t kPastTheEnd = std::numeric_limits<std::uint32_t>::max();

void CheckText(const SystemString& text) {
  const std::u16string_view units = text.View();
  FUZZ_CHECK(units.size() <= kMostTextUnits);
  if (text) FUZZ_CHECK(units.data()[units.size()] == u'\0');
  for (std::size_t i = 0; i < units.size(); ++i) {
    const bool is_high = units[i] >= 0xD800 && units[i] <= 0xDBFF;
    const bool is_low = units[i] >= 0xDC00 && units[i] <= 0xDFFF;
    FUZZ_CHECK(!is_low);
    if (is_high) {
      ++i;
      FUZZ_CHECK(i < units.size() && units[i] >= 0xDC00 && units[i] <= 0xDFFF);
    }
  }
}

void CheckTime(double seconds) { FUZZ_CHECK(std::isfinite(seconds) && seconds >= 0); }

template <typename Object>
void CheckTextOf(Object& object, std::int32_t (Object::*question)(BSTR*)) {
  SystemString text;
  FUZZ_CHECK((object.*question)(text.Put()) == platform::kOk);
  CheckText(text);
  FUZZ_CHECK((object.*question)(nullptr) == platform::kInvalidPointer);
}

void CheckIntegerProperty(media_server::IPropertyReader& reader, const char16_t* key) {
  constexpr std::int32_t kUntouched = 0x5A5A5A5A;
  std::int32_t value = kUntouched;
  const std::int32_t status = reader.GetProperty(key, &value);
  FUZZ_CHECK(status == platform::kOk || (status == platform::kFail && value == kUntouched));
}

void CheckProperties(media_server::IPropertyReader& reader) {
  namespace keys = media_server::property_keys;
  for (const char16_t* key :
       {keys::kTransferCharacteristics, keys::kMatrixCoefficients, keys::kAlphaChannel, keys::kFormatSettingsCabac,
        keys::kFormatSettingsRefFrame, keys::kIsTruncated, keys::kIsDolbyVision, keys::kVideoCountOfViews,
        keys::kVideoFullIdr, keys::kCleanApertureWidth, keys::kCleanApertureHeight, keys::kCleanApertureXoff,
        keys::kCleanApertureYoff, keys::kFrameView3dMode, keys::kFrameView3dAngle}) {
    CheckIntegerProperty(reader, key);
  }
  CheckIntegerProperty(reader, u"KEY_THAT_NOBODY_KNOWS");
  for (const char16_t* key : {keys::kFormatProfile, keys::kFormatSettingsGop}) {
    SystemString text;
    const std::int32_t status = reader.GetProperty(key, text.Put());
    FUZZ_CHECK(status == platform::kOk || (status == platform::kFail && !text));
    CheckText(text);
  }
  double rate = -1;
  const std::int32_t status = reader.GetProperty(keys::kMaxFrameRate, &rate);
  FUZZ_CHECK(status == platform::kOk ? std::isfinite(rate) && rate > 0 : status == platform::kFail && rate == -1);
}

void CheckPictureStream(IStream& stream) {
  const ComPtr<IStream> kept(&stream);
  FUZZ_CHECK(stream.GetMediaType() == 2 && stream.GetAudioFormat() == nullptr);
  const media_server::PictureFormat* format = stream.GetVideoFormat();
  FUZZ_CHECK(format != nullptr);
  FUZZ_CHECK((format->width == 0) == (format->height == 0));
  FUZZ_CHECK(format->field_order >= 0 && format->field_order <= 3 && format->flags <= 0x1F);
  FUZZ_CHECK(format->bit_depth >= 0 && format->bit_depth <= 64);
  FUZZ_CHECK(format->color_range >= 0 && format->color_range <= 2);
  CheckTime(format->frame_rate);
  if (format->width != 0) FUZZ_CHECK(format->frame_count > 0);

  const auto video = kept.Query<media_server::IVideoStream>();
  FUZZ_CHECK(video && video->GetVideoFormat() == format);
  const std::int32_t rotation = video->GetRotation();
  FUZZ_CHECK(rotation == -100 || rotation == -200 || rotation == -300 || rotation == 0 || rotation == 90 ||
             rotation == 180 || rotation == 270);
  const auto properties = kept.Query<media_server::IPropertyReader>();
  FUZZ_CHECK(properties);
  CheckProperties(*properties.Get());
}

void CheckSoundStream(IStream& stream) {
  FUZZ_CHECK(stream.GetMediaType() == 3 && stream.GetVideoFormat() == nullptr);
  const media_server::SoundFormat* format = stream.GetAudioFormat();
  FUZZ_CHECK(format != nullptr && format->flags <= 0xF);
  CheckTime(format->sample_rate_hz);
}

template <typename Stream>
void CheckCommon(Stream& stream) {
  stream.GetIndex();
  stream.GetId();
  stream.GetDisposition();
  CheckText(SystemString(stream.GetCodecName()));
  CheckText(SystemString(stream.GetLanguage()));
}

void CheckStream(IStream& stream) {
  CheckCommon(stream);
  CheckText(SystemString(stream.GetCodecLongName()));
  CheckTime(stream.GetDuration());
  stream.GetFourCC();
  stream.GetBitRate();
  stream.GetProfile();
  stream.GetMediaType() == 2 ? CheckPictureStream(stream) : CheckSoundStream(stream);
}

void CheckStream(media_server::ISubPicStream& stream) { CheckCommon(stream); }

/// Reads the list's items with `check` and gives their number.
template <typename Item, typename Check>
std::uint32_t CheckList(media_server::IObjectList<Item>* list, const Check& check) {
  FUZZ_CHECK(list != nullptr && list->GetCount() >= 0);
  const auto count = static_cast<std::uint32_t>(list->GetCount());
  ComPtr<Item> item;
  for (std::uint32_t i = 0; i < count; ++i) {
    FUZZ_CHECK(list->GetAt(i, item.Put()) == platform::kOk && item);
    check(*item.Get());
  }
  for (const std::uint32_t index : {count, kPastTheEnd}) {
    FUZZ_CHECK(list->GetAt(index, item.Put()) == platform::kInvalidArgument && !item);
  }
  return count;
}

template <typename Item>
std::uint32_t CheckStreams(media_server::IProgram& program,
                           std::int32_t (media_server::IProgram::*question)(media_server::IObjectList<Item>**)) {
  ComPtr<media_server::IObjectList<Item>> list;
  FUZZ_CHECK((program.*question)(list.Put()) == platform::kOk);
  return CheckList<Item>(list.Get(), [](Item& stream) { CheckStream(stream); });
}

void CheckProgram(media_server::IProgram& program) {
  program.GetNumber();
  program.GetBitRate();
  CheckTime(program.GetDuration());
  std::uint32_t streams = CheckStreams(program, &media_server::IProgram::GetVideoStreamList);
  streams += CheckStreams(program, &media_server::IProgram::GetAudioStreamList);
  streams += CheckStreams(program, &media_server::IProgram::GetSubPicStreamList);
  FUZZ_CHECK(streams <= program.GetStreamCount());
}

void CheckMetadata(IMetadata& metadata) {
  for (const auto question : {&IMetadata::GetArtist, &IMetadata::GetTitle, &IMetadata::GetTrackNumber,
                              &IMetadata::GetAlbum, &IMetadata::GetDate, &IMetadata::GetGenre, &IMetadata::GetPublisher,
                              &IMetadata::GetMaker, &IMetadata::GetModel}) {
    CheckTextOf(metadata, question);
  }
  namespace keys = media_server::metadata_keys;
  for (const char16_t* key : {keys::kActor, keys::kGpsLatitudeRef, keys::kGpsLongitudeRef, keys::kAigc}) {
    SystemString text;
    FUZZ_CHECK(metadata.GetText(key, text.Put()) == platform::kOk);
    CheckText(text);
  }
  SystemString text;
  FUZZ_CHECK(metadata.GetText(u"KEY_THAT_NOBODY_KNOWS", text.Put()) == platform::kFail && !text);
  std::int32_t alpha_mode = 0;
  const bool has_alpha_mode = metadata.GetInteger(keys::kXmpAlphaMode, &alpha_mode) == platform::kOk;
  FUZZ_CHECK(alpha_mode >= 0 && alpha_mode <= (has_alpha_mode ? 2 : 0));
  FUZZ_CHECK(metadata.GetGpsLatitude() >= 0 && metadata.GetGpsLatitude() <= 90);
  FUZZ_CHECK(metadata.GetGpsLongitude() >= 0 && metadata.GetGpsLongitude() <= 180);
}

}  // namespace

void ReadWholeMediaInfo(IMediaInfo& media) {
  for (const auto question : {&IMediaInfo::GetFormatName, &IMediaInfo::GetFormatLongName, &IMediaInfo::GetDateText}) {
    CheckTextOf(media, question);
  }
  media.GetFormatFourCC();
  media.GetBitRate();
  media.GetFileSize();
  CheckTime(media.GetDuration());

  const auto metadata = ComPtr<IMediaInfo>(&media).Query<IMetadata>();
  FUZZ_CHECK(metadata);
  CheckMetadata(*metadata.Get());

  ComPtr<media_server::IProgramCollection> programs;
  FUZZ_CHECK(media.GetPrograms(programs.Put()) == platform::kOk);
  FUZZ_CHECK(CheckList<media_server::IProgram>(programs.Get(), CheckProgram) > 0);
}

}  // namespace fuzz

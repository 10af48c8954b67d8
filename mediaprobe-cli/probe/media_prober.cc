#include "probe/media_prober.h"

#include <cmath>
#include <utility>

#include "core/error_text.h"
#include "media_server/refusals.h"
#include "mediainfo/imedia_file_info.h"
#include "mediainfo/metedata_keys.h"
#include "mediainfo/result.h"
#include "probe/code_names.h"
#include "probe/failure_reason.h"
#include "probe/metadata_reader.h"
#include "probe/service_session.h"

namespace mediaprobe {
namespace {

namespace keys = service::mediainfo::metedata_keys;
using service::mediainfo::IAudioInfo;
using service::mediainfo::IMediaFileInfo;
using service::mediainfo::IProgramInfo;
using service::mediainfo::IStreamInfo;
using service::mediainfo::ISubPicStreamInfo;
using service::mediainfo::IVideoInfo;
using service::mediainfo::kSuccess;
using service::mediainfo::kTicksPerSecond;
using service::mediainfo::kUnknownProfile;

constexpr std::uint32_t kDegreesPerQuarterTurn = 90;
constexpr std::int32_t kUnspecifiedPrimaries = 2;
constexpr std::string_view kUndeterminedLanguage = "und";

/// The interfaces tell an unknown amount as 0, some of them as a negative number.
template <typename Number>
std::optional<Number> Known(Number value) {
  return value > 0 ? std::optional(value) : std::nullopt;
}

std::optional<std::uint32_t> KnownAmount(std::int32_t value) {
  return value > 0 ? std::optional(static_cast<std::uint32_t>(value)) : std::nullopt;
}

std::optional<std::string> Text(const char* text) {
  return text && *text ? std::optional<std::string>(text) : std::nullopt;
}

std::optional<std::string> Language(const char* text) {
  std::optional<std::string> language = Text(text);
  return language == kUndeterminedLanguage ? std::nullopt : language;
}

/// 1/1 is also the answer for an unknown rate: it counts only where several frames last as many seconds.
std::optional<core::Rational> FrameRate(IVideoInfo& video, std::uint64_t duration_100ns) {
  core::Rational rate;
  video.GetFrameRate(&rate);
  if (rate.numerator <= 0 || rate.denominator <= 0) return std::nullopt;
  if (rate.numerator != rate.denominator) return rate;
  const double seconds = static_cast<double>(duration_100ns) / static_cast<double>(kTicksPerSecond);
  const bool is_told = video.GetFrameCount() > 1 && std::abs(seconds - video.GetFrameCount()) <= 1;
  return is_told ? std::optional(rate) : std::nullopt;
}

/// One is also the answer where nothing tells how many there are: it counts only where it is known how long it lasts.
std::optional<std::uint32_t> FrameCount(IVideoInfo& video, std::optional<std::uint64_t> duration_100ns) {
  const std::uint32_t count = video.GetFrameCount();
  return count == 1 && !duration_100ns ? std::nullopt : Known(count);
}

std::optional<std::variant<std::int64_t, std::string>> ColorPrimaries(std::int32_t primaries) {
  if (primaries <= 0 || primaries == kUnspecifiedPrimaries) return std::nullopt;
  if (const auto name = ColorPrimariesName(primaries)) return std::string(*name);
  return primaries;
}

/// "High" of "High@L4.1": the level has a place of its own.
std::optional<std::variant<std::int64_t, std::string>> VideoProfile(const Metadata& metadata, std::int32_t number) {
  if (const auto text = MetadataText(metadata, keys::kVideoFormatProfile)) return text->substr(0, text->find('@'));
  return number == kUnknownProfile ? std::nullopt : std::optional<std::variant<std::int64_t, std::string>>(number);
}

std::optional<std::variant<std::int64_t, std::string>> AudioProfile(std::string_view codec, std::int32_t number) {
  if (const auto name = AudioProfileName(codec, number)) return std::string(*name);
  return number == kUnknownProfile ? std::nullopt : std::optional<std::variant<std::int64_t, std::string>>(number);
}

void DescribeCodedStream(IStreamInfo& stream, CodedStreamRecord& record) {
  record.index = stream.GetStreamValue4();
  record.id = stream.GetStreamValue14();
  record.codec = Text(stream.GetTextA());
  record.codec_long = Text(stream.GetTextB());
  record.language = Language(stream.GetTextC());
  record.fourcc = FourCcText(stream.GetFourCC());
  record.duration_100ns = Known(stream.GetDuration());
  record.bit_rate_bps = Known(stream.GetStreamValue6());
  record.disposition = DispositionNames(stream.GetStreamValue15());
}

void DescribePicture(IVideoInfo& video, VideoRecord& record) {
  record.level = video.GetFormatField132() == kUnknownProfile ? std::nullopt : std::optional(video.GetFormatField132());
  record.width = Known(video.GetWidth());
  record.height = Known(video.GetHeight());
  record.display_width = KnownAmount(video.GetFormatField20());
  record.display_height = KnownAmount(video.GetFormatField24());
  record.frame_rate = FrameRate(video, record.duration_100ns.value_or(0));
  record.frame_count = FrameCount(video, record.duration_100ns);
  record.rotation_degrees = video.GetRotation() * kDegreesPerQuarterTurn;
  record.flip = FlipName(video.GetFlip());
  record.field_order = FieldOrderName(video.GetFormatField32());
  record.chroma = ChromaName(video.GetFormatField40());
  record.bit_depth = Known(video.GetFormatField44());
  record.color_primaries = ColorPrimaries(video.GetFormatField48());
  record.color_range = ColorRangeName(video.GetFormatField52());
  record.flags = VideoFlagNames(video.GetFormatCode());
  if (!record.bit_rate_bps) record.bit_rate_bps = KnownAmount(video.GetFormatField56());
}

VideoRecord DescribeVideo(IStreamInfo& stream) {
  VideoRecord record;
  DescribeCodedStream(stream, record);
  if (const auto store = stream.GetMetadataInfo()) record.metadata = ReadVideoMetadata(*store);
  record.profile = VideoProfile(record.metadata, stream.GetStreamValue11());
  if (IVideoInfo* video = stream.GetVideoInfo()) DescribePicture(*video, record);
  return record;
}

AudioRecord DescribeAudio(IStreamInfo& stream) {
  AudioRecord record;
  DescribeCodedStream(stream, record);
  record.profile = AudioProfile(record.codec.value_or(""), stream.GetStreamValue11());
  IAudioInfo* audio = stream.GetAudioInfo();
  if (audio == nullptr) return record;
  record.sample_rate_hz = Known(audio->GetAudioField0());
  record.channels = Known(audio->GetAudioField4());
  record.bits_per_sample = Known(audio->GetAudioField8());
  record.flags = AudioFlagNames(audio->GetAudioFormatCode());
  if (!record.bit_rate_bps) record.bit_rate_bps = Known(audio->GetAudioField12());
  return record;
}

SubpictureRecord DescribeSubpicture(ISubPicStreamInfo& stream) {
  SubpictureRecord record;
  record.index = stream.GetSubPicValue3();
  record.id = stream.GetSubPicValue4();
  record.codec = Text(stream.GetSubPicTextA());
  record.language = Language(stream.GetSubPicTextB());
  record.disposition = DispositionNames(stream.GetSubPicValue5());
  return record;
}

/// Calls `describe` for every item that `get` gives below `count`.
template <typename Item, typename Get, typename Describe>
auto DescribeAll(std::uint64_t count, Get get, Describe describe) {
  std::vector<decltype(describe(std::declval<Item&>()))> records;
  for (std::uint32_t index = 0; index < count; ++index) {
    Item* item = nullptr;
    if (get(&item, index) == kSuccess && item != nullptr) records.push_back(describe(*item));
  }
  return records;
}

ProgramRecord DescribeProgram(IProgramInfo& program) {
  ProgramRecord record;
  record.id = program.GetProgramValue4();
  record.duration_100ns = Known(program.GetDuration());
  record.bit_rate_bps = Known(program.GetProgramValue6());
  record.video = DescribeAll<IStreamInfo>(
      program.GetVideoStreamCount(),
      [&program](IStreamInfo** out, std::uint32_t index) { return program.GetVideoStream(index, out); }, DescribeVideo);
  record.audio = DescribeAll<IStreamInfo>(
      program.GetAudioStreamCount(),
      [&program](IStreamInfo** out, std::uint32_t index) { return program.GetAudioStream(index, out); }, DescribeAudio);
  record.subpicture = DescribeAll<ISubPicStreamInfo>(
      program.GetSubPicStreamCount(),
      [&program](ISubPicStreamInfo** out, std::uint32_t index) { return program.GetSubPicStream(index, out); },
      DescribeSubpicture);
  return record;
}

void DescribeFile(IMediaFileInfo& file, Record& record) {
  auto& media = record.answer.emplace<MediaRecord>();
  media.format = file.GetFormatName();
  media.format_long = file.GetFormatLongName();
  media.fourcc = FourCcText(file.GetFormatFourCC()).value_or("");
  media.size_bytes = Known(file.GetFileSize());
  media.duration_100ns = Known(file.GetDuration());
  media.bit_rate_bps = Known(file.GetBitRate());
  media.programs = DescribeAll<IProgramInfo>(
      file.GetProgramCount(), [&file](IProgramInfo** out, std::uint32_t index) { return file.GetProgram(out, index); },
      DescribeProgram);
  if (const auto store = file.GetMetadata()) media.metadata = ReadFileMetadata(*store);

  // The store's dates rather than GetDates: that one answers for a text that is no date as well.
  record.created_s = MetadataInteger(media.metadata, keys::kCreateDate);
  record.modified_s = MetadataInteger(media.metadata, keys::kModifyDate);
  record.location = MetadataLocation(media.metadata);
  record.aigc = MetadataText(media.metadata, keys::kAigcMeta);
}

}  // namespace

MediaProber::MediaProber(service::IService& service, std::string key) : service_(service), key_(std::move(key)) {}

Record MediaProber::Probe(InputPath& path) const {
  Record record;
  const SessionPtr session = OpenSession(service_);
  auto* file = dynamic_cast<IMediaFileInfo*>(session.get());
  if (file == nullptr) {
    record.error = "the media file service gives no session";
    return record;
  }
  if (!key_.empty()) file->SetEncryptKey(key_.c_str());

  std::string url = path.url;
  CoreSetErrorText(nullptr);
  const bool is_open = file->SetURL(url.data()) == kSuccess;
  FollowService(path, url);
  if (is_open) {
    DescribeFile(*file, record);
    // The interfaces' texts have no result codes: where memory ran out they are empty.
    if (*CoreErrorText() != '\0') record.error = CoreErrorText();
  } else {
    record.error = FailureReason(path, CoreErrorText(), media_server::refusals::kNotMedia);
  }
  return record;
}

}  // namespace mediaprobe

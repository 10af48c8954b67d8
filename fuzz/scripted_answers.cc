#include "fuzz/scripted_answers.h"

#include <algorithm>
#include <array>
#include <cstdlib>
#include <cstring>

#include "fuzz/check.h"
#include "media-server/objects/com_object.h"
#include "media-server/objects/media_info_object.h"
#include "media_server/imedia_server.h"
#include "platform/text.h"
#include "service/iservice_manager.h"
#include "service/isvg_decode_sink.h"

namespace fuzz {
namespace {

using media_server::MediaDescription;
using media_server::StreamDescription;

constexpr std::size_t kMostTextBytes = 64;
constexpr std::uint32_t kMostStreams = 4;

/// Counts itself as one of the script's objects.
struct Counted {
  Counted() { ++script().live_objects; }
  Counted(const Counted&) = delete;
  Counted& operator=(const Counted&) = delete;
  ~Counted() { --script().live_objects; }
};

template <typename Number>
Number Whole(FuzzedDataProvider& bytes) {
  return bytes.ConsumeIntegral<Number>();
}

/// Any number: not-a-number and infinities too.
double Number(FuzzedDataProvider& bytes) { return std::bit_cast<double>(bytes.ConsumeIntegral<std::uint64_t>()); }

std::string Text(FuzzedDataProvider& bytes) { return bytes.ConsumeRandomLengthString(kMostTextBytes); }

void FillProperties(FuzzedDataProvider& bytes, media_server::PictureProperties& properties) {
  for (auto* value : {&properties.transfer_characteristics, &properties.alpha_channel, &properties.is_dolby_vision,
                      &properties.clean_aperture_width, &properties.frame_view_3d_angle}) {
    if (bytes.ConsumeBool()) *value = Whole<std::int32_t>(bytes);
  }
  for (auto* text : {&properties.format_profile, &properties.format_settings_gop}) {
    if (bytes.ConsumeBool()) *text = bytes.ConsumeRandomLengthString(2 * kMostTextBytes);
  }
  if (bytes.ConsumeBool()) properties.max_frame_rate = Number(bytes);
}

StreamDescription DescribeStream(FuzzedDataProvider& bytes) {
  StreamDescription stream;
  stream.kind = bytes.PickValueInArray(
      {media_server::StreamKind::kPicture, media_server::StreamKind::kSound, media_server::StreamKind::kSubpicture});
  for (auto* value : {&stream.index, &stream.id, &stream.codec_tag, &stream.bit_rate, &stream.disposition}) {
    *value = Whole<std::uint32_t>(bytes);
  }
  for (auto* text : {&stream.codec_name, &stream.codec_long_name, &stream.language}) *text = Text(bytes);
  stream.duration = Number(bytes);
  stream.profile = Whole<std::int32_t>(bytes);
  stream.orientation = Whole<std::int32_t>(bytes);
  stream.picture.width = Whole<std::uint32_t>(bytes);
  stream.picture.height = Whole<std::uint32_t>(bytes);
  stream.picture.display_height = Whole<std::int32_t>(bytes);
  stream.picture.frame_rate = Number(bytes);
  stream.picture.flags = Whole<std::uint32_t>(bytes);
  stream.sound.sample_rate_hz = Number(bytes);
  stream.sound.flags = Whole<std::uint32_t>(bytes);
  FillProperties(bytes, stream.properties);
  return stream;
}

void FillTags(FuzzedDataProvider& bytes, media_server::MediaTags& tags) {
  for (auto* text : {&tags.title, &tags.artist, &tags.actor, &tags.maker, &tags.aigc}) *text = Text(bytes);
  if (!bytes.ConsumeBool()) return;
  tags.location = {bytes.ConsumeFloatingPointInRange<double>(-90, 90),
                   bytes.ConsumeFloatingPointInRange<double>(-180, 180)};
}

std::shared_ptr<const MediaDescription> Describe(FuzzedDataProvider& bytes) {
  auto media = std::make_shared<MediaDescription>();
  media->date_text = Text(bytes);
  media->format_fourcc = bytes.ConsumeBool() ? media_server::kStackedAlphaMp4 : Whole<std::uint32_t>(bytes);
  media->format_name = Text(bytes);
  media->format_long_name = Text(bytes);
  media->duration = Number(bytes);
  media->bit_rate = Whole<std::uint64_t>(bytes);
  FillTags(bytes, media->tags);
  const auto streams = bytes.ConsumeIntegralInRange<std::uint32_t>(0, kMostStreams);
  for (std::uint32_t i = 0; i < streams; ++i) media->streams.push_back(DescribeStream(bytes));
  media->programs.resize(bytes.ConsumeIntegralInRange<std::size_t>(0, 2));
  for (media_server::ProgramDescription& program : media->programs) {
    program.duration = Number(bytes);
    program.stream_count = Whole<std::uint32_t>(bytes);
    for (std::size_t i = 0; i < media->streams.size(); ++i) {
      if (bytes.ConsumeBool()) program.streams.push_back(i);
    }
  }
  return media;
}

/// Fills whole fields with bytes, text without a terminator too.
void FillImageInfo(FuzzedDataProvider& bytes, imagecore::QkImageInfo& info) {
  info.flags = Whole<std::uint32_t>(bytes);
  for (auto* value : {&info.flip, &info.picture_type, &info.width, &info.height, &info.rotation,
                      &info.gif_frame_rate_num, &info.gif_frame_rate_den, &info.sequence_total_frames}) {
    *value = Whole<std::int32_t>(bytes);
  }
  for (auto* value : {&info.gps_latitude, &info.exposure_time_s, &info.sequence_duration_s, &info.webp_duration_s,
                      &info.gif_duration_s, &info.avif_duration_s}) {
    *value = Number(bytes);
  }
  for (auto* text : {&info.date, &info.camera_maker, &info.gps_latitude_ref}) {
    const std::string told = bytes.ConsumeRandomLengthString(sizeof *text);
    std::memcpy(*text, told.data(), told.size());
  }
  const std::string label = Text(bytes);
  info.aigc_data = static_cast<char*>(std::calloc(label.size() + 1, 1));
  std::memcpy(info.aigc_data, label.data(), label.size());
  info.aigc_size = bytes.ConsumeIntegralInRange<std::int32_t>(-1, 2 * kMostTextBytes);
}

class Server final : public media_server::ComObject<media_server::IMediaServer>, private Counted {
 public:
  std::int32_t SetOption(const char* /*name*/, const core::ValAny* /*value*/) override { return platform::kOk; }
  void Reserved4() override {}
  std::int32_t GetMediaInfo(const char16_t* path, media_server::IMediaInfo** out) override {
    script().paths.push_back(platform::PathToUtf8(path));
    *out = script().opens ? media_server::MakeMediaInfo(Describe(*script().bytes)).Detach() : nullptr;
    return *out != nullptr ? 1 : 0;
  }
  std::int64_t QueryImage(const char16_t* path, imagecore::QkImageInfo* info) override {
    script().paths.push_back(platform::PathToUtf8(path));
    FillImageInfo(*script().bytes, *info);
    return script().opens ? 1 : 0;
  }
};

class DecoderSession final : public service::ISession, public service::ISVGDecodeSink, private Counted {
 public:
  void Reserved1() override {}
  void Reset() override {}
  void Reserved3() override {}
  void Reserved4() override {}
  void Reserved5() override {}
  std::uint32_t Load(std::uintptr_t first, std::uintptr_t second) override {
    FUZZ_CHECK(first == 0 && second == 0);
    return script().decoder_answer;
  }
  void Reserved7() override {}
  void SetSource(const char* url) override { script().paths.emplace_back(url); }
  void Reserved9() override {}
  std::uint32_t GetSize(std::uint32_t* width, std::uint32_t* height) override { return Size(width, height); }
  void Reserved11() override {}
  std::uint32_t GetViewSize(std::uint32_t* width, std::uint32_t* height) override { return Size(width, height); }
  void Reserved13() override {}
  void Reserved14() override {}
  std::uint32_t Render(std::uintptr_t /*path*/, std::uintptr_t /*width*/, std::uintptr_t /*height*/) override {
    return script().decoder_answer;
  }

 private:
  static std::uint32_t Size(std::uint32_t* width, std::uint32_t* height) {
    *width = *height = 7;
    return script().decoder_answer;
  }
};

class DecoderService final : public service::IService {
 public:
  std::uint32_t FirstStateQuery() override { return 0; }
  bool SecondStateQuery() override { return true; }
  service::ISession* CreateSession() override { return nullptr; }
  std::uint32_t DestroySession(service::ISession* /*session*/) override { return 1; }
  std::shared_ptr<service::ISession> CreateSharedSession(std::uintptr_t /*reserved*/) override {
    return std::make_shared<DecoderSession>();
  }
  std::uint32_t KeyedQuery(std::uintptr_t /*first*/, std::uintptr_t /*second*/, std::uint32_t* /*result*/) override {
    return 0;
  }
  std::uint32_t KeyedRequest(std::uintptr_t /*first*/, std::uintptr_t /*second*/, std::uintptr_t /*third*/,
                             std::uint32_t* /*result*/) override {
    return 1;
  }
  std::uint32_t ReleaseSharedSession(std::shared_ptr<service::ISession> /*session*/) override { return 0; }
  bool FinalQuery() override { return false; }
};

}  // namespace

Script& script() {
  static Script script;
  return script;
}

void RegisterScriptedDecoder() {
  static constexpr service::ServiceDescriptor kTable[] = {
      {service::kSvgDecoderServiceName, "scripted", "0C5C4D36-7D0A-4C7B-9B6A-2C9E2C5F8F10", 0, nullptr,
       []() -> service::IService* { return new DecoderService; }, [](service::IService* service) { delete service; }, 0,
       0},
  };
  FUZZ_CHECK(ZORServiceMrgAcqire(0)->RegisterServices(kTable, 1, nullptr));
}

}  // namespace fuzz

std::int32_t CreateMediaServer(const char* /*media_info_path*/, const char* /*media_proxy_path*/,
                               const char* /*app_path*/, const char* /*app_res_path*/, const char* /*log_path*/,
                               media_server::IMediaServer** out) {
  *out = new fuzz::Server;
  return platform::kOk;
}

bool GetMD5Uuid(const char* path, char* buffer) {
  constexpr std::size_t kDigits = 32;
  fuzz::Script& script = fuzz::script();
  script.paths.emplace_back(path);
  if (!script.digests) return false;
  const std::string text = script.bytes->ConsumeRandomLengthString(kDigits);
  std::memcpy(buffer, text.c_str(), text.size() + 1);
  return true;
}

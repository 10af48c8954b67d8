#include "fake_media.h"

#include <cstdlib>
#include <cstring>

#include "mediainfo/aigc_meta.h"
#include "mediainfo/metedata_keys.h"
#include "mediainfo/result.h"

namespace mediaprobe::testing {
namespace {

namespace keys = service::mediainfo::metedata_keys;
using service::mediainfo::kFailed;
using service::mediainfo::kIndexOutOfRange;
using service::mediainfo::kSuccess;

template <typename Item, typename Interface>
std::uint32_t GetAt(const std::vector<std::shared_ptr<Item>>& items, std::uint32_t at, Interface** out) {
  if (at >= items.size()) return kIndexOutOfRange;
  *out = items[at].get();
  return kSuccess;
}

class FakeSession final : public service::ISession, public service::mediainfo::IMediaFileInfo {
 public:
  explicit FakeSession(FakeMediaService& service) : service_(service) {}

  std::uint32_t SetURL(char* url) override {
    file_ = service_.Open(url);
    return file_ ? kSuccess : kFailed;
  }
  std::uint32_t GetFormatFourCC() override { return file_->fourcc; }
  const char* GetFormatName() override { return file_->format_name.c_str(); }
  const char* GetFormatLongName() override { return file_->format_long_name.c_str(); }
  std::shared_ptr<service::mediainfo::IMetedataInfo> GetMetadata() override { return file_->store; }
  std::uint64_t GetDuration() override { return file_->duration; }
  std::uint64_t GetBitRate() override { return file_->bit_rate; }
  std::uint64_t GetProgramCount() override { return file_->programs.size(); }
  std::uint32_t GetProgram(service::mediainfo::IProgramInfo** out, std::uint32_t index) override {
    return GetAt(file_->programs, index, out);
  }
  std::uint64_t GetFileSize() override { return file_->size; }
  std::uint32_t Clone(service::mediainfo::IMediaFileInfo**) override { return kFailed; }
  void ClearKeepFlag(std::uint32_t) override {}
  std::uint32_t GetStreamType(std::uint32_t, std::int32_t*) override { return kSuccess; }
  bool GetDates(std::int64_t*, std::int64_t*) override { return false; }
  void SetEncryptKey(const char* key) override { service_.key = key; }

 private:
  FakeMediaService& service_;
  std::shared_ptr<FakeFile> file_;
};

std::shared_ptr<FakeStream> MakeFullVideo() {
  auto stream = std::make_shared<FakeStream>();
  stream->index = 0;
  stream->fourcc = 0x31637661;  // "avc1"
  stream->bit_rate = 2'100'000;
  stream->codec = "h264";
  stream->codec_long = "H.264 / AVC / MPEG-4 AVC / MPEG-4 part 10";
  stream->language = "eng";
  stream->duration = 100'000'000;
  stream->profile = 100;
  stream->id = 1;
  stream->disposition = 1;
  auto video = std::make_shared<FakeVideo>();
  video->width = 1440;
  video->height = 1080;
  video->rate = {2997, 100};
  video->frame_count = 300;
  video->display_width = 1920;
  video->display_height = 1080;
  video->field_order = 2;
  video->flags = 0b10001;
  video->chroma = 420;
  video->bit_depth = 10;
  video->primaries = 9;
  video->range = 1;
  video->quarter_turns = 1;
  video->level = 41;
  stream->video = video;
  stream->store->SetNumber(keys::kVideoTransferCharacteristics, 16);
  stream->store->SetNumber(keys::kVideoIsDolbyVision, 0);
  stream->store->SetRational(keys::kVideoMaxFramerate, {29970, 1000});
  stream->store->SetText(keys::kVideoFormatProfile, u"High@L4.1");
  return stream;
}

std::shared_ptr<FakeStream> MakeFullAudio() {
  auto stream = std::make_shared<FakeStream>();
  stream->index = 1;
  stream->fourcc = 0x6134706D;  // "mp4a"
  stream->bit_rate = 128'000;
  stream->codec = "aac";
  stream->codec_long = "AAC (Advanced Audio Coding)";
  stream->language = "deu";
  stream->duration = 100'050'000;
  stream->profile = 1;
  stream->id = 2;
  stream->disposition = 1;
  stream->audio = std::make_shared<FakeAudio>();
  stream->audio->sample_rate = 44'100;
  stream->audio->channels = 2;
  stream->audio->bits_per_sample = 16;
  stream->audio->flags = 1;
  return stream;
}

}  // namespace

bool FakeStore::GetValue(const char* key, core::ValAny* out) {
  if (key == spoiled_) throw core::AnyBadAccess();
  const auto found = values_.find(key);
  if (found == values_.end()) return false;
  *out = found->second;
  return true;
}

bool FakeStore::SetValue(const char* key, const core::ValAny* value) {
  values_[key] = *value;
  return true;
}

void FakeStore::SetLabel(const std::string& text) {
  keys::AIGC_META label;
  label.text = strdup(text.c_str());
  label.length = static_cast<std::uint32_t>(text.size());
  values_[keys::kAigcMeta] = core::ValAny::Box(label);
}

std::uint32_t FakeProgram::GetVideoStream(std::uint32_t at, service::mediainfo::IStreamInfo** out) {
  return GetAt(video, at, out);
}

std::uint32_t FakeProgram::GetAudioStream(std::uint32_t at, service::mediainfo::IStreamInfo** out) {
  return GetAt(audio, at, out);
}

std::uint32_t FakeProgram::GetProgramValue7() {
  return static_cast<std::uint32_t>(video.size() + audio.size() + subpictures.size());
}

std::uint32_t FakeProgram::GetSubPicStream(std::uint32_t at, service::mediainfo::ISubPicStreamInfo** out) {
  return GetAt(subpictures, at, out);
}

service::ISession* FakeMediaService::CreateSession() {
  if (!gives_sessions) return nullptr;
  ++open_sessions;
  return new FakeSession(*this);
}

std::uint32_t FakeMediaService::DestroySession(service::ISession* session) {
  --open_sessions;
  delete session;
  return 0;
}

std::shared_ptr<FakeFile> MakeFullFile() {
  auto file = std::make_shared<FakeFile>();
  file->format_name = "mp4";
  file->format_long_name = "MP4 (MPEG-4 Part 14)";
  file->fourcc = 0x2034504D;  // "MP4 "
  file->duration = 100'050'000;
  file->bit_rate = 2'230'000;
  file->size = 2'788'750;

  auto program = std::make_shared<FakeProgram>();
  program->duration = 100'050'000;
  program->bit_rate = 2'228'000;
  program->video.push_back(MakeFullVideo());
  program->audio.push_back(MakeFullAudio());
  auto subpicture = std::make_shared<FakeSubpicture>();
  subpicture->index = 2;
  subpicture->id = 3;
  subpicture->disposition = 1 << 6;
  subpicture->codec = "mov_text";
  subpicture->language = "fra";
  program->subpictures.push_back(subpicture);
  file->programs.push_back(program);

  FakeStore& store = *file->store;
  store.SetText(keys::kTitle, "Am Meer");
  store.SetText(keys::kArtist, "Ada");
  store.SetText(keys::kActor, "Ada");
  store.SetText(keys::kShow, "");
  store.SetText(keys::kMaker, "Acme");
  store.SetText(keys::kModel, "Cam 9");
  store.SetText(keys::kDate, "2023:5:17:10:20:30,2024:1:2:3:4:5");
  store.SetDate(keys::kCreateDate, 1'684'318'830);
  store.SetDate(keys::kModifyDate, 1'704'164'645);
  store.SetDegrees(keys::kGpsLatitude, 33.8568);
  store.SetText(keys::kGpsLatitudeRef, "S");
  store.SetDegrees(keys::kGpsLongitude, 151.2153);
  store.SetText(keys::kGpsLongitudeRef, "E");
  store.SetNumber(keys::kVideoKind, 1);
  store.SetNumber(keys::kContentRating, 0);
  store.SetNumber(keys::kDefinition, -1);
  store.SetNumber(keys::kAlphaMode, 0);
  store.SetLabel(R"({"Label":"1","ContentProducer":"Studio"})");
  return file;
}

}  // namespace mediaprobe::testing

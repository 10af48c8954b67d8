#pragma once

#include <cstdint>
#include <functional>
#include <map>
#include <memory>
#include <string>
#include <vector>

#include "core/val_any.h"
#include "mediainfo/imedia_file_info.h"
#include "service/iservice.h"
#include "service/isession.h"

/// A media file service whose files are made up by the test.
namespace mediaprobe::testing {

/// A store that borrows the buffers given to it.
class FakeStore final : public service::mediainfo::IMetedataInfo {
 public:
  bool GetValue(const char* key, core::ValAny* out) override;
  bool SetValue(const char* key, const core::ValAny* value) override;

  /// Reading `key` throws core::AnyBadAccess.
  void Spoil(const std::string& key) { spoiled_ = key; }
  void SetText(const char* key, const char* text) { values_[key] = core::ValAny::FromBuffer(text); }
  void SetText(const char* key, const char16_t* text) { values_[key] = core::ValAny::FromBuffer(text); }
  void SetNumber(const char* key, std::int32_t number) { values_[key] = core::ValAny::FromInt32(number); }
  void SetDate(const char* key, std::int64_t seconds) { values_[key] = core::ValAny::FromInt64(seconds); }
  void SetDegrees(const char* key, double degrees) { values_[key] = core::ValAny::FromDouble(degrees); }
  void SetRational(const char* key, core::Rational value) { values_[key] = core::ValAny::Box(value); }
  void SetLabel(const std::string& text);

 private:
  std::map<std::string, core::ValAny> values_;
  std::string spoiled_;
};

struct FakeVideo final : service::mediainfo::IVideoInfo {
  std::uint32_t width = 0;
  std::uint32_t height = 0;
  core::Rational rate{1, 1};
  std::uint32_t frame_count = 0;
  std::int32_t display_width = 0;
  std::int32_t display_height = 0;
  std::int32_t field_order = 0;
  std::uint32_t flags = 0;
  std::int32_t chroma = 0;
  std::int32_t bit_depth = 0;
  std::int32_t primaries = 2;
  std::int32_t range = 0;
  std::uint32_t quarter_turns = 0;
  std::uint32_t flip = 0;
  std::int32_t bit_rate = 0;
  std::int32_t level = -99;

  std::uint32_t GetWidth() override { return width; }
  std::uint32_t GetHeight() override { return height; }
  std::uint32_t GetFrameRate(core::Rational* out) override { return *out = rate, 0; }
  std::uint32_t GetFrameCount() override { return frame_count; }
  std::int32_t GetFormatField20() override { return display_width; }
  std::int32_t GetFormatField24() override { return display_height; }
  std::int32_t GetFormatField32() override { return field_order; }
  std::uint32_t GetFormatCode() override { return flags; }
  std::int32_t GetFormatField40() override { return chroma; }
  std::int32_t GetFormatField44() override { return bit_depth; }
  std::int32_t GetFormatField48() override { return primaries; }
  std::int32_t GetFormatField52() override { return range; }
  std::uint32_t GetRotation() override { return quarter_turns; }
  std::uint32_t GetFlip() override { return flip; }
  std::uint32_t GetFormatFlag() override { return flags >> 3 & 1; }
  std::int32_t GetFormatField56() override { return bit_rate; }
  std::int32_t GetFormatField132() override { return level; }
};

struct FakeAudio final : service::mediainfo::IAudioInfo {
  std::uint32_t sample_rate = 0;
  std::uint32_t channels = 0;
  std::uint32_t bits_per_sample = 0;
  std::uint32_t bit_rate = 0;
  std::uint32_t flags = 0;

  std::uint32_t GetAudioField0() override { return sample_rate; }
  std::uint32_t GetAudioField4() override { return channels; }
  std::uint32_t Reserved3() override { return 0; }
  std::uint32_t GetAudioField12() override { return bit_rate; }
  double GetAudioValue() override { return sample_rate + 1e-8; }
  std::uint32_t GetAudioFormatCode() override { return flags; }
  std::uint32_t GetAudioField8() override { return bits_per_sample; }
  std::uint32_t GetAudioFormatFlag() override { return flags >> 3 & 1; }
};

struct FakeStream final : service::mediainfo::IStreamInfo {
  std::uint32_t index = 0;
  std::uint32_t fourcc = 0;
  std::uint32_t bit_rate = 0;
  std::string codec;
  std::string codec_long;
  std::string language;
  std::uint64_t duration = 0;
  std::int32_t profile = service::mediainfo::kUnknownProfile;
  std::uint32_t id = 0;
  std::uint32_t disposition = 0;
  std::shared_ptr<FakeVideo> video;
  std::shared_ptr<FakeAudio> audio;
  std::shared_ptr<FakeStore> store = std::make_shared<FakeStore>();

  std::int32_t GetMediaType() override { return video ? 2 : 3; }
  std::uint32_t GetStreamValue4() override { return index; }
  std::uint32_t GetFourCC() override { return fourcc; }
  std::uint32_t GetStreamValue6() override { return bit_rate; }
  const char* GetTextA() override { return codec.c_str(); }
  const char* GetTextB() override { return codec_long.c_str(); }
  std::uint64_t GetDuration() override { return duration; }
  std::int32_t GetStreamValue11() override { return profile; }
  service::mediainfo::IVideoInfo* GetVideoInfo() override { return video.get(); }
  std::uint32_t Reserved10() override { return 0; }
  service::mediainfo::IAudioInfo* GetAudioInfo() override { return audio.get(); }
  std::uint32_t GetStreamValue14() override { return id; }
  std::uint32_t GetStreamValue15() override { return disposition; }
  std::uint32_t FixedValue14() override { return 2; }
  std::uint32_t FixedValue15() override { return 2; }
  std::uint32_t UnsupportedRequest16() override { return 6; }
  std::uint32_t UnsupportedRequest17() override { return 6; }
  std::shared_ptr<service::mediainfo::IMetedataInfo> GetMetadataInfo() override { return store; }
  const char* GetTextC() override { return language.c_str(); }
};

struct FakeSubpicture final : service::mediainfo::ISubPicStreamInfo {
  std::uint32_t index = 0;
  std::uint32_t id = 0;
  std::uint32_t disposition = 0;
  std::string codec;
  std::string language;

  std::uint32_t GetSubPicValue3() override { return index; }
  std::uint32_t GetSubPicValue4() override { return id; }
  std::uint32_t GetSubPicValue5() override { return disposition; }
  const char* GetSubPicTextA() override { return codec.c_str(); }
  const char* GetSubPicTextB() override { return language.c_str(); }
};

struct FakeProgram final : service::mediainfo::IProgramInfo {
  std::uint32_t number = 1;
  std::uint64_t duration = 0;
  std::uint32_t bit_rate = 0;
  std::vector<std::shared_ptr<FakeStream>> video;
  std::vector<std::shared_ptr<FakeStream>> audio;
  std::vector<std::shared_ptr<FakeSubpicture>> subpictures;

  std::uint32_t GetProgramValue4() override { return number; }
  std::uint64_t GetDuration() override { return duration; }
  std::uint32_t GetProgramValue6() override { return bit_rate; }
  std::uint64_t GetVideoStreamCount() override { return video.size(); }
  std::uint64_t GetAudioStreamCount() override { return audio.size(); }
  std::uint32_t GetVideoStream(std::uint32_t at, service::mediainfo::IStreamInfo** out) override;
  std::uint32_t GetAudioStream(std::uint32_t at, service::mediainfo::IStreamInfo** out) override;
  std::uint32_t GetProgramValue7() override;
  std::uint64_t GetSubPicStreamCount() override { return subpictures.size(); }
  std::uint32_t GetSubPicStream(std::uint32_t at, service::mediainfo::ISubPicStreamInfo** out) override;
};

struct FakeFile {
  std::string format_name;
  std::string format_long_name;
  std::uint32_t fourcc = 0;
  std::uint64_t duration = 0;
  std::uint64_t bit_rate = 0;
  std::uint64_t size = 0;
  std::vector<std::shared_ptr<FakeProgram>> programs;
  std::shared_ptr<FakeStore> store = std::make_shared<FakeStore>();
};

/// Gives the file at a URL, or null when it cannot be opened. `key` is the one set last.
using FakeOpener = std::function<std::shared_ptr<FakeFile>(const std::string& url, const std::string& key)>;

class FakeMediaService final : public service::IService {
 public:
  explicit FakeMediaService(FakeOpener opener) : opener_(std::move(opener)) {}

  std::uint32_t FirstStateQuery() override { return 0; }
  bool SecondStateQuery() override { return true; }
  service::ISession* CreateSession() override;
  std::uint32_t DestroySession(service::ISession* session) override;
  std::shared_ptr<service::ISession> CreateSharedSession(std::uintptr_t) override { return nullptr; }
  std::uint32_t KeyedQuery(std::uintptr_t, std::uintptr_t, std::uint32_t*) override { return 0; }
  std::uint32_t KeyedRequest(std::uintptr_t, std::uintptr_t, std::uintptr_t, std::uint32_t*) override { return 1; }
  std::uint32_t ReleaseSharedSession(std::shared_ptr<service::ISession>) override { return 0; }
  bool FinalQuery() override { return false; }

  std::shared_ptr<FakeFile> Open(const std::string& url) const { return opener_(url, key); }

  std::string key;
  int open_sessions = 0;
  bool gives_sessions = true;

 private:
  FakeOpener opener_;
};

/// A file that tells everything there is to tell.
std::shared_ptr<FakeFile> MakeFullFile();

}  // namespace mediaprobe::testing

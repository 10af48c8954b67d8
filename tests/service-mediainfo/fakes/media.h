#pragma once

#include <array>
#include <functional>
#include <map>
#include <optional>
#include <string>
#include <vector>

#include "fakes/com_object.h"
#include "fakes/system_strings.h"
#include "media_server/imedia_server.h"
#include "media_server/imetadata.h"

/// Scripted objects of the media server: public fields are what they answer.
namespace fakes {

using Text = std::optional<std::u16string>;

class VideoStream : public ComObject<media_server::IVideoStream> {
 public:
  const media_server::PictureFormat* GetVideoFormat() override {
    asked += "format ";
    return format ? &*format : nullptr;
  }
  void Reserved4() override {}
  void Reserved5() override {}
  std::int32_t GetRotation() override {
    asked += "rotation ";
    return rotation;
  }

  std::optional<media_server::PictureFormat> format = media_server::PictureFormat{};
  std::int32_t rotation = 0;
  std::string asked;
};

class PropertyReader : public ComObject<media_server::IPropertyReader> {
 public:
  std::int32_t GetProperty(const char16_t* key, void* out) override {
    asked.emplace_back(key);
    if (const auto found = integers.find(key); found != integers.end()) {
      *static_cast<std::int32_t*>(out) = found->second;
      return status_when_found;
    }
    if (const auto found = numbers.find(key); found != numbers.end()) {
      *static_cast<double*>(out) = found->second;
      return status_when_found;
    }
    if (const auto found = texts.find(key); found != texts.end()) {
      *static_cast<BSTR*>(out) = MakeSystemString(found->second);
      return status_when_found;
    }
    return status_when_missing;
  }

  std::map<std::u16string, std::int32_t> integers;
  std::map<std::u16string, double> numbers;
  std::map<std::u16string, Text> texts;
  std::int32_t status_when_found = platform::kOk;
  std::int32_t status_when_missing = platform::kFail;
  std::vector<std::u16string> asked;
};

class Stream : public ComObject<media_server::IStream> {
 public:
  std::int32_t GetMediaType() override { return media_type; }
  std::uint32_t GetIndex() override { return index; }
  std::uint32_t GetFourCC() override { return four_cc; }
  std::uint32_t GetBitRate() override { return bit_rate; }
  BSTR GetCodecName() override { return Answer(codec_name); }
  BSTR GetCodecLongName() override { return Answer(codec_long_name); }
  BSTR GetLanguage() override { return Answer(language); }
  double GetDuration() override { return duration; }
  std::int32_t GetProfile() override { return profile; }
  const media_server::SoundFormat* GetAudioFormat() override { return sound ? &*sound : nullptr; }
  const media_server::PictureFormat* GetVideoFormat() override { return picture ? &*picture : nullptr; }
  std::uint32_t GetId() override { return id; }
  std::uint32_t GetDisposition() override { return disposition; }

  std::int32_t media_type = 2;
  std::uint32_t index = 0;
  std::uint32_t four_cc = 0;
  std::uint32_t bit_rate = 0;
  Text codec_name;
  Text codec_long_name;
  Text language;
  double duration = 0;
  std::int32_t profile = 0;
  std::optional<media_server::SoundFormat> sound;
  std::optional<media_server::PictureFormat> picture;
  std::uint32_t id = 0;
  std::uint32_t disposition = 0;
  int text_questions = 0;

 private:
  BSTR Answer(const Text& text) {
    ++text_questions;
    return MakeSystemString(text);
  }
};

/// A picture stream with everything that a description needs.
class PictureStream : public Stream {
 public:
  PictureStream(std::uint32_t width, std::uint32_t height, std::uint32_t frame_count) {
    media_type = 2;
    picture.emplace();
    picture->width = width;
    picture->height = height;
    picture->frame_count = frame_count;
    video.format = picture;
    Offer(video);
  }

  VideoStream video;
};

class SoundStream : public Stream {
 public:
  SoundStream() {
    media_type = 3;
    sound.emplace();
  }
};

class SubPicStream : public ComObject<media_server::ISubPicStream> {
 public:
  std::uint32_t GetIndex() override { return index; }
  std::uint32_t GetId() override { return id; }
  std::uint32_t GetDisposition() override { return disposition; }
  BSTR GetCodecName() override { return Answer(codec_name); }
  BSTR GetLanguage() override { return Answer(language); }

  std::uint32_t index = 0;
  std::uint32_t id = 0;
  std::uint32_t disposition = 0;
  Text codec_name;
  Text language;
  int text_questions = 0;

 private:
  BSTR Answer(const Text& text) {
    ++text_questions;
    return MakeSystemString(text);
  }
};

/// Gives out `items`; a null item is given as success without an object.
template <typename Interface>
class List : public ComObject<media_server::IObjectList<Interface>> {
 public:
  List() = default;
  List(std::initializer_list<ComObject<Interface>*> objects) : items(objects) {}

  std::int32_t GetCount() override { return on_count ? on_count() : static_cast<std::int32_t>(items.size()); }
  std::int32_t GetAt(std::uint32_t index, Interface** out) override {
    *out = nullptr;
    if (index == failing_index || index >= items.size()) return platform::kFail;
    GiveOut(items[index], out);
    return status;
  }

  std::vector<ComObject<Interface>*> items;
  std::function<std::int32_t()> on_count;
  std::optional<std::uint32_t> failing_index;
  /// Told with every item that is given out.
  std::int32_t status = platform::kOk;
};

class Program : public ComObject<media_server::IProgram> {
 public:
  void Reserved3() override {}
  std::uint32_t GetNumber() override { return number; }
  double GetDuration() override { return duration; }
  std::uint32_t GetBitRate() override { return bit_rate; }
  std::uint32_t GetStreamCount() override { return stream_count; }
  std::int32_t GetVideoStreamList(media_server::IStreamList** out) override { return GiveList(video, out); }
  std::int32_t GetAudioStreamList(media_server::IStreamList** out) override { return GiveList(audio, out); }
  std::int32_t GetSubPicStreamList(media_server::ISubPicStreamList** out) override { return GiveList(subpic, out); }

  std::uint32_t number = 1;
  double duration = 0;
  std::uint32_t bit_rate = 0;
  std::uint32_t stream_count = 0;
  List<media_server::IStream>* video = nullptr;
  List<media_server::IStream>* audio = nullptr;
  List<media_server::ISubPicStream>* subpic = nullptr;
  /// Status of a list that is null, and of one that is not.
  std::int32_t missing_list_status = platform::kFail;
  std::int32_t list_status = platform::kOk;

 private:
  template <typename Object, typename Interface>
  std::int32_t GiveList(Object* list, Interface** out) {
    GiveOut(list, out);
    return list ? list_status : missing_list_status;
  }
};

class Metadata : public ComObject<media_server::IMetadata> {
 public:
  std::int32_t GetArtist(BSTR* out) override { return Answer("Artist", out); }
  std::int32_t GetTitle(BSTR* out) override { return Answer("Title", out); }
  std::int32_t GetTrackNumber(BSTR* out) override { return Answer("TrackNumber", out); }
  std::int32_t GetAlbum(BSTR* out) override { return Answer("Album", out); }
  std::int32_t GetDate(BSTR* out) override { return Answer("Date", out); }
  std::int32_t GetGenre(BSTR* out) override { return Answer("Genre", out); }
  std::int32_t GetPublisher(BSTR* out) override { return Answer("Publisher", out); }
  std::int32_t GetInteger(const char16_t* key, std::int32_t* out) override {
    const auto found = integers.find(key);
    if (found == integers.end()) return platform::kFail;
    *out = found->second;
    return status;
  }
  std::int32_t GetText(const char16_t* key, BSTR* out) override {
    const auto found = keyed_texts.find(key);
    if (found == keyed_texts.end()) return platform::kFail;
    *out = MakeSystemString(found->second);
    return status;
  }
  std::int32_t GetMaker(BSTR* out) override { return Answer("Maker", out); }
  std::int32_t GetModel(BSTR* out) override { return Answer("Model", out); }
  double GetGpsLatitude() override { return gps_latitude; }
  double GetGpsLongitude() override { return gps_longitude; }

  /// By the operation's name.
  std::map<std::string, std::u16string> texts;
  std::map<std::u16string, std::u16string> keyed_texts;
  std::map<std::u16string, std::int32_t> integers;
  double gps_latitude = 0;
  double gps_longitude = 0;
  /// Told with every answer.
  std::int32_t status = platform::kOk;
  int text_questions = 0;

 private:
  std::int32_t Answer(const char* name, BSTR* out) {
    ++text_questions;
    EXPECT_EQ(*out, nullptr) << "the out argument of " << name << " was not cleared";
    const auto found = texts.find(name);
    if (found != texts.end()) *out = MakeSystemString(found->second);
    return status;
  }
};

class MediaInfo : public ComObject<media_server::IMediaInfo> {
 public:
  std::uint32_t GetFormatFourCC() override { return four_cc; }
  std::int32_t GetFormatName(BSTR* out) override { return Answer("name", format_name, out); }
  std::int32_t GetFormatLongName(BSTR* out) override { return Answer("long name", format_long_name, out); }
  double GetDuration() override { return duration; }
  std::uint64_t GetBitRate() override { return bit_rate; }
  std::int32_t GetPrograms(media_server::IProgramCollection** out) override {
    GiveOut(programs, out);
    return programs_status;
  }
  std::uint64_t GetFileSize() override { return file_size; }
  std::int32_t GetDateText(BSTR* out) override { return Answer("date", date_text, out); }

  std::uint32_t four_cc = 0;
  Text format_name;
  Text format_long_name;
  double duration = 0;
  std::uint64_t bit_rate = 0;
  List<media_server::IProgram>* programs = nullptr;
  std::int32_t programs_status = platform::kOk;
  std::uint64_t file_size = 0;
  Text date_text;
  std::int32_t text_status = platform::kOk;
  /// Texts in the order in which they were asked for.
  std::vector<std::string> asked;

 private:
  std::int32_t Answer(const char* name, const Text& text, BSTR* out) {
    asked.emplace_back(name);
    *out = MakeSystemString(text);
    return text_status;
  }
};

class MediaServer : public ComObject<media_server::IMediaServer> {
 public:
  std::int32_t SetOption(const char* name, const core::ValAny* value) override {
    options.emplace_back(name, value->AsBuffer<const char>());
    return platform::kOk;
  }
  void Reserved4() override {}
  std::int32_t GetMediaInfo(const char16_t* path, media_server::IMediaInfo** out) override {
    paths.emplace_back(path);
    GiveOut(media_info, out);
    return result.value_or(media_info ? 1 : 0);
  }
  std::int64_t QueryImage(const char16_t* path, imagecore::QkImageInfo* info) override {
    image_paths.emplace_back(path);
    return query_image ? query_image(*info) : 0;
  }

  MediaInfo* media_info = nullptr;
  std::optional<std::int32_t> result;
  std::vector<std::u16string> paths;
  std::vector<std::pair<std::string, std::string>> options;
  /// Fills the record and gives the result; without it no image can be read.
  std::function<std::int64_t(imagecore::QkImageInfo& info)> query_image;
  std::vector<std::u16string> image_paths;
};

class CodecComponent : public ComObject<media_server::ICodecComponent> {
 public:
  void Reserved3() override {}
  void Reserved4() override {}
  std::int32_t OpenMediaInfo(const char16_t* path, std::uint32_t first, std::uint32_t second,
                             media_server::IMediaInfo** out) override {
    calls.push_back({path, first, second});
    GiveOut(media_info, out);
    return status;
  }

  struct Call {
    std::u16string path;
    std::uint32_t first;
    std::uint32_t second;
    friend bool operator==(const Call&, const Call&) = default;
  };

  MediaInfo* media_info = nullptr;
  std::int32_t status = platform::kOk;
  std::vector<Call> calls;
};

}  // namespace fakes

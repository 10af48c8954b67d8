#include "media-server/objects/media_info_object.h"

#include <cmath>
#include <string_view>
#include <utility>

#include "media-server/objects/com_object.h"
#include "media-server/objects/give.h"
#include "media-server/objects/stream_list.h"
#include "media-server/objects/stream_objects.h"
#include "media-server/objects/text.h"
#include "media_server/imetadata.h"
#include "media_server/metadata_keys.h"

namespace media_server {
namespace {

using platform::ComPtr;
using platform::ComStatus;
using SharedMedia = std::shared_ptr<const MediaDescription>;

struct KeyedText {
  std::u16string_view key;
  std::string_view (*text)(const MediaTags& tags);
};

constexpr KeyedText kKeyedTexts[] = {
    // Hosts show this one as the artist too, and few files name actors.
    {metadata_keys::kActor,
     [](const MediaTags& tags) -> std::string_view { return tags.artist.empty() ? tags.actor : tags.artist; }},
    {metadata_keys::kAigc, [](const MediaTags& tags) -> std::string_view { return tags.aigc; }},
    {metadata_keys::kGpsLatitudeRef,
     [](const MediaTags& tags) -> std::string_view {
       if (!tags.location) return "";
       return tags.location->latitude < 0 ? "S" : "N";
     }},
    {metadata_keys::kGpsLongitudeRef,
     [](const MediaTags& tags) -> std::string_view {
       if (!tags.location) return "";
       return tags.location->longitude < 0 ? "W" : "E";
     }},
};

class Program final : public ComObject<IProgram> {
 public:
  Program(SharedMedia media, std::size_t position) : media_(std::move(media)), program_(media_->programs[position]) {}

  void Reserved3() override {}
  std::uint32_t GetNumber() override { return program_.number; }
  double GetDuration() override { return program_.duration; }
  std::uint32_t GetBitRate() override { return program_.bit_rate; }
  std::uint32_t GetStreamCount() override { return program_.stream_count; }

  std::int32_t GetVideoStreamList(IStreamList** out) override { return GiveReference<IStreamList>(pictures_, out); }
  std::int32_t GetAudioStreamList(IStreamList** out) override { return GiveReference<IStreamList>(sounds_, out); }
  std::int32_t GetSubPicStreamList(ISubPicStreamList** out) override {
    return GiveReference<ISubPicStreamList>(subpictures_, out);
  }

 private:
  SharedMedia media_;
  const ProgramDescription& program_;  // within *media_
  StreamList<IStream> pictures_{*this, media_, program_, StreamKind::kPicture, &MakePictureStream};
  StreamList<IStream> sounds_{*this, media_, program_, StreamKind::kSound, &MakeSoundStream};
  StreamList<ISubPicStream> subpictures_{*this, media_, program_, StreamKind::kSubpicture, &MakeSubPicStream};
};

/// Is the list of its programs, too; a program's object is made when it is asked for.
class MediaInfo final : public ComObject<IMediaInfo, IMetadata, IProgramCollection> {
 public:
  explicit MediaInfo(SharedMedia media) : media_(std::move(media)) {}

  std::uint32_t GetFormatFourCC() override { return media_->format_fourcc; }
  std::int32_t GetFormatName(BSTR* out) override { return GiveText(media_->format_name, out); }
  std::int32_t GetFormatLongName(BSTR* out) override { return GiveText(media_->format_long_name, out); }
  double GetDuration() override { return media_->duration; }
  std::uint64_t GetBitRate() override { return media_->bit_rate; }
  std::uint64_t GetFileSize() override { return media_->file_size; }
  std::int32_t GetDateText(BSTR* out) override { return GiveText(media_->date_text, out); }

  std::int32_t GetArtist(BSTR* out) override { return GiveText(tags().artist, out); }
  std::int32_t GetTitle(BSTR* out) override { return GiveText(tags().title, out); }
  std::int32_t GetTrackNumber(BSTR* out) override { return GiveText(tags().track_number, out); }
  std::int32_t GetAlbum(BSTR* out) override { return GiveText(tags().album, out); }
  std::int32_t GetDate(BSTR* out) override { return GiveText(media_->date_text, out); }
  std::int32_t GetGenre(BSTR* out) override { return GiveText(tags().genre, out); }
  std::int32_t GetPublisher(BSTR* out) override { return GiveText(tags().publisher, out); }
  std::int32_t GetMaker(BSTR* out) override { return GiveText(tags().maker, out); }
  std::int32_t GetModel(BSTR* out) override { return GiveText(tags().model, out); }
  double GetGpsLatitude() override { return tags().location ? std::abs(tags().location->latitude) : 0; }
  double GetGpsLongitude() override { return tags().location ? std::abs(tags().location->longitude) : 0; }

  std::int32_t GetInteger(const char16_t* key, std::int32_t* out) override {
    if (key == nullptr || out == nullptr) return platform::kInvalidPointer;
    if (!IsKey(key, metadata_keys::kXmpAlphaMode) || !tags().alpha_mode) return platform::kFail;
    *out = *tags().alpha_mode;
    return platform::kOk;
  }

  std::int32_t GetText(const char16_t* key, BSTR* out) override {
    if (key == nullptr || out == nullptr) return platform::kInvalidPointer;
    *out = nullptr;
    const std::u16string_view wanted(key);
    for (const auto& [known, text] : kKeyedTexts) {
      if (IsKey(wanted, known)) return GiveText(text(tags()), out);
    }
    return platform::kFail;
  }

  std::int32_t GetPrograms(IProgramCollection** out) override { return GiveReference<IProgramCollection>(*this, out); }

  std::int32_t GetCount() override { return static_cast<std::int32_t>(media_->programs.size()); }
  std::int32_t GetAt(std::uint32_t index, IProgram** out) override {
    if (out == nullptr) return platform::kInvalidPointer;
    *out = nullptr;
    if (index >= media_->programs.size()) return platform::kInvalidArgument;
    return Give(out, [&] { return ComPtr<IProgram>::Attach(new Program(media_, index)); });
  }

 private:
  const MediaTags& tags() const { return media_->tags; }

  SharedMedia media_;
};

}  // namespace

ComPtr<IMediaInfo> MakeMediaInfo(SharedMedia media) {
  return ComPtr<IMediaInfo>::Attach(new MediaInfo(std::move(media)));
}

}  // namespace media_server

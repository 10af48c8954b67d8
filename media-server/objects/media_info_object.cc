#include "media-server/objects/media_info_object.h"

#include <cmath>
#include <new>
#include <string_view>
#include <utility>
#include <vector>

#include "core/error_text.h"
#include "media-server/objects/com_object.h"
#include "media-server/objects/object_list.h"
#include "media-server/objects/stream_objects.h"
#include "media-server/objects/text.h"
#include "media_server/imetadata.h"
#include "media_server/metadata_keys.h"

namespace media_server {
namespace {

using platform::ComPtr;
using platform::ComStatus;
using SharedMedia = std::shared_ptr<const MediaDescription>;

/// Gives a list through an out argument; memory that runs out is a failed call, since no exception may cross the
/// interface.
template <typename Item, typename MakeItems>
ComStatus GiveList(IObjectList<Item>** out, const MakeItems& make_items) {
  if (out == nullptr) return platform::kInvalidPointer;
  *out = nullptr;
  try {
    *out = new ObjectList<Item>(make_items());
    return platform::kOk;
  } catch (const std::bad_alloc&) {
    CoreSetErrorText("out of memory");
    return platform::kFail;
  }
}

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

  std::int32_t GetVideoStreamList(IStreamList** out) override {
    return GiveList(out, [&] { return Streams<IStream>(StreamKind::kPicture, &MakePictureStream); });
  }
  std::int32_t GetAudioStreamList(IStreamList** out) override {
    return GiveList(out, [&] { return Streams<IStream>(StreamKind::kSound, &MakeSoundStream); });
  }
  std::int32_t GetSubPicStreamList(ISubPicStreamList** out) override {
    return GiveList(out, [&] { return Streams<ISubPicStream>(StreamKind::kSubpicture, &MakeSubPicStream); });
  }

 private:
  template <typename Item>
  std::vector<ComPtr<Item>> Streams(StreamKind kind, ComPtr<Item> (*make)(SharedMedia, std::size_t)) const {
    std::vector<ComPtr<Item>> items;
    for (const std::size_t position : program_.streams) {
      if (media_->streams[position].kind == kind) items.push_back(make(media_, position));
    }
    return items;
  }

  SharedMedia media_;
  const ProgramDescription& program_;  // within *media_
};

class MediaInfo final : public ComObject<IMediaInfo, IMetadata> {
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
    return platform::kFail;  // the one integer, an alpha mode, is a fact of images
  }

  std::int32_t GetText(const char16_t* key, BSTR* out) override {
    if (key == nullptr || out == nullptr) return platform::kInvalidPointer;
    *out = nullptr;
    const std::u16string_view wanted(key);
    for (const auto& [known, text] : kKeyedTexts) {
      if (AreSame(known, wanted)) return GiveText(text(tags()), out);
    }
    return platform::kFail;
  }

  std::int32_t GetPrograms(IProgramCollection** out) override {
    return GiveList(out, [&] {
      std::vector<ComPtr<IProgram>> programs;
      for (std::size_t i = 0; i < media_->programs.size(); ++i) {
        programs.push_back(ComPtr<IProgram>::Attach(new Program(media_, i)));
      }
      return programs;
    });
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

#include "service-mediainfo/metadata/media_file_import.h"

#include <array>
#include <span>
#include <string_view>
#include <variant>

#include "mediainfo/metedata_keys.h"
#include "service-mediainfo/metadata/c_buffer.h"

namespace service::mediainfo {
namespace {

namespace keys = metedata_keys;

using Source = IMetaDataInfo;
using ReadText = const char* (Source::*)();
using ReadInteger = std::int32_t (Source::*)();
using ReadNumber = double (Source::*)();
using ReadBuffer = void* (Source::*)();
using ReadAigcMeta = const keys::AIGC_META* (Source::*)();

struct Tag {
  std::string_view key;
  std::variant<ReadText, ReadInteger, ReadNumber, ReadBuffer, ReadAigcMeta> read;
};

constexpr std::array<Tag, 29> kTags{{
    // Files tell their artist where they tell their actors; GetArtist is another field.
    {keys::kArtist, &Source::GetActor},
    {keys::kTitle, &Source::GetTitle},
    {keys::kTrackNumber, &Source::GetTrackNumber},
    {keys::kAlbum, &Source::GetAlbum},
    {keys::kDate, &Source::GetDate},
    {keys::kGenre, &Source::GetGenre},
    {keys::kPublisher, &Source::GetPublisher},
    {keys::kShow, &Source::GetShow},
    {keys::kReleaseDate, &Source::GetReleaseDate},
    {keys::kActor, &Source::GetActor},
    {keys::kDirector, &Source::GetDirector},
    {keys::kProducer, &Source::GetProducer},
    {keys::kScreenwriter, &Source::GetScreenwriter},
    {keys::kTagline, &Source::GetTagline},
    {keys::kDescription, &Source::GetDescription},
    {keys::kComment, &Source::GetComment},
    {keys::kTvnetwork, &Source::GetTvnetwork},
    {keys::kMaker, &Source::GetMaker},
    {keys::kModel, &Source::GetModel},
    {keys::kGpsLatitude, &Source::GetGpsLatitude},
    {keys::kGpsLongitude, &Source::GetGpsLongitude},
    {keys::kGpsLatitudeRef, &Source::GetGpsLatitudeRef},
    {keys::kGpsLongitudeRef, &Source::GetGpsLongitudeRef},
    {keys::kVideoKind, &Source::GetVideoKind},
    {keys::kImageData, &Source::GetImageData},
    {keys::kContentRating, &Source::GetContentRating},
    {keys::kDefinition, &Source::GetDefinition},
    {keys::kAigcMeta, &Source::GetAigcMeta},
    {keys::kAlphaMode, &Source::GetAlphaMode},
}};

/// Room that readers of a stored text may count on behind its characters, terminator included.
constexpr std::size_t kTextReserve = 10;

/// Imports one tag, by the type of its read operation.
struct Importer {
  IMetaDataInfo& source;
  MetadataInfoMPL& store;
  std::string_view key;

  void operator()(ReadText read) const {
    const char* text = (source.*read)();
    const std::string_view content(text ? text : "");
    if (store.HoldsText(key, content)) return;
    store.Put(key, MakeCBuffer(std::as_bytes(std::span(content)), content.size() + kTextReserve));
  }
  void operator()(ReadInteger read) const { store.Put(key, core::ValAny::FromInt32((source.*read)())); }
  void operator()(ReadNumber read) const { store.Put(key, core::ValAny::FromDouble((source.*read)())); }
  void operator()(ReadBuffer read) const { store.Put(key, CBuffer((source.*read)())); }
  void operator()(ReadAigcMeta read) const {
    const keys::AIGC_META* record = (source.*read)();
    if (record != nullptr) store.Put(key, core::ValAny::Box(*record));
  }
};

}  // namespace

void ImportMediaFileMetadata(IMetaDataInfo& source, MetadataInfoMPL& store) {
  for (const Tag& tag : kTags) std::visit(Importer{source, store, tag.key}, tag.read);
}

}  // namespace service::mediainfo

#include "media-server/probe/tag_reader.h"

#include <algorithm>
#include <cstddef>
#include <span>
#include <string_view>

#include "media-server/container/byte_reader.h"
#include "media-server/container/text.h"
#include "media-server/metadata/iso6709.h"
#include "media-server/metadata/timestamp.h"
#include "media-server/metadata/xmp_property.h"
#include "media-server/probe/ffmpeg.h"
#include "media-server/probe/streams.h"
#include "media-server/probe/tags_of_xmp.h"
#include "media_server/image_info.h"
#include "platform/text.h"
#include "platform/utf8.h"

namespace media_server::probe {
namespace {

// Longer texts are cut: no tag for people is, and hosts copy every one.
constexpr std::size_t kLongestText = std::size_t{1} << 20;

struct Field {
  std::string MediaTags::*text;
  /// Names under which containers keep it, best first; letter case does not matter. The short ones beginning with © and
  /// the four-letter ones are atoms of MP4 user data and iTunes lists.
  std::span<const std::string_view> keys;
};

constexpr std::string_view kTitleKeys[] = {"title", "com.apple.quicktime.title", "\u00A9nam", "titl"};
constexpr std::string_view kArtistKeys[] = {"artist", "com.apple.quicktime.artist", "\u00A9ART", "perf",
                                            "author", "com.apple.quicktime.author", "auth"};
constexpr std::string_view kAlbumKeys[] = {"album", "com.apple.quicktime.album", "\u00A9alb", "albm", "product"};
constexpr std::string_view kTrackKeys[] = {"track", "trkn", "tracknumber", "track number"};
constexpr std::string_view kGenreKeys[] = {"genre", "com.apple.quicktime.genre", "\u00A9gen", "gnre"};
constexpr std::string_view kPublisherKeys[] = {
    "publisher", "com.apple.quicktime.publisher", "\u00A9pub", "organization", "label", "TPB"};
constexpr std::string_view kActorKeys[] = {"actor", "performer", "\u00A9prf"};
constexpr std::string_view kMakerKeys[] = {
    "make", "com.apple.quicktime.make", "com.android.manufacturer", "\u00A9mak", "manu", "maker", "manufacturer"};
constexpr std::string_view kModelKeys[] = {"model", "com.apple.quicktime.model", "com.android.model", "\u00A9mod",
                                           "modl"};
constexpr std::string_view kAigcKeys[] = {"AIGC"};
constexpr std::string_view kLocationKeys[] = {"location", "com.apple.quicktime.location.ISO6709", "\u00A9xyz", "loci"};
constexpr std::string_view kCreationKeys[] = {"creation_time", "com.apple.quicktime.creationdate"};
// When it was recorded, where nothing tells when the file was written.
constexpr std::string_view kDateKeys[] = {"DATE_RECORDED", "recorded date"};
constexpr std::string_view kUserDataDates[] = {"\u00A9day", "date"};
constexpr std::string_view kModificationKeys[] = {"modification_time", "modification_date"};

constexpr Field kFields[] = {
    {&MediaTags::title, kTitleKeys}, {&MediaTags::artist, kArtistKeys},      {&MediaTags::album, kAlbumKeys},
    {&MediaTags::genre, kGenreKeys}, {&MediaTags::track_number, kTrackKeys}, {&MediaTags::publisher, kPublisherKeys},
    {&MediaTags::actor, kActorKeys}, {&MediaTags::maker, kMakerKeys},        {&MediaTags::model, kModelKeys},
    {&MediaTags::aigc, kAigcKeys},
};

/// Texts that libavformat hands on as they stand, of a character set that was never said: those of some formats, and
/// those of ID3v1 tags.
struct CharacterSet {
  std::string_view demuxer;
  std::string (*read)(std::span<const std::uint8_t> bytes);
};
constexpr CharacterSet kCharacterSets[] = {
    {"aac", &TextFromUtf8OrWindows1252}, {"aiff", &TextFromUtf8OrMacRoman},  {"avi", &TextFromUtf8OrWindows1252},
    {"mp3", &TextFromUtf8OrWindows1252}, {"rm", &TextFromUtf8OrWindows1252}, {"tta", &TextFromUtf8OrWindows1252},
    {"wav", &TextFromUtf8OrWindows1252}, {"wv", &TextFromUtf8OrWindows1252},
};

std::string Clean(std::string_view text) { return platform::ToValidUtf8(platform::CutUtf8(text, kLongestText)); }

bool EqualIgnoringCase(std::string_view a, std::string_view b) {
  const auto lower = [](char c) { return c >= 'A' && c <= 'Z' ? static_cast<char>(c - 'A' + 'a') : c; };
  return std::ranges::equal(a, b, {}, lower, lower);
}

/// Looks for tags in one place after another.
class TagSources {
 public:
  TagSources(const AVFormatContext& context, const ContainerFacts& container)
      : context_(context), container_(container) {}

  /// What `Find` finds, as valid UTF-8.
  std::string FindText(std::span<const std::string_view> keys) const {
    const std::string_view found = platform::CutUtf8(Find(keys), kLongestText);
    const auto* set = std::ranges::find(kCharacterSets, Demuxer(), &CharacterSet::demuxer);
    return set == std::end(kCharacterSets) ? platform::ToValidUtf8(found) : set->read(AsBytes(found));
  }

  /// The value under the best key of the first place that has one; borrowed; empty when there is none.
  std::string_view Find(std::span<const std::string_view> keys) const {
    if (const auto found = FindInMovie(keys); !found.empty()) return found;
    if (const auto found = FindInApeTag(keys); !found.empty()) return found;
    if (const auto found = FindInDictionary(context_.metadata, keys); !found.empty()) return found;
    for (const AVStream* stream : Streams(context_)) {
      const bool title_is_of_picture = IsCover(*stream);
      if (title_is_of_picture || !TagsAreOnStreams()) continue;
      if (const auto found = FindInDictionary(stream->metadata, keys); !found.empty()) return found;
    }
    return {};
  }

  // The clocks of cameras that wrote the date of AVI files (IDIT) tell no zone.
  std::optional<std::int64_t> CreationTime() const {
    const std::string_view text = Find(kCreationKeys);
    return Demuxer() == "avi" ? ParseLocalTimestamp(text) : ParseTimestamp(text);
  }

 private:
  std::string_view Demuxer() const { return context_.iformat->name; }
  bool TagsAreOnStreams() const { return Demuxer() == "ogg"; }

  // libavformat mixes several tables of named keys up and lets a track's title replace the movie's; our own reader does
  // not.
  std::string_view FindInMovie(std::span<const std::string_view> keys) const {
    if (!container_.movie) return {};
    for (const std::string_view key : keys) {
      for (const Mp4MetaEntry& entry : container_.movie->metadata) {
        const bool is_tag = entry.name_space != Mp4MetaNamespace::kXmp;
        if (is_tag && !entry.value.empty() && EqualIgnoringCase(entry.key, key)) return entry.value;
      }
    }
    return {};
  }

  std::string_view FindInApeTag(std::span<const std::string_view> keys) const {
    for (const std::string_view key : keys) {
      for (const ApeText& text : container_.ape_texts) {
        if (!text.value.empty() && EqualIgnoringCase(text.key, key)) return text.value;
      }
    }
    return {};
  }

  static std::string_view FindInDictionary(const AVDictionary* tags, std::span<const std::string_view> keys) {
    for (const std::string_view key : keys) {
      const AVDictionaryEntry* entry = av_dict_get(tags, std::string(key).c_str(), nullptr, 0);
      if (entry != nullptr && *entry->value != '\0') return entry->value;
    }
    return {};
  }

  const AVFormatContext& context_;
  const ContainerFacts& container_;
};

std::string_view XmpOf(const ContainerFacts& container) {
  if (!container.movie) return container.xmp;
  const auto& metadata = container.movie->metadata;
  const auto found = std::ranges::find(metadata, Mp4MetaNamespace::kXmp, &Mp4MetaEntry::name_space);
  return found != metadata.end() ? std::string_view(found->value) : std::string_view();
}

std::optional<std::int32_t> AlphaModeOf(std::string_view name) {
  if (name == "straight") return imagecore::kAlphaStraight;
  if (name == "pre-multiplied") return imagecore::kAlphaPremultiplied;
  if (name == "none") return imagecore::kAlphaNone;
  return std::nullopt;
}

// The first second of 1970 is what a writer without a clock tells.
std::optional<std::int64_t> SetClock(std::optional<std::int64_t> time) { return time == 0 ? std::nullopt : time; }

std::optional<std::int64_t> TimeOfTracks(const ContainerFacts& container,
                                         std::optional<std::int64_t> Mp4HeaderTimes::*time) {
  if (!container.movie) return std::nullopt;
  for (const Mp4Track& track : container.movie->tracks) {
    if (const auto set = SetClock(track.times.*time)) return set;
  }
  return std::nullopt;
}

// A day or a year without a time of day is the date of a work more often than that of a file. So is what an iTunes list
// has under the name of QuickTime's user data: the day when the song came out.
std::optional<std::int64_t> RecordingTime(const TagSources& sources, const ContainerFacts& container) {
  if (const auto date = ParseLocalTimestamp(container.date)) return date;
  if (container.movie) {
    for (const Mp4MetaEntry& entry : container.movie->metadata) {
      if (entry.name_space != Mp4MetaNamespace::kUserData) continue;
      if (std::ranges::find(kUserDataDates, entry.key) == std::end(kUserDataDates)) continue;
      if (const auto date = ParseLocalTimestamp(entry.value)) return date;
    }
  }
  return ParseLocalTimestamp(sources.Find(kDateKeys));
}

}  // namespace

MediaTags ReadTags(const AVFormatContext& context, const ContainerFacts& container) {
  const TagSources sources(context, container);
  MediaTags tags;
  for (const Field& field : kFields) tags.*field.text = sources.FindText(field.keys);
  if (container.id3v1) {
    if (tags.title.empty()) tags.title = container.id3v1->title;
    if (tags.artist.empty()) tags.artist = container.id3v1->artist;
    if (tags.album.empty()) tags.album = container.id3v1->album;
    if (tags.track_number.empty()) tags.track_number = container.id3v1->track_number;
  }
  if (tags.aigc.empty()) tags.aigc = Clean(container.aigc);
  if (tags.aigc.empty()) tags.aigc = Clean(ReadXmpProperty(XmpOf(container), kXmpAigcLabel).value_or(""));
  tags.alpha_mode = AlphaModeOf(ReadXmpProperty(XmpOf(container), kXmpVideoAlphaMode).value_or(""));
  tags.location = ParseIso6709(sources.Find(kLocationKeys));
  if (container.movie) {
    tags.created = SetClock(container.movie->times.creation_unix_s);
    tags.modified = SetClock(container.movie->times.modification_unix_s);
  }
  if (!tags.created) tags.created = container.created;
  if (!tags.created) tags.created = SetClock(sources.CreationTime());
  if (!tags.created) tags.created = TimeOfTracks(container, &Mp4HeaderTimes::creation_unix_s);
  if (!tags.modified) tags.modified = SetClock(ParseTimestamp(sources.Find(kModificationKeys)));
  if (!tags.modified) tags.modified = TimeOfTracks(container, &Mp4HeaderTimes::modification_unix_s);
  if (!tags.created) tags.created = RecordingTime(sources, container);
  CompleteFromXmp(XmpOf(container), tags);
  return tags;
}

bool IsTagOfInterest(std::string_view key) {
  constexpr std::string_view kId3Frames[] = {"TIT2", "TT2", "TPE1", "TP1", "TALB", "TAL",
                                             "TCON", "TCO", "TRCK", "TRK", "TPUB", "TPB"};
  const auto is_key = [&](std::string_view known) { return EqualIgnoringCase(known, key); };
  return std::ranges::any_of(kFields, [&](const Field& field) { return std::ranges::any_of(field.keys, is_key); }) ||
         std::ranges::any_of(kLocationKeys, is_key) || std::ranges::any_of(kCreationKeys, is_key) ||
         std::ranges::any_of(kModificationKeys, is_key) || std::ranges::any_of(kDateKeys, is_key) ||
         std::ranges::any_of(kId3Frames, is_key);
}

}  // namespace media_server::probe

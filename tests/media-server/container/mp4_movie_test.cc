#include "media-server/container/mp4_movie.h"

#include <gtest/gtest.h>
#include <utf8.h>

#include <initializer_list>
#include <string>
#include <string_view>

#include "tests/media-server/comma_locale.h"
#include "tests/media-server/container/mp4_builder.h"

namespace media_server {
namespace {

using namespace std::string_literals;

constexpr std::uint32_t kFrom1904 = 2082844800;

std::string MovieHeader(std::uint32_t creation, std::uint32_t modification, std::uint32_t timescale,
                        std::uint32_t duration) {
  return FullBox("mvhd", Be(creation, 4) + Be(modification, 4) + Be(timescale, 4) + Be(duration, 4) + Zeros(80));
}

std::string TrackHeader(std::uint32_t id, std::uint32_t flags = 3) {
  return FullBox("tkhd", Zeros(8) + Be(id, 4) + Zeros(68), 0, flags);
}

/// Media header of 90000 ticks a second; language packed in three times five bits.
std::string MediaHeader(std::uint32_t duration = 180000, std::uint32_t language = 0x15C7) {
  return FullBox("mdhd", Zeros(8) + Be(90000, 4) + Be(duration, 4) + Be(language, 2) + Zeros(2));
}

std::string Handler(const std::string& type) { return FullBox("hdlr", Zeros(4) + type + Zeros(13)); }

std::string PictureEntry(const std::string& type, const std::string& children = "") {
  return Box(type, Zeros(6) + Be(1, 2)                          // reserved, data reference
                       + Zeros(16) + Be(1920, 2) + Be(1080, 2)  // size
                       + Zeros(50) + children);
}

std::string SoundEntry(const std::string& type, std::uint16_t version, const std::string& children = "") {
  const std::size_t extra = version == 1 ? 16 : version == 2 ? 36 : 0;
  return Box(type, Zeros(6) + Be(1, 2)                                 // reserved, data reference
                       + Be(version, 2) + Zeros(6) + Be(6, 2)          // channels
                       + Be(16, 2) + Zeros(4) + Be(48000ULL << 16, 4)  // sample rate in 16.16
                       + Zeros(extra) + children);
}

std::string Descriptions(const std::string& entry) { return FullBox("stsd", Be(1, 4) + entry); }

std::string SampleTable(const std::string& boxes) { return Box("minf", Box("stbl", boxes)); }

std::string PictureTrack(const std::string& tables, const std::string& more = "") {
  return Box("trak", TrackHeader(7) + Box("mdia", MediaHeader() + Handler("vide") + SampleTable(tables)) + more);
}

Mp4Movie ReadBytes(const std::string& bytes) {
  MemorySource source(bytes);
  return ReadMp4Movie(source);
}

Mp4Movie ReadMoov(const std::string& children) { return ReadBytes(Box("moov", children)); }

Mp4Track ReadTrack(const std::string& tables) {
  const Mp4Movie movie = ReadMoov(PictureTrack(tables));
  return movie.tracks.empty() ? Mp4Track{} : movie.tracks[0];
}

std::string Data(std::uint32_t type, const std::string& value) { return Box("data", Be(type, 4) + Zeros(4) + value); }

/// A meta box of named keys, each with one text value.
std::string NamedMeta(const std::vector<std::pair<std::string, std::string>>& values) {
  std::string keys = Be(values.size(), 4);
  std::string items;
  std::uint32_t index = 0;
  for (const auto& [key, item] : values) {
    keys += Box("mdta", key);
    items += Be(8 + item.size(), 4) + Be(++index, 4) + item;
  }
  return Box("meta", Handler("mdta") + FullBox("keys", keys) + Box("ilst", items));
}

std::string ItunesMeta(const std::string& items) { return FullBox("meta", Handler("mdir") + Box("ilst", items)); }

TEST(Mp4Movie, EmptyInputHasNothing) {
  const Mp4Movie movie = ReadBytes("");
  EXPECT_FALSE(movie.has_moov);
  EXPECT_FALSE(movie.has_mdat);
  EXPECT_FALSE(movie.truncated);
  EXPECT_FALSE(movie.MoovMissing());
  EXPECT_FALSE(movie.duration);
  EXPECT_TRUE(movie.tracks.empty());
}

TEST(Mp4Movie, BrandsStandInFtyp) {
  const Mp4Movie movie = ReadBytes(Box("ftyp", "isom" + Be(512, 4) + "isommp42"));
  EXPECT_EQ(movie.major_brand, "isom");
  EXPECT_EQ(movie.compatible_brands, (std::vector<std::string>{"isom", "mp42"}));
}

TEST(Mp4Movie, HeaderTimesAreUnixSeconds) {
  const Mp4Movie movie = ReadMoov(MovieHeader(kFrom1904 + 1546300800, kFrom1904 + 1546300801, 1000, 2500));
  EXPECT_EQ(movie.times.creation_unix_s, 1546300800);
  EXPECT_EQ(movie.times.modification_unix_s, 1546300801);
  ASSERT_TRUE(movie.duration);
  EXPECT_EQ(movie.duration->value, 2500U);
  EXPECT_EQ(movie.duration->timescale, 1000U);
}

TEST(Mp4Movie, ZeroTimesAreNoTimesAndEarlyOnesAreUnixTimes) {
  const Mp4Movie movie = ReadMoov(MovieHeader(0, 1546300800, 1000, 0));
  EXPECT_FALSE(movie.times.creation_unix_s);
  EXPECT_EQ(movie.times.modification_unix_s, 1546300800);
  EXPECT_FALSE(movie.duration);
}

TEST(Mp4Movie, HeaderOfVersion1IsTwiceAsWide) {
  const Mp4Movie movie = ReadMoov(FullBox(
      "mvhd", Be(kFrom1904 + 5ULL, 8) + Be(kFrom1904 + 6ULL, 8) + Be(600, 4) + Be(1ULL << 33, 8) + Zeros(80), 1));
  EXPECT_EQ(movie.times.creation_unix_s, 5);
  EXPECT_EQ(movie.times.modification_unix_s, 6);
  EXPECT_EQ(movie.duration->value, 1ULL << 33);
}

TEST(Mp4Movie, TimesOfATrackAreThoseOfItsMediaFirst) {
  const std::string track_header = FullBox("tkhd", Be(11, 4) + Be(12, 4) + Be(1, 4) + Zeros(68));
  const auto times = [&](std::uint32_t creation, std::uint32_t modification) {
    const std::string media = FullBox("mdhd", Be(creation, 4) + Be(modification, 4) + Be(1000, 4) + Zeros(8));
    return ReadMoov(Box("trak", track_header + Box("mdia", media))).tracks.at(0).times;
  };
  EXPECT_EQ(times(21, 22).creation_unix_s, 21);
  EXPECT_EQ(times(21, 22).modification_unix_s, 22);
  EXPECT_EQ(times(0, 0).creation_unix_s, 11);
  EXPECT_EQ(times(0, 0).modification_unix_s, 12);
}

TEST(Mp4Movie, MatrixOfATrackStandsBehindItsDuration) {
  const std::string quarter = Be(0, 4) + Be(0x10000, 4) + Be(0, 4) + Be(0xFFFF0000, 4) + Zeros(4 * 4) + Be(1 << 30, 4);
  const auto turn = [](const std::string& header) { return ReadMoov(Box("trak", header)).tracks.at(0).turn; };
  EXPECT_EQ(turn(FullBox("tkhd", Zeros(8 + 4 + 4 + 4 + 16) + quarter + Zeros(8))), (DisplayTurn{false, 1}));
  EXPECT_EQ(turn(FullBox("tkhd", Zeros(16 + 4 + 4 + 8 + 16) + quarter + Zeros(8), 1)), (DisplayTurn{false, 1}));
  EXPECT_FALSE(turn(FullBox("tkhd", Zeros(8 + 4 + 4 + 4 + 16) + quarter.substr(1))));
  EXPECT_FALSE(turn(FullBox("tkhd", Zeros(16 + 4 + 4 + 8 + 16) + quarter.substr(1), 1)));
}

TEST(Mp4Movie, UnknownDurationAndZeroTimescaleAreEmpty) {
  EXPECT_FALSE(ReadMoov(MovieHeader(0, 0, 1000, UINT32_MAX)).duration);
  EXPECT_FALSE(ReadMoov(MovieHeader(0, 0, 0, 1000)).duration);
}

TEST(Mp4Movie, TrackHeadersAreRead) {
  const Mp4Track track = ReadTrack(Descriptions(PictureEntry("avc1")));
  EXPECT_EQ(track.id, 7U);
  EXPECT_EQ(track.handler, "vide");
  EXPECT_EQ(track.sample_entry, "avc1");
  EXPECT_EQ(track.width, 1920U);
  EXPECT_EQ(track.height, 1080U);
  EXPECT_EQ(track.language, "eng");
  EXPECT_EQ(track.timescale, 90000U);
  EXPECT_EQ(track.duration->value, 180000U);
  EXPECT_FALSE(track.is_protected);
  EXPECT_FALSE(track.clean_aperture);
  EXPECT_FALSE(track.sample_count);
  EXPECT_FALSE(track.decoding_times);
  EXPECT_TRUE(track.plausible);
}

TEST(Mp4Movie, LanguageTagOfAnExtendedBoxWins) {
  const auto language_of = [](const std::string& boxes) {
    return ReadMoov(Box("trak", TrackHeader(1) + Box("mdia", boxes))).tracks[0].language;
  };
  EXPECT_EQ(language_of(MediaHeader() + FullBox("elng", "zh-Hant\0"s)), "zh-Hant");
  EXPECT_EQ(language_of(FullBox("elng", "zh-Hant\0"s) + MediaHeader()), "zh-Hant");
  EXPECT_EQ(language_of(MediaHeader(1, 0)), "");       // Macintosh English
  EXPECT_EQ(language_of(MediaHeader(1, 0x7FFF)), "");  // not specified
}

std::string Edit(std::uint32_t ticks, std::uint32_t start, std::uint32_t speed = 0x10000) {
  return Be(ticks, 4) + Be(start, 4) + Be(speed, 4);
}

/// What the track's edits come to at 1000 ticks a second.
double EditedSeconds(std::uint32_t count, const std::string& entries, std::uint8_t version = 0) {
  const std::string edits = Box("edts", FullBox("elst", Be(count, 4) + entries, version));
  return ReadMoov(MovieHeader(0, 0, 1000, 9000) + Box("trak", TrackHeader(1) + edits)).EditedSeconds();
}

TEST(Mp4Movie, EditsThatChooseOnePartTellNoLength) {
  EXPECT_EQ(EditedSeconds(1, Edit(2000, 0)), 0);
  EXPECT_EQ(EditedSeconds(1, Edit(2000, 512)), 0);
  EXPECT_EQ(EditedSeconds(0, ""), 0);
  EXPECT_EQ(EditedSeconds(1, Edit(2000, 0) + Edit(0, 0, 0)), 0) << "room behind the edits";
}

TEST(Mp4Movie, EditsThatDoMoreTellTheLengthOfAll) {
  constexpr std::uint32_t kNowhere = 0xFFFFFFFF;
  EXPECT_EQ(EditedSeconds(2, Edit(500, kNowhere) + Edit(2000, 0)), 2.5) << "begins late";
  EXPECT_EQ(EditedSeconds(3, Edit(1000, 0) + Edit(250, kNowhere) + Edit(1000, 0)), 2.25) << "shows a part twice";
  EXPECT_EQ(EditedSeconds(1, Edit(5000, 0, 0)), 5) << "stands still";
  EXPECT_EQ(EditedSeconds(1, Edit(4000, 0, 0x8000)), 4) << "goes at half the speed";
  const std::string wide = Be(1000, 8) + Be(0, 8) + Be(0x10000, 4);
  EXPECT_EQ(EditedSeconds(2, wide + wide, 1), 2);
  EXPECT_EQ(EditedSeconds(2, Edit(1000, 0) + "cut"), 0);
  EXPECT_EQ(EditedSeconds(1, Edit(10000, 0, 0)), 9) << "longer than the movie";
}

TEST(Mp4Movie, TheLongestEditedTrackCounts) {
  const auto track = [](std::uint32_t ticks) {
    return Box("trak", TrackHeader(1) + Box("edts", FullBox("elst", Be(1, 4) + Edit(ticks, 0, 0))));
  };
  EXPECT_EQ(ReadMoov(MovieHeader(0, 0, 100, 9000) + track(300) + track(500) + track(400)).EditedSeconds(), 5);
  EXPECT_EQ(ReadMoov(track(300)).EditedSeconds(), 0) << "nothing tells how long a tick is";
}

TEST(Mp4Movie, SoundEntriesOfAllVersions) {
  for (const std::uint16_t version : std::initializer_list<std::uint16_t>{0, 1, 2}) {
    const std::string sinf = Box("sinf", Box("schi", FullBox("tenc", Zeros(2) + Be(0, 1) + Be(0, 1) + Zeros(16))));
    const Mp4Movie movie = ReadMoov(
        Box("trak", TrackHeader(2) + Box("mdia", MediaHeader() + Handler("soun") +
                                                     SampleTable(Descriptions(SoundEntry("enca", version, sinf))))));
    EXPECT_FALSE(movie.tracks.at(0).is_protected) << "the box behind the entry of version " << version;
  }
}

TEST(Mp4Movie, PicturesOfAllHandlersHaveTheirSize) {
  for (const char* const handler : {"vide", "auxv", "pict"}) {
    const std::string tables = SampleTable(Descriptions(PictureEntry("hvc1")));
    const Mp4Movie movie =
        ReadMoov(Box("trak", TrackHeader(2) + Box("mdia", MediaHeader() + Handler(handler) + tables)));
    EXPECT_EQ(movie.tracks.at(0).width, 1920U) << handler;
    EXPECT_EQ(movie.tracks.at(0).height, 1080U) << handler;
  }
}

TEST(Mp4Movie, AuxiliaryPicturesTellWhatTheyAre) {
  const std::string alpha = FullBox("auxi", "urn:mpeg:mpegB:cicp:systems:auxiliary:alpha\0more"s);
  EXPECT_EQ(ReadTrack(Descriptions(PictureEntry("av01", alpha))).auxiliary_type,
            "urn:mpeg:mpegB:cicp:systems:auxiliary:alpha");
  EXPECT_EQ(ReadTrack(Descriptions(PictureEntry("av01"))).auxiliary_type, "");
}

TEST(Mp4Movie, EncryptedEntryIsProtected) {
  const Mp4Track track = ReadTrack(Descriptions(
      PictureEntry("encv", Box("sinf", Box("frma", "avc1") + FullBox("schm", "cenc" + Be(0x10000, 4)) +
                                           Box("schi", FullBox("tenc", Zeros(2) + Be(1, 1) + Be(8, 1) + Zeros(16)))))));
  EXPECT_EQ(track.sample_entry, "encv");
  EXPECT_TRUE(track.is_protected);
}

TEST(Mp4Movie, EncryptedEntryWithoutProtectionBoxIsStillEncrypted) {
  for (const char* name : {"encv", "drmi"}) {
    EXPECT_TRUE(ReadTrack(Descriptions(PictureEntry(name))).is_protected) << name;
  }
}

TEST(Mp4Movie, UnprotectedByDefault) {
  const Mp4Track track = ReadTrack(Descriptions(
      PictureEntry("encv", Box("sinf", Box("schi", FullBox("tenc", Zeros(2) + Be(0, 1) + Be(0, 1) + Zeros(16)))))));
  EXPECT_FALSE(track.is_protected);
}

TEST(Mp4Movie, CleanApertureKeepsItsFractions) {
  const std::string clap =
      Be(1280, 4) + Be(3, 4) + Be(720, 4) + Be(1, 4) + Be(0xFFFFFFFF, 4) + Be(2, 4) + Be(5, 4) + Be(4, 4);
  const Mp4Track track = ReadTrack(Descriptions(PictureEntry("avc1", Box("clap", clap))));
  ASSERT_TRUE(track.clean_aperture);
  EXPECT_GT(track.clean_aperture->box_offset, 78U) << "behind the fields of the entry";
  EXPECT_EQ(track.clean_aperture->width_n, 1280U);
  EXPECT_EQ(track.clean_aperture->width_d, 3U);
  EXPECT_EQ(track.clean_aperture->height_n, 720U);
  EXPECT_EQ(track.clean_aperture->horizontal_offset_n, -1);
  EXPECT_EQ(track.clean_aperture->horizontal_offset_d, 2U);
  EXPECT_EQ(track.clean_aperture->vertical_offset_n, 5);
  EXPECT_EQ(track.clean_aperture->vertical_offset_d, 4U);
  EXPECT_FALSE(ReadTrack(Descriptions(PictureEntry("avc1", Box("clap", clap.substr(1))))).clean_aperture);
}

TEST(Mp4Movie, DecodingTimesIgnoreTheLastSample) {
  const Mp4Track track = ReadTrack(FullBox("stts", Be(3, 4) + Be(9, 4) + Be(3000, 4)  // 9 samples
                                                       + Be(2, 4) + Be(1500, 4)       // 2 samples
                                                       + Be(1, 4) + Be(1, 4)));       // the last one
  ASSERT_TRUE(track.decoding_times);
  EXPECT_EQ(track.decoding_times->sample_count, 12U);
  EXPECT_EQ(track.decoding_times->smallest_delta, 1500U);
  EXPECT_FALSE(track.decoding_times->constant);
  EXPECT_TRUE(track.decoding_times->complete);
}

TEST(Mp4Movie, DecodingTimesAreConstantUpToTheLastSample) {
  const Mp4Track track = ReadTrack(FullBox("stts", Be(2, 4) + Be(9, 4) + Be(3000, 4) + Be(1, 4) + Be(10, 4)));
  EXPECT_TRUE(track.decoding_times->constant);
  EXPECT_EQ(track.decoding_times->smallest_delta, 3000U);
  const Mp4Track single = ReadTrack(FullBox("stts", Be(1, 4) + Be(1, 4) + Be(10, 4)));
  EXPECT_EQ(single.decoding_times->smallest_delta, 10U);
}

TEST(Mp4Movie, SamplesTimeATrackThatItsHeaderDoesNot) {
  const std::string times = FullBox("stts", Be(2, 4) + Be(9, 4) + Be(3000, 4) + Be(1, 4) + Be(500, 4));
  const auto movie = [&](std::uint32_t told, const std::string& more) {
    return ReadMoov(Box("trak", TrackHeader(7) + Box("mdia", MediaHeader(told) + SampleTable(times))) + more);
  };
  for (const std::uint32_t told : {0U, UINT32_MAX}) {
    const auto duration = movie(told, "").tracks.at(0).duration;
    ASSERT_TRUE(duration);
    EXPECT_EQ(duration->value, 27500U);
    EXPECT_EQ(duration->timescale, 90000U);
    EXPECT_FALSE(movie(told, Box("mvex")).tracks.at(0).duration) << "more samples in fragments";
  }
  EXPECT_EQ(movie(30000, "").tracks.at(0).duration->value, 30000U);
}

TEST(Mp4Movie, ZeroDeltasAreNotTheSmallest) {
  const std::string zero = Be(2, 4) + Be(0, 4);
  const std::string other = Be(5, 4) + Be(100, 4);
  for (const std::string& entries : {zero + other, other + zero}) {
    const Mp4Track track = ReadTrack(FullBox("stts", Be(2, 4) + entries));
    EXPECT_EQ(track.decoding_times->smallest_delta, 100U);
    EXPECT_FALSE(track.decoding_times->constant);
  }
}

TEST(Mp4Movie, LongDecodingTimesAreReadInPart) {
  std::string entries;
  for (int i = 0; i < 65537; ++i) entries += Be(1, 4) + Be(2, 4);
  const Mp4Track track = ReadTrack(FullBox("stts", Be(65537, 4) + entries));
  EXPECT_FALSE(track.decoding_times->complete);
  EXPECT_EQ(track.decoding_times->sample_count, 65536U);
  EXPECT_TRUE(track.plausible);
}

TEST(Mp4Movie, SampleTablesAreCounted) {
  const Mp4Track track =
      ReadTrack(FullBox("stsz", Be(0, 4) + Be(3, 4) + Zeros(12)) + FullBox("stss", Be(2, 4) + Zeros(8)) +
                FullBox("ctts", Be(1, 4) + Zeros(8)) + FullBox("stco", Be(2, 4) + Be(20, 4) + Be(30, 4)));
  EXPECT_EQ(track.sample_count, 3U);
  EXPECT_TRUE(track.has_composition_offsets);
  EXPECT_EQ(track.last_chunk_offset, 30U);
  EXPECT_TRUE(track.plausible);
}

TEST(Mp4Movie, TablesLargerThanTheirBoxAreNotPlausible) {
  EXPECT_FALSE(ReadTrack(FullBox("stsz", Be(0, 4) + Be(20000000, 4) + Zeros(12))).plausible);
  EXPECT_FALSE(ReadTrack(FullBox("stsz", Be(0, 4) + Be(4, 4) + Zeros(15))).plausible);
  EXPECT_TRUE(ReadTrack(FullBox("stsz", Be(0, 4) + Be(4, 4) + Zeros(16))).plausible);
  EXPECT_FALSE(ReadTrack(FullBox("stts", Be(2, 4) + Zeros(8))).plausible);
  EXPECT_FALSE(ReadTrack(FullBox("stss", Be(3, 4) + Zeros(8))).plausible);
  EXPECT_FALSE(ReadTrack(FullBox("ctts", Be(0x20000000, 4))).plausible);
  EXPECT_FALSE(ReadTrack(FullBox("stsc", Be(2, 4) + Zeros(12))).plausible);
  EXPECT_FALSE(ReadTrack(FullBox("co64", Be(2, 4) + Zeros(8))).plausible);
  EXPECT_FALSE(ReadTrack(FullBox("stz2", Be(4, 4) + Be(5, 4) + Zeros(2))).plausible);  // four bits each
  EXPECT_TRUE(ReadTrack(FullBox("stz2", Be(4, 4) + Be(4, 4) + Zeros(2))).plausible);
}

TEST(Mp4Movie, MoreSamplesThanTheFileHasBytesAreNotPlausible) {
  EXPECT_FALSE(ReadTrack(FullBox("stsz", Be(1000, 4) + Be(20000000, 4))).plausible);
  EXPECT_TRUE(ReadTrack(FullBox("stsz", Be(1000, 4) + Be(50, 4))).plausible);
}

TEST(Mp4Movie, UncompressedSoundOfACutFileIsPlausible) {
  const auto sound_track = [](std::uint32_t delta) {
    const std::string tables =
        FullBox("stts", Be(1, 4) + Be(20000000, 4) + Be(delta, 4)) + FullBox("stsz", Be(4, 4) + Be(20000000, 4));
    return ReadMoov(Box("trak", TrackHeader(7) + Box("mdia", MediaHeader() + Handler("soun") + SampleTable(tables))));
  };
  EXPECT_TRUE(sound_track(1).tracks.at(0).plausible);
  EXPECT_FALSE(sound_track(1024).tracks.at(0).plausible) << "frames of a codec are indexed one by one";
}

TEST(Mp4Movie, TruncationIsSeenAtBoxesAndChunks) {
  EXPECT_TRUE(ReadBytes(Be(1000, 4) + "mdat" + Zeros(20)).truncated);
  EXPECT_FALSE(ReadBytes(Be(28, 4) + "mdat" + Zeros(20)).truncated);
  EXPECT_TRUE(ReadMoov(PictureTrack(FullBox("stco", Be(1, 4) + Be(100000, 4)))).truncated);
  EXPECT_FALSE(ReadBytes(Box("mdat") + "TAGSong of a broken tagger" + Zeros(99)).truncated);
}

TEST(Mp4Movie, MediaDataWithoutMovieIsMissingIt) {
  EXPECT_TRUE(ReadBytes(Box("ftyp", "isom" + Zeros(4)) + Box("mdat", "xyz")).MoovMissing());
  EXPECT_FALSE(ReadBytes(Box("mdat", "xyz") + Box("moov")).MoovMissing());
  EXPECT_FALSE(ReadBytes(Box("moof") + Box("mdat", "xyz")).MoovMissing());
}

TEST(Mp4Movie, MovieBehindTheEndOfABudgetIsNotMissing) {
  MemorySource source(Box("mdat", "xyz") + Box("free") + Box("moov"));
  const Mp4Movie movie = ReadMp4Movie(source, {.boxes = 2});
  EXPECT_FALSE(movie.has_moov);
  EXPECT_TRUE(movie.incomplete);
  EXPECT_FALSE(movie.MoovMissing());
}

TEST(Mp4Metadata, EachMetaHasItsOwnKeys) {
  const Mp4Movie movie =
      ReadMoov(NamedMeta({{"com.apple.quicktime.make", Data(1, "Acme")}}) +
               Box("udta", NamedMeta({{"AIGC", Data(1, "{\"Label\":\"1\"}")}, {"other", Data(1, "x")}})));
  ASSERT_EQ(movie.metadata.size(), 3U);
  EXPECT_EQ(movie.metadata[0].name_space, Mp4MetaNamespace::kNamedKey);
  EXPECT_EQ(movie.metadata[0].key, "com.apple.quicktime.make");
  EXPECT_EQ(movie.metadata[0].value, "Acme");
  EXPECT_EQ(movie.metadata[1].key, "AIGC");
  EXPECT_EQ(movie.metadata[1].value, "{\"Label\":\"1\"}");
  EXPECT_EQ(movie.metadata[2].key, "other");
}

TEST(Mp4Metadata, OfTracksIsLeftOut) {
  const Mp4Movie movie =
      ReadMoov(PictureTrack("", NamedMeta({{"a", Data(1, "1")}}) + Box("udta", NamedMeta({{"b", Data(1, "2")}}))) +
               NamedMeta({{"c", Data(1, "3")}}));
  ASSERT_EQ(movie.metadata.size(), 1U);
  EXPECT_EQ(movie.metadata[0].key, "c");
}

TEST(Mp4Metadata, MetaWithAndWithoutVersion) {
  const std::string children = Handler("mdta") + FullBox("keys", Be(1, 4) + Box("mdta", "k")) +
                               Box("ilst", Be(8 + Data(1, "v").size(), 4) + Be(1, 4) + Data(1, "v"));
  EXPECT_EQ(ReadMoov(Box("meta", children)).metadata.at(0).value, "v");
  EXPECT_EQ(ReadMoov(FullBox("meta", children)).metadata.at(0).value, "v");
}

TEST(Mp4Metadata, KeysBehindTheirItemsAreFound) {
  const std::string items = Box("ilst", Be(8 + Data(1, "v").size(), 4) + Be(1, 4) + Data(1, "v"));
  const std::string keys = FullBox("keys", Be(1, 4) + Box("mdta", "k"));
  EXPECT_EQ(ReadMoov(Box("meta", Handler("mdta") + items + keys)).metadata.at(0).key, "k");
}

TEST(Mp4Metadata, IndexOutsideOfTheTableIsDropped) {
  const std::string keys = FullBox("keys", Be(1, 4) + Box("mdta", "k"));
  for (const std::uint32_t index : {0U, 2U}) {
    const std::string items = Box("ilst", Be(8 + Data(1, "v").size(), 4) + Be(index, 4) + Data(1, "v"));
    EXPECT_TRUE(ReadMoov(Box("meta", Handler("mdta") + keys + items)).metadata.empty());
  }
}

TEST(Mp4Metadata, ValueTypesBecomeText) {
  const auto value_of = [](std::uint32_t type, const std::string& bytes) {
    const Mp4Movie movie = ReadMoov(NamedMeta({{"k", Data(type, bytes)}}));
    return movie.metadata.empty() ? "none"s : movie.metadata[0].value;
  };
  EXPECT_EQ(value_of(1, "Zwei Töne"), "Zwei Töne");
  EXPECT_EQ(value_of(2, "\0A\0B"s), "AB");
  EXPECT_EQ(value_of(0, "{}"), "{}");
  EXPECT_EQ(value_of(0, "x\1\2"s), "none");
  EXPECT_EQ(value_of(0, "x\xFF"s), "none");
  EXPECT_EQ(value_of(21, "\xff"), "-1");
  EXPECT_EQ(value_of(21, "\x7f\xff\xff\xff"), "2147483647");
  EXPECT_EQ(value_of(22, "\xff"), "255");
  EXPECT_EQ(value_of(22, Zeros(9)), "none");
  EXPECT_EQ(value_of(23, "\x3f\xc0\0\0"s), "1.500000");
  EXPECT_EQ(value_of(13, "\xff\xd8\xff"), "none");
  EXPECT_EQ(value_of(1,
                     "a\xff"
                     "b"),
            "a\uFFFD"
            "b");
  EXPECT_EQ(value_of(1, ""), "none");
}

TEST(Mp4Metadata, ItunesItems) {
  const Mp4Movie movie = ReadMoov(Box(
      "udta",
      ItunesMeta(Box("\xA9nam", Data(1, "Song")) + Box("trkn", Data(0, Zeros(2) + Be(3, 2) + Be(12, 2) + Zeros(2))) +
                 Box("disk", Data(0, Zeros(2) + Be(1, 2) + Be(0, 2))) + Box("covr", Data(13, "\xff\xd8")) +
                 Box("----", FullBox("mean", "com.apple.iTunes") + FullBox("name", "AIGC") + Data(1, "{}")))));
  ASSERT_EQ(movie.metadata.size(), 4U);
  EXPECT_EQ(movie.metadata[0].name_space, Mp4MetaNamespace::kItunes);
  EXPECT_EQ(movie.metadata[0].key, "©nam");
  EXPECT_EQ(movie.metadata[0].value, "Song");
  EXPECT_EQ(movie.metadata[1].value, "3/12");
  EXPECT_EQ(movie.metadata[2].value, "1");
  EXPECT_EQ(movie.metadata[3].name_space, Mp4MetaNamespace::kFreeform);
  EXPECT_EQ(movie.metadata[3].key, "AIGC");
  EXPECT_EQ(movie.metadata[3].value, "{}");
}

std::string UserDataValue(const std::string& atom) {
  const Mp4Movie movie = ReadMoov(Box("udta", atom));
  return movie.metadata.empty() ? "none" : movie.metadata[0].value;
}

TEST(Mp4Metadata, InternationalTexts) {
  EXPECT_EQ(UserDataValue(Box("\xA9xyz", Be(17, 2) + Be(0x55C4, 2) + "-33.8568+151.2153")), "-33.8568+151.2153");
  EXPECT_EQ(UserDataValue(Box("\xA9mak", Be(4, 2) + Be(0, 2) + "caf\x8E")), "café");
  EXPECT_EQ(UserDataValue(Box("\xA9mak", Be(4, 2) + Be(0x55C4, 2) + "caf\x8E")), "caf\uFFFD");
  EXPECT_EQ(UserDataValue(Box("\xA9mod", "Model without head")), "Model without head");
  EXPECT_EQ(UserDataValue(Box("\xA9mod", Be(10, 2) + Be(0, 2) + "Camera")), "Camera") << "counts its head";
  EXPECT_EQ(UserDataValue(Box("\xA9mod", Be(0, 2) + Be(0, 2) + Be(6, 2) + Be(0x15C7, 2) + "Camera")), "Camera")
      << "empty in the first language";
  EXPECT_EQ(UserDataValue(Box("\xA9mod", Data(1, "As an item"))), "As an item");
  EXPECT_EQ(UserDataValue(Box("\xA9mod")), "none");
}

TEST(Mp4Metadata, SeveralLanguagesAreSeveralEntries) {
  const Mp4Movie movie =
      ReadMoov(Box("udta", Box("\xA9nam", Be(3, 2) + Be(0, 2) + "one" + Be(3, 2) + Be(0x15C7, 2) + "two")));
  ASSERT_EQ(movie.metadata.size(), 2U);
  EXPECT_EQ(movie.metadata[0].key, "©nam");
  EXPECT_EQ(movie.metadata[0].name_space, Mp4MetaNamespace::kUserData);
  EXPECT_EQ(movie.metadata[0].value, "one");
  EXPECT_EQ(movie.metadata[1].value, "two");
}

TEST(Mp4Metadata, ThreeGppTexts) {
  EXPECT_EQ(UserDataValue(FullBox("titl", Be(0x15C7, 2) + "Title\0"s)), "Title");
  EXPECT_EQ(UserDataValue(FullBox("titl", Be(0x15C7, 2) + "\xFE\xFF\0T\0\0"s)), "T");
  EXPECT_EQ(UserDataValue(FullBox("yrrc", Be(2004, 2))), "2004");
  EXPECT_EQ(UserDataValue(Box("manu", Be(4, 2) + Be(0x15C7, 2) + "Acme")), "Acme");
  EXPECT_EQ(UserDataValue(Box("modl", "Bare")), "Bare");
  EXPECT_EQ(UserDataValue(Box("zzzz", "unknown")), "none");
}

TEST(Mp4Metadata, LocationBoxBecomesAnIso6709Text) {
  const std::string place = "Here\0"s + Be(0, 1) + Be(151ULL << 16 | 0x8000, 4)       // 151.5 east
                            + Be(0xFFDE8000, 4) + Be(10ULL << 16, 4) + "earth\0\0"s;  // 33.5 south, 10 m
  EXPECT_EQ(UserDataValue(FullBox("loci", Be(0x15C7, 2) + place)), "-33.50000+151.50000+10.000/");
  EXPECT_EQ(UserDataValue(FullBox("loci", Be(0x15C7, 2) + "\0"s + place.substr(5))), "-33.50000+151.50000+10.000/");
  EXPECT_EQ(UserDataValue(FullBox("loci", Be(0x15C7, 2) + place.substr(0, 17))), "none");
}

TEST(Mp4Metadata, NumbersHaveAPointInEveryLocale) {
  const CommaLocale locale;
  ASSERT_TRUE(CommaLocale::IsInForce());
  const std::string place = Zeros(2) + Be(2ULL << 16 | 0x8000, 4) + Be(0xFFFF8000, 4) + Be(0xFFFF0000, 4);
  EXPECT_EQ(UserDataValue(FullBox("loci", Be(0x15C7, 2) + place)), "-00.50000+002.50000-1.000/");
  const Mp4Movie movie = ReadMoov(NamedMeta({{"rate", Data(24, "\x40\x3E\0\0\0\0\0\0"s)}}));
  ASSERT_EQ(movie.metadata.size(), 1U);
  EXPECT_EQ(movie.metadata[0].value, "30.000000");
}

TEST(Mp4Metadata, XmpPackets) {
  const std::string uuid = "\xBE\x7A\xCF\xCB\x97\xA9\x42\xE8\x9C\x71\x99\x94\x91\xE3\xAF\xAC"s;
  const Mp4Movie movie = ReadBytes(Box("uuid", uuid + "<x:xmpmeta/>") + Box("uuid", Zeros(16) + "other") +
                                   Box("moov", Box("udta", Box("XMP_", "<x/>"))));
  ASSERT_EQ(movie.metadata.size(), 2U);
  EXPECT_EQ(movie.metadata[0].name_space, Mp4MetaNamespace::kXmp);
  EXPECT_EQ(movie.metadata[0].value, "<x:xmpmeta/>");
  EXPECT_EQ(movie.metadata[1].value, "<x/>");
}

TEST(Mp4Metadata, ValuesThatAreCutAreDropped) {
  const std::string whole = Box("moov", NamedMeta({{"first", Data(1, "one")}, {"second", Data(1, "two")}}));
  const Mp4Movie movie = ReadBytes(whole.substr(0, whole.size() - 1));
  ASSERT_EQ(movie.metadata.size(), 1U);
  EXPECT_EQ(movie.metadata[0].value, "one");
}

TEST(Mp4Metadata, ValuesAreBounded) {
  const std::string largest(kMp4LargestValueBytes, 'x');
  Mp4Movie movie = ReadMoov(NamedMeta({{"k", Data(1, largest)}}));
  ASSERT_EQ(movie.metadata.size(), 1U);
  EXPECT_EQ(movie.metadata[0].value.size(), kMp4LargestValueBytes);
  EXPECT_FALSE(movie.incomplete);
  movie = ReadMoov(NamedMeta({{"k", Data(1, largest + "x")}, {"small", Data(1, "kept")}}));
  ASSERT_EQ(movie.metadata.size(), 1U);
  EXPECT_EQ(movie.metadata[0].key, "small");
  EXPECT_TRUE(movie.incomplete);
}

TEST(Mp4Metadata, AllValuesTogetherAreBounded) {
  const std::string value(kMp4LargestValueBytes - 1, 'x');
  std::vector<std::pair<std::string, std::string>> values(20, {"k", Data(1, value)});
  const Mp4Movie movie = ReadMoov(NamedMeta(values));
  EXPECT_EQ(movie.metadata.size(), 16U);
  EXPECT_TRUE(movie.incomplete);
}

TEST(Mp4Metadata, EntriesAreCounted) {
  std::string items;
  for (std::size_t i = 0; i < kMp4MostMetadataEntries + 1; ++i) items += Box("\xA9nam", Data(1, "x"));
  const Mp4Movie movie = ReadMoov(Box("udta", ItunesMeta(items)));
  EXPECT_EQ(movie.metadata.size(), kMp4MostMetadataEntries);
  EXPECT_TRUE(movie.incomplete);
}

/// A fragment of track 7: `samples` samples of 3000 ticks, from `begin`.
std::string Fragment(std::uint32_t begin, std::uint32_t samples) {
  return Box("moof", FullBox("mfhd", Be(1, 4)) +
                         Box("traf", FullBox("tfhd", Be(7, 4) + Be(3000, 4), 0, 0x8) + FullBox("tfdt", Be(begin, 4)) +
                                         FullBox("trun", Be(samples, 4)))) +
         Box("mdat", "xyz");
}

std::string FragmentedMoov(const std::string& extends = "") {
  return Box("moov", MovieHeader(0, 0, 1000, 0) + PictureTrack("") + Box("mvex", extends));
}

TEST(Mp4Fragments, MovieExtendsHeaderTellsTheDuration) {
  const Mp4Movie movie = ReadBytes(FragmentedMoov(FullBox("mehd", Be(5000, 4))) + Fragment(0, 10));
  EXPECT_TRUE(movie.has_fragments);
  ASSERT_TRUE(movie.fragment_duration);
  EXPECT_EQ(movie.fragment_duration->value, 5000U);
  EXPECT_EQ(movie.fragment_duration->timescale, 1000U);
}

std::string SegmentIndex(std::uint32_t first_size, std::uint32_t second_size) {
  return FullBox("sidx", Be(7, 4) + Be(90000, 4) + Zeros(8) + Zeros(2) + Be(2, 2)  // no offset, two references
                             + Be(first_size, 4) + Be(90000, 4) + Zeros(4)         // one second
                             + Be(second_size, 4) + Be(45000, 4) + Zeros(4));      // half a second
}

TEST(Mp4Fragments, SegmentIndexTellsTheDuration) {
  const std::string fragment = Fragment(0, 10);
  const auto size = static_cast<std::uint32_t>(fragment.size());
  const Mp4Movie movie = ReadBytes(FragmentedMoov() + SegmentIndex(size, size) + fragment + fragment);
  ASSERT_TRUE(movie.fragment_duration);
  EXPECT_EQ(movie.fragment_duration->value, 135000U);
  EXPECT_EQ(movie.fragment_duration->timescale, 90000U);
  EXPECT_DOUBLE_EQ(movie.indexed_bit_rate, 8 * 2 * size / 1.5);
  EXPECT_FALSE(movie.truncated);
}

TEST(Mp4Fragments, SegmentsBeyondTheEndAreTruncation) {
  const std::string fragment = Fragment(0, 10);
  const auto size = static_cast<std::uint32_t>(fragment.size());
  EXPECT_TRUE(ReadBytes(FragmentedMoov() + SegmentIndex(size, size + 1) + fragment + fragment).truncated);
}

TEST(Mp4Fragments, IndexesInFrontOfEachSegmentAddUp) {
  const std::string fragment = Fragment(0, 10);
  const auto size = static_cast<std::uint32_t>(fragment.size());
  const std::string segment = SegmentIndex(size, size) + fragment + fragment;
  const Mp4Movie movie = ReadBytes(FragmentedMoov() + segment + segment);
  EXPECT_EQ(movie.fragment_duration->value, 270000U);
  EXPECT_DOUBLE_EQ(movie.indexed_bit_rate, 8 * 2 * size / 1.5);
}

TEST(Mp4Fragments, IndexesOfSeveralTracksDoNotAddUp) {
  const std::string fragment = Fragment(0, 10);
  const auto size = static_cast<std::uint32_t>(fragment.size());
  const std::string second = SegmentIndex(size, size);
  const auto size_behind_first = static_cast<std::uint32_t>(second.size()) + size;
  const Mp4Movie movie =
      ReadBytes(FragmentedMoov() + SegmentIndex(size_behind_first, size) + second + fragment + fragment);
  EXPECT_EQ(movie.fragment_duration->value, 135000U);
  EXPECT_DOUBLE_EQ(movie.indexed_bit_rate, 8 * (size_behind_first + size) / 1.5);
}

TEST(Mp4Fragments, IndexedSegmentsAreNotWalked) {
  std::string fragments;
  for (std::uint32_t i = 0; i < 500; ++i) fragments += Fragment(i * 3000, 1) + Box("free", Zeros(2000));
  MemorySource source(FragmentedMoov() + SegmentIndex(static_cast<std::uint32_t>(fragments.size()), 0) + fragments +
                      Box("mfra"));
  EXPECT_EQ(ReadMp4Movie(source).fragment_duration->value, 135000U);
  EXPECT_LT(source.Reads(), 10U);
}

TEST(Mp4Fragments, LastFragmentTellsTheDurationWithoutIndex) {
  const Mp4Movie movie = ReadBytes(FragmentedMoov() + Fragment(30000, 10) + Fragment(60000, 10) + Fragment(90000, 2));
  ASSERT_TRUE(movie.fragment_duration);
  EXPECT_EQ(movie.fragment_duration->value, 66000U);  // 90000 + 2 * 3000 - 30000
  EXPECT_EQ(movie.fragment_duration->timescale, 90000U);
}

TEST(Mp4Fragments, DurationsOfRunsAndTrackDefaults) {
  const auto with_fragment = [](const std::string& traf) {
    const std::string trex = FullBox("trex", Be(7, 4) + Be(1, 4) + Be(1000, 4) + Zeros(8));
    const Mp4Movie movie = ReadBytes(FragmentedMoov(trex) + Box("moof", Box("traf", traf)));
    return movie.fragment_duration ? movie.fragment_duration->value : 0;
  };
  const std::string head = FullBox("tfhd", Be(7, 4)) + FullBox("tfdt", Be(0, 8), 1);
  EXPECT_EQ(with_fragment(head + FullBox("trun", Be(4, 4))), 4000U);
  EXPECT_EQ(with_fragment(head + FullBox("trun",
                                         Be(2, 4) + Zeros(4)           // data offset
                                             + Be(11, 4) + Be(100, 4)  // duration, size
                                             + Be(22, 4) + Be(100, 4),
                                         0, 0x301)),
            33U);
  EXPECT_EQ(with_fragment(FullBox("tfhd", Be(7, 4)) + FullBox("trun", Be(4, 4))), 0U);
}

TEST(Mp4Fragments, FragmentIndexAtTheEndSavesTheWalk) {
  const std::string head = FragmentedMoov();
  std::string fragments;
  for (std::uint32_t i = 0; i < 500; ++i) fragments += Fragment(i * 3000, 1) + Box("free", Zeros(2000));
  const std::string last = Fragment(1500000, 1);
  const auto last_offset = head.size() + fragments.size();
  const std::string tfra = FullBox("tfra", Be(7, 4) + Be(0, 4) + Be(2, 4)                          // two entries
                                               + Zeros(8) + Zeros(3)                               // first
                                               + Be(1500000, 4) + Be(last_offset, 4) + Zeros(3));  // last
  const std::string mfra = Box("mfra", tfra + FullBox("mfro", Be(8 + tfra.size() + 16, 4)));
  MemorySource source(head + fragments + last + mfra);
  const Mp4Movie movie = ReadMp4Movie(source);
  ASSERT_TRUE(movie.fragment_duration);
  EXPECT_EQ(movie.fragment_duration->value, 1503000U);
  EXPECT_LT(source.Reads(), 20U);
}

/// A file with everything in it, to be cut.
std::string WholeFile() {
  const std::string tables =
      Descriptions(PictureEntry("encv", Box("clap", Zeros(32)) + Box("sinf", Box("frma", "avc1")))) +
      FullBox("stts", Be(1, 4) + Be(2, 4) + Be(10, 4)) + FullBox("stsz", Zeros(4) + Be(2, 4) + Zeros(8)) +
      FullBox("stco", Be(1, 4) + Be(4, 4));
  return Box("ftyp", "isom" + Zeros(4) + "isom") +
         Box("moov", MovieHeader(1, 2, 3, 4) + PictureTrack(tables) +
                         Box("udta", Box("\xA9nam", Be(2, 2) + Be(0, 2) + "tt")) +
                         Box("mvex", FullBox("trex", Be(7, 4) + Zeros(16))) + NamedMeta({{"AIGC", Data(1, "{}")}})) +
         SegmentIndex(1, 1) + Fragment(0, 3);
}

TEST(Mp4Movie, EveryCutIsReadWithinBounds) {
  const std::string whole = WholeFile();
  EXPECT_EQ(ReadBytes(whole).metadata.size(), 2U);
  for (std::size_t size = 0; size < whole.size(); ++size) {
    const Mp4Movie movie = ReadBytes(whole.substr(0, size));
    EXPECT_LE(movie.tracks.size(), 1U);
    EXPECT_LE(movie.metadata.size(), 2U);
  }
}

TEST(Mp4Movie, EveryByteSetToItsExtremesKeepsTheTextsValid) {
  const std::string whole = WholeFile();
  for (std::size_t at = 0; at < whole.size(); ++at) {
    for (const char value : {'\0', '\x7f', '\xff'}) {
      std::string broken = whole;
      broken[at] = value;
      for (const Mp4MetaEntry& entry : ReadBytes(broken).metadata) {
        EXPECT_TRUE(utf8::is_valid(entry.key.begin(), entry.key.end())) << at;
        EXPECT_TRUE(utf8::is_valid(entry.value.begin(), entry.value.end())) << at;
      }
    }
  }
}

TEST(Mp4Movie, NestedTooDeepIsIncomplete) {
  std::string boxes;
  for (int i = 0; i < 30; ++i) boxes = Box("minf", boxes);
  const Mp4Movie movie = ReadMoov(Box("trak", TrackHeader(3) + boxes));
  ASSERT_EQ(movie.tracks.size(), 1U);
  EXPECT_EQ(movie.tracks[0].id, 3U);
  EXPECT_TRUE(movie.incomplete);
}

TEST(Mp4Movie, MillionsOfBoxesAreIncomplete) {
  std::string boxes;
  for (int i = 0; i < 100000; ++i) boxes += Box("free");
  EXPECT_TRUE(ReadMoov(boxes).incomplete);
}

}  // namespace
}  // namespace media_server

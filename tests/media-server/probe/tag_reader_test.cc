#include "media-server/probe/tag_reader.h"

#include <gtest/gtest.h>

#include <string>

#include "media-server/probe/av_handles.h"
#include "media-server/probe/container_facts.h"
#include "media-server/probe/ffmpeg.h"
#include "tests/media-server/zone.h"

namespace media_server::probe {
namespace {

// 2019-01-02 03:04:05 UTC.
constexpr std::int64_t kRecorded = 1'546'398'245;

class TagReaderTest : public testing::Test {
 protected:
  TagReaderTest() { UseDemuxer("mp4"); }
  // Nothing was opened that a demuxer could close.
  ~TagReaderTest() override { UseDemuxer(nullptr); }

  void UseDemuxer(const char* name) { context_->iformat = name ? av_find_input_format(name) : nullptr; }
  void AddMovieTag(Mp4MetaNamespace name_space, const std::string& key, const std::string& value) {
    if (!container_.movie) container_.movie.emplace();
    Mp4MetaEntry entry;
    entry.name_space = name_space;
    entry.key = key;
    entry.value = value;
    container_.movie->metadata.push_back(entry);
  }
  void AddTag(const char* key, const char* value) { av_dict_set(&context_->metadata, key, value, 0); }
  std::optional<std::int64_t> Created() const { return ReadTags(*context_, container_).created; }

  FormatContextHandle context_{avformat_alloc_context()};
  ContainerFacts container_;
};

TEST_F(TagReaderTest, ZeroIsNoTime) {
  container_.movie.emplace();
  container_.movie->times = {0, 0};
  AddTag("creation_time", "1970-01-01T00:00:00.000000Z");
  EXPECT_EQ(Created(), std::nullopt);
  EXPECT_EQ(ReadTags(*context_, container_).modified, std::nullopt);
  AddTag("creation_time", "1970-01-01T00:00:01.000000Z");
  EXPECT_EQ(Created(), 1);
}

TEST_F(TagReaderTest, TakesTheTimeOfRecordingForWantOfAnother) {
  container_.date = "2019-01-02T03:04:05Z";
  EXPECT_EQ(Created(), kRecorded);
  AddTag("creation_time", "2020-01-01T00:00:00Z");
  EXPECT_EQ(Created(), 1'577'836'800);
}

TEST_F(TagReaderTest, TakesTheTimesOfATrackWhereTheMovieHasNone) {
  container_.movie.emplace();
  container_.movie->tracks.resize(3);
  container_.movie->tracks[1].times = {kRecorded, kRecorded + 1};
  container_.movie->tracks[2].times = {kRecorded + 2, kRecorded + 3};
  EXPECT_EQ(Created(), kRecorded);
  EXPECT_EQ(ReadTags(*context_, container_).modified, kRecorded + 1);
  AddTag("com.apple.quicktime.creationdate", "2020-01-01T00:00:00Z");
  EXPECT_EQ(Created(), 1'577'836'800);
  container_.movie->times = {5, 6};
  EXPECT_EQ(Created(), 5);
  EXPECT_EQ(ReadTags(*context_, container_).modified, 6);
}

TEST_F(TagReaderTest, TakesTheDateOfUserData) {
  AddMovieTag(Mp4MetaNamespace::kUserData, "\u00A9day", "2019-01-02T03:04:05+0000");
  EXPECT_EQ(Created(), kRecorded);
  container_.movie.reset();
  AddMovieTag(Mp4MetaNamespace::kUserData, "date", "2019-01-02T05:04:05+0200");
  EXPECT_EQ(Created(), kRecorded);
}

TEST_F(TagReaderTest, TheDayWhenASongCameOutIsNoTimeOfTheFile) {
  AddMovieTag(Mp4MetaNamespace::kItunes, "\u00A9day", "2019-01-02T03:04:05Z");
  EXPECT_EQ(Created(), std::nullopt);
  container_.movie.reset();
  AddMovieTag(Mp4MetaNamespace::kUserData, "\u00A9day", "2019-01-02");
  EXPECT_EQ(Created(), std::nullopt);
}

TEST_F(TagReaderTest, TakesTheDateOfRecordingOfMatroska) {
  AddTag("DATE_RECORDED", "2019-01-02 03:04:05Z");
  EXPECT_EQ(Created(), kRecorded);
}

TEST_F(TagReaderTest, TheDateOfAviFilesIsLocal) {
  const Zone zone("<+02>-2");
  AddTag("creation_time", "2019-01-02 05:04:05");
  EXPECT_EQ(Created(), kRecorded + 7200);
  UseDemuxer("avi");
  EXPECT_EQ(Created(), kRecorded);
}

TEST_F(TagReaderTest, TakesTheWordsOfCoreAudioFiles) {
  AddTag("track number", "3");
  AddTag("recorded date", "2019-01-02 03:04:05Z");
  EXPECT_EQ(ReadTags(*context_, container_).track_number, "3");
  EXPECT_EQ(Created(), kRecorded);
}

TEST_F(TagReaderTest, TextsWithoutACharacterSetAreWindows1252) {
  AddTag("title",
         "F\xFCr \x93"
         "Elise\x94");
  EXPECT_EQ(ReadTags(*context_, container_).title, "F\uFFFDr \uFFFDElise\uFFFD") << "MP4 says that it is UTF-8";
  for (const char* demuxer : {"wav", "avi", "rm", "mp3", "aac", "tta", "wv"}) {
    UseDemuxer(demuxer);
    EXPECT_EQ(ReadTags(*context_, container_).title, "Für “Elise”") << demuxer;
  }
  av_dict_free(&context_->metadata);
  AddTag("title", "Für “Elise”");
  EXPECT_EQ(ReadTags(*context_, container_).title, "Für “Elise”");
}

TEST_F(TagReaderTest, TakesFromId3v1WhatNoOtherTagTells) {
  container_.id3v1 = Id3v1Tag{.title = "Old title", .artist = "Cut", .album = "Old album", .track_number = "7"};
  AddTag("artist", "Cut no more");
  const MediaTags tags = ReadTags(*context_, container_);
  EXPECT_EQ(tags.title, "Old title");
  EXPECT_EQ(tags.artist, "Cut no more");
  EXPECT_EQ(tags.album, "Old album");
  EXPECT_EQ(tags.track_number, "7");
}

TEST_F(TagReaderTest, TextsOfAnApeTagWinOverThoseThatId3v1Cuts) {
  UseDemuxer("mp3");
  AddTag("title", "A title of exactly thirty char");
  AddTag("genre", "Rock");
  container_.ape_texts = {{"TITLE", "A title of exactly thirty characters"}, {"genre", ""}, {"Artist", "Caf\xE9"}};
  const MediaTags tags = ReadTags(*context_, container_);
  EXPECT_EQ(tags.title, "A title of exactly thirty characters");
  EXPECT_EQ(tags.genre, "Rock");
  EXPECT_EQ(tags.artist, "Caf\xC3\xA9");
}

TEST_F(TagReaderTest, TextsOfAiffAreMacintoshRoman) {
  AddTag("title", "F\x9Fr Elise");
  UseDemuxer("aiff");
  EXPECT_EQ(ReadTags(*context_, container_).title, "Für Elise");
}

/// A packet with these properties as attributes.
std::string Xmp(const std::string& properties) {
  return "<x:xmpmeta xmlns:x='adobe:ns:meta/'><rdf:RDF xmlns:rdf='http://www.w3.org/1999/02/22-rdf-syntax-ns#'>"
         "<rdf:Description rdf:about='' xmlns:tiff='http://ns.adobe.com/tiff/1.0/' "
         "xmlns:exif='http://ns.adobe.com/exif/1.0/' xmlns:xmp='http://ns.adobe.com/xap/1.0/' " +
         properties + "/></rdf:RDF></x:xmpmeta>";
}

TEST_F(TagReaderTest, TakesFromXmpWhatNoTagTells) {
  AddMovieTag(Mp4MetaNamespace::kXmp, "XMP",
              Xmp("tiff:Make='Acme' tiff:Model='One' xmp:CreateDate='2019-01-02T03:04:05Z' "
                  "xmp:ModifyDate='2019-01-02T03:04:06Z' exif:GPSLatitude='48,30N' exif:GPSLongitude='2,15W'"));
  const MediaTags tags = ReadTags(*context_, container_);
  EXPECT_EQ(tags.maker, "Acme");
  EXPECT_EQ(tags.model, "One");
  EXPECT_EQ(tags.created, kRecorded);
  EXPECT_EQ(tags.modified, kRecorded + 1);
  EXPECT_EQ(tags.location, (GeoLocation{48.5, -2.25}));
}

TEST_F(TagReaderTest, TagsOfTheContainerWinOverXmp) {
  container_.movie.emplace();
  container_.movie->times = {kRecorded, kRecorded};
  AddMovieTag(Mp4MetaNamespace::kUserData, "\u00A9mak", "Maker of the container");
  AddMovieTag(Mp4MetaNamespace::kUserData, "\u00A9xyz", "-10.5+020.5/");
  AddMovieTag(Mp4MetaNamespace::kXmp, "XMP",
              Xmp("tiff:Make='Acme' tiff:Model='One' xmp:CreateDate='2020-01-01T00:00:00Z' "
                  "xmp:ModifyDate='2020-01-01T00:00:00Z' exif:GPSLatitude='48,30N' exif:GPSLongitude='2,15W'"));
  const MediaTags tags = ReadTags(*context_, container_);
  EXPECT_EQ(tags.maker, "Maker of the container");
  EXPECT_EQ(tags.model, "One");
  EXPECT_EQ(tags.created, kRecorded);
  EXPECT_EQ(tags.modified, kRecorded);
  EXPECT_EQ(tags.location, (GeoLocation{-10.5, 20.5}));
}

TEST_F(TagReaderTest, XmpTellsTheKindOfTransparency) {
  const std::pair<const char*, std::optional<std::int32_t>> modes[] = {
      {"straight", 1}, {"pre-multiplied", 2}, {"none", 0}, {"other", std::nullopt}};
  for (const auto& [name, mode] : modes) {
    container_.movie.reset();
    AddMovieTag(
        Mp4MetaNamespace::kXmp, "XMP",
        Xmp("xmlns:d='http://ns.adobe.com/xmp/1.0/DynamicMedia/' d:videoAlphaMode='" + std::string(name) + "'"));
    EXPECT_EQ(ReadTags(*context_, container_).alpha_mode, mode) << name;
  }
}

TEST_F(TagReaderTest, HalfAPlaceInXmpIsNone) {
  AddMovieTag(Mp4MetaNamespace::kXmp, "XMP", Xmp("tiff:Make='Acme' exif:GPSLatitude='48,30N'"));
  const MediaTags tags = ReadTags(*context_, container_);
  EXPECT_EQ(tags.maker, "Acme");
  EXPECT_EQ(tags.location, std::nullopt);
}

TEST_F(TagReaderTest, DamagedXmpTellsNothing) {
  AddMovieTag(Mp4MetaNamespace::kXmp, "XMP", "<rdf:Description tiff:Make='Acme'");
  EXPECT_EQ(ReadTags(*context_, container_).maker, "");
}

TEST_F(TagReaderTest, TakesTagsFromTheXmpOfRiff) {
  container_.xmp = Xmp("tiff:Model='Recorder'");
  EXPECT_EQ(ReadTags(*context_, container_).model, "Recorder");
}

}  // namespace
}  // namespace media_server::probe

#include "media-server/container/matroska_scan.h"

#include <gtest/gtest.h>
#include <utf8.h>

#include <string>

#include "tests/media-server/container/memory_source.h"

namespace media_server {
namespace {

using namespace std::string_literals;

/// An element of id `id` (marker included, most significant byte first) with its size in eight bytes.
std::string Element(std::uint32_t id, const std::string& content) {
  const int width = id > 0xFFFFFF ? 4 : id > 0xFFFF ? 3 : id > 0xFF ? 2 : 1;
  return Be(id, width) + Be(1ULL << 56 | content.size(), 8) + content;
}

std::string Header(const std::string& doc_type = "matroska") {
  return Element(0x1A45DFA3, Element(0x4286, Be(1, 1)) + Element(0x4282, doc_type));
}

std::string Segment(const std::string& content) { return Element(0x18538067, content); }
std::string Info(const std::string& content) { return Element(0x1549A966, content); }
std::string Tracks(const std::string& content) { return Element(0x1654AE6B, content); }
std::string TrackEntry(const std::string& content) { return Element(0xAE, content); }
std::string Tags(const std::string& content) { return Element(0x1254C367, content); }
std::string Tag(const std::string& content) { return Element(0x7373, content); }
std::string Targets(const std::string& content) { return Element(0x63C0, content); }
std::string SimpleTag(const std::string& name, const std::string& value, const std::string& more = "") {
  return Element(0x67C8, Element(0x45A3, name) + Element(0x4487, value) + more);
}
std::string Cluster(std::size_t size = 10) { return Element(0x1F43B675, Zeros(size)); }
std::string SeekTo(std::uint32_t id, std::uint64_t position) {
  return Element(0x114D9B74, Element(0x4DBB, Element(0x53AB, Be(id, 4)) + Element(0x53AC, Be(position, 8))));
}

MatroskaScan Scan(const std::string& bytes) {
  MemorySource source(bytes);
  return ScanMatroska(source);
}

TEST(MatroskaScan, OtherBytesGiveNothing) {
  for (const std::string& bytes : {""s, "\x1a\x45\xdf"s, "RIFF"s, Element(0x18538067, "")}) {
    const MatroskaScan scan = Scan(bytes);
    EXPECT_EQ(scan.doc_type, "");
    EXPECT_FALSE(scan.truncated);
  }
}

TEST(MatroskaScan, DocumentTypeStandsInTheHeader) {
  EXPECT_EQ(Scan(Header("webm") + Segment("")).doc_type, "webm");
  EXPECT_EQ(Scan(Header("webm")).doc_type, "webm");
}

TEST(MatroskaScan, TitleAndDateStandInTheInfo) {
  const std::uint64_t day_later = 86'400ULL * 1'000'000'000;
  const MatroskaScan scan =
      Scan(Header() + Segment(Info(Element(0x7BA9, "Ein Titel") + Element(0x4461, Be(day_later, 8)))));
  EXPECT_EQ(scan.title, "Ein Titel");
  EXPECT_EQ(scan.date_unix_s, 978'307'200 + 86'400);
}

TEST(MatroskaScan, DateOfAnotherWidthIsNoDate) {
  EXPECT_FALSE(Scan(Header() + Segment(Info(Element(0x4461, Be(1, 4))))).date_unix_s);
}

TEST(MatroskaScan, TrackFieldsAreUnsetUnlessStored) {
  const MatroskaScan scan =
      Scan(Header() + Segment(Tracks(TrackEntry(Element(0xD7, Be(1, 1)) + Element(0x83, Be(2, 1))))));
  ASSERT_EQ(scan.tracks.size(), 1U);
  EXPECT_EQ(scan.tracks[0].number, 1U);
  EXPECT_EQ(scan.tracks[0].type, 2U);
  EXPECT_FALSE(scan.tracks[0].encrypted);
  EXPECT_FALSE(scan.tracks[0].flag_interlaced);
  EXPECT_FALSE(scan.tracks[0].field_order);
  EXPECT_FALSE(scan.tracks[0].alpha_mode);
  EXPECT_FALSE(scan.tracks[0].stereo_mode);
  EXPECT_FALSE(scan.tracks[0].default_duration_ns);
}

TEST(MatroskaScan, TrackFieldsAreRead) {
  const std::string video = Element(0xE0, Element(0x9A, Be(1, 1))            // FlagInterlaced
                                              + Element(0x9D, Be(6, 1))      // FieldOrder
                                              + Element(0x53B8, Be(11, 1))   // StereoMode
                                              + Element(0x53C0, Be(1, 1)));  // AlphaMode
  const MatroskaScan scan =
      Scan(Header() + Segment(Tracks(TrackEntry(Element(0xD7, Be(3, 1)) + Element(0x73C5, Be(77, 8)) +
                                                Element(0x83, Be(1, 1)) + Element(0x23E383, Be(40'000'000, 4)) + video +
                                                Element(0x6D80, Element(0x6240, Element(0x5035, "")))))));
  ASSERT_EQ(scan.tracks.size(), 1U);
  EXPECT_EQ(scan.tracks[0].uid, 77U);
  EXPECT_TRUE(scan.tracks[0].encrypted);
  EXPECT_EQ(scan.tracks[0].flag_interlaced, 1U);
  EXPECT_EQ(scan.tracks[0].field_order, 6U);
  EXPECT_EQ(scan.tracks[0].stereo_mode, 11U);
  EXPECT_EQ(scan.tracks[0].alpha_mode, 1U);
  EXPECT_EQ(scan.tracks[0].default_duration_ns, 40'000'000U);
}

TEST(MatroskaScan, LanguagesOfBothKindsAreRead) {
  const MatroskaScan scan =
      Scan(Header() + Segment(Tracks(TrackEntry(Element(0x22B59C, "chi") + Element(0x22B59D, "zh-Hant")) +
                                     TrackEntry(Element(0x83, Be(1, 1))))));
  ASSERT_EQ(scan.tracks.size(), 2U);
  EXPECT_EQ(scan.tracks[0].language, "chi");
  EXPECT_EQ(scan.tracks[0].language_tag, "zh-Hant");
  EXPECT_EQ(scan.tracks[1].language, "");
  EXPECT_EQ(scan.tracks[1].language_tag, "");
}

TEST(MatroskaScan, CompressionIsNoEncryption) {
  EXPECT_FALSE(Scan(Header() + Segment(Tracks(TrackEntry(Element(0x6D80, Element(0x6240, Element(0x5034, "")))))))
                   .tracks[0]
                   .encrypted);
}

TEST(MatroskaScan, TagsKeepTheirTarget) {
  const MatroskaScan scan = Scan(
      Header() +
      Segment(Tags(Tag(SimpleTag("AIGC", "{}")) + Tag(Targets(Element(0x68CA, Be(30, 1)) + Element(0x63C5, Be(9, 1))) +
                                                      SimpleTag("TITLE", "Song", Element(0x447A, "eng"))))));
  ASSERT_EQ(scan.tags.size(), 2U);
  EXPECT_EQ(scan.tags[0].name, "AIGC");
  EXPECT_EQ(scan.tags[0].value, "{}");
  EXPECT_EQ(scan.tags[0].target_type, 50U);
  EXPECT_EQ(scan.tags[0].track_uid, 0U);
  EXPECT_EQ(scan.tags[0].language, "");
  EXPECT_EQ(scan.tags[1].target_type, 30U);
  EXPECT_EQ(scan.tags[1].track_uid, 9U);
  EXPECT_EQ(scan.tags[1].language, "eng");
}

TEST(MatroskaScan, NestedTagsCarryTheirParentsNames) {
  const MatroskaScan scan =
      Scan(Header() + Segment(Tags(Tag(SimpleTag("ARTIST", "Somebody", SimpleTag("INSTRUMENTS", "flute"))))));
  ASSERT_EQ(scan.tags.size(), 2U);
  EXPECT_EQ(scan.tags[0].name, "ARTIST");
  EXPECT_EQ(scan.tags[1].name, "ARTIST/INSTRUMENTS");
  EXPECT_EQ(scan.tags[1].value, "flute");
}

TEST(MatroskaScan, NestingIsBounded) {
  std::string tag = SimpleTag("INNER", "value");
  for (int i = 0; i < 50; ++i) tag = SimpleTag("N", "v", tag);
  const MatroskaScan scan = Scan(Header() + Segment(Tags(Tag(tag))));
  EXPECT_EQ(scan.tags.size(), 9U);
  EXPECT_TRUE(scan.incomplete);
}

TEST(MatroskaScan, TagsBehindTheClustersAreFoundByTheSeekHead) {
  std::string clusters;
  for (int i = 0; i < 100; ++i) clusters += Cluster(1000);
  const std::uint64_t seek_head_size = SeekTo(0x1254C367, 0).size();
  MemorySource source(Header() + Segment(SeekTo(0x1254C367, seek_head_size + clusters.size()) + clusters +
                                         Tags(Tag(SimpleTag("AIGC", "{}")))));
  const MatroskaScan scan = ScanMatroska(source);
  ASSERT_EQ(scan.tags.size(), 1U);
  EXPECT_LT(source.Reads(), 12U);
}

TEST(MatroskaScan, TagsBehindTheClustersAreFoundWithoutSeekHead) {
  const std::string tags = Tags(Tag(SimpleTag("AIGC", "{}")));
  EXPECT_EQ(Scan(Header() + Segment(Cluster() + Cluster() + tags)).tags.size(), 1U);
  std::string clusters;
  for (int i = 0; i < 512; ++i) clusters += Cluster();
  const MatroskaScan scan = Scan(Header() + Segment(clusters + tags));
  EXPECT_TRUE(scan.tags.empty());
  EXPECT_TRUE(scan.incomplete);
}

TEST(MatroskaScan, ElementsNamedTwiceAreReadOnce) {
  const std::string tags = Tags(Tag(SimpleTag("AIGC", "{}")));
  const std::uint64_t seek_head_size = SeekTo(0x1254C367, 0).size();
  EXPECT_EQ(Scan(Header() + Segment(SeekTo(0x1254C367, seek_head_size) + tags + Cluster())).tags.size(), 1U);
}

TEST(MatroskaScan, SegmentBeyondTheEndIsTruncation) {
  const std::string whole = Header() + Segment(Cluster());
  EXPECT_FALSE(Scan(whole).truncated);
  EXPECT_TRUE(Scan(whole.substr(0, whole.size() - 1)).truncated);
}

TEST(MatroskaScan, SegmentOfUnknownSizeIsNoTruncation) {
  const std::string segment = Be(0x18538067, 4) + Be(0x01FFFFFFFFFFFFFF, 8);
  EXPECT_FALSE(Scan(Header() + segment + Cluster()).truncated);
  EXPECT_TRUE(Scan(Header() + segment + SeekTo(0x1254C367, 5000) + Cluster()).truncated);
}

TEST(MatroskaScan, LargestSizesDoNotWrapAround) {
  const std::string huge = Be(0x1254C367, 4) + Be(0x01FFFFFFFFFFFFFE, 8) + Tag(SimpleTag("A", "b"));
  const MatroskaScan scan = Scan(Header() + Segment(huge));
  EXPECT_EQ(scan.tags.size(), 1U);
  EXPECT_TRUE(scan.incomplete);
  EXPECT_TRUE(Scan(Header() + Segment(SeekTo(0x1254C367, UINT64_MAX) + Cluster())).truncated);
}

TEST(MatroskaScan, ValuesAndTagsAreBounded) {
  const std::string largest(std::size_t{1} << 20, 'x');
  EXPECT_EQ(Scan(Header() + Segment(Tags(Tag(SimpleTag("A", largest))))).tags.at(0).value.size(), largest.size());
  MatroskaScan scan = Scan(Header() + Segment(Tags(Tag(SimpleTag("A", largest + "x") + SimpleTag("B", "kept")))));
  ASSERT_EQ(scan.tags.size(), 1U);
  EXPECT_EQ(scan.tags[0].name, "B");
  EXPECT_TRUE(scan.incomplete);

  std::string many;
  for (int i = 0; i < 4097; ++i) many += SimpleTag("A", "b");
  scan = Scan(Header() + Segment(Tags(Tag(many))));
  EXPECT_EQ(scan.tags.size(), 4096U);
  EXPECT_TRUE(scan.incomplete);
}

TEST(MatroskaScan, ValuesThatAreCutAreDropped) {
  const std::string whole = Header() + Segment(Tags(Tag(SimpleTag("A", "first") + SimpleTag("B", "second"))));
  const MatroskaScan scan = Scan(whole.substr(0, whole.size() - 1));
  ASSERT_EQ(scan.tags.size(), 1U);
  EXPECT_EQ(scan.tags[0].value, "first");
  EXPECT_TRUE(scan.truncated);
}

TEST(MatroskaScan, ElementsThatOverlapDoNotMultiplyTheBytes) {
  // Heads of Tags elements, each hidden in a Void of the one before, that all reach over the same large value.
  constexpr std::uint64_t kHeads = 40;
  const std::string value = Tag(SimpleTag("A", std::string(1000000, 'x')));
  const std::uint64_t void_head_size = Element(0xEC, "").size();
  const std::uint64_t step = Element(0xEC, Tags("")).size();
  const std::uint64_t seeks_size = kHeads * SeekTo(0x1254C367, 0).size();
  std::string seeks;
  std::string heads;
  for (std::uint64_t i = 0; i < kHeads; ++i) {
    seeks += SeekTo(0x1254C367, seeks_size + i * step + void_head_size);
    const std::uint64_t rest = (kHeads - 1 - i) * step + value.size();
    heads += Element(0xEC, Be(0x1254C367, 4) + Be(1ULL << 56 | rest, 8));
  }
  MemorySource source(Header() + Segment(seeks + heads + value));
  const MatroskaScan scan = ScanMatroska(source);
  std::size_t sum = 0;
  for (const MatroskaTag& tag : scan.tags) sum += tag.value.size();
  EXPECT_EQ(sum, 16000000U);
  EXPECT_TRUE(scan.incomplete);
  EXPECT_LE(source.BytesRead(), std::size_t{33} << 20);
}

TEST(MatroskaScan, EveryCutAndEveryBrokenByteKeepsTheTextsValid) {
  const std::uint64_t seek_head_size = SeekTo(0x1254C367, 0).size();
  const std::string info = Info(Element(0x7BA9, "Titel ö"));
  const std::string whole = Header() + Segment(SeekTo(0x1254C367, seek_head_size + info.size()) + info +
                                               Tags(Tag(SimpleTag("NÄME", "välue"))) + Cluster());
  EXPECT_EQ(Scan(whole).tags.size(), 1U);
  for (std::size_t size = 0; size < whole.size(); ++size) EXPECT_LE(Scan(whole.substr(0, size)).tags.size(), 1U);
  for (std::size_t at = 0; at < whole.size(); ++at) {
    for (const char value : {'\0', '\x7f', '\xff'}) {
      std::string broken = whole;
      broken[at] = value;
      const MatroskaScan scan = Scan(broken);
      EXPECT_TRUE(utf8::is_valid(scan.title.begin(), scan.title.end())) << at;
      for (const MatroskaTag& tag : scan.tags) EXPECT_TRUE(utf8::is_valid(tag.value.begin(), tag.value.end())) << at;
    }
  }
}

}  // namespace
}  // namespace media_server

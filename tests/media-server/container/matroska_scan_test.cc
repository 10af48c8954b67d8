#include "media-server/container/matroska_scan.h"

#include <gtest/gtest.h>
#include <utf8.h>

#include <string>

#include "tests/media-server/container/matroska_elements.h"

namespace media_server {
namespace {

using namespace std::string_literals;

std::string Header() { return Element(0x1A45DFA3, Element(0x4286, Be(1, 1))); }
std::string Tracks(const std::string& content) { return Element(0x1654AE6B, content); }
std::string TrackEntry(const std::string& content) { return Element(0xAE, content); }
/// Tracks with one that has this language.
std::string OneTrack(const std::string& language = "ger") { return Tracks(TrackEntry(Element(0x22B59C, language))); }
std::string Cluster(std::size_t size = 10) { return Element(0x1F43B675, Zeros(size)); }
constexpr std::uint32_t kTracks = 0x1654AE6B;
std::string SeekTo(std::uint32_t id, std::uint64_t position) {
  return Element(0x114D9B74, Element(0x4DBB, Element(0x53AB, Be(id, 4)) + Element(0x53AC, Be(position, 8))));
}

MatroskaScan Scan(const std::string& bytes) {
  MemorySource source(bytes);
  return ScanMatroska(source);
}

TEST(MatroskaScan, OtherBytesGiveNothing) {
  for (const std::string& bytes : {""s, "\x1a\x45\xdf"s, "RIFF"s, Segment(OneTrack()), Header() + OneTrack()}) {
    const MatroskaScan scan = Scan(bytes);
    EXPECT_TRUE(scan.tracks.empty());
    EXPECT_FALSE(scan.truncated);
  }
}

TEST(MatroskaScan, TracksStandInFileOrder) {
  const std::string encryption = Element(0x6D80, Element(0x6240, Element(0x5035, Element(0x47E1, Be(5, 1)))));
  const MatroskaScan scan =
      Scan(Header() +
           Segment(Tracks(TrackEntry(Element(0xD7, Be(3, 1)) + encryption) + TrackEntry(Element(0xD7, Be(300, 2))))));
  ASSERT_EQ(scan.tracks.size(), 2U);
  EXPECT_EQ(scan.tracks[0].number, 3U);
  EXPECT_TRUE(scan.tracks[0].encrypted);
  EXPECT_EQ(scan.tracks[1].number, 300U);
  EXPECT_FALSE(scan.tracks[1].encrypted);
}

TEST(MatroskaScan, LanguagesOfBothKindsAreRead) {
  const MatroskaScan scan =
      Scan(Header() + Segment(Tracks(TrackEntry(Element(0x22B59C, "chi") + Element(0x22B59D, "zh-Hant")) +
                                     TrackEntry(Element(0xD7, Be(1, 1))))));
  ASSERT_EQ(scan.tracks.size(), 2U);
  EXPECT_EQ(scan.tracks[0].language, "chi");
  EXPECT_EQ(scan.tracks[0].language_tag, "zh-Hant");
  EXPECT_EQ(scan.tracks[1].language, "");
  EXPECT_EQ(scan.tracks[1].language_tag, "");
}

TEST(MatroskaScan, TypesAndCodecsAreRead) {
  const MatroskaScan scan =
      Scan(Header() + Segment(Tracks(TrackEntry(Element(0x83, Be(0x12, 1)) + Element(0x86, "B_X")) +
                                     TrackEntry(Element(0xD7, Be(1, 1))))));
  ASSERT_EQ(scan.tracks.size(), 2U);
  EXPECT_EQ(scan.tracks[0].type, 0x12U);
  EXPECT_EQ(scan.tracks[0].codec_id, "B_X");
  EXPECT_EQ(scan.tracks[1].type, 0U);
  EXPECT_EQ(scan.tracks[1].codec_id, "");
}

TEST(MatroskaScan, ClockAndLengthsAreRead) {
  const auto scan_info = [](const std::string& info) { return Scan(Header() + Segment(Element(0x1549A966, info))); };
  EXPECT_EQ(scan_info("").tick_ns, 1e6);
  EXPECT_EQ(scan_info(Element(0x2AD7B1, Be(100'000, 3))).tick_ns, 1e5);
  EXPECT_EQ(scan_info(Element(0x2AD7B1, Be(0, 1))).tick_ns, 1e6);
  EXPECT_FALSE(scan_info("").tells_duration);
  EXPECT_FALSE(scan_info(Element(0x4489, Zeros(8))).tells_duration);
  EXPECT_TRUE(scan_info(Element(0x4489, "\x40\x59" + Zeros(6))).tells_duration);
  const MatroskaScan scan = Scan(Header() + Segment(Tracks(TrackEntry(Element(0x23E383, Be(40'000'000, 4))))));
  ASSERT_EQ(scan.tracks.size(), 1u);
  EXPECT_EQ(scan.tracks[0].frame_ns, 40'000'000u);
}

TEST(MatroskaScan, SignatureIsNoEncryption) {
  const std::string signature = Element(0x47E3, "signed");
  for (const std::string& content : {signature, Element(0x47E1, Be(0, 1)) + signature}) {
    const std::string encodings = Element(0x6D80, Element(0x6240, Element(0x5035, content)));
    EXPECT_FALSE(Scan(Header() + Segment(Tracks(TrackEntry(encodings)))).tracks.at(0).encrypted);
  }
}

TEST(MatroskaScan, CompressionIsNoEncryption) {
  EXPECT_FALSE(Scan(Header() + Segment(Tracks(TrackEntry(Element(0x6D80, Element(0x6240, Element(0x5034, "")))))))
                   .tracks[0]
                   .encrypted);
}

TEST(MatroskaScan, TracksBehindTheClustersAreFoundByTheSeekHead) {
  std::string clusters;
  for (int i = 0; i < 100; ++i) clusters += Cluster(1000);
  const std::uint64_t seek_head_size = SeekTo(kTracks, 0).size();
  MemorySource source(Header() +
                      Segment(SeekTo(kTracks, seek_head_size + clusters.size()) + clusters + OneTrack("fre")));
  const MatroskaScan scan = ScanMatroska(source);
  ASSERT_EQ(scan.tracks.size(), 1U);
  EXPECT_EQ(scan.tracks[0].language, "fre");
  EXPECT_LT(source.Reads(), 8U);
}

TEST(MatroskaScan, ClustersAreNotPassed) {
  MemorySource source(Header() + Segment(Cluster() + OneTrack()));
  EXPECT_TRUE(ScanMatroska(source).tracks.empty());
  EXPECT_LT(source.Reads(), 4U);
}

TEST(MatroskaScan, ElementsInFrontOfTheTracksArePassedUpToABound) {
  const auto behind = [](int elements) {
    std::string others;
    for (int i = 0; i < elements; ++i) others += Element(0xEC, "void");
    return Scan(Header() + Segment(others + OneTrack())).tracks.size();
  };
  EXPECT_EQ(behind(511), 1U);
  EXPECT_EQ(behind(512), 0U);
}

TEST(MatroskaScan, ElementsNamedTwiceAreReadOnce) {
  const std::uint64_t seek_head_size = SeekTo(kTracks, 0).size();
  EXPECT_EQ(Scan(Header() + Segment(SeekTo(kTracks, seek_head_size) + OneTrack() + Cluster())).tracks.size(), 1U);
}

TEST(MatroskaScan, SegmentBeyondTheEndIsTruncation) {
  const std::string whole = Header() + Segment(Cluster());
  EXPECT_FALSE(Scan(whole).truncated);
  EXPECT_TRUE(Scan(whole.substr(0, whole.size() - 1)).truncated);
}

TEST(MatroskaScan, SegmentOfUnknownSizeIsNoTruncation) {
  const std::string segment = EndlessElement(0x18538067);
  EXPECT_FALSE(Scan(Header() + segment + Cluster()).truncated);
  for (const std::uint32_t described : {0x1549A966U, kTracks, 0x1941A469U, 0x1254C367U}) {
    EXPECT_TRUE(Scan(Header() + segment + SeekTo(described, 5000) + Cluster()).truncated) << described;
  }
  EXPECT_FALSE(Scan(Header() + segment + SeekTo(0x1C53BB6B, 5000) + Cluster()).truncated) << "Cues";
}

TEST(MatroskaScan, SoughtElementThatIsCutIsTruncation) {
  const std::string segment = EndlessElement(0x18538067);
  const std::string tags = Element(0x1254C367, "tags");
  const std::string whole =
      Header() + segment + SeekTo(0x1254C367, SeekTo(0, 0).size() + Cluster().size()) + Cluster() + tags;
  EXPECT_FALSE(Scan(whole).truncated);
  EXPECT_TRUE(Scan(whole.substr(0, whole.size() - 1)).truncated);
}

TEST(MatroskaScan, LargestSizesDoNotWrapAround) {
  const std::string huge =
      Be(kTracks, 4) + Be(0x01FFFFFFFFFFFFFE, 8) + TrackEntry(Element(0x22B59C, "ger")) + Cluster();
  EXPECT_EQ(Scan(Header() + Segment(huge)).tracks.size(), 1U);
  EXPECT_TRUE(Scan(Header() + Segment(SeekTo(kTracks, UINT64_MAX) + Cluster())).truncated);
}

TEST(MatroskaScan, TracksAreBounded) {
  std::string many;
  for (int i = 0; i < 1001; ++i) many += TrackEntry("");
  EXPECT_EQ(Scan(Header() + Segment(Tracks(many))).tracks.size(), 1000U);

  const std::string filler = TrackEntry(Element(0xEC, Zeros(std::size_t{4} << 20)));
  EXPECT_EQ(Scan(Header() + Segment(Tracks(filler + TrackEntry("")))).tracks.size(), 1U);
}

TEST(MatroskaScan, NumbersThatAreCutAreDropped) {
  const std::string whole = Header() + Segment(Tracks(TrackEntry(Element(0xD7, Be(7, 1)) + Element(0x22B59C, "ger"))));
  const MatroskaScan scan = Scan(whole.substr(0, whole.size() - 1));
  ASSERT_EQ(scan.tracks.size(), 1U);
  EXPECT_EQ(scan.tracks[0].number, 7U);
  EXPECT_EQ(scan.tracks[0].language, "");
  EXPECT_TRUE(scan.truncated);
}

TEST(MatroskaScan, ElementsThatOverlapDoNotMultiplyTheBytes) {
  // Heads of Tracks elements, each hidden in a Void of the one before, that all reach over the same large value.
  constexpr std::uint64_t kHeads = 40;
  const std::string value = Element(0xEC, Zeros(1'000'000));
  const std::uint64_t void_head_size = Element(0xEC, "").size();
  const std::uint64_t step = Element(0xEC, Tracks("")).size();
  const std::uint64_t seeks_size = kHeads * SeekTo(kTracks, 0).size();
  std::string seeks;
  std::string heads;
  for (std::uint64_t i = 0; i < kHeads; ++i) {
    seeks += SeekTo(kTracks, seeks_size + i * step + void_head_size);
    const std::uint64_t rest = (kHeads - 1 - i) * step + value.size();
    heads += Element(0xEC, Be(kTracks, 4) + Be(1ULL << 56 | rest, 8));
  }
  MemorySource source(Header() + Segment(seeks + heads + value));
  ScanMatroska(source);
  EXPECT_LE(source.BytesRead(), std::size_t{9} << 20);
}

TEST(MatroskaScan, EveryCutAndEveryBrokenByteKeepsTheTextsValid) {
  const std::uint64_t seek_head_size = SeekTo(kTracks, 0).size();
  const std::string info = Element(0x1549A966, "");
  const std::string whole =
      Header() + Segment(SeekTo(kTracks, seek_head_size + info.size()) + info + OneTrack("ö") + Cluster());
  EXPECT_EQ(Scan(whole).tracks.at(0).language, "ö");
  for (std::size_t size = 0; size < whole.size(); ++size) EXPECT_LE(Scan(whole.substr(0, size)).tracks.size(), 1U);
  for (std::size_t at = 0; at < whole.size(); ++at) {
    for (const char value : {'\0', '\x7f', '\xff'}) {
      std::string broken = whole;
      broken[at] = value;
      for (const MatroskaTrack& track : Scan(broken).tracks) {
        EXPECT_TRUE(utf8::is_valid(track.language.begin(), track.language.end())) << at;
      }
    }
  }
}

}  // namespace
}  // namespace media_server

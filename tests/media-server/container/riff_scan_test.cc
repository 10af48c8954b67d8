#include "media-server/container/riff_scan.h"

#include <gtest/gtest.h>
#include <utf8.h>

#include <string>

#include "tests/media-server/container/memory_source.h"

namespace media_server {
namespace {

using namespace std::string_literals;

std::string Chunk(const std::string& id, const std::string& content) {
  return id + Le(content.size(), 4) + content + (content.size() % 2 == 1 ? Zeros(1) : "");
}
std::string Riff(const std::string& type, const std::string& chunks) { return Chunk("RIFF", type + chunks); }
std::string Wave(const std::string& chunks) { return Riff("WAVE", Chunk("fmt ", Zeros(16)) + chunks); }

RiffScan Scan(const std::string& bytes) {
  MemorySource source(bytes);
  return ScanRiff(source);
}

TEST(RiffScan, OtherBytesGiveNothing) {
  EXPECT_FALSE(Scan("").truncated);
  std::string other = Wave(Chunk("AIGC", "{}"));
  ASSERT_TRUE(Scan(other).aigc);
  other.replace(0, 4, "FORM");
  EXPECT_FALSE(Scan(other).aigc);
}

TEST(RiffScan, PlainWaveHasNothingOfNote) {
  const RiffScan scan = Scan(Wave(Chunk("data", Zeros(10))));
  EXPECT_FALSE(scan.broadcast);
  EXPECT_FALSE(scan.aigc);
  EXPECT_FALSE(scan.xmp);
  EXPECT_FALSE(scan.truncated);
}

TEST(RiffScan, SamplesMayBeDts) {
  const auto has_sync = [](const std::string& samples) { return Scan(Wave(Chunk("data", samples))).has_dts_sync; };
  EXPECT_FALSE(has_sync(std::string(20'000, '\x7F')));
  for (const std::string& sync :
       {"\x7F\xFE\x80\x01"s, "\xFE\x7F\x01\x80"s, "\x1F\xFF\xE8\x00\x07"s, "\xFF\x1F\x00\xE8"s}) {
    EXPECT_TRUE(has_sync(sync));
    EXPECT_TRUE(has_sync(Zeros(4'096) + sync));
    EXPECT_FALSE(has_sync(Zeros(8'192) + sync));
  }
}

// Of two channels at 8 kHz.
std::string Format(std::uint64_t tag, std::uint64_t block, std::uint64_t bits) {
  return Le(tag, 2) + Le(2, 2) + Le(8'000, 4) + Le(8'000 * block, 4) + Le(block, 2) + Le(bits, 2);
}
std::string ExtensibleFormat(std::uint64_t block, std::uint64_t room, std::uint64_t bits, std::uint64_t tag = 1) {
  return Format(0xFFFE, block, room) + Le(22, 2) + Le(bits, 2) + Le(3, 4) + Le(tag, 2) + Zeros(14);
}

TEST(RiffScan, SamplesMayHaveMoreRoomThanTheyNeed) {
  const auto padded = [](const std::string& format, std::size_t size = 64'000) {
    return Scan(Riff("WAVE", Chunk("fmt ", format) + Chunk("data", Zeros(size)))).padded_samples;
  };
  const auto extensible = padded(ExtensibleFormat(8, 32, 24));
  ASSERT_TRUE(extensible);
  EXPECT_EQ(extensible->room_bits, 32u);
  EXPECT_TRUE(extensible->is_extensible);
  EXPECT_EQ(extensible->seconds, 1);
  const auto plain = padded(Format(1, 8, 16), 32'000);
  ASSERT_TRUE(plain);
  EXPECT_FALSE(plain->is_extensible);
  EXPECT_EQ(plain->seconds, 0.5);

  EXPECT_FALSE(padded(ExtensibleFormat(8, 32, 32)));
  EXPECT_FALSE(padded(ExtensibleFormat(6, 24, 20))) << "less than a byte";
  EXPECT_FALSE(padded(ExtensibleFormat(8, 32, 24, 3))) << "floating point";
  EXPECT_FALSE(padded(ExtensibleFormat(8, 32, 0)));
  EXPECT_FALSE(padded(Format(1, 4, 16)));
  EXPECT_FALSE(padded(Format(0x11, 1024, 4))) << "blocks of ADPCM";
  EXPECT_FALSE(padded(ExtensibleFormat(8, 32, 24).substr(0, 24)));
}

TEST(RiffScan, BroadcastExtensionTellsWhen) {
  const auto field = [](const std::string& text, std::size_t size) { return text + Zeros(size - text.size()); };
  const RiffScan scan = Scan(Wave(
      Chunk("bext", field("About", 256) + field("Me", 32) + field("ref", 32) + "2024-02-29" + "12:34:56" + Zeros(20))));
  ASSERT_TRUE(scan.broadcast);
  EXPECT_EQ(scan.broadcast->origination_date, "2024-02-29");
  EXPECT_EQ(scan.broadcast->origination_time, "12:34:56");
}

TEST(RiffScan, BroadcastTimesHaveAnySeparators) {
  for (const std::string& written : {"2024_02_2912-34-56"s, "2024:02:2912_34_56"s, "2024.02.2912.34.56"s,
                                     "2024 02 2912 34 56"s, "2024/02/2912:34:56"s}) {
    const RiffScan scan = Scan(Wave(Chunk("bext", Zeros(320) + written)));
    ASSERT_TRUE(scan.broadcast);
    EXPECT_EQ(scan.broadcast->origination_date, "2024-02-29");
    EXPECT_EQ(scan.broadcast->origination_time, "12:34:56");
  }
  EXPECT_EQ(Scan(Wave(Chunk("bext", Zeros(320) + "2024" + Zeros(6) + "12" + Zeros(6)))).broadcast->origination_date,
            "2024");
  const std::string bad = Scan(Wave(Chunk("bext", Zeros(320) + std::string(18, '\xE9')))).broadcast->origination_date;
  EXPECT_TRUE(utf8::is_valid(bad.begin(), bad.end()));
}

TEST(RiffScan, BroadcastExtensionCutShortIsEmptyWhereItEnds) {
  const RiffScan scan = Scan(Wave(Chunk("bext", Zeros(320) + "2024-02-2")));
  ASSERT_TRUE(scan.broadcast);
  EXPECT_EQ(scan.broadcast->origination_date, "");
}

TEST(RiffScan, LabelAndXmpBehindDataOfOddLength) {
  const RiffScan scan =
      Scan(Wave(Chunk("data", Zeros(9)) + Chunk("AIGC", "{\"Label\":\"1\"}") + Chunk("_PMX", "<x/>")));
  EXPECT_EQ(scan.aigc, "{\"Label\":\"1\"}");
  EXPECT_EQ(scan.xmp, "<x/>");
}

TEST(RiffScan, FirstOfTwoLabelsCounts) {
  EXPECT_EQ(Scan(Wave(Chunk("AIGC", "one") + Chunk("AIGC", "two"))).aigc, "one");
}

TEST(RiffScan, TextsThatAreCutOrEmptyAreDropped) {
  const std::string whole = Wave(Chunk("AIGC", "text"));
  EXPECT_EQ(Scan(whole).aigc, "text");
  EXPECT_FALSE(Scan(whole.substr(0, whole.size() - 1)).aigc);
  EXPECT_FALSE(Scan(Wave(Chunk("AIGC", ""))).aigc);
}

TEST(RiffScan, ChunkBeyondTheEndIsTruncation) {
  const std::string whole = Wave(Chunk("data", Zeros(100)));
  EXPECT_FALSE(Scan(whole).truncated);
  EXPECT_TRUE(Scan(whole.substr(0, whole.size() - 1)).truncated);
}

TEST(RiffScan, FormBeyondTheEndIsTruncation) {
  const std::string whole = Wave(Chunk("data", Zeros(100)) + Chunk("LIST", "INFO" + Chunk("INAM", "x")));
  EXPECT_TRUE(Scan(whole.substr(0, whole.size() - 22)).truncated);
}

TEST(RiffScan, FormThatCountsItsOwnHeadIsNoTruncation) {
  std::string counted = Wave(Chunk("data", Zeros(10)));
  counted.replace(4, 4, Le(counted.size(), 4));
  EXPECT_FALSE(Scan(counted).truncated);
}

TEST(RiffScan, SizesOfAllOnesReachToTheEnd) {
  const std::string streamed =
      "RIFF" + Le(0xFFFFFFFF, 4) + "WAVE" + Chunk("fmt ", Zeros(16)) + "data" + Le(0xFFFFFFFF, 4) + Zeros(50);
  EXPECT_FALSE(Scan(streamed).truncated);
}

TEST(RiffScan, SizesThatWritersToPipesLeaveReachToTheEnd) {
  struct Sizes {
    std::uint32_t form;
    std::uint32_t data;
  };
  for (const Sizes sizes : {Sizes{0xFFFFFFFF, 0xFFFFFFFF}, Sizes{0x7FFFF024, 0x7FFFF000}, Sizes{0x80000024, 0x80000000},
                            Sizes{36, 0}, Sizes{0, 0}}) {
    const RiffScan scan = Scan("RIFF" + Le(sizes.form, 4) + "WAVE" + Chunk("fmt ", Zeros(16)) +
                               Chunk("LIST", "INFO" + Chunk("INAM", "x")) + "data" + Le(sizes.data, 4) + Zeros(50));
    ASSERT_TRUE(scan.endless_data) << sizes.data;
    EXPECT_EQ(scan.endless_data->size_bytes, 50U) << sizes.data;
    EXPECT_FALSE(scan.truncated) << sizes.data;
  }
}

TEST(RiffScan, OtherSizesBeyondTheEndAreTruncation) {
  for (const std::uint32_t size : {51U, 0x7FFFE000U, 0x80000001U, 0xFFFFE000U}) {
    const RiffScan scan =
        Scan("RIFF" + Le(size + 36, 4) + "WAVE" + Chunk("fmt ", Zeros(16)) + "data" + Le(size, 4) + Zeros(50));
    EXPECT_FALSE(scan.endless_data) << size;
    EXPECT_TRUE(scan.truncated) << size;
    ASSERT_TRUE(scan.cut_data) << size;
    EXPECT_EQ(scan.cut_data->size_bytes, 50U) << size;
  }
}

TEST(RiffScan, DataThatIsAllThereIsNotCut) {
  EXPECT_FALSE(Scan(Wave(Chunk("data", Zeros(100)))).cut_data);
  EXPECT_FALSE(Scan(Wave(Chunk("LIST", "INFO") + Chunk("data", Zeros(100)) + "junk" + Le(50, 4))).cut_data);
}

TEST(RiffScan, DataThatIsReallyEmptyStaysSo) {
  EXPECT_FALSE(Scan(Wave(Chunk("fmt ", Zeros(16)) + Chunk("data", ""))).endless_data);
  const RiffScan scan = Scan(Wave(Chunk("fmt ", Zeros(16)) + Chunk("data", "") + Chunk("AIGC", "{}")));
  EXPECT_FALSE(scan.endless_data);
  EXPECT_EQ(scan.aigc, "{}");
}

TEST(RiffScan, EndlessDataOfAnInputOfUnknownSizeHasNone) {
  MemorySource source("RIFF" + Le(0xFFFFFFFF, 4) + "WAVE" + Chunk("fmt ", Zeros(16)) + "data" + Le(0xFFFFFFFF, 4) +
                      Zeros(50));
  source.ForgetSize();
  const RiffScan scan = ScanRiff(source);
  ASSERT_TRUE(scan.endless_data);
  EXPECT_EQ(scan.endless_data->size_bytes, std::nullopt);
}

TEST(RiffScan, LargeFormsTakeTheDataSizeFromDs64) {
  const auto large = [](std::uint64_t data_size) {
    return "RF64" + Le(0xFFFFFFFF, 4) + "WAVE" + Chunk("ds64", Le(1000, 8) + Le(data_size, 8) + Zeros(12)) + "data" +
           Le(0xFFFFFFFF, 4) + Zeros(50) + Chunk("AIGC", "{}");
  };
  EXPECT_EQ(Scan(large(50)).aigc, "{}");
  EXPECT_FALSE(Scan(large(50)).truncated);
  EXPECT_TRUE(Scan(large(5000)).truncated);
  EXPECT_TRUE(Scan(large(UINT64_MAX)).truncated);
  EXPECT_FALSE(Scan(large(50)).endless_data);
  const RiffScan endless = Scan(large(0));
  ASSERT_TRUE(endless.endless_data) << "never put right";
  EXPECT_EQ(endless.endless_data->size_bytes, 60U);
  EXPECT_FALSE(endless.truncated);
}

TEST(RiffScan, UnprintableChunkIdsEndTheWalk) {
  EXPECT_FALSE(Scan(Wave("\1\2\3\4"s + Le(4, 4) + "abcd" + Chunk("AIGC", "{}"))).aigc);
}

TEST(RiffScan, ChunksAndTextsAreBounded) {
  std::string chunks;
  for (int i = 0; i < 5000; ++i) chunks += Chunk("JUNK", "");
  EXPECT_FALSE(Scan(Wave(chunks + Chunk("AIGC", "{}"))).aigc);

  const std::string largest(std::size_t{1} << 20, 'x');
  EXPECT_EQ(Scan(Wave(Chunk("AIGC", largest))).aigc->size(), largest.size());
  EXPECT_FALSE(Scan(Wave(Chunk("AIGC", largest + "x"))).aigc);
}

TEST(RiffScan, InputOfUnknownSizeIsRead) {
  MemorySource source(Wave(Chunk("AIGC", "{}")));
  source.ForgetSize();
  const RiffScan scan = ScanRiff(source);
  EXPECT_EQ(scan.aigc, "{}");
  EXPECT_FALSE(scan.truncated);
}

TEST(RiffScan, EveryCutAndEveryBrokenByteKeepsTheTextsValid) {
  const std::string whole = Wave(Chunk("bext", Zeros(400)) + Chunk("AIGC", "{ö}"));
  EXPECT_EQ(Scan(whole).aigc, "{ö}");
  for (std::size_t size = 0; size < whole.size(); ++size) EXPECT_FALSE(Scan(whole.substr(0, size)).aigc) << size;
  for (std::size_t at = 0; at < whole.size(); ++at) {
    for (const char value : {'\0', '\x7f', '\xff'}) {
      std::string broken = whole;
      broken[at] = value;
      const RiffScan scan = Scan(broken);
      if (scan.aigc) {
        EXPECT_TRUE(utf8::is_valid(scan.aigc->begin(), scan.aigc->end())) << at;
      }
    }
  }
}

}  // namespace
}  // namespace media_server

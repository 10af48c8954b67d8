// Streams of VP9, whose format stands in the header of a key frame: no frame of these files could be decoded.

#include <gtest/gtest.h>

#include <cstdint>
#include <memory>
#include <string>
#include <vector>

#include "media-server/probe/analysis_policy.h"
#include "media-server/probe/av_handles.h"
#include "media-server/probe/demuxer.h"
#include "media-server/probe/ffmpeg.h"
#include "media-server/probe/media_prober.h"
#include "tests/media-server/container/matroska_elements.h"
#include "tests/media-server/container/memory_source.h"

namespace media_server::probe {
namespace {

using namespace std::string_literals;

// 320x240 in 12 bits of 4:2:2, full range, colours of BT.709; nothing follows the header.
const std::string kKeyFrame = "\xb1\x24\xc1\xa1\x56\x00\x9f\x80\x77\xb0\x31"s;
const std::string kInterFrame = "\xb3\x00\x00\x00"s;
const std::string kHiddenIntraFrame = "\x84\x89\x30\x68\x5f\xe0\x27\xe0\x1d\xe0"s;  // of profile 0

std::string Ivf(const std::vector<std::string>& frames) {
  std::string file = "DKIF" + Le(0, 2) + Le(32, 2) + "VP90" + Le(320, 2) + Le(240, 2) + Le(25, 4) + Le(1, 4) +
                     Le(frames.size(), 4) + Zeros(4);
  std::uint64_t time = 0;
  for (const std::string& frame : frames) file += Le(frame.size(), 4) + Le(time++, 8) + frame;
  return file;
}

struct WebmFrame {
  std::string bytes;
  bool is_key;
};

// DefaultDuration: 40 ms a frame.
const std::string kRate = Element(0x23E383, Be(40'000'000, 4));

std::string Webm(const std::vector<WebmFrame>& frames, const std::string& rate = kRate,
                 const std::string& alpha_mode = "") {
  constexpr std::uint64_t kOneSecond = 0x447A0000;  // 1,000 ms as a float
  const std::string header = Element(0x1A45DFA3, Element(0x4282, "webm"));
  const std::string info =
      Element(0x1549A966, Element(0x2AD7B1, Be(1'000'000, 3)) + Element(0x4489, Be(kOneSecond, 4)));
  const std::string size = Element(0xB0, Be(320, 2)) + Element(0xBA, Be(240, 2));
  const std::string entry = Element(0xD7, Be(1, 1)) + Element(0x73C5, Be(1, 1)) + Element(0x83, Be(1, 1)) +
                            Element(0x86, "V_VP9") + rate + Element(0xE0, size + alpha_mode);
  std::string cluster = Element(0xE7, Be(0, 1));
  int time = 0;
  for (const WebmFrame& frame : frames) {
    cluster += Element(0xA3, BlockContent(1, frame.bytes, frame.is_key ? 0x80 : 0, time));
    time += 40;
  }
  return header + Segment(info + Element(0x1654AE6B, Element(0xAE, entry)) + Element(0x1F43B675, cluster));
}

StreamDescription OnlyStream(MemorySource& source) {
  BoundedSource bounded(source, ReadBudget());
  std::string reason;
  const auto media = ProbeMedia(bounded, "", &reason);
  EXPECT_NE(media, nullptr) << reason;
  return media ? media->streams.at(0) : StreamDescription();
}

StreamDescription OnlyStream(const std::string& file) {
  MemorySource source(file);
  return OnlyStream(source);
}

void ExpectFormatOfKeyFrame(const StreamDescription& stream) {
  EXPECT_EQ(stream.codec_name, "vp9");
  EXPECT_EQ(stream.profile, 3);
  EXPECT_EQ(stream.picture.width, 320u);
  EXPECT_EQ(stream.picture.bit_depth, 12);
  EXPECT_EQ(stream.picture.chroma, 422);
  EXPECT_EQ(stream.picture.color_range, 2);
  EXPECT_EQ(stream.properties.matrix_coefficients, 1);
  EXPECT_EQ(stream.properties.alpha_channel, 0);
  EXPECT_EQ(stream.picture.frame_rate, 25);
}

bool IsAnalysed(const std::string& file) {
  MemorySource source(file);
  BoundedSource bounded(source, ReadBudget());
  std::string reason;
  const auto demuxer = Demuxer::Open(bounded, {.demuxer = "matroska"}, &reason);
  EXPECT_NE(demuxer, nullptr) << reason;
  return !demuxer || NeedsAnalysis(demuxer->Context());
}

TEST(Vp9StreamTest, AKeyFramesHeaderTellsTheFormat) {
  ExpectFormatOfKeyFrame(OnlyStream(Webm({{kKeyFrame, true}, {kInterFrame, false}})));
  ExpectFormatOfKeyFrame(OnlyStream(Ivf({kKeyFrame, kInterFrame})));
}

TEST(Vp9StreamTest, FramesInFrontOfTheKeyFrameArePassedOver) {
  ExpectFormatOfKeyFrame(OnlyStream(Webm({{kInterFrame, false}, {kInterFrame, false}, {kKeyFrame, true}})));
  ExpectFormatOfKeyFrame(OnlyStream(Ivf({kInterFrame, kInterFrame, kKeyFrame})));
}

TEST(Vp9StreamTest, AHiddenIntraFrameTellsTheFormatToo) {
  const StreamDescription stream = OnlyStream(Webm({{kHiddenIntraFrame, false}}));
  EXPECT_EQ(stream.picture.bit_depth, 8);
  EXPECT_EQ(stream.picture.chroma, 420);
  EXPECT_EQ(stream.picture.color_range, 1);
}

TEST(Vp9StreamTest, AlphaStandsBesideThePictures) {
  const std::string alpha_mode = Element(0x53C0, Be(1, 1));
  EXPECT_EQ(OnlyStream(Webm({{kKeyFrame, true}}, kRate, alpha_mode)).properties.alpha_channel, 1);
}

TEST(Vp9StreamTest, OnlyAnUnknownRateIsWorthAnAnalysis) {
  EXPECT_FALSE(IsAnalysed(Webm({{kKeyFrame, true}})));
  const std::string without_rate = Webm({{kKeyFrame, true}, {kInterFrame, false}, {kInterFrame, false}}, "");
  EXPECT_TRUE(IsAnalysed(without_rate));
  EXPECT_EQ(OnlyStream(without_rate).picture.bit_depth, 12);
}

TEST(Vp9StreamTest, Mp4IsNotAnalysedWhereItTellsTheSize) {
  const FormatContextHandle context(avformat_alloc_context());
  context->iformat = av_find_input_format("mov");
  AVCodecParameters& codec = *avformat_new_stream(context.get(), nullptr)->codecpar;
  codec.codec_type = AVMEDIA_TYPE_VIDEO;
  codec.codec_id = AV_CODEC_ID_VP9;
  EXPECT_TRUE(NeedsAnalysis(*context));
  codec.width = 320;
  codec.height = 240;
  EXPECT_FALSE(NeedsAnalysis(*context));
  context->iformat = nullptr;  // or the demuxer would close what it never opened
}

TEST(Vp9StreamTest, ScrambledKeyFramesAreNotSearchedOn) {
  std::vector<WebmFrame> frames(150, WebmFrame{"\x01"s + Zeros(5000), true});
  frames.push_back({kKeyFrame, true});
  MemorySource source(Webm(frames));
  EXPECT_EQ(OnlyStream(source).picture.bit_depth, 0);
  EXPECT_LT(source.BytesRead(), 150'000u);
}

}  // namespace
}  // namespace media_server::probe

#include "media-server/probe/pcm_header.h"

#include <gtest/gtest.h>

#include <vector>

#include "media-server/probe/ffmpeg.h"

namespace media_server::probe {
namespace {

using Packet = std::vector<std::uint8_t>;

TEST(PcmHeaderTest, ReadsThatOfADvd) {
  EXPECT_EQ(ReadPcmHeader(PcmCarrier::kDvd, Packet{0x00, 0x01, 0x80}), (PcmFormat{48'000, 2, 16, 1'536'000}));
  EXPECT_EQ(ReadPcmHeader(PcmCarrier::kDvd, Packet{0x00, 0x95, 0x80}), (PcmFormat{96'000, 6, 24, 13'824'000}));
  EXPECT_EQ(ReadPcmHeader(PcmCarrier::kDvd, Packet{0x00, 0x60, 0x80}), (PcmFormat{44'100, 1, 20, 882'000}));
}

TEST(PcmHeaderTest, ReadsThatOfABluRay) {
  EXPECT_EQ(ReadPcmHeader(PcmCarrier::kBluRay, Packet{0x03, 0xC0, 0x31, 0x40}), (PcmFormat{48'000, 2, 16, 1'536'000}));
  EXPECT_EQ(ReadPcmHeader(PcmCarrier::kBluRay, Packet{0x10, 0xE0, 0x91, 0xC0}), (PcmFormat{48'000, 6, 24, 6'912'000}));
}

TEST(PcmHeaderTest, CountsWhatABluRayPads) {
  EXPECT_EQ(ReadPcmHeader(PcmCarrier::kBluRay, Packet{0x03, 0xC0, 0x11, 0x40}), (PcmFormat{48'000, 1, 16, 1'536'000}));
  EXPECT_EQ(ReadPcmHeader(PcmCarrier::kBluRay, Packet{0x03, 0xC0, 0x35, 0x80}), (PcmFormat{192'000, 2, 20, 9'216'000}));
}

TEST(PcmHeaderTest, ReadsThatOfAes3) {
  // 5120 bytes are 1024 samples of two channels, 20 bits each with their status: 1.92 Mb/s and a header each 1024.
  EXPECT_EQ(ReadPcmHeader(PcmCarrier::kAes3, Packet{0x14, 0x00, 0x00, 0x00}), (PcmFormat{48'000, 2, 16, 1'921'500}));
  EXPECT_EQ(ReadPcmHeader(PcmCarrier::kAes3, Packet{0x15, 0x00, 0xC0, 0x20})->channels, 8u);
  EXPECT_EQ(ReadPcmHeader(PcmCarrier::kAes3, Packet{0x15, 0x00, 0xC0, 0x20})->bits_per_sample, 24u);
}

TEST(PcmHeaderTest, RefusesWhatDoesNotExist) {
  EXPECT_EQ(ReadPcmHeader(PcmCarrier::kDvd, Packet{0x00, 0xC1, 0x80}), std::nullopt) << "28 bits";
  EXPECT_EQ(ReadPcmHeader(PcmCarrier::kBluRay, Packet{0x03, 0xC0, 0x01, 0x40}), std::nullopt) << "no channels";
  EXPECT_EQ(ReadPcmHeader(PcmCarrier::kBluRay, Packet{0x03, 0xC0, 0x32, 0x40}), std::nullopt) << "no such rate";
  EXPECT_EQ(ReadPcmHeader(PcmCarrier::kBluRay, Packet{0x03, 0xC0, 0x31, 0x00}), std::nullopt) << "no depth";
  EXPECT_EQ(ReadPcmHeader(PcmCarrier::kAes3, Packet{0x14, 0x00, 0x00, 0x30}), std::nullopt) << "28 bits";
  EXPECT_EQ(ReadPcmHeader(PcmCarrier::kAes3, Packet{0x00, 0x00, 0x00, 0x00}), std::nullopt) << "not a sample";
}

TEST(PcmHeaderTest, RefusesWhatIsCutShort) {
  EXPECT_EQ(ReadPcmHeader(PcmCarrier::kDvd, Packet{0x00, 0x01}), std::nullopt);
  EXPECT_EQ(ReadPcmHeader(PcmCarrier::kBluRay, Packet{0x03, 0xC0, 0x31}), std::nullopt);
  EXPECT_EQ(ReadPcmHeader(PcmCarrier::kAes3, Packet{0x14, 0x00, 0x00}), std::nullopt);
  EXPECT_EQ(ReadPcmHeader(PcmCarrier::kDvd, {}), std::nullopt);
}

TEST(PcmHeaderTest, KnowsTheCodecsThatHaveOne) {
  AVCodecParameters codec{};
  codec.codec_id = AV_CODEC_ID_PCM_DVD;
  EXPECT_EQ(PcmCarrierOf(codec), PcmCarrier::kDvd);
  codec.codec_id = AV_CODEC_ID_PCM_BLURAY;
  EXPECT_EQ(PcmCarrierOf(codec), PcmCarrier::kBluRay);
  codec.codec_id = AV_CODEC_ID_S302M;
  EXPECT_EQ(PcmCarrierOf(codec), PcmCarrier::kAes3);
  codec.codec_id = AV_CODEC_ID_PCM_S16LE;
  EXPECT_EQ(PcmCarrierOf(codec), std::nullopt);
}

}  // namespace
}  // namespace media_server::probe

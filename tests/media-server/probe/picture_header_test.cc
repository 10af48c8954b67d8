#include "media-server/probe/picture_header.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cstdint>
#include <vector>

#include "media-server/codec/nal.h"
#include "media-server/probe/av_handles.h"
#include "media-server/probe/ffmpeg.h"
#include "tests/media-server/codec/bit_writer.h"
#include "tests/media-server/container/memory_source.h"

namespace media_server::probe {
namespace {

using codec::BitWriter;
using codec::FieldOrder;
using codec::Hex;
using Bytes = std::vector<std::uint8_t>;

Bytes operator+(Bytes first, const Bytes& second) {
  first.insert(first.end(), second.begin(), second.end());
  return first;
}

// A stream of MOV whose index places one sample at the start of the file.
class PictureHeaderTest : public testing::Test {
 protected:
  PictureHeaderTest() {
    context_->iformat = av_find_input_format("mov");
    codec_.codec_type = AVMEDIA_TYPE_VIDEO;
  }
  ~PictureHeaderTest() override { context_->iformat = nullptr; }  // or the demuxer would close what it never opened

  void SetExtradata(const Bytes& bytes) {
    codec_.extradata = static_cast<std::uint8_t*>(av_mallocz(bytes.size() + AV_INPUT_BUFFER_PADDING_SIZE));
    codec_.extradata_size = static_cast<int>(bytes.size());
    std::ranges::copy(bytes, codec_.extradata);
  }

  PictureHeader Read(AVCodecID codec, const Bytes& file, std::size_t sample_size) {
    codec_.codec_id = codec;
    av_add_index_entry(&stream_, /*pos=*/0, /*timestamp=*/0, static_cast<int>(sample_size), /*distance=*/0,
                       AVINDEX_KEYFRAME);
    MemorySource source(file);
    const SampleReader samples(*context_, source);
    PictureHeader header = ReadPictureHeader(stream_, samples);
    bytes_read_ = source.BytesRead();
    return header;
  }
  PictureHeader Read(AVCodecID codec, const Bytes& sample) { return Read(codec, sample, sample.size()); }

  FormatContextHandle context_{avformat_alloc_context()};
  AVStream& stream_ = *avformat_new_stream(context_.get(), nullptr);
  AVCodecParameters& codec_ = *stream_.codecpar;
  std::uint64_t bytes_read_ = 0;
};

// What libavformat puts in place of the header that AVC-Intra has none of: High 4:2:2 Intra of 1920x1080, colours of
// BT.709 in full range, 25 frames per second.
const Bytes kMadeUp =
    Hex("00000001 677a1029b6d420223319c66323210111 98ce3319182102 56b93d7d7e4fe33f11f19e08b88c5443c0780227e2701e3010"
        "1014000003000400000300ca1000000000000000 00000001 68ce3348d0");

// 320x240 of the High profile, frames only, and its picture parameter set.
Bytes ParameterSets() {
  BitWriter bits;
  bits.Bits(100, 8).Bits(0, 8).Bits(40, 8).Ue(0);
  bits.Ue(1).Ue(0).Ue(0).Bits(0, 2);  // 4:2:0, 8 bits
  bits.Ue(0).Ue(2).Ue(1).Bits(0, 1);  // frame_num, order, reference frames
  bits.Ue(19).Ue(14).Bits(1, 1).Bits(1, 1).Bits(0, 1).Bits(0, 1).Bits(1, 1);
  return Hex("00000001 67") + bits.Bytes() + Hex("00000001 68 ce3880");
}

const Bytes kIdrSlice = Hex("00000001 6588840021");

TEST_F(PictureHeaderTest, ParameterSetsOfTheSampleWinOverThoseMadeUp) {
  SetExtradata(kMadeUp);
  const PictureHeader header = Read(AV_CODEC_ID_H264, ParameterSets() + kIdrSlice);
  EXPECT_EQ(header.parameters.profile, 100);
  EXPECT_EQ(header.parameters.chroma_sampling, 420);
  EXPECT_EQ(header.parameters.bit_depth, 8);
  EXPECT_EQ(header.parameters.width, 320U);
  EXPECT_EQ(header.parameters.color, codec::ColorDescription());
  EXPECT_EQ(header.full_idr, true);
}

TEST_F(PictureHeaderTest, AvcIntraWithoutParameterSetsHasNoColoursOfItsOwn) {
  SetExtradata(kMadeUp);
  const PictureHeader header = Read(AV_CODEC_ID_H264, kIdrSlice);
  EXPECT_EQ(header.parameters.profile, 122 + 0x800);
  EXPECT_EQ(header.parameters.chroma_sampling, 422);
  EXPECT_EQ(header.parameters.bit_depth, 10);
  EXPECT_EQ(header.parameters.height, 1080U);
  EXPECT_EQ(header.parameters.color, codec::ColorDescription());
  EXPECT_EQ(header.parameters.frame_rate, std::nullopt);
}

TEST_F(PictureHeaderTest, MadeUpParameterSetsTellNothingOfSamplesThatAreNotH264) {
  SetExtradata(kMadeUp);
  const PictureHeader header = Read(AV_CODEC_ID_H264, Bytes(64, 0));
  EXPECT_EQ(header.parameters.profile, std::nullopt);
  EXPECT_EQ(header.parameters.chroma_sampling, std::nullopt);
}

TEST_F(PictureHeaderTest, ARecordWithoutParameterSetsIsCompletedFromTheSample) {
  SetExtradata(Hex("01 640028 ff e0 00"));
  Bytes sample;
  const Bytes sets = ParameterSets();
  codec::NalReader reader(sets, codec::kAnnexB);
  for (auto nal = reader.Next(); !nal.empty(); nal = reader.Next()) {
    sample = sample + Bytes{0, 0, 0, static_cast<std::uint8_t>(nal.size())} + Bytes(nal.begin(), nal.end());
  }
  const PictureHeader header = Read(AV_CODEC_ID_H264, sample + Hex("00000005 6588840021"));
  EXPECT_EQ(header.parameters.width, 320U);
  EXPECT_EQ(header.parameters.height, 240U);
}

// An avcC record with the parameter sets above.
Bytes Record() {
  Bytes record = Hex("01 640028 ff");
  const Bytes sets = ParameterSets();
  codec::NalReader reader(sets, codec::kAnnexB);
  for (auto nal = reader.Next(); !nal.empty(); nal = reader.Next()) {
    record = record + Bytes{1, 0, static_cast<std::uint8_t>(nal.size())} + Bytes(nal.begin(), nal.end());
  }
  return record;
}

TEST_F(PictureHeaderTest, MessagesOfTheFirstH264KeySampleAreRead) {
  SetExtradata(Record());
  // Two views side by side, and the transfer function of hybrid log-gamma where that is known.
  const PictureHeader header =
      Read(AV_CODEC_ID_H264, Hex("00000009 06 2d028180 930112 80") + Hex("00000005 6588840021"));
  EXPECT_EQ(header.sei.frame_packing, codec::FramePacking::kSideBySide);
  EXPECT_EQ(header.sei.preferred_transfer, 18);
  EXPECT_EQ(header.full_idr, true);
  EXPECT_LE(bytes_read_, SampleReader::kSampleStart);
}

TEST_F(PictureHeaderTest, MessagesOfAnHevcSampleAreAddedToThoseOfTheRecord) {
  SetExtradata(Hex("01 01 60000000 900000000000 3c f000 fc fd f8 f8 0000 0f 01 27 0001 0007 4e01 2d028180 80"));
  const PictureHeader header = Read(AV_CODEC_ID_HEVC, Hex("00000006 4e01 930112 80") + Hex("00000004 2601af08"));
  EXPECT_EQ(header.sei.frame_packing, codec::FramePacking::kSideBySide);
  EXPECT_EQ(header.sei.preferred_transfer, 18);
  EXPECT_EQ(header.full_idr, true);
  EXPECT_LE(bytes_read_, SampleReader::kSampleStart);
}

// A JPEG 2000 codestream of 1920 columns, 4:2:0 in 8 bits.
Bytes CodestreamOf(std::uint16_t lines) {
  BitWriter bits;
  bits.Bits(0xFF4FFF51, 32).Bits(47, 16).Bits(0, 16).Bits(1920, 32).Bits(lines, 32).Bits(0, 64);
  bits.Bits(1920, 32).Bits(lines, 32).Bits(0, 64).Bits(3, 16).Bits(0x070101, 24).Bits(0x070202, 24).Bits(0x070202, 24);
  return bits.Bytes();
}

TEST_F(PictureHeaderTest, ACodestreamOfJpeg2000TellsItsOwnSize) {
  codec_.width = 1920;
  codec_.height = 1088;
  const PictureHeader header = Read(AV_CODEC_ID_JPEG2000, CodestreamOf(1080));
  EXPECT_EQ(header.parameters.width, 1920U);
  EXPECT_EQ(header.parameters.height, 1080U);
  EXPECT_EQ(header.parameters.chroma_sampling, 420);
  EXPECT_EQ(header.parameters.bit_depth, 8);
}

TEST_F(PictureHeaderTest, TwoFieldsOfJpeg2000MakeAPicture) {
  codec_.width = 1920;
  codec_.height = 1088;
  EXPECT_EQ(Read(AV_CODEC_ID_JPEG2000, CodestreamOf(540)).parameters.height, 1080U);
}

TEST_F(PictureHeaderTest, IntermediatesTellTheirFormatWhereTheyKeepIt) {
  codec_.codec_tag = MKTAG('U', 'L', 'Y', '2');
  EXPECT_EQ(Read(AV_CODEC_ID_UTVIDEO, {}).parameters.chroma_sampling, 422);
  EXPECT_EQ(Read(AV_CODEC_ID_MAGICYUV, Hex("4d414759 20000000 07 69")).parameters.chroma_sampling, 420);
  SetExtradata(Hex("00 0c 10 00"));
  EXPECT_EQ(Read(AV_CODEC_ID_HUFFYUV, {}).parameters.chroma_sampling, 420);
}

TEST_F(PictureHeaderTest, AFrameOfDvTellsItsFormatInAnyContainer) {
  Bytes frame(144'000, 0);
  frame[1] = 0x07;
  frame[3] = 0xBF;                // 625 lines
  frame[5 * 80 + 48] = 0x60;      // the video's source:
  frame[5 * 80 + 48 + 3] = 0x20;  // 625 lines at 25 Mb/s
  frame[5 * 80 + 48 + 5] = 0x61;  // its source control: fields, the lower first
  frame[5 * 80 + 48 + 8] = 0x50;
  codec_.width = 720;
  codec_.height = 576;
  const PictureHeader header = Read(AV_CODEC_ID_DVVIDEO, frame);
  EXPECT_EQ(header.parameters.chroma_sampling, 420);
  EXPECT_EQ(header.parameters.bit_depth, 8);
  EXPECT_EQ(header.parameters.field_order, FieldOrder::kBottomFirst);
  EXPECT_LE(bytes_read_, SampleReader::kSampleStart);
  codec_.field_order = AV_FIELD_PROGRESSIVE;
  EXPECT_EQ(Read(AV_CODEC_ID_DVVIDEO, frame).parameters.field_order, std::nullopt) << "the container's counts";
}

TEST_F(PictureHeaderTest, TheFirstKeySampleOfVp9TellsItsFormat) {
  const Bytes inter_frame = Hex("86 00 00 00");
  av_add_index_entry(&stream_, /*pos=*/16, /*timestamp=*/-1, static_cast<int>(inter_frame.size()), /*distance=*/0,
                     /*flags=*/0);
  const Bytes key_frame = Hex("82 49 83 42 00 13 f0 0e f6 06 00 00 00 00 00 00");
  const PictureHeader header = Read(AV_CODEC_ID_VP9, key_frame + inter_frame, key_frame.size());
  EXPECT_EQ(header.parameters.bit_depth, 8);
  EXPECT_EQ(header.parameters.alpha, false);
}

TEST_F(PictureHeaderTest, Vp9WithoutKeySamplesTellsItsProfile) {
  av_add_index_entry(&stream_, /*pos=*/0, /*timestamp=*/-1, /*size=*/4, /*distance=*/0, /*flags=*/0);
  codec_.codec_id = AV_CODEC_ID_VP9;
  MemorySource source(Hex("96 00 00 00"));
  EXPECT_EQ(ReadPictureHeader(stream_, SampleReader(*context_, source)).parameters.profile, 2);
}

TEST_F(PictureHeaderTest, FramesOfDvWithoutASizeAreLeftToTheirReader) {
  EXPECT_EQ(Read(AV_CODEC_ID_DVVIDEO, Bytes(144'000, 0)).parameters.bit_depth, std::nullopt);
  EXPECT_EQ(bytes_read_, 0U);
}

TEST_F(PictureHeaderTest, NamesProfilesOfCodecsThatAnalysisReads) {
  EXPECT_EQ(Read(AV_CODEC_ID_MJPEG, {}).profiled_codec, codec::ProfiledCodec::kMjpeg);
  EXPECT_EQ(Read(AV_CODEC_ID_DNXHD, {}).profiled_codec, codec::ProfiledCodec::kDnxhd);
  EXPECT_EQ(Read(AV_CODEC_ID_VC1, {}).profiled_codec, codec::ProfiledCodec::kVc1);
  EXPECT_EQ(Read(AV_CODEC_ID_VP8, {}).profiled_codec, std::nullopt);
  stream_.disposition = AV_DISPOSITION_ATTACHED_PIC;
  EXPECT_EQ(Read(AV_CODEC_ID_MJPEG, {}).profiled_codec, codec::ProfiledCodec::kMjpeg);
}

TEST_F(PictureHeaderTest, CoversOfJpegAndPngHaveTheFullRange) {
  stream_.disposition = AV_DISPOSITION_ATTACHED_PIC;
  Bytes jpeg = Hex("ffd8 ffc0 0011 08 0004 0004 03 012200 021101 031101 ffd9");
  Bytes gif = Hex("474946383961 0400 0400 00 00 00 3b");
  stream_.attached_pic.data = jpeg.data();
  stream_.attached_pic.size = static_cast<int>(jpeg.size());
  const PictureHeader header = Read(AV_CODEC_ID_MJPEG, {});
  EXPECT_EQ(header.parameters.color.full_range, true);
  EXPECT_EQ(header.parameters.chroma_sampling, 420);
  EXPECT_EQ(header.parameters.color.matrix, std::nullopt);
  stream_.attached_pic.data = gif.data();
  stream_.attached_pic.size = static_cast<int>(gif.size());
  EXPECT_EQ(Read(AV_CODEC_ID_MJPEG, {}).parameters.color.full_range, std::nullopt);
  stream_.attached_pic = AVPacket();
}

TEST_F(PictureHeaderTest, CoversOfJpegMayBeRgb) {
  stream_.disposition = AV_DISPOSITION_ATTACHED_PIC;
  Bytes jpeg = Hex("ffd8 ffc0 0011 08 0004 0004 03 521100 471100 421100 ffd9");
  stream_.attached_pic.data = jpeg.data();
  stream_.attached_pic.size = static_cast<int>(jpeg.size());
  const PictureHeader header = Read(AV_CODEC_ID_MJPEG, {});
  EXPECT_EQ(header.parameters.chroma_sampling, codec::kChromaRgb);
  EXPECT_EQ(header.parameters.color.matrix, 0);
  stream_.attached_pic = AVPacket();
}

// 1920x1080, Main profile, in which pictures may be interlaced; order of pictures by their counts.
BitWriter InterlacedSet() {
  BitWriter bits;
  bits.Bits(77, 8).Bits(0, 8).Bits(40, 8).Ue(0);
  bits.Ue(0).Ue(0).Ue(0).Ue(1).Bits(0, 1);  // four bits of frame_num, four of the order count, one reference frame
  bits.Ue(119).Ue(33).Bits(0, 1).Bits(0, 1).Bits(1, 1);  // fields and frames
  bits.Bits(1, 1).Ue(0).Ue(0).Ue(0).Ue(2);               // cropped by 8 lines
  return bits.Bits(0, 1).Bits(1, 1);
}

Bytes WithLength(std::uint8_t header, const BitWriter& payload, unsigned length_size) {
  const std::size_t size = payload.Bytes().size() + 1;
  Bytes unit(length_size, 0);
  unit.back() = static_cast<std::uint8_t>(size);
  unit.push_back(header);
  return unit + payload.Bytes();
}

// avcC with the set above and a picture parameter set that has the order count of the bottom field in each slice.
Bytes InterlacedRecord() {
  BitWriter picture_set;
  picture_set.Ue(0).Ue(0).Bits(0, 1).Bits(1, 1).Ue(0).Ue(0).Ue(0).Bits(0, 3).Ue(0).Ue(0).Ue(0).Bits(0, 3).Bits(1, 1);
  return Hex("01 4d0028 ff e1") + WithLength(0x67, InterlacedSet(), 2) + Hex("01") + WithLength(0x68, picture_set, 2);
}

enum class Coded { kTopThenBottom, kBottomThenTop, kAtOnce, kTopField, kBottomField };

// The head of an IDR slice.
BitWriter SliceOf(Coded coded) {
  BitWriter slice;
  slice.Ue(0).Ue(7).Ue(0).Bits(0, 4);  // first macroblock, intra, parameter set, frame_num
  const bool is_field = coded == Coded::kTopField || coded == Coded::kBottomField;
  slice.Bits(is_field, 1);
  if (is_field) slice.Bits(coded == Coded::kBottomField, 1);
  slice.Ue(0).Bits(0, 4);  // idr_pic_id, order count of the top field
  // What that of the bottom field is above it, as a signed code: 1 has the number 1, -1 the number 2.
  if (!is_field) slice.Ue(coded == Coded::kTopThenBottom ? 1 : coded == Coded::kBottomThenTop ? 2 : 0);
  return slice.Bits(1, 1).Bits(0xFFFFFF, 24);
}

struct Order {
  Coded coded;
  FieldOrder told;
};

class FieldOrderOfSampleTest : public PictureHeaderTest, public testing::WithParamInterface<Order> {};

TEST_P(FieldOrderOfSampleTest, IsReadFromTheStartOfALargeSample) {
  SetExtradata(InterlacedRecord());
  constexpr std::size_t kSampleSize = 200'000;
  // One slice: its length is that of the rest of the sample.
  Bytes sample = Hex("00030d3c 65") + SliceOf(GetParam().coded).Bytes();
  sample.resize(kSampleSize, 0xAA);
  const PictureHeader header = Read(AV_CODEC_ID_H264, sample);
  EXPECT_EQ(header.parameters.field_order, GetParam().told);
  EXPECT_EQ(header.parameters.progressive_only, false);
  EXPECT_LE(bytes_read_, 2 * SampleReader::kSampleStart);
}

INSTANTIATE_TEST_SUITE_P(Orders, FieldOrderOfSampleTest,
                         testing::Values(Order{Coded::kTopThenBottom, FieldOrder::kTopFirst},
                                         Order{Coded::kBottomThenTop, FieldOrder::kBottomFirst},
                                         Order{Coded::kAtOnce, FieldOrder::kProgressive},
                                         Order{Coded::kTopField, FieldOrder::kTopFirst},
                                         Order{Coded::kBottomField, FieldOrder::kBottomFirst}));

// 64x64 of HEVC whose fields are pictures of their own, as x265 writes it.
const Bytes kFieldsRecord =
    Hex("01 01 60000000 400000000000 1e f000 fc fd f8 f8 0000 0f 04"
        "20 0001 0018 40010c01ffff01600000030040000003000003001e959809"
        "21 0001 0028 42010101600000030040000003000003001ea020810596566924caf0168680000003008000001904"
        "22 0001 0006 4401c171a112"
        "27 0001 0006 4e0181010f80");
const Bytes kHevcSlice = Hex("00000018 2801af0598fdb7b5ef40a618e49710480c8387fccbf7caf1");

TEST_F(PictureHeaderTest, TheFirstFieldOfHevcIsTold) {
  SetExtradata(kFieldsRecord);
  const PictureHeader header = Read(AV_CODEC_ID_HEVC, Hex("00000006 4e0101011180") + kHevcSlice);
  EXPECT_EQ(header.parameters.progressive_only, false);
  EXPECT_EQ(header.parameters.field_order, FieldOrder::kTopFirst);
}

TEST_F(PictureHeaderTest, TheFirstFieldOfHevcMayBeTheLowerOne) {
  SetExtradata(kFieldsRecord);
  const PictureHeader header = Read(AV_CODEC_ID_HEVC, Hex("00000006 4e0101012180") + kHevcSlice);
  EXPECT_EQ(header.parameters.field_order, FieldOrder::kBottomFirst);
}

TEST_F(PictureHeaderTest, APictureOfHevcThatTellsNoFieldHasNoFirstOne) {
  SetExtradata(kFieldsRecord);
  EXPECT_EQ(Read(AV_CODEC_ID_HEVC, kHevcSlice).parameters.field_order, std::nullopt);
}

}  // namespace
}  // namespace media_server::probe

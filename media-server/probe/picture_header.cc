#include "media-server/probe/picture_header.h"

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <span>
#include <string>
#include <utility>
#include <vector>

#include "media-server/codec/av1.h"
#include "media-server/codec/h261.h"
#include "media-server/codec/h264.h"
#include "media-server/codec/hevc.h"
#include "media-server/codec/intermediate.h"
#include "media-server/codec/mpeg2.h"
#include "media-server/codec/mpeg4_visual.h"
#include "media-server/codec/nal.h"
#include "media-server/codec/prores.h"
#include "media-server/codec/screen_video.h"
#include "media-server/codec/video_usability.h"
#include "media-server/codec/vp9.h"
#include "media-server/image/image_reader.h"
#include "media-server/io/span_source.h"
#include "media-server/probe/analysis_policy.h"
#include "media-server/probe/av_handles.h"
#include "media-server/probe/dirac_sequence.h"
#include "media-server/probe/dv_frame.h"
#include "media-server/probe/ffmpeg.h"
#include "media-server/probe/streams.h"

namespace media_server::probe {
namespace {

using codec::PictureParameters;
using codec::ProfiledCodec;
using Bytes = std::span<const std::uint8_t>;

constexpr std::size_t kSampleStart = SampleReader::kSampleStart;

// Later samples have no such text, and only their kind is asked for.
constexpr std::size_t kLaterSampleStart = 1024;

// Key samples looked at for their kind; a stream that mixes kinds does so from the start.
constexpr int kMostKeySamples = 8;
// Of a file behind http, each of which is a request.
constexpr int kMostRemoteKeySamples = 3;

Bytes Extradata(const AVStream& stream) {
  const AVCodecParameters& codec = *stream.codecpar;
  return {codec.extradata, static_cast<std::size_t>(std::max(codec.extradata_size, 0))};
}

// Whether every key frame is one that nothing before it is needed for. Empty when no key sample could be seen.
template <typename IsIdr>
std::optional<bool> AllKeySamplesAre(IsIdr is_idr, AVStream& stream, const SampleReader& samples) {
  std::optional<bool> all;
  const int most = samples.IsRemote() ? kMostRemoteKeySamples : kMostKeySamples;
  int seen = 0;
  for (int i = 0; i < samples.SampleCount(stream) && seen < most; ++i) {
    if (!samples.IsKeySample(stream, i)) continue;
    const std::size_t size = seen++ == 0 ? kSampleStart : kLaterSampleStart;
    if (const std::optional<bool> idr = is_idr(samples.ReadStart(stream, i, size))) {
      all = all.value_or(true) && *idr;
    }
  }
  return all;
}

// Which field of an H.264 or HEVC picture comes first stands in its slice header or a message before it. libavcodec's
// parsers read them without decoding.
std::optional<codec::FieldOrder> FieldOrderOfSample(const AVStream& stream, std::vector<std::uint8_t> sample,
                                                    int nal_length_size) {
  const CodecContextHandle context(avcodec_alloc_context3(nullptr));
  const ParserHandle parser(av_parser_init(stream.codecpar->codec_id));
  if (!context || !parser || sample.empty()) return std::nullopt;
  if (avcodec_parameters_to_context(context.get(), stream.codecpar) < 0) return std::nullopt;
  codec::FitLastNal(sample, nal_length_size);  // the parser refuses a unit that leads past the end
  const std::size_t size = sample.size();
  sample.resize(size + AV_INPUT_BUFFER_PADDING_SIZE);  // which the parser may read
  parser->flags |= PARSER_FLAG_COMPLETE_FRAMES;
  std::uint8_t* parsed = nullptr;
  int parsed_size = 0;
  av_parser_parse2(parser.get(), context.get(), &parsed, &parsed_size, sample.data(), static_cast<int>(size),
                   AV_NOPTS_VALUE, AV_NOPTS_VALUE, /*pos=*/0);
  // Of a picture whose fields are coded one by one the first is seen.
  if (parser->picture_structure == AV_PICTURE_STRUCTURE_TOP_FIELD) return codec::FieldOrder::kTopFirst;
  if (parser->picture_structure == AV_PICTURE_STRUCTURE_BOTTOM_FIELD) return codec::FieldOrder::kBottomFirst;
  // That of HEVC puts the structure of the picture here too.
  if (stream.codecpar->codec_id == AV_CODEC_ID_HEVC) return std::nullopt;
  switch (parser->field_order) {
    case AV_FIELD_PROGRESSIVE:
      return codec::FieldOrder::kProgressive;
    case AV_FIELD_TT:
    case AV_FIELD_BT:
      return codec::FieldOrder::kTopFirst;
    case AV_FIELD_BB:
    case AV_FIELD_TB:
      return codec::FieldOrder::kBottomFirst;
    default:
      return std::nullopt;
  }
}

// libavformat knows no header of H.264 in MXF, nor of AVC-Intra in MOV. In its place it puts parameter sets of the
// AVC-Intra camera that has pictures of that size.
bool HeaderIsMadeUp(int nal_length_size, const SampleReader& samples) {
  return nal_length_size == codec::kAnnexB && (samples.Demuxer() == "mxf" || samples.Demuxer() == kMp4Demuxer);
}

// What a stream of AVC-Intra is, going by the parameter sets of one of its cameras: colours and rate are that camera's.
PictureParameters GenericAvcIntra(PictureParameters camera) {
  camera.color = {};
  camera.frame_rate.reset();
  return camera;
}

// Whether the first sample has to tell which field comes first: without an index it costs more, and analysis or the
// container may know it.
bool AsksForFieldOrder(const PictureParameters& picture, AVStream& stream, const SampleReader& samples) {
  if (picture.progressive_only.value_or(true)) return false;
  return samples.SampleCount(stream) > 0 || NumberIn(stream.codecpar->field_order) == AV_FIELD_UNKNOWN;
}

// The configuration, completed or replaced by the parameter sets of the first sample where those are the ones that
// count.
std::optional<codec::NalConfiguration> ReadH264Configuration(AVStream& stream, const SampleReader& samples) {
  auto configuration = codec::ReadH264Configuration(Extradata(stream));
  if (!configuration) return std::nullopt;
  const int length_size = configuration->nal_length_size;
  const bool made_up = HeaderIsMadeUp(length_size, samples);
  if (!made_up && configuration->picture.width) return configuration;
  const std::vector<std::uint8_t> first = samples.ReadFirst(stream);
  if (const auto picture = codec::ReadH264ParameterSets(first, length_size)) {
    configuration = {length_size, *picture, {}};
    codec::ReadH264Sei(first, length_size, configuration->sei);
    return configuration;
  }
  if (!made_up) return configuration;
  // Cameras leave their parameter sets out; other encoders never do.
  if (!codec::IsH264Idr(first, length_size)) return std::nullopt;
  configuration->picture = GenericAvcIntra(configuration->picture);
  return configuration;
}

/// How samples of a codec that is cut into NAL units are read.
struct NalReaders {
  void (*read_sei)(Bytes sample, int length_size, codec::SeiFacts& facts);
  std::optional<bool> (*is_idr)(Bytes sample, int length_size);
};

PictureHeader ReadNalSamples(const std::optional<codec::NalConfiguration>& configuration, const NalReaders& read,
                             AVStream& stream, const SampleReader& samples) {
  if (!configuration) return {};
  const int length_size = configuration->nal_length_size;
  PictureHeader header{.parameters = configuration->picture, .sei = configuration->sei};
  if (AsksForFieldOrder(header.parameters, stream, samples)) {
    header.parameters.field_order = FieldOrderOfSample(stream, samples.ReadFirst(stream), length_size);
  }
  if (samples.SampleCount(stream) == 0) read.read_sei(samples.ReadFirst(stream), length_size, header.sei);
  bool is_first = true;
  header.full_idr = AllKeySamplesAre(
      [&](Bytes sample) {
        if (std::exchange(is_first, false)) read.read_sei(sample, length_size, header.sei);
        return read.is_idr(sample, length_size);
      },
      stream, samples);
  return header;
}

PictureHeader ReadH264(AVStream& stream, const SampleReader& samples) {
  constexpr NalReaders kReaders{&codec::ReadH264Sei, &codec::IsH264Idr};
  return ReadNalSamples(ReadH264Configuration(stream, samples), kReaders, stream, samples);
}

std::optional<bool> IsHevcIdr(Bytes sample, int length_size) {
  const auto kind = codec::KindOfHevcPicture(sample, length_size);
  return kind ? std::optional(*kind == codec::HevcPictureKind::kIdr) : std::nullopt;
}

PictureHeader ReadHevc(AVStream& stream, const SampleReader& samples) {
  constexpr NalReaders kReaders{&codec::ReadHevcSei, &IsHevcIdr};
  return ReadNalSamples(codec::ReadHevcConfiguration(Extradata(stream)), kReaders, stream, samples);
}

PictureHeader ReadProRes(AVStream& stream, const SampleReader& samples) {
  PictureHeader header;
  header.parameters = codec::ProResFormat(stream.codecpar->codec_tag).value_or(PictureParameters());
  header.parameters.color.full_range = false;  // the codec knows no other range
  const auto frame = codec::ReadProResFrame(samples.ReadFirst(stream));
  if (!frame) return header;
  const PictureParameters format = header.parameters;
  header.parameters = *frame;
  header.parameters.profile = format.profile;
  header.parameters.bit_depth = format.bit_depth;
  header.parameters.color.full_range = format.color.full_range;
  return header;
}

// What a picture file tells of itself. JPEG (JFIF) and PNG know no other range than the full one.
PictureHeader ReadPictureFile(Bytes file) {
  SpanSource source(file);
  std::string reason;
  const auto headers = image::ReadPictureHeaders(source, &reason);
  PictureHeader header;
  if (!headers || !codec::SetPictureSize(header.parameters, headers->size->width, headers->size->height)) {
    return header;
  }
  header.parameters.bit_depth = headers->bit_depth;
  header.parameters.chroma_sampling = headers->chroma_sampling;
  if (headers->alpha) header.parameters.alpha = *headers->alpha != imagecore::kAlphaNone;
  if (headers->type == imagecore::kPictureJpeg || headers->type == imagecore::kPicturePng) {
    header.parameters.color.full_range = true;
    // libavformat takes every JPEG for YCbCr.
    if (headers->chroma_sampling == codec::kChromaRgb) header.parameters.color.matrix = 0;
  }
  return header;
}

// A cover's declared type is often wrong: its bytes decide.
PictureHeader ReadCover(const AVStream& stream) {
  const AVPacket& picture = stream.attached_pic;
  return ReadPictureFile({picture.data, static_cast<std::size_t>(std::max(picture.size, 0))});
}

// Each sample is a codestream; of interlaced pictures it is one for each field.
PictureHeader ReadJpeg2000(AVStream& stream, const SampleReader& samples) {
  PictureHeader header = ReadPictureFile(samples.ReadFirst(stream));
  auto& height = header.parameters.height;
  if (height && stream.codecpar->height >= 0 && static_cast<std::uint32_t>(stream.codecpar->height) / 2 >= *height) {
    *height *= 2;
  }
  return header;
}

// Where the container names no size, the next frame is read for more than its header.
PictureHeader ReadDv(AVStream& stream, const SampleReader& samples) {
  if (IsUnsizedDv(stream)) return {};
  PictureHeader header{.parameters = ReadDvFrame(samples.ReadFirst(stream)).value_or(PictureParameters())};
  // Encoders call all frames interlaced; containers that tell it know better.
  if (NumberIn(stream.codecpar->field_order) != AV_FIELD_UNKNOWN) header.parameters.field_order.reset();
  return header;
}

PictureHeader ReadUtVideo(AVStream& stream, const SampleReader&) {
  return {.parameters = codec::UtVideoFormat(stream.codecpar->codec_tag).value_or(PictureParameters())};
}

PictureHeader ReadHuffYuv(AVStream& stream, const SampleReader&) {
  const auto format = codec::HuffYuvFormat(Extradata(stream), stream.codecpar->bits_per_coded_sample);
  return {.parameters = format.value_or(PictureParameters())};
}

// For codecs of which analysis tells the rest.
PictureHeader ReadNothing(AVStream&, const SampleReader&) { return {}; }

// Every frame has a header.
template <std::optional<PictureParameters> (*read)(Bytes)>
PictureHeader ReadFirstSample(AVStream& stream, const SampleReader& samples) {
  return {.parameters = read(samples.ReadFirst(stream)).value_or(PictureParameters())};
}

// The container's copy of the header is all there is to read.
template <std::optional<PictureParameters> (*read)(Bytes)>
PictureHeader ReadExtradata(AVStream& stream, const SampleReader&) {
  return {.parameters = read(Extradata(stream)).value_or(PictureParameters())};
}

struct Reader {
  AVCodecID codec;
  std::optional<ProfiledCodec> profiled_codec;
  PictureHeader (*read)(AVStream& stream, const SampleReader& samples);
};

constexpr Reader kReaders[] = {
    {AV_CODEC_ID_H264, ProfiledCodec::kH264, &ReadH264},
    {AV_CODEC_ID_HEVC, ProfiledCodec::kHevc, &ReadHevc},
    {AV_CODEC_ID_AV1, ProfiledCodec::kAv1, &ReadExtradata<&codec::ReadAv1Configuration>},
    {AV_CODEC_ID_VP9, ProfiledCodec::kVp9, &ReadFirstSample<&codec::ReadVp9Frame>},
    {AV_CODEC_ID_MPEG1VIDEO, std::nullopt, &ReadExtradata<&codec::ReadMpegVideo>},
    {AV_CODEC_ID_MPEG2VIDEO, ProfiledCodec::kMpeg2, &ReadExtradata<&codec::ReadMpegVideo>},
    {AV_CODEC_ID_MPEG4, ProfiledCodec::kMpeg4Visual, &ReadExtradata<&codec::ReadMpeg4Visual>},
    {AV_CODEC_ID_PRORES, ProfiledCodec::kProRes, &ReadProRes},
    {AV_CODEC_ID_JPEG2000, std::nullopt, &ReadJpeg2000},
    {AV_CODEC_ID_DVVIDEO, std::nullopt, &ReadDv},
    {AV_CODEC_ID_H261, std::nullopt, &ReadFirstSample<&codec::ReadH261Picture>},
    {AV_CODEC_ID_DIRAC, std::nullopt, &ReadFirstSample<&ReadDiracSequence>},
    {AV_CODEC_ID_FLASHSV, std::nullopt, &ReadFirstSample<&codec::ReadScreenVideoFrame>},
    {AV_CODEC_ID_FLASHSV2, std::nullopt, &ReadFirstSample<&codec::ReadScreenVideoFrame>},
    {AV_CODEC_ID_MAGICYUV, std::nullopt, &ReadFirstSample<&codec::ReadMagicYuvFrame>},
    {AV_CODEC_ID_UTVIDEO, std::nullopt, &ReadUtVideo},
    {AV_CODEC_ID_HUFFYUV, std::nullopt, &ReadHuffYuv},
    {AV_CODEC_ID_FFVHUFF, std::nullopt, &ReadHuffYuv},
    {AV_CODEC_ID_DNXHD, ProfiledCodec::kDnxhd, &ReadNothing},
    {AV_CODEC_ID_MJPEG, ProfiledCodec::kMjpeg, &ReadNothing},
    {AV_CODEC_ID_VC1, ProfiledCodec::kVc1, &ReadNothing},
    {AV_CODEC_ID_WMV3, ProfiledCodec::kVc1, &ReadNothing},
    {AV_CODEC_ID_VVC, ProfiledCodec::kVvc, &ReadNothing},
};

}  // namespace

PictureHeader ReadPictureHeader(AVStream& stream, const SampleReader& samples) {
  const auto* reader = std::ranges::find(kReaders, stream.codecpar->codec_id, &Reader::codec);
  const bool is_known = reader != std::end(kReaders);
  PictureHeader header;
  if (IsCover(stream)) {
    header = ReadCover(stream);
  } else if (is_known) {
    header = reader->read(stream, samples);
  }
  if (is_known) header.profiled_codec = reader->profiled_codec;
  return header;
}

}  // namespace media_server::probe

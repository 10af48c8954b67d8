#include "media-server/probe/analysis_policy.h"

#include <algorithm>
#include <span>
#include <string_view>

#include "media-server/probe/dv_frame.h"
#include "media-server/probe/ffmpeg.h"
#include "media-server/probe/pcm_header.h"
#include "media-server/probe/streams.h"
#include "media-server/probe/timing.h"

namespace media_server::probe {
namespace {

bool IsOneOf(AVCodecID codec, std::initializer_list<AVCodecID> codecs) {
  return std::find(codecs.begin(), codecs.end(), codec) != codecs.end();
}

bool KnowsSound(const AVCodecParameters& codec) { return codec.sample_rate > 0 && codec.ch_layout.nb_channels > 0; }

bool KnowsSize(const AVCodecParameters& codec) { return codec.width > 0 && codec.height > 0; }

// A picture stream that a sample entry describes fully. Covers are read from their own bytes.
bool KnowsMp4Picture(const AVStream& stream) {
  const AVCodecParameters& codec = *stream.codecpar;
  if (IsCover(stream)) return true;
  if (!KnowsSize(codec)) return false;
  if (IsOneOf(codec.codec_id, {AV_CODEC_ID_H264, AV_CODEC_ID_HEVC, AV_CODEC_ID_AV1, AV_CODEC_ID_MPEG4})) {
    return codec.extradata_size > 0;
  }
  return IsOneOf(codec.codec_id, {AV_CODEC_ID_VP8, AV_CODEC_ID_VP9, AV_CODEC_ID_PRORES, AV_CODEC_ID_H263});
}

bool KnowsMatroskaPicture(const AVStream& stream) {
  const AVCodecParameters& codec = *stream.codecpar;
  if (IsCover(stream)) return true;
  if (!KnowsSize(codec) || stream.avg_frame_rate.num == 0) return false;
  if (IsOneOf(codec.codec_id, {AV_CODEC_ID_VP8, AV_CODEC_ID_VP9})) return true;
  return IsOneOf(codec.codec_id, {AV_CODEC_ID_H264, AV_CODEC_ID_HEVC, AV_CODEC_ID_AV1}) && codec.extradata_size > 0;
}

bool KnowsMatroskaSound(const AVStream& stream) {
  // What these are can only be seen in their frames: channels of AC-3, sample rate of E-AC-3 and DTS.
  return KnowsSound(*stream.codecpar) &&
         !IsOneOf(stream.codecpar->codec_id, {AV_CODEC_ID_AC3, AV_CODEC_ID_EAC3, AV_CODEC_ID_DTS, AV_CODEC_ID_TRUEHD});
}

bool AllKnown(const AVFormatContext& context, bool (*knows_picture)(const AVStream&),
              bool (*knows_sound)(const AVStream&)) {
  return context.nb_streams > 0 && std::ranges::all_of(Streams(context), [&](const AVStream* stream) {
           switch (stream->codecpar->codec_type) {
             case AVMEDIA_TYPE_VIDEO:
               return knows_picture(*stream);
             case AVMEDIA_TYPE_AUDIO:
               return knows_sound(*stream);
             default:
               return true;
           }
         });
}

bool KnowsSoundOf(const AVStream& stream) { return KnowsSound(*stream.codecpar); }

bool NoPicture(const AVStream& stream) { return IsCover(stream); }

// Depth of TrueHD, for which a sample entry always says 16 bits, and profile of DTS stand in their frames.
bool KnowsMp4Sound(const AVStream& stream) {
  return KnowsSound(*stream.codecpar) && !IsOneOf(stream.codecpar->codec_id, {AV_CODEC_ID_DTS, AV_CODEC_ID_TRUEHD});
}

bool KnowsMp4(const AVFormatContext& context) { return AllKnown(context, &KnowsMp4Picture, &KnowsMp4Sound); }

bool KnowsMatroska(const AVFormatContext& context) {
  return context.duration > 0 && AllKnown(context, &KnowsMatroskaPicture, &KnowsMatroskaSound);
}

// A WAV or AIFF header tells all; analysis would run a DTS probe over 16-bit samples, 300 times the cost of the open.
bool KnowsPcm(const AVFormatContext& context) { return AllKnown(context, &NoPicture, &KnowsSoundOf); }

bool KnowsTimedSound(const AVFormatContext& context) {
  return AllKnown(context, &NoPicture, [](const AVStream& stream) {
    return KnowsSound(*stream.codecpar) && stream.duration != AV_NOPTS_VALUE && stream.duration > 0;
  });
}

bool KnowsOgg(const AVFormatContext& context) {
  return KnowsTimedSound(context) && std::ranges::all_of(Streams(context), [](const AVStream* stream) {
           return stream->codecpar->codec_id != AV_CODEC_ID_FLAC;  // its depth stands in the frames
         });
}

bool KnowsAsf(const AVFormatContext& context) {
  return context.duration > 0 && AllKnown(context, &NoPicture, &KnowsSoundOf);
}

struct Family {
  std::string_view demuxer;
  bool (*knows_all)(const AVFormatContext& context);
};

// Families whose headers are trusted; all others are analysed.
constexpr Family kFamilies[] = {
    {kMp4Demuxer, &KnowsMp4}, {"matroska,webm", &KnowsMatroska}, {"wav", &KnowsPcm},
    {"aiff", &KnowsPcm},      {"flac", &KnowsTimedSound},        {"ogg", &KnowsOgg},
    {"asf", &KnowsAsf},
};

// A decoder tells it from the first picture.
bool LacksPixelFormat(const AVCodecParameters& codec) {
  return codec.format == AV_PIX_FMT_NONE && avcodec_find_decoder(codec.codec_id) != nullptr;
}

}  // namespace

bool NeedsAnalysis(const AVFormatContext& context) {
  const auto* family = std::ranges::find(kFamilies, std::string_view(context.iformat->name), &Family::demuxer);
  return family == std::end(kFamilies) || !family->knows_all(context);
}

bool LacksFacts(const AVStream& stream) {
  const AVCodecParameters& codec = *stream.codecpar;
  switch (codec.codec_type) {
    case AVMEDIA_TYPE_VIDEO:
      return !IsCover(stream) && !IsUnsizedDv(stream) &&
             (codec.width <= 0 || FrameRate(stream) == 0 || LacksPixelFormat(codec));
    case AVMEDIA_TYPE_AUDIO:
      return codec.sample_rate <= 0 && !PcmCarrierOf(codec);
    default:
      return false;
  }
}

bool LacksFacts(const AVFormatContext& context) {
  return std::ranges::any_of(Streams(context), [](const AVStream* stream) { return LacksFacts(*stream); });
}

}  // namespace media_server::probe

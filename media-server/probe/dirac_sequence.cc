#include "media-server/probe/dirac_sequence.h"

#include <algorithm>
#include <array>
#include <memory>

#include "media-server/codec/video_usability.h"
#include "media-server/probe/ffmpeg.h"
#include "media-server/probe/streams.h"

extern "C" {
#include <libavcodec/dirac.h>
#include <libavutil/mem.h>
}

namespace media_server::probe {
namespace {

// "BBCD" and the code of a sequence header.
constexpr std::array<std::uint8_t, 5> kSequence = {'B', 'B', 'C', 'D', 0};

struct SequenceDeleter {
  void operator()(AVDiracSeqHeader* sequence) const { av_free(sequence); }
};

}  // namespace

std::optional<codec::PictureParameters> ReadDiracSequence(std::span<const std::uint8_t> bytes) {
  if (bytes.size() < kDiracParseInfo || !std::ranges::equal(bytes.first(kSequence.size()), kSequence)) {
    return std::nullopt;
  }
  const auto header = bytes.subspan(kDiracParseInfo);
  AVDiracSeqHeader* parsed = nullptr;
  const int status = av_dirac_parse_sequence_header(&parsed, header.data(), header.size(), /*log_ctx=*/nullptr);
  const std::unique_ptr<AVDiracSeqHeader, SequenceDeleter> sequence(parsed);
  if (status < 0) return std::nullopt;

  codec::PictureParameters picture;
  if (!codec::SetPictureSize(picture, sequence->width, sequence->height)) {
    return std::nullopt;
  }
  const auto ratio = [](AVRational value) {
    return codec::PositiveRatio(static_cast<std::uint64_t>(std::max(value.num, 0)),
                                static_cast<std::uint64_t>(std::max(value.den, 0)));
  };
  constexpr std::array kChromaSamplings = {codec::kChroma444, codec::kChroma422, codec::kChroma420};
  picture.sample_aspect_ratio = ratio(sequence->sample_aspect_ratio);
  picture.frame_rate = ratio(sequence->framerate);
  picture.bit_depth = sequence->bit_depth;
  if (sequence->chroma_format < kChromaSamplings.size()) {
    picture.chroma_sampling = kChromaSamplings[sequence->chroma_format];
  }
  picture.progressive_only = sequence->interlaced == 0;
  if (sequence->interlaced != 0) {
    picture.field_order =
        sequence->top_field_first != 0 ? codec::FieldOrder::kTopFirst : codec::FieldOrder::kBottomFirst;
  }
  picture.color = codec::NamedColor(static_cast<std::uint32_t>(NumberIn(sequence->color_primaries)),
                                    static_cast<std::uint32_t>(NumberIn(sequence->color_trc)),
                                    static_cast<std::uint32_t>(NumberIn(sequence->colorspace)));
  picture.color.full_range = sequence->color_range == AVCOL_RANGE_JPEG;
  return picture;
}

}  // namespace media_server::probe

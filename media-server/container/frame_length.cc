#include "media-server/container/frame_length.h"

#include <algorithm>
#include <cstddef>
#include <span>
#include <vector>

#include "media-server/container/adts_header.h"
#include "media-server/container/byte_reader.h"
#include "media-server/container/id3v2.h"
#include "media-server/container/mpeg_audio_header.h"

namespace media_server {
namespace {

using Bytes = std::span<const std::uint8_t>;

struct Span {
  std::uint64_t begin = 0;
  std::uint64_t end = 0;

  std::uint64_t Size() const { return end - begin; }
};

struct Frame {
  std::uint32_t size_bytes = 0;
  std::uint32_t constants = 0;  // the bits of the header that all frames of a stream share
  std::uint32_t bit_rate = 0;   // 0 where frames do not tell it
  double seconds = 0;
};

// The largest ADTS frame, and the header behind it.
constexpr std::size_t kLookAhead = (1U << 13) + kAdtsHeaderSize;

std::optional<Frame> ReadFrame(Bytes bytes) {
  constexpr std::uint32_t kMpegConstants = 0xFFFE0C00;  // sync, version, layer, sample rate
  constexpr std::uint32_t kAdtsConstants = 0xFFFEFC00;  // sync, version, layer, profile, sample rate
  const std::uint32_t word = ByteReader(bytes).Be32();
  if (const auto mpeg = ReadMpegAudioHeader(bytes)) {
    return Frame{mpeg->size_bytes, word & kMpegConstants, mpeg->bit_rate,
                 static_cast<double>(mpeg->samples) / mpeg->sample_rate_hz};
  }
  if (const auto adts = ReadAdtsHeader(bytes)) {
    return Frame{adts->size_bytes, word & kAdtsConstants, 0, static_cast<double>(adts->samples) / adts->sample_rate_hz};
  }
  return std::nullopt;
}

// Counts frames piece by piece.
class FrameCounter {
 public:
  explicit FrameCounter(IByteSource& source) : source_(source) {}

  /// Counts the frames that begin in `piece`, which may begin and end within one.
  void Count(Span piece) {
    std::optional<std::uint64_t> first;
    std::optional<std::uint32_t> constants;  // of the stream that is followed
    std::uint64_t at = piece.begin;
    while (at < piece.end) {
      const Bytes bytes = At(at, piece.end);
      if (bytes.empty()) break;
      const auto frame = ReadFrame(bytes);
      const bool follows = frame && (constants ? frame->constants == *constants : IsProven(*frame, bytes));
      if (follows) {
        if (!first) first = at;
        constants = frame->constants;
        Add(*frame);
        at += frame->size_bytes;
      } else if (constants) {
        constants.reset();  // another stream may begin here
      } else {
        const auto sync = std::ranges::find(bytes.subspan(1), std::uint8_t{0xFF});
        at += static_cast<std::uint64_t>(sync - bytes.begin());
      }
    }
    seen_bytes_ += at - first.value_or(piece.begin);
  }

  double Seconds() const { return seconds_; }
  double FrameBytes() const { return static_cast<double>(frame_bytes_); }
  /// Of the pieces, with what is no frame, without what of a frame that began before stands in front.
  double SeenBytes() const { return static_cast<double>(seen_bytes_); }
  bool HasOneBitRate() const { return bit_rate_.value_or(0) > 0; }

 private:
  /// What stands at `offset`: the next frame's header is among it, unless the input ends before.
  Bytes At(std::uint64_t offset, std::uint64_t end_of_piece) {
    constexpr std::size_t kMost = 64 * 1024;
    const bool within = offset >= window_start_ && offset - window_start_ <= window_.size();
    const std::size_t skipped = within ? static_cast<std::size_t>(offset - window_start_) : 0;
    if (!within || (!window_ends_ && window_.size() - skipped < kLookAhead)) {
      const auto size = static_cast<std::size_t>(std::min<std::uint64_t>(kMost, end_of_piece - offset + kLookAhead));
      window_ = ReadBytes(source_, offset, size);
      window_start_ = offset;
      window_ends_ = window_.size() < size;
      return window_;
    }
    return Bytes(window_).subspan(skipped);
  }

  /// Whether another frame of the same stream follows, or nothing.
  static bool IsProven(const Frame& frame, Bytes bytes) {
    if (frame.size_bytes >= bytes.size()) return frame.size_bytes == bytes.size();
    const auto next = ReadFrame(bytes.subspan(frame.size_bytes));
    return next && next->constants == frame.constants;
  }

  void Add(const Frame& frame) {
    const bool is_first = !bit_rate_;
    if (is_first) bit_rate_ = frame.bit_rate;
    if (*bit_rate_ != frame.bit_rate) bit_rate_ = 0;
    frame_bytes_ += frame.size_bytes;
    seconds_ += frame.seconds;
  }

  IByteSource& source_;
  std::vector<std::uint8_t> window_;
  std::uint64_t window_start_ = 0;
  bool window_ends_ = false;
  double seconds_ = 0;
  std::uint64_t frame_bytes_ = 0;
  std::uint64_t seen_bytes_ = 0;
  std::optional<std::uint32_t> bit_rate_;  // 0 once frames have told several
};

// How much is read.
struct Effort {
  std::size_t places;         // where frames are looked at to see whether they have one bit rate
  std::uint64_t all_bytes;    // of inputs whose frames are all counted
  std::uint64_t start_bytes;  // of longer ones in which all are: silence in front is much time in few bytes
  std::size_t pieces;         // of what lies behind
};
constexpr Effort kEffort{.places = 16, .all_bytes = 4 << 20, .start_bytes = 512 << 10, .pieces = 64};
constexpr Effort kRemoteEffort{.places = 4, .all_bytes = 128 << 10, .start_bytes = 128 << 10, .pieces = 4};
constexpr std::uint64_t kPlaceBytes = 4 * 1024;
constexpr std::uint64_t kPieceBytes = 32 * 1024;

// The piece of `size` bytes at the start of each of `count` equal parts.
Span PieceOf(Span whole, std::size_t index, std::size_t count, std::uint64_t size) {
  const std::uint64_t begin = whole.begin + whole.Size() / count * index;
  return {begin, std::min(begin + size, whole.end)};
}

bool HasOneBitRate(IByteSource& source, Span whole, std::size_t places) {
  FrameCounter counter(source);
  for (std::size_t i = 0; i < places; ++i) {
    counter.Count(PieceOf(whole, i, places, kPlaceBytes));
    if (!counter.HasOneBitRate()) return false;
  }
  return true;
}

}  // namespace

std::optional<FrameLength> MeasureFrames(IByteSource& source) {
  const Effort& effort = source.IsRemote() ? kRemoteEffort : kEffort;
  const Span whole{SkipId3v2(source), source.Size().value_or(0)};
  if (whole.begin >= whole.end || HasOneBitRate(source, whole, effort.places)) return std::nullopt;
  const std::uint64_t start_size = whole.Size() <= effort.all_bytes ? whole.Size() : effort.start_bytes;
  const Span start{whole.begin, whole.begin + start_size};
  FrameCounter counted(source);
  counted.Count(start);

  const Span rest{start.end, whole.end};
  FrameCounter samples(source);
  for (std::size_t i = 0; i < effort.pieces && rest.Size() > 0; ++i) {
    samples.Count(PieceOf(rest, i, effort.pieces, kPieceBytes));
  }
  const double factor = samples.SeenBytes() > 0 ? static_cast<double>(rest.Size()) / samples.SeenBytes() : 0;
  const double seconds = counted.Seconds() + samples.Seconds() * factor;
  if (seconds == 0) return std::nullopt;
  const double frame_bytes = counted.FrameBytes() + samples.FrameBytes() * factor;
  return FrameLength{seconds, static_cast<std::uint64_t>(frame_bytes * 8 / seconds)};
}

}  // namespace media_server

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
  double seconds = 0;
};

// The largest ADTS frame, and the header behind it.
constexpr std::size_t kLookAhead = (1U << 13) + kAdtsHeaderSize;

std::optional<Frame> ReadFrame(Bytes bytes) {
  if (const auto mpeg = ReadMpegAudioHeader(bytes)) {
    return Frame{mpeg->size_bytes, mpeg->constants, static_cast<double>(mpeg->samples) / mpeg->sample_rate_hz};
  }
  if (const auto adts = ReadAdtsHeader(bytes)) {
    return Frame{adts->size_bytes, adts->constants, static_cast<double>(adts->samples) / adts->sample_rate_hz};
  }
  return std::nullopt;
}

// Counts frames piece by piece.
class FrameCounter {
 public:
  /// Borrows `source`, which is `size` bytes long.
  FrameCounter(IByteSource& source, std::uint64_t size) : source_(source), size_(size) {}

  /// Counts the frames that begin in `piece`, which may begin and end within one, but for one that is cut by the end of
  /// the input. False where bytes could not be read.
  bool Count(Span piece) {
    std::optional<std::uint64_t> first;
    std::optional<std::uint32_t> constants;  // of the stream that is followed
    std::uint64_t at = piece.begin;
    while (at < piece.end) {
      const Bytes bytes = At(at, piece.end);
      if (bytes.empty()) return false;
      const auto frame = ReadFrame(bytes);
      const bool follows = frame && (constants ? frame->constants == *constants : IsProven(*frame, bytes));
      if (follows) {
        if (!first) first = at;
        constants = frame->constants;
        Add(*frame, at);
        at += frame->size_bytes;
      } else if (constants) {
        constants.reset();  // another stream may begin here
      } else {
        const auto sync = std::ranges::find(bytes.subspan(1), std::uint8_t{0xFF});
        at += static_cast<std::uint64_t>(sync - bytes.begin());
      }
    }
    seen_bytes_ += at - first.value_or(piece.begin);
    return true;
  }

  double Seconds() const { return seconds_; }
  double FrameBytes() const { return static_cast<double>(frame_bytes_); }
  /// Of the pieces, with what is no frame, without what of a frame that began before stands in front.
  double SeenBytes() const { return static_cast<double>(seen_bytes_); }

 private:
  /// What stands at `offset`: the next frame's header is among it, unless the input ends before. Empty where it could
  /// not be read.
  Bytes At(std::uint64_t offset, std::uint64_t end_of_piece) {
    constexpr std::uint64_t kMost = 64 * 1024;
    const std::uint64_t window_end = window_start_ + window_.size();
    const bool is_within = offset >= window_start_ && offset < window_end;
    if (!is_within || (window_end < size_ && window_end - offset < kLookAhead)) {
      const std::uint64_t wanted = std::min({kMost, end_of_piece - offset + kLookAhead, size_ - offset});
      window_ = ReadBytes(source_, offset, static_cast<std::size_t>(wanted));
      window_start_ = offset;
      if (window_.size() < wanted) window_.clear();
    }
    return Bytes(window_).subspan(window_.empty() ? 0 : static_cast<std::size_t>(offset - window_start_));
  }

  /// Whether another frame of the same stream follows, or nothing.
  static bool IsProven(const Frame& frame, Bytes bytes) {
    if (frame.size_bytes >= bytes.size()) return frame.size_bytes == bytes.size();
    const auto next = ReadFrame(bytes.subspan(frame.size_bytes));
    return next && next->constants == frame.constants;
  }

  void Add(const Frame& frame, std::uint64_t at) {
    if (at + frame.size_bytes > size_) return;
    frame_bytes_ += frame.size_bytes;
    seconds_ += frame.seconds;
  }

  IByteSource& source_;
  const std::uint64_t size_;
  std::vector<std::uint8_t> window_;
  std::uint64_t window_start_ = 0;
  double seconds_ = 0;
  std::uint64_t frame_bytes_ = 0;
  std::uint64_t seen_bytes_ = 0;
};

// How much is read.
struct Effort {
  std::uint64_t all_bytes;    // of inputs whose frames are all counted
  std::uint64_t start_bytes;  // of longer ones in which all are: silence in front is much time in few bytes
  std::size_t pieces;         // of what lies behind
};
constexpr Effort kEffort{.all_bytes = 4 << 20, .start_bytes = 512 << 10, .pieces = 64};
constexpr Effort kRemoteEffort{.all_bytes = 128 << 10, .start_bytes = 128 << 10, .pieces = 8};
constexpr std::uint64_t kPieceBytes = 32 * 1024;

// The piece in the middle of one of `count` equal parts.
Span PieceOf(Span whole, std::size_t index, std::size_t count) {
  const std::uint64_t part = whole.Size() / count;
  const std::uint64_t begin = whole.begin + part * index + (part - std::min(part, kPieceBytes)) / 2;
  return {begin, std::min(begin + kPieceBytes, whole.end)};
}

}  // namespace

std::optional<FrameLength> MeasureFrames(IByteSource& source) {
  const Effort& effort = source.IsRemote() ? kRemoteEffort : kEffort;
  const Span whole{SkipId3v2(source), source.Size().value_or(0)};
  if (whole.begin >= whole.end) return std::nullopt;
  const std::uint64_t start_size = whole.Size() <= effort.all_bytes ? whole.Size() : effort.start_bytes;
  const Span start{whole.begin, whole.begin + start_size};
  FrameCounter counted(source, whole.end);
  if (!counted.Count(start)) return std::nullopt;

  const Span rest{start.end, whole.end};
  FrameCounter samples(source, whole.end);
  for (std::size_t i = 0; i < effort.pieces && rest.Size() > 0; ++i) {
    if (!samples.Count(PieceOf(rest, i, effort.pieces))) return std::nullopt;
  }
  const double factor = samples.SeenBytes() > 0 ? static_cast<double>(rest.Size()) / samples.SeenBytes() : 0;
  const double seconds = counted.Seconds() + samples.Seconds() * factor;
  if (seconds == 0) return std::nullopt;
  const double frame_bytes = counted.FrameBytes() + samples.FrameBytes() * factor;
  return FrameLength{seconds, static_cast<std::uint64_t>(frame_bytes * 8 / seconds)};
}

}  // namespace media_server

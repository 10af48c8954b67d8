#include "media-server/image/jpeg_xl_frames.h"

#include <algorithm>
#include <array>
#include <cstddef>
#include <limits>

#include "media-server/image/frame_delays.h"
#include "media-server/image/header_window.h"
#include "media-server/image/jpeg_xl_bits.h"

namespace media_server::image {
namespace {

constexpr int kMostFrames = 65536;

// frame_type, ISO/IEC 18181-1 annex F.2.
enum FrameType : unsigned { kRegular = 0, kLowFrequency = 1, kReferenceOnly = 2, kSkipProgressive = 3 };

enum BlendMode : std::uint32_t { kReplace = 0, kBlend = 2, kBlendWeighted = 3, kMultiply = 4 };

constexpr JpegXlBitReader::Distributions kPowersOfTwo = {{{1, 0}, {2, 0}, {4, 0}, {8, 0}}};
constexpr JpegXlBitReader::Distributions kCropNumber = {{{0, 8}, {256, 11}, {2304, 14}, {18688, 30}}};

struct Frame {
  std::uint64_t duration_ticks = 0;
  bool is_last = false;
  std::uint64_t entries = 0;  ///< of the table of contents
};

std::uint64_t Quotient(std::uint64_t dividend, std::uint64_t divisor) { return (dividend + divisor - 1) / divisor; }

std::int64_t Signed(std::uint32_t packed) {
  const auto half = static_cast<std::int64_t>(packed >> 1);
  return (packed & 1) != 0 ? -half - 1 : half;
}

/// Reads one frame header, annex F.
class FrameHeaderReader {
 public:
  FrameHeaderReader(JpegXlBitReader& reader, const JpegXlFrameRules& rules) : reader_(reader), rules_(rules) {}

  /// Empty for a header with an extension.
  std::optional<Frame> Read() {
    if (reader_.Bool()) return Frame{.is_last = true};  // all default
    type_ = reader_.Bits(2);
    is_modular_ = reader_.Bool();
    ReadFlags();
    ReadCoding();
    if (type_ != kReferenceOnly) ReadPasses();
    if (type_ == kLowFrequency) level_ = 1 + reader_.Bits(2);
    width_ = rules_.size.width;
    height_ = rules_.size.height;
    if (type_ != kLowFrequency && reader_.Bool()) ReadCrop();
    if (IsShown()) ReadBlending();
    if (!ReadRest()) return std::nullopt;
    frame_.entries = CountEntries();
    return frame_;
  }

 private:
  bool IsShown() const { return type_ == kRegular || type_ == kSkipProgressive; }

  void ReadFlags() {
    constexpr std::uint64_t kUsesLowFrequencyFrame = 0x20;
    constexpr unsigned kPlanes = 3;
    const bool has_own_low_frequencies = (reader_.U64() & kUsesLowFrequencyFrame) == 0;
    const bool is_ycbcr = !rules_.is_xyb && reader_.Bool();
    if (!has_own_low_frequencies) return;
    if (is_ycbcr) reader_.Skip(2 * kPlanes);  // chroma sampling
    upsampling_ = reader_.U32(kPowersOfTwo);
    for (std::uint32_t i = 0; i < rules_.extra_channels && reader_.Ok(); ++i) reader_.U32(kPowersOfTwo);
  }

  void ReadCoding() {
    if (is_modular_) group_shift_ = reader_.Bits(2);
    if (!is_modular_ && rules_.is_xyb) reader_.Skip(6);  // quantisation of X and B
  }

  void ReadPasses() {
    passes_ = reader_.U32({{{1, 0}, {2, 0}, {3, 0}, {4, 3}}});
    if (passes_ == 1) return;
    const std::uint32_t downsamplings = reader_.U32({{{0, 0}, {1, 0}, {2, 0}, {3, 1}}});
    reader_.Skip(2 * (passes_ - 1));  // shifts
    for (std::uint32_t i = 0; i < downsamplings; ++i) reader_.U32(kPowersOfTwo);
    for (std::uint32_t i = 0; i < downsamplings; ++i) reader_.U32({{{0, 0}, {1, 0}, {2, 0}, {0, 3}}});
  }

  void ReadCrop() {
    std::int64_t left = 0;
    std::int64_t top = 0;
    if (IsShown()) {
      left = Signed(reader_.U32(kCropNumber));
      top = Signed(reader_.U32(kCropNumber));
    }
    width_ = reader_.U32(kCropNumber);
    height_ = reader_.U32(kCropNumber);
    is_partial_ = IsShown() && (left > 0 || top > 0 || left + std::int64_t{width_} < rules_.size.width ||
                                top + std::int64_t{height_} < rules_.size.height);
  }

  /// BlendingInfo. Gives the mode.
  std::uint32_t ReadBlendingInfo() {
    const std::uint32_t mode = reader_.U32({{{0, 0}, {1, 0}, {2, 0}, {3, 2}}});
    const bool uses_alpha = rules_.extra_channels > 0 && (mode == kBlend || mode == kBlendWeighted);
    if (uses_alpha) reader_.U32({{{0, 0}, {1, 0}, {2, 0}, {3, 3}}});  // which channel
    if (uses_alpha || mode == kMultiply) reader_.Skip(1);             // clamp
    if (mode != kReplace || is_partial_) reader_.Skip(2);             // source
    return mode;
  }

  void ReadBlending() {
    blend_mode_ = ReadBlendingInfo();
    for (std::uint32_t i = 0; i < rules_.extra_channels && reader_.Ok(); ++i) ReadBlendingInfo();
    frame_.duration_ticks = reader_.U32({{{0, 0}, {1, 0}, {0, 8}, {0, 32}}});
    if (rules_.has_time_codes) reader_.Skip(32);
    frame_.is_last = reader_.Bool();
  }

  /// What the frame may be kept for, its name, filters and extensions.
  bool ReadRest() {
    const std::uint32_t slot = type_ != kLowFrequency && !frame_.is_last ? reader_.Bits(2) : 0;
    const bool is_kept = !frame_.is_last && (frame_.duration_ticks == 0 || slot != 0);
    const bool replaces_all = IsShown() && blend_mode_ == kReplace && !is_partial_;
    if ((is_kept && replaces_all) || type_ == kReferenceOnly) reader_.Skip(1);  // before or after the colours change
    const std::uint32_t name_bytes = reader_.U32({{{0, 0}, {0, 4}, {16, 5}, {48, 10}}});
    reader_.Skip(std::size_t{name_bytes} * 8);
    return SkipFilters() && reader_.U64() == 0;
  }

  /// RestorationFilter.
  bool SkipFilters() {
    if (reader_.Bool()) return true;
    if (reader_.Bool() && reader_.Bool()) reader_.SkipF16(6);
    const std::uint32_t iterations = reader_.Bits(2);
    if (iterations > 0) {
      if (!is_modular_ && reader_.Bool()) reader_.SkipF16(8);  // sharpness
      if (reader_.Bool()) reader_.SkipF16(5);                  // weights
      if (reader_.Bool()) reader_.SkipF16(is_modular_ ? 3 : 4);
      if (is_modular_) reader_.SkipF16(1);
    }
    return reader_.U64() == 0;
  }

  /// Annex F.3.1: a small frame is in one piece.
  std::uint64_t CountEntries() const {
    constexpr std::uint64_t kSmallestGroup = 128;
    const std::uint64_t group = kSmallestGroup << group_shift_;
    const std::uint64_t scale = std::uint64_t{upsampling_} << 3 * level_;
    const std::uint64_t columns = Quotient(width_, scale);
    const std::uint64_t lines = Quotient(height_, scale);
    const std::uint64_t groups = Quotient(columns, group) * Quotient(lines, group);
    if (groups == 1 && passes_ == 1) return 1;
    return 2 + Quotient(columns, 8 * group) * Quotient(lines, 8 * group) + groups * passes_;
  }

  JpegXlBitReader& reader_;
  const JpegXlFrameRules& rules_;
  Frame frame_;
  unsigned type_ = kRegular;
  bool is_modular_ = false;
  std::uint32_t upsampling_ = 1;
  unsigned group_shift_ = 1;
  std::uint32_t passes_ = 1;
  unsigned level_ = 0;
  std::uint32_t width_ = 0;
  std::uint32_t height_ = 0;
  bool is_partial_ = false;
  std::uint32_t blend_mode_ = kReplace;
};

/// A frame, and how many bytes it takes together with its header; 0 of the last one, which nothing is behind.
struct FrameInFile {
  Frame frame;
  std::uint64_t bytes = 0;
};

/// The table of contents, annex F.3: lengths of the parts that follow. Empty for a permuted one.
std::optional<std::uint64_t> ReadLengths(JpegXlBitReader& reader, std::uint64_t entries) {
  if (reader.Bool()) return std::nullopt;
  reader.SkipToByte();
  std::uint64_t sum = 0;
  for (std::uint64_t i = 0; i < entries && reader.Ok(); ++i) {
    sum += reader.U32({{{0, 10}, {1024, 14}, {17408, 22}, {4211712, 30}}});
  }
  return sum;
}

/// Empty where the bytes end early or the header cannot be passed by.
std::optional<FrameInFile> ReadFrame(std::span<const std::uint8_t> bytes, const JpegXlFrameRules& rules) {
  JpegXlBitReader reader(bytes);
  const auto frame = FrameHeaderReader(reader, rules).Read();
  if (!frame || !reader.Ok()) return std::nullopt;
  if (frame->is_last) return FrameInFile{*frame, 0};
  const auto lengths = ReadLengths(reader, frame->entries);
  if (!lengths || !reader.Ok()) return std::nullopt;
  return FrameInFile{*frame, reader.BytesRead() + *lengths};
}

/// Most headers are short. Doubling what is looked at keeps what is read twice of longer ones below their length.
std::optional<FrameInFile> ReadFrameAt(std::uint64_t offset, const JpegXlFrameRules& rules, HeaderWindow& window) {
  constexpr std::size_t kUsualHeader = 256;
  std::optional<FrameInFile> found;
  for (std::size_t size = kUsualHeader; !found && size <= HeaderWindow::kLongestView; size *= 2) {
    const auto bytes = window.View(offset, size);
    found = ReadFrame(bytes, rules);
    if (bytes.size() < size) break;
  }
  return found;
}

}  // namespace

std::optional<Animation> ReadJpegXlAnimation(IByteSource& codestream, const JpegXlFrameRules& rules) {
  HeaderWindow window(codestream, kMostStillBytes + kMostAnimationBytes);
  FrameDelays delays;
  std::uint64_t at = rules.frames_begin;
  for (int i = 0; i < kMostFrames; ++i) {
    const auto found = ReadFrameAt(at, rules, window);
    if (!found) return std::nullopt;
    const std::uint64_t delay = found->frame.duration_ticks * rules.ticks_divisor;
    if (delay > std::numeric_limits<std::uint32_t>::max()) return std::nullopt;
    // One without a duration is a layer of the next.
    if (delay > 0) delays.Add(static_cast<std::uint32_t>(delay), rules.ticks_per_second);
    if (found->frame.is_last) return delays.Describe();
    at += found->bytes;
  }
  return std::nullopt;
}

}  // namespace media_server::image

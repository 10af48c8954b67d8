#include "media-server/container/riff_scan.h"

#include <algorithm>
#include <array>
#include <limits>
#include <span>
#include <string_view>
#include <utility>

#include "media-server/container/byte_reader.h"
#include "media-server/container/text.h"

namespace media_server {
namespace {

using namespace std::string_view_literals;
using Bytes = std::span<const std::uint8_t>;

constexpr int kMostChunks = 4096;
constexpr std::size_t kLargestText = std::size_t{1} << 20;
constexpr std::size_t kLargestTextSum = std::size_t{16} << 20;
constexpr std::uint64_t kChunkHead = 8;
// What a WAVE form without a sample counts: such a size was written before the first one and never put right.
constexpr std::uint32_t kSmallestWave = 36;
// A frame takes as many bytes as the 16-bit samples of two channels that it stands for, of which there are 1,024 at
// most: one begins in here.
constexpr std::size_t kTwoDtsFrames = std::size_t{2} * 1024 * 2 * 2;
constexpr std::uint32_t kUnknownSize = std::numeric_limits<std::uint32_t>::max();
constexpr std::uint64_t kNoEnd = std::numeric_limits<std::uint64_t>::max();

struct Chunk {
  std::array<char, 4> id = {};
  std::uint64_t offset = 0;  // of the content
  std::uint64_t size = 0;    // as declared

  std::string_view Id() const { return {id.data(), id.size()}; }
};

/// Of a "fmt " chunk.
struct WaveFormat {
  std::uint16_t tag = 0;
  std::uint16_t channels = 0;
  std::uint32_t sample_rate = 0;
  std::uint16_t block_bytes = 0;
  std::uint16_t bits = 0;
  bool is_extensible = false;

  std::uint32_t RoomBits() const { return channels > 0 ? std::uint32_t{block_bytes} * 8 / channels : 0; }
  bool IsPadded() const {
    constexpr std::uint16_t kIntegers = 1;
    const std::uint32_t needed = (std::uint32_t{bits} + 7) / 8 * 8;
    return tag == kIntegers && bits > 0 && sample_rate > 0 && RoomBits() > needed;
  }
};

/// Whether a DTS frame may begin in the bytes (ETSI TS 102 114): with words of 16 or 14 bits, the higher or the lower
/// byte first. Any samples may look so by chance.
bool HasDtsSync(Bytes samples) {
  constexpr std::string_view kSyncs[] = {"\x7F\xFE\x80\x01"sv, "\xFE\x7F\x01\x80"sv, "\x1F\xFF\xE8\x00\x07"sv,
                                         "\xFF\x1F\x00\xE8"sv};
  return std::ranges::any_of(
      kSyncs, [text = AsText(samples)](std::string_view sync) { return text.find(sync) != std::string_view::npos; });
}

bool IsPrintable(std::string_view id) {
  return std::ranges::all_of(id, [](char character) { return character >= 0x20 && character < 0x7F; });
}

/// The text of a field with `separator` in place of what stands at these places.
std::string WithSeparators(Bytes field, std::uint8_t separator, std::size_t first, std::size_t second) {
  std::vector<std::uint8_t> bytes(field.begin(), field.end());
  for (const std::size_t place : {first, second}) {
    if (place < bytes.size() && bytes[place] != 0) bytes[place] = separator;
  }
  return TextFromUtf8(bytes);
}

class Scanner {
 public:
  explicit Scanner(IByteSource& source) : source_(source), input_end_(source.Size().value_or(kNoEnd)) {}

  RiffScan Scan() {
    // OpenDML files go on in further forms behind the first.
    std::uint64_t offset = 0;
    while (const auto form = ReadForm(offset)) offset = *form;
    return std::move(scan_);
  }

 private:
  /// Reads the form at `offset`; returns where the next one would begin.
  std::optional<std::uint64_t> ReadForm(std::uint64_t offset) {
    const auto head = ReadBytes(source_, offset, 12);
    ByteReader reader(head);
    const std::string_view id = AsText(reader.Take(4));
    const std::uint32_t size = reader.Le32();
    reader.Skip(4);  // type
    const bool is_form = id == "RIFF" || id == "RF64" || id == "BW64";
    if (!reader.Ok() || !is_form || !CountChunk()) return std::nullopt;

    const bool is_unknown = size == kUnknownSize || size <= kSmallestWave;
    std::uint64_t end = is_unknown ? input_end_ : offset + kChunkHead + size;
    // Some writers count the form's own head into its size.
    const bool ends_early = end > input_end_ && end - input_end_ > kChunkHead;
    end = std::min(end, input_end_);
    ReadChunks(offset + 12, end);
    if (ends_early && !scan_.endless_data) scan_.truncated = true;
    if (scan_.endless_data) return std::nullopt;
    return end + (end & 1);
  }

  void ReadChunks(std::uint64_t offset, std::uint64_t end) {
    while (const auto chunk = NextChunk(offset, end)) ReadChunk(*chunk);
  }

  /// The chunk at `offset`, which moves to the next one.
  std::optional<Chunk> NextChunk(std::uint64_t& offset, std::uint64_t end) {
    if (offset >= end || end - offset < kChunkHead || !CountChunk()) return std::nullopt;
    const auto head = ReadBytes(source_, offset, kChunkHead);
    ByteReader reader(head);
    Chunk chunk;
    std::ranges::copy(reader.Take(chunk.id.size()), chunk.id.begin());
    chunk.size = reader.Le32();
    if (!reader.Ok() || !IsPrintable(chunk.Id())) return std::nullopt;
    chunk.offset = offset + kChunkHead;
    const bool is_data = chunk.Id() == "data";
    const bool is_large = is_data && chunk.size == kUnknownSize && large_data_size_;
    if (is_large) chunk.size = *large_data_size_;
    if (is_data && (!is_large || chunk.size == 0) && IsEndless(chunk)) {
      scan_.endless_data.emplace();
      chunk.size = input_end_ - chunk.offset;
      if (input_end_ != kNoEnd) scan_.endless_data->size_bytes = chunk.size;
    }
    if (chunk.size > Room(chunk)) {
      scan_.truncated = true;
      if (is_data && !scan_.cut_data) scan_.cut_data = RiffDataToEnd{Room(chunk)};
    }
    if (chunk.size > kNoEnd - 1 - chunk.offset) return std::nullopt;
    offset = chunk.offset + chunk.size + (chunk.size & 1);
    return chunk;
  }

  /// Bytes from where the chunk's content begins to the end of the input.
  std::uint64_t Room(const Chunk& chunk) const { return input_end_ - std::min(chunk.offset, input_end_); }

  /// Whether the size of a data chunk only says that its writer did not know it. Sizes near 2 and 4 GiB have been left
  /// by writers whose limit they were; where so much is there they are true. Behind a chunk that is really empty
  /// another one, or nothing, follows.
  bool IsEndless(const Chunk& chunk) {
    constexpr std::uint64_t kNear = 4096;
    constexpr std::uint64_t kHalf = std::uint64_t{1} << 31;
    const std::uint64_t room = Room(chunk);
    if (chunk.size == 0) return room > 0 && !ChunkFollows(chunk.offset);
    if (input_end_ != kNoEnd && chunk.size <= room) return false;
    return (chunk.size >= kHalf - kNear && chunk.size <= kHalf) || chunk.size > kUnknownSize - kNear;
  }

  bool ChunkFollows(std::uint64_t offset) {
    const auto head = ReadBytes(source_, offset, kChunkHead);
    ByteReader reader(head);
    const std::string_view id = AsText(reader.Take(4));
    const std::uint64_t size = reader.Le32();
    return reader.Ok() && IsPrintable(id) && size <= input_end_ - offset - kChunkHead;
  }

  bool CountChunk() { return ++chunks_ <= kMostChunks; }

  void ReadChunk(const Chunk& chunk) {
    if (chunk.Id() == "ds64") large_data_size_ = ReadLargeDataSize(chunk);
    if (chunk.Id() == "bext" && !scan_.broadcast) scan_.broadcast = ReadBroadcast(chunk);
    if (chunk.Id() == "AIGC") KeepFirst(chunk, scan_.aigc);
    if (chunk.Id() == "_PMX") KeepFirst(chunk, scan_.xmp);
    if (chunk.Id() == "fmt ") format_ = ReadFormat(chunk);
    if (chunk.Id() == "data" && format_.IsPadded()) {
      const std::uint64_t blocks = std::min(chunk.size, Room(chunk)) / format_.block_bytes;
      const double seconds = static_cast<double>(blocks) / format_.sample_rate;
      scan_.padded_samples = {format_.RoomBits(), format_.is_extensible, seconds};
    }
    if (chunk.Id() == "data") scan_.has_dts_sync = HasDtsSync(ReadBytes(source_, chunk.offset, kTwoDtsFrames));
  }

  WaveFormat ReadFormat(const Chunk& chunk) {
    constexpr std::uint16_t kExtensible = 0xFFFE;
    constexpr std::uint64_t kSize = 26;  // up to where the identifier of an extensible format has the tag
    const auto bytes = ReadBytes(source_, chunk.offset, static_cast<std::size_t>(std::min(chunk.size, kSize)));
    ByteReader reader(bytes);
    WaveFormat format{.tag = reader.Le16(), .channels = reader.Le16(), .sample_rate = reader.Le32()};
    reader.Skip(4);  // bytes per second
    format.block_bytes = reader.Le16();
    format.bits = reader.Le16();
    if (format.tag != kExtensible) return reader.Ok() ? format : WaveFormat();
    format.is_extensible = true;
    reader.Skip(2);  // size of what follows
    format.bits = reader.Le16();
    reader.Skip(4);  // speakers
    format.tag = reader.Le16();
    return reader.Ok() ? format : WaveFormat();
  }

  /// EBU Tech 3306: the 64-bit sizes of the form and of its data chunk.
  std::optional<std::uint64_t> ReadLargeDataSize(const Chunk& chunk) {
    const auto bytes = ReadBytes(source_, chunk.offset, 16);
    ByteReader reader(bytes);
    reader.Skip(8);
    const std::uint64_t size = reader.Le64();
    return reader.Ok() ? std::optional(size) : std::nullopt;
  }

  RiffBroadcast ReadBroadcast(const Chunk& chunk) {
    // Behind the description, the originator and its reference.
    constexpr std::uint64_t kDate = 256 + 32 + 32;
    constexpr std::size_t kDateSize = 10;
    constexpr std::size_t kTimeSize = 8;
    if (chunk.size < kDate + kDateSize + kTimeSize) return {};
    const auto bytes = ReadBytes(source_, chunk.offset + kDate, kDateSize + kTimeSize);
    ByteReader reader(bytes);
    RiffBroadcast broadcast;
    broadcast.origination_date = WithSeparators(reader.Take(kDateSize), '-', 4, 7);
    broadcast.origination_time = WithSeparators(reader.Take(kTimeSize), ':', 2, 5);
    return broadcast;
  }

  void KeepFirst(const Chunk& chunk, std::optional<std::string>& kept) {
    if (kept) return;
    std::string text = TextFromUtf8(ReadText(chunk));
    if (!text.empty()) kept = std::move(text);
  }

  std::vector<std::uint8_t> ReadText(const Chunk& chunk) {
    if (chunk.size > Room(chunk)) return {};  // half a text would pass for a whole one
    if (chunk.size > kLargestText || chunk.size > kLargestTextSum - text_bytes_) return {};
    text_bytes_ += static_cast<std::size_t>(chunk.size);
    return ReadBytes(source_, chunk.offset, static_cast<std::size_t>(chunk.size));
  }

  IByteSource& source_;
  std::uint64_t input_end_;
  RiffScan scan_;
  int chunks_ = 0;
  std::size_t text_bytes_ = 0;
  std::optional<std::uint64_t> large_data_size_;
  WaveFormat format_;
};

}  // namespace

RiffScan ScanRiff(IByteSource& source) { return Scanner(source).Scan(); }

}  // namespace media_server

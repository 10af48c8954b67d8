#include "media-server/container/mp4_index_cut.h"

#include <algorithm>
#include <cstddef>
#include <span>

#include "media-server/container/byte_reader.h"

namespace media_server {
namespace {

constexpr std::uint64_t kMostBytesOfSizes = std::uint64_t{16} << 20;

constexpr std::uint64_t kCount = 4;  // behind version and flags
constexpr std::uint64_t kTableHead = kCount + 4;
constexpr std::uint64_t kCountOfSizes = kCount + 4;  // behind the size that all samples have
constexpr std::uint64_t kSizeTableHead = kCountOfSizes + 4;

std::uint32_t ReadCount(Mp4BoxReader& boxes, const Mp4Box& box) {
  const auto bytes = boxes.Payload(box, 4, kCount);
  return ByteReader(bytes).Be32();
}

// Whole chunks that hold enough samples, and the runs of alike ones that tell of them.
struct KeptChunks {
  std::uint32_t runs = 0;
  std::uint32_t chunks = 0;
  std::uint32_t samples = 0;
};

std::optional<KeptChunks> KeepChunks(Mp4BoxReader& boxes, const Mp4SampleTables& tables, std::uint32_t samples_left) {
  constexpr std::uint64_t kRun = 12;  // first chunk, samples in each, their description
  const std::uint32_t chunks = ReadCount(boxes, *tables.chunks);
  const std::uint32_t runs = ReadCount(boxes, *tables.samples_of_chunks);
  const auto bytes = boxes.Payload(*tables.samples_of_chunks, samples_left * kRun, kTableHead);
  ByteReader reader(bytes);
  KeptChunks kept;
  std::uint32_t first = reader.Be32();
  if (first != 1) return std::nullopt;
  while (kept.samples < samples_left) {
    const std::uint32_t samples_each = reader.Be32();
    reader.Skip(4);
    const bool is_last = ++kept.runs == runs;
    const std::uint32_t next = is_last ? chunks + 1 : reader.Be32();
    if (!reader.Ok() || samples_each == 0 || samples_each > 2 * samples_left || next <= first) return std::nullopt;
    const std::uint32_t wanted = (samples_left - kept.samples + samples_each - 1) / samples_each;
    const std::uint32_t taken = std::min(wanted, next - first);
    kept.chunks += taken;
    kept.samples += taken * samples_each;
    if (is_last && kept.samples < samples_left) return std::nullopt;
    first = next;
  }
  return kept;
}

// A loop that compilers take several numbers at a time in: there may be a million.
std::uint64_t SumOf(std::span<const std::uint8_t> numbers) {
  std::uint64_t sum = 0;
  for (std::size_t at = 0; at + 4 <= numbers.size(); at += 4) {
    const std::uint8_t* byte = numbers.data() + at;
    sum += std::uint32_t{byte[0]} << 24 | std::uint32_t{byte[1]} << 16 | std::uint32_t{byte[2]} << 8 | byte[3];
  }
  return sum;
}

// The bytes of the samples from `first` to `end`. Empty where their sizes cannot be read.
std::optional<std::uint64_t> SumSizes(Mp4BoxReader& boxes, const Mp4Box& sizes, std::uint32_t first,
                                      std::uint32_t end) {
  constexpr std::uint32_t kAtOnce = 16 * 1024;
  std::uint64_t sum = 0;
  for (std::uint32_t done = first; done < end;) {
    const std::uint32_t wanted = std::min(end - done, kAtOnce);
    const auto bytes = boxes.Payload(sizes, std::size_t{wanted} * 4, kSizeTableHead + std::uint64_t{done} * 4);
    if (bytes.size() < std::size_t{wanted} * 4) return std::nullopt;
    sum += SumOf(bytes);
    done += wanted;
  }
  return sum;
}

}  // namespace

std::optional<Mp4IndexCut> CutMp4Index(Mp4BoxReader& boxes, const Mp4SampleTables& tables, std::uint32_t samples_left) {
  if (tables.stand_twice || !tables.sizes || !tables.chunks || !tables.samples_of_chunks) return std::nullopt;
  const auto head = boxes.Payload(*tables.sizes, 8, /*skip=*/4);
  ByteReader reader(head);
  const bool differ_in_size = reader.Be32() == 0;
  const std::uint32_t count = reader.Be32();
  const bool is_long = differ_in_size && count >= 2 * samples_left;
  // What follows is to be read as well.
  const std::uint64_t most_bytes = std::min(kMostBytesOfSizes, boxes.BytesLeft() / 2);
  if (!reader.Ok() || !is_long || tables.sizes->payload_size > most_bytes) return std::nullopt;
  const auto kept = KeepChunks(boxes, tables, samples_left);
  if (!kept || kept->samples >= count) return std::nullopt;

  const auto bytes = SumSizes(boxes, *tables.sizes, 0, kept->samples);
  const auto bytes_behind = SumSizes(boxes, *tables.sizes, kept->samples, count);
  if (!bytes || !bytes_behind) return std::nullopt;

  Mp4IndexCut cut{.bytes = *bytes, .bytes_of_all = *bytes + *bytes_behind};
  cut.counts = {{tables.sizes->payload_offset + kCountOfSizes, kept->samples},
                {tables.chunks->payload_offset + kCount, kept->chunks},
                {tables.samples_of_chunks->payload_offset + kCount, kept->runs}};
  // Each entry is of one sample at least.
  if (tables.time_offsets && ReadCount(boxes, *tables.time_offsets) > kept->samples) {
    cut.counts.push_back({tables.time_offsets->payload_offset + kCount, kept->samples});
  }
  return cut;
}

}  // namespace media_server

// What libavformat does and a probe must not pay for. The linker hands every call of the functions below from the
// static libav* to ours (--wrap); the doubled names are the linker's.

#include <sys/mman.h>
#include <unistd.h>

#include <algorithm>
#include <array>
#include <cstddef>
#include <cstdint>
#include <cstring>
#include <span>

#include "media-server/probe/ffmpeg.h"
#include "media-server/probe/tag_reader.h"

namespace {

// No real file comes near it.
constexpr int kMostTags = 512;
// What one section of a program association table has room for (ISO/IEC 13818-1: 1,021 bytes behind the length, 9 of
// them for the whole section, 4 for a program). A transponder carries some 60 Mb/s: that is 200 programs of sound
// alone.
constexpr unsigned kMostPrograms = 253;
// Of all programs together: twice the streams that a file may have. Only a program's regional variants have streams in
// common, some twenty of them with ten streams each.
constexpr unsigned kMostProgramStreams = 2000;

// What the demuxer of FLV keeps takes 2 MB, a channel of an AAC decoder half a megabyte.
constexpr std::size_t kLeastContext = std::size_t{64} << 10;
constexpr std::size_t kMostContext = std::size_t{16} << 20;

bool IsContext(std::size_t size) { return size >= kLeastContext && size <= kMostContext; }

// Of libavcodec's counted references, as its refstruct.h has them.
using FreeReferenced = void (*)(void* opaque, void* block);
constexpr unsigned kLeaveUnset = 1;

std::size_t PageSize() {
  static const auto size = static_cast<std::size_t>(sysconf(_SC_PAGESIZE));
  return size;
}

/// Whether none of the pages is in memory: they are fresh from the system, or swapped out.
bool AreAbsent(char* first, std::size_t size) {
  constexpr std::size_t kLeastPage = 4096;
  std::array<unsigned char, kMostContext / kLeastPage> is_present;
  const std::span pages(is_present.data(), size / PageSize());
  return mincore(first, size, is_present.data()) == 0 &&
         std::ranges::none_of(pages, [](unsigned char state) { return (state & 1) != 0; });
}

/// Touches no page that need not be touched for that, of a block of at least one page.
void FillWithZeros(char* block, std::size_t size) {
  const auto address = reinterpret_cast<std::uintptr_t>(block);
  const std::size_t head = (PageSize() - address % PageSize()) % PageSize();
  const std::size_t tail = (address + size) % PageSize();
  char* const first = block + head;
  const std::size_t pages_size = size - head - tail;
  // Pages that are given back to the system are zero when they are touched next, also those that were swapped out.
  if (AreAbsent(first, pages_size) && madvise(first, pages_size, MADV_DONTNEED) == 0) {
    std::memset(block, 0, head);
    std::memset(block + size - tail, 0, tail);
  } else {
    std::memset(block, 0, size);
  }
}

}  // namespace

extern "C" {

// NOLINTBEGIN(bugprone-reserved-identifier,readability-identifier-naming)
int __real_av_dict_set(AVDictionary** dictionary, const char* key, const char* value, int flags);
void* __real_av_mallocz(std::size_t size);
AVProgram* __real_av_new_program(AVFormatContext* context, int id);
void __real_av_program_add_stream_index(AVFormatContext* context, int id, unsigned index);
void* __real_ff_refstruct_alloc_ext_c(std::size_t size, unsigned flags, void* opaque, FreeReferenced free);

/// Tags stand in lists that are searched from the front for every new one, so the time grows with the square of their
/// number: a FLAC file of 16 MB can hold 1.5 million tags and would take hours, in a loop that no callback interrupts.
/// What goes past the limit is dropped, save the few tags that we read.
int __wrap_av_dict_set(AVDictionary** dictionary, const char* key, const char* value, int flags) {
  const bool keep =
      av_dict_count(*dictionary) < kMostTags || (key != nullptr && media_server::probe::IsTagOfInterest(key));
  if (keep) return __real_av_dict_set(dictionary, key, value, flags);
  // What the caller gave away is ours to free.
  if ((flags & AV_DICT_DONT_STRDUP_KEY) != 0) av_free(const_cast<char*>(key));
  if ((flags & AV_DICT_DONT_STRDUP_VAL) != 0) av_free(const_cast<char*>(value));
  return 0;
}

/// Demuxers and decoders use a few pages of their contexts, and libav* fills all of them with zeros: 640 pages for FLV
/// with AAC, which the kernel hands out one by one, a third of the time of a cold probe.
void* __wrap_av_mallocz(std::size_t size) {
  if (!IsContext(size)) return __real_av_mallocz(size);
  auto* const block = static_cast<char*>(av_malloc(size));
  if (block != nullptr) FillWithZeros(block, size);
  return block;
}

/// The same for what is counted by references: 42 pages for each set of parameters of H.264, for tables that are seldom
/// there.
void* __wrap_ff_refstruct_alloc_ext_c(std::size_t size, unsigned flags, void* opaque, FreeReferenced free) {
  if (!IsContext(size) || (flags & kLeaveUnset) != 0) {
    return __real_ff_refstruct_alloc_ext_c(size, flags, opaque, free);
  }
  auto* const block = static_cast<char*>(__real_ff_refstruct_alloc_ext_c(size, flags | kLeaveUnset, opaque, free));
  if (block != nullptr) FillWithZeros(block, size);
  return block;
}

/// Each program is looked up in a list, for each stream of it and, where a table comes again, for each program: a
/// transport stream of 280 kB with 64,000 programs took half a minute. Those past the limit are dropped.
AVProgram* __wrap_av_new_program(AVFormatContext* context, int id) {
  const std::span programs(context->programs, context->nb_programs);
  const auto known = std::ranges::find(programs, id, &AVProgram::id);
  if (known != programs.end()) return *known;
  return programs.size() < kMostPrograms ? __real_av_new_program(context, id) : nullptr;
}

/// A program's streams are compared with each new one, and every entry is described: a thousand programs that have the
/// same 128 streams, in 2 MB, took 8 s and 260 MB. Streams whose entry is dropped stand in the first program.
void __wrap_av_program_add_stream_index(AVFormatContext* context, int id, unsigned index) {
  unsigned entries = 0;
  for (const AVProgram* program : std::span(context->programs, context->nb_programs)) {
    entries += program->nb_stream_indexes;
  }
  if (entries < kMostProgramStreams) __real_av_program_add_stream_index(context, id, index);
}

/// Only log lines show codes as text, and no log line of libav* is kept; the reader of MP4 boxes asked for three texts
/// a box, a quarter of the time of opening a small file.
char* __wrap_av_fourcc_make_string(char* text, std::uint32_t /*code*/) {
  *text = '\0';
  return text;
}

/// Nothing of what libav* tells is kept, and the reader of MP4 tells of every sample.
void __wrap_av_log(void* /*who*/, int /*level*/, const char* /*format*/, ...) {}  // NOLINT(cert-dcl50-cpp)

/// How far apart the streams' samples of the same time lie decides how much is read ahead of a player. A probe reads a
/// few samples, and comparing all of each stream with those of each other took half the time of opening a film.
void __wrap_ff_configure_buffers_for_index(AVFormatContext* /*context*/, std::int64_t /*tolerance*/) {}

/// The reader of MP4 measures the first hundred samples of each video track against all usual frame rates, 7,000
/// instructions a sample, for a rate that comes from its table of times all the same. Stream analysis measures by
/// itself (its calls stay in its own object file, where the linker changes nothing).
int __wrap_ff_rfps_add_frame(AVFormatContext* /*context*/, AVStream* /*stream*/, std::int64_t /*time*/) { return 0; }
// NOLINTEND(bugprone-reserved-identifier,readability-identifier-naming)

}  // extern "C"

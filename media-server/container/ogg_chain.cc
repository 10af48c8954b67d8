#include "media-server/container/ogg_chain.h"

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <numeric>
#include <span>
#include <string_view>
#include <vector>

#include "media-server/container/byte_reader.h"

namespace media_server {
namespace {

using Bytes = std::span<const std::uint8_t>;
using namespace std::string_view_literals;

constexpr std::size_t kMostLinks = 24;
constexpr std::size_t kMostStreams = 16;  // of a link
constexpr std::size_t kPageHeader = 27;
constexpr std::size_t kFrontOfPacket = 64;
constexpr std::size_t kLargestPage = kPageHeader + 255 + 255 * 255;
constexpr std::string_view kMark = "OggS\0"sv;  // and the version

struct Page {
  std::uint64_t offset = 0;
  std::uint64_t end = 0;
  bool begins_stream = false;
  std::int64_t granule = 0;  // at its end, in ticks of the stream's clock; -1 where no packet ends in it
  std::uint32_t serial = 0;  // of its stream
  std::uint32_t clock = 0;   // of the stream that it begins, as `ClockOf` tells it
};

// Ticks in a second of the clock of a sound stream that begins with this packet; 0 for others.
std::uint32_t ClockOf(Bytes packet) {
  const std::string_view text = AsText(packet);
  ByteReader reader(packet);
  if (text.starts_with("OpusHead")) return 48'000;
  if (text.starts_with("\x01vorbis")) {
    reader.Skip(12);
    return reader.Le32();
  }
  if (text.starts_with("Speex   ")) {
    reader.Skip(36);
    return reader.Le32();
  }
  if (text.starts_with("\x7F"
                       "FLAC")) {
    reader.Skip(27);
    return reader.Be24() >> 4;
  }
  return 0;
}

std::optional<Page> ReadPage(Bytes bytes, std::uint64_t offset) {
  ByteReader reader(bytes);
  if (AsText(reader.Take(kMark.size())) != kMark) return std::nullopt;
  Page page;
  page.offset = offset;
  page.begins_stream = (reader.U8() & 2) != 0;
  page.granule = static_cast<std::int64_t>(reader.Le64());
  page.serial = reader.Le32();
  reader.Skip(8);  // number of the page, checksum
  const Bytes segments = reader.Take(reader.U8());
  if (!reader.Ok()) return std::nullopt;
  page.end = std::accumulate(segments.begin(), segments.end(), offset + reader.Position());
  if (page.begins_stream) page.clock = ClockOf(reader.TakeRest());
  return page;
}

std::optional<Page> PageAt(IByteSource& source, std::uint64_t offset) {
  return ReadPage(ReadBytes(source, offset, kPageHeader + 255 + kFrontOfPacket), offset);
}

// The first page from `offset` on, behind which another one follows or the input ends.
std::optional<Page> FindPage(IByteSource& source, std::uint64_t offset) {
  constexpr std::size_t kStep = 8 * 1024;
  int marks_left = 16;  // other bytes that look like one are rare
  for (std::uint64_t start = offset; start < offset + kLargestPage; start += kStep) {
    const auto bytes = ReadBytes(source, start, kStep + kMark.size() - 1);
    const std::string_view text = AsText(bytes);
    for (std::size_t at = text.find(kMark); at != text.npos; at = text.find(kMark, at + 1)) {
      if (marks_left-- == 0) return std::nullopt;
      const auto page = PageAt(source, start + at);
      if (page && (page->end == source.Size() || PageAt(source, page->end))) return page;
    }
  }
  return std::nullopt;
}

struct Link {
  std::vector<std::uint32_t> serials;  // of its streams
  std::uint32_t sound_serial = 0;
  std::uint32_t clock = 0;       // of the sound, in ticks per second; 0 where there is none that is known
  std::uint64_t data_begin = 0;  // behind the pages that begin streams

  bool Has(const Page& page) const { return std::ranges::find(serials, page.serial) != serials.end(); }
  bool IsTimed(const Page& page) const { return page.serial == sound_serial && page.granule > 0; }
};

Link LinkAt(IByteSource& source, std::uint64_t offset) {
  Link link;
  auto page = PageAt(source, offset);
  for (; page && page->begins_stream && link.serials.size() < kMostStreams; page = PageAt(source, page->end)) {
    link.serials.push_back(page->serial);
    link.data_begin = page->end;
    if (link.clock != 0 || page->clock == 0) continue;
    link.clock = page->clock;
    link.sound_serial = page->serial;
  }
  return link;
}

// What is recorded of a station counts from when it began to send, not from when the recording did.
std::int64_t StartOf(IByteSource& source, const Link& link) {
  constexpr int kPages = 32;                      // of headers, and of other streams
  constexpr std::int64_t kLongestFirstPage = 10;  // seconds
  auto page = PageAt(source, link.data_begin);
  for (int i = 0; i < kPages && page && !link.IsTimed(*page); ++i) page = PageAt(source, page->end);
  return page && link.IsTimed(*page) && page->granule / link.clock >= kLongestFirstPage ? page->granule : 0;
}

struct LinkEnd {
  std::uint64_t offset = 0;
  std::int64_t granule = 0;  // of the sound; 0 where none is told
};

// The end of a link behind which another one follows.
LinkEnd EndOf(IByteSource& source, const Link& link, std::uint64_t size) {
  std::uint64_t within = link.data_begin;
  std::uint64_t behind = size;
  while (behind - within > kLargestPage) {
    const std::uint64_t middle = within + (behind - within) / 2;
    const auto page = FindPage(source, middle);
    if (page && link.Has(*page)) {
      within = page->offset;
    } else {
      behind = middle;
    }
  }
  LinkEnd end{within, 0};
  auto page = FindPage(source, within);
  for (; page && link.Has(*page); page = PageAt(source, page->end)) {
    end.offset = page->end;
    if (link.IsTimed(*page)) end.granule = page->granule;
  }
  return end;
}

// The pages that the input ends with, the last one first.
std::vector<Page> LastPages(IByteSource& source, std::uint64_t size) {
  const std::uint64_t start = size - std::min<std::uint64_t>(size, kLargestPage);
  const auto bytes = ReadBytes(source, start, kLargestPage);
  const std::string_view text = AsText(bytes);
  std::vector<Page> pages;
  for (std::size_t at = text.rfind(kMark); at != text.npos; at = at > 0 ? text.rfind(kMark, at - 1) : text.npos) {
    if (const auto page = ReadPage(Bytes(bytes).subspan(at), start + at)) pages.push_back(*page);
  }
  return pages;
}

// Seconds from the link at `offset` to the end of the input, which is that of `last`.
std::optional<double> SecondsOfLinks(IByteSource& source, std::uint64_t size, const std::vector<Page>& last) {
  double seconds = 0;
  std::uint64_t offset = 0;
  for (std::size_t links = 0; links < kMostLinks; ++links) {
    const Link link = LinkAt(source, offset);
    if (link.clock == 0) return std::nullopt;
    const bool is_last = link.Has(last.front());
    LinkEnd end{size, 0};
    if (is_last) {
      const auto timed = std::ranges::find_if(last, [&](const Page& page) { return link.IsTimed(page); });
      if (timed != last.end()) end.granule = timed->granule;
    } else {
      end = EndOf(source, link, size);
    }
    const bool is_sound_elsewhere = end.granule == 0 && end.offset - link.data_begin > kLargestPage;
    if (is_sound_elsewhere) return std::nullopt;
    const std::int64_t ticks = end.granule - StartOf(source, link);
    seconds += static_cast<double>(std::max<std::int64_t>(ticks, 0)) / link.clock;
    if (is_last) return seconds;
    offset = end.offset;
  }
  return std::nullopt;
}

}  // namespace

std::optional<OggChain> ReadOggChain(IByteSource& source) {
  const auto size = source.Size();
  if (!size) return std::nullopt;
  const Link first = LinkAt(source, 0);
  const std::vector<Page> last = LastPages(source, *size);
  const bool is_chain = !first.serials.empty() && !last.empty() && !first.Has(last.front());
  if (!is_chain) return std::nullopt;
  return OggChain{source.IsRemote() ? std::nullopt : SecondsOfLinks(source, *size, last)};
}

}  // namespace media_server

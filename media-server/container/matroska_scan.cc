#include "media-server/container/matroska_scan.h"

#include <algorithm>
#include <array>
#include <span>
#include <utility>

#include "media-server/container/byte_reader.h"
#include "media-server/container/ebml.h"
#include "media-server/container/matroska_elements.h"
#include "media-server/container/saturating_add.h"
#include "media-server/container/text.h"

namespace media_server {
namespace {

using Bytes = std::span<const std::uint8_t>;

// Element ids of RFC 9559 section 5.1.
enum Id : std::uint32_t {
  kEbmlHeader = 0x1A45DFA3,
  kSegment = matroska::kSegment,
  kSeekHead = 0x114D9B74,
  kSeek = 0x4DBB,
  kSeekId = 0x53AB,
  kSeekPosition = 0x53AC,
  kInfo = 0x1549A966,
  kTimestampScale = 0x2AD7B1,
  kDuration = 0x4489,
  kTracks = 0x1654AE6B,
  kTrackEntry = 0xAE,
  kTrackNumber = 0xD7,
  kTrackType = 0x83,
  kDefaultDuration = 0x23E383,
  kCodecId = 0x86,
  kTrackLanguage = 0x22B59C,
  kTrackLanguageTag = 0x22B59D,
  kContentEncodings = 0x6D80,
  kContentEncoding = 0x6240,
  kContentEncryption = 0x5035,
  kEncryptionAlgorithm = 0x47E1,
  kCluster = matroska::kCluster,
  kAttachments = 0x1941A469,
  kTags = 0x1254C367,
};

constexpr std::size_t kMostTracks = 1000;
constexpr std::size_t kLargestSeekHead = std::size_t{1} << 20;
constexpr std::size_t kLargestInfo = std::size_t{16} << 10;
constexpr std::size_t kLargestTracks = std::size_t{4} << 20;
constexpr std::size_t kLargestContentSum = std::size_t{8} << 20;
constexpr int kMostPassedElements = 512;

/// What a seek head names that describes the file: all of it is there, or the file ends early.
constexpr std::array<std::uint32_t, 4> kSought = {kInfo, kTracks, kAttachments, kTags};

constexpr std::array<std::uint32_t, 5> kMasters = {
    kSeek, kTrackEntry, kContentEncodings, kContentEncoding, kContentEncryption,
};

bool IsOneOf(std::span<const std::uint32_t> ids, std::uint32_t id) { return std::ranges::find(ids, id) != ids.end(); }

/// Calls `visit` with the id and content of each element in `bytes`. Of an element that is cut, what is left of its
/// children still counts, but a number or a text would be wrong.
template <typename Visit>
void ForEachElement(Bytes bytes, Visit visit) {
  ByteReader reader(bytes);
  while (const auto element = ReadEbmlElement(reader)) {
    const bool cut = element->size.value_or(0) > reader.Remaining();
    if (cut && !IsOneOf(kMasters, element->id)) return;
    const std::uint64_t size = std::min<std::uint64_t>(element->size.value_or(reader.Remaining()), reader.Remaining());
    visit(element->id, reader.Take(static_cast<std::size_t>(size)));
  }
}

std::uint64_t Unsigned(Bytes bytes) { return ByteReader(bytes).BigEndian(std::min<std::size_t>(bytes.size(), 8)); }

std::string ShortText(Bytes bytes) {
  constexpr std::size_t kLongest = 64;
  return TextFromUtf8(bytes.first(std::min(bytes.size(), kLongest)));
}

MatroskaTrack ReadTrack(Bytes entry) {
  MatroskaTrack track;
  // Frames that are signed only have a ContentEncryption without an algorithm.
  const auto read_encryption = [&](std::uint32_t id, Bytes content) {
    if (id == kEncryptionAlgorithm && Unsigned(content) != 0) track.encrypted = true;
  };
  const auto read_encoding = [&](std::uint32_t id, Bytes content) {
    if (id == kContentEncryption) ForEachElement(content, read_encryption);
  };
  const auto read_encodings = [&](std::uint32_t id, Bytes content) {
    if (id == kContentEncoding) ForEachElement(content, read_encoding);
  };
  ForEachElement(entry, [&](std::uint32_t id, Bytes content) {
    if (id == kTrackNumber) track.number = Unsigned(content);
    if (id == kTrackType) track.type = Unsigned(content);
    if (id == kDefaultDuration) track.frame_ns = Unsigned(content);
    if (id == kCodecId) track.codec_id = ShortText(content);
    if (id == kTrackLanguage) track.language = ShortText(content);
    if (id == kTrackLanguageTag) track.language_tag = ShortText(content);
    if (id == kContentEncodings) ForEachElement(content, read_encodings);
  });
  return track;
}

class Scanner {
 public:
  explicit Scanner(IByteSource& source) : source_(source), input_size_(source.Size()) {}

  MatroskaScan Scan() {
    std::uint64_t offset = 0;
    const auto header = ReadHead(offset);
    if (!header || header->id != kEbmlHeader || !header->size) return {};
    offset = SaturatingAdd(offset, *header->size);
    const auto segment = ReadHead(offset);
    if (!segment || segment->id != kSegment) return {};
    segment_begin_ = offset;
    if (segment->size) NoteEnd(SaturatingAdd(offset, *segment->size));
    ReadFront(offset);
    for (const std::uint64_t position : sought_) ReadSought(position);
    return std::move(scan_);
  }

 private:
  /// Reads an element head at `offset`, which moves behind it.
  std::optional<EbmlElement> ReadHead(std::uint64_t& offset) {
    const auto bytes = ReadBytes(source_, offset, kLongestEbmlHead);
    ByteReader reader(bytes);
    const auto element = ReadEbmlElement(reader);
    offset += reader.Position();
    return element;
  }

  void NoteEnd(std::uint64_t end) {
    if (input_size_ && end > *input_size_) scan_.truncated = true;
  }

  /// Reads what stands in front of the first cluster.
  void ReadFront(std::uint64_t offset) {
    for (int passed = 0; passed < kMostPassedElements; ++passed) {
      const std::uint64_t position = offset;
      const auto element = ReadHead(offset);
      if (!element || element->id == kCluster || !element->size) return;
      read_.push_back(position);
      ReadContent(element->id, offset, *element->size);
      offset = SaturatingAdd(offset, *element->size);
    }
  }

  void ReadSought(std::uint64_t position) {
    if (std::ranges::find(read_, position) != read_.end()) return;
    read_.push_back(position);
    std::uint64_t offset = position;
    const auto element = ReadHead(offset);
    NoteEnd(offset);
    if (!element || !element->size || !IsOneOf(kSought, element->id)) return;
    NoteEnd(SaturatingAdd(offset, *element->size));
    ReadContent(element->id, offset, *element->size);
  }

  void ReadContent(std::uint32_t id, std::uint64_t offset, std::uint64_t size) {
    if (id == kSeekHead) ReadSeekHead(Content(offset, size, kLargestSeekHead));
    if (id == kInfo) ReadInfo(Content(offset, size, kLargestInfo));
    if (id == kTracks) ReadTracks(Content(offset, size, kLargestTracks));
    // libavformat reads fonts and covers whole, and gives the file up when it cannot.
    if (id == kAttachments) source_.WillRead(offset, size);
  }

  std::vector<std::uint8_t> Content(std::uint64_t offset, std::uint64_t size, std::size_t most) {
    // Room is made for what is there, not for what a broken size claims.
    const std::uint64_t there = input_size_ ? *input_size_ - std::min(offset, *input_size_) : size;
    const auto wanted = std::min<std::uint64_t>({size, there, most, kLargestContentSum - content_bytes_});
    auto bytes = ReadBytes(source_, offset, static_cast<std::size_t>(wanted));
    content_bytes_ += bytes.size();
    return bytes;
  }

  void ReadSeekHead(Bytes bytes) {
    constexpr std::size_t kMostSeeks = 64;
    ForEachElement(bytes, [&](std::uint32_t id, Bytes seek) {
      if (id != kSeek || sought_.size() >= kMostSeeks) return;
      std::uint64_t sought_id = 0;
      std::optional<std::uint64_t> position;
      ForEachElement(seek, [&](std::uint32_t field, Bytes content) {
        if (field == kSeekId) sought_id = Unsigned(content);
        if (field == kSeekPosition) position = Unsigned(content);
      });
      if (position && IsOneOf(kSought, static_cast<std::uint32_t>(sought_id))) {
        sought_.push_back(SaturatingAdd(segment_begin_, *position));
      }
    });
  }

  void ReadInfo(Bytes bytes) {
    ForEachElement(bytes, [&](std::uint32_t id, Bytes content) {
      if (id == kTimestampScale && Unsigned(content) != 0) scan_.tick_ns = static_cast<double>(Unsigned(content));
      // A floating-point number: nothing but zeros is no length.
      if (id == kDuration) scan_.tells_duration = Unsigned(content) != 0;
    });
  }

  void ReadTracks(Bytes bytes) {
    ForEachElement(bytes, [&](std::uint32_t id, Bytes content) {
      if (id == kTrackEntry && scan_.tracks.size() < kMostTracks) scan_.tracks.push_back(ReadTrack(content));
    });
  }

  IByteSource& source_;
  std::optional<std::uint64_t> input_size_;
  MatroskaScan scan_;
  std::uint64_t segment_begin_ = 0;
  std::size_t content_bytes_ = 0;
  std::vector<std::uint64_t> sought_;
  std::vector<std::uint64_t> read_;
};

}  // namespace

MatroskaScan ScanMatroska(IByteSource& source) { return Scanner(source).Scan(); }

}  // namespace media_server

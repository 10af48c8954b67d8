#include "media-server/container/matroska_scan.h"

#include <algorithm>
#include <array>
#include <limits>
#include <span>
#include <string_view>
#include <utility>

#include "media-server/container/byte_reader.h"
#include "media-server/container/ebml.h"
#include "media-server/container/text.h"

namespace media_server {
namespace {

using Bytes = std::span<const std::uint8_t>;

// Element ids of RFC 9559 section 5.1.
enum Id : std::uint32_t {
  kEbmlHeader = 0x1A45DFA3,
  kDocType = 0x4282,
  kSegment = 0x18538067,
  kSeekHead = 0x114D9B74,
  kSeek = 0x4DBB,
  kSeekId = 0x53AB,
  kSeekPosition = 0x53AC,
  kInfo = 0x1549A966,
  kTitle = 0x7BA9,
  kDateUtc = 0x4461,
  kTracks = 0x1654AE6B,
  kTrackEntry = 0xAE,
  kTrackNumber = 0xD7,
  kTrackUid = 0x73C5,
  kTrackType = 0x83,
  kTrackLanguage = 0x22B59C,
  kTrackLanguageTag = 0x22B59D,
  kDefaultDuration = 0x23E383,
  kContentEncodings = 0x6D80,
  kContentEncoding = 0x6240,
  kContentEncryption = 0x5035,
  kVideo = 0xE0,
  kFlagInterlaced = 0x9A,
  kFieldOrder = 0x9D,
  kStereoMode = 0x53B8,
  kAlphaMode = 0x53C0,
  kCluster = 0x1F43B675,
  kAttachments = 0x1941A469,
  kTags = 0x1254C367,
  kTag = 0x7373,
  kTargets = 0x63C0,
  kTargetTypeValue = 0x68CA,
  kTagTrackUid = 0x63C5,
  kSimpleTag = 0x67C8,
  kTagName = 0x45A3,
  kTagString = 0x4487,
  kTagLanguage = 0x447A,
};

constexpr std::size_t kMostTags = 4096;
constexpr std::size_t kMostTracks = 1000;
constexpr std::size_t kLargestValue = std::size_t{1} << 20;
constexpr std::size_t kLargestTagSum = std::size_t{16} << 20;
constexpr std::size_t kLargestContentSum = std::size_t{32} << 20;
constexpr int kMostPassedElements = 512;
constexpr int kDeepestSimpleTag = 8;

/// How much of a level 1 element is read.
struct LevelOneBound {
  std::uint32_t id;
  std::size_t bytes;
};
constexpr std::array kLevelOneBounds = {
    LevelOneBound{kSeekHead, std::size_t{1} << 20},
    LevelOneBound{kInfo, std::size_t{1} << 20},
    LevelOneBound{kTracks, std::size_t{4} << 20},
    LevelOneBound{kTags, std::size_t{16} << 20},
    LevelOneBound{kAttachments, 0},
};

constexpr std::array<std::uint32_t, 9> kMasters = {
    kSeek, kTrackEntry, kContentEncodings, kContentEncoding, kContentEncryption, kVideo, kTag, kTargets, kSimpleTag,
};

/// Calls `visit` with the id and content of each element in `bytes`. Of an element that is cut, what is left of its
/// children still counts, but a number or a text would be wrong.
template <typename Visit>
void ForEachElement(Bytes bytes, Visit visit) {
  ByteReader reader(bytes);
  while (const auto element = ReadEbmlElement(reader)) {
    const bool cut = element->size.value_or(0) > reader.Remaining();
    if (cut && std::ranges::find(kMasters, element->id) == kMasters.end()) return;
    const std::uint64_t size = std::min<std::uint64_t>(element->size.value_or(reader.Remaining()), reader.Remaining());
    visit(element->id, reader.Take(static_cast<std::size_t>(size)));
  }
}

std::uint64_t Unsigned(Bytes bytes) { return ByteReader(bytes).BigEndian(std::min<std::size_t>(bytes.size(), 8)); }

std::uint64_t SaturatingAdd(std::uint64_t a, std::uint64_t b) {
  constexpr std::uint64_t kLargest = std::numeric_limits<std::uint64_t>::max();
  return a > kLargest - b ? kLargest : a + b;
}

std::string LanguageText(Bytes bytes) {
  constexpr std::size_t kLongest = 64;
  return TextFromUtf8(bytes.first(std::min(bytes.size(), kLongest)));
}

MatroskaTrack ReadTrack(Bytes entry) {
  MatroskaTrack track;
  const auto read_video = [&](std::uint32_t id, Bytes content) {
    if (id == kFlagInterlaced) track.flag_interlaced = Unsigned(content);
    if (id == kFieldOrder) track.field_order = Unsigned(content);
    if (id == kStereoMode) track.stereo_mode = Unsigned(content);
    if (id == kAlphaMode) track.alpha_mode = Unsigned(content);
  };
  const auto read_encoding = [&](std::uint32_t id, Bytes) {
    if (id == kContentEncryption) track.encrypted = true;
  };
  const auto read_encodings = [&](std::uint32_t id, Bytes content) {
    if (id == kContentEncoding) ForEachElement(content, read_encoding);
  };
  ForEachElement(entry, [&](std::uint32_t id, Bytes content) {
    if (id == kTrackNumber) track.number = Unsigned(content);
    if (id == kTrackUid) track.uid = Unsigned(content);
    if (id == kTrackType) track.type = Unsigned(content);
    if (id == kTrackLanguage) track.language = LanguageText(content);
    if (id == kTrackLanguageTag) track.language_tag = LanguageText(content);
    if (id == kDefaultDuration) track.default_duration_ns = Unsigned(content);
    if (id == kContentEncodings) ForEachElement(content, read_encodings);
    if (id == kVideo) ForEachElement(content, read_video);
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
    ReadDocType(offset, *header->size);
    offset = SaturatingAdd(offset, *header->size);
    const auto segment = ReadHead(offset);
    if (!segment || segment->id != kSegment) return std::move(scan_);
    segment_begin_ = offset;
    if (segment->size) NoteEnd(SaturatingAdd(offset, *segment->size));
    ReadLevelOne(offset);
    for (const std::uint64_t position : sought_) ReadElementAt(position);
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

  void ReadDocType(std::uint64_t offset, std::uint64_t size) {
    constexpr std::uint64_t kLargestHeader = 4096;
    const auto bytes = ReadBytes(source_, offset, static_cast<std::size_t>(std::min(size, kLargestHeader)));
    ForEachElement(bytes, [&](std::uint32_t id, Bytes content) {
      if (id == kDocType) scan_.doc_type = TextFromUtf8(content);
    });
  }

  void ReadLevelOne(std::uint64_t offset) {
    for (int passed = 0; passed < kMostPassedElements; ++passed) {
      const std::uint64_t position = offset;
      const auto element = ReadHead(offset);
      if (!element) return;
      const bool rest_is_sought = element->id == kCluster && !sought_.empty();
      if (rest_is_sought || !element->size) return;
      if (const LevelOneBound* const bound = FindBound(element->id)) {
        read_.push_back(position);
        ReadContent(*bound, offset, *element->size);
      }
      offset = SaturatingAdd(offset, *element->size);
    }
    scan_.incomplete = true;
  }

  static const LevelOneBound* FindBound(std::uint32_t id) {
    const auto row = std::ranges::find(kLevelOneBounds, id, &LevelOneBound::id);
    return row == kLevelOneBounds.end() ? nullptr : &*row;
  }

  void ReadElementAt(std::uint64_t position) {
    if (std::ranges::find(read_, position) != read_.end()) return;
    read_.push_back(position);
    std::uint64_t offset = position;
    const auto element = ReadHead(offset);
    NoteEnd(offset);
    const LevelOneBound* const bound = element && element->size ? FindBound(element->id) : nullptr;
    if (!bound || bound->id == kSeekHead) return;
    NoteEnd(SaturatingAdd(offset, *element->size));
    ReadContent(*bound, offset, *element->size);
  }

  void ReadContent(const LevelOneBound& bound, std::uint64_t offset, std::uint64_t size) {
    // libavformat reads fonts and covers whole, and gives the file up when it cannot.
    if (bound.id == kAttachments) return source_.WillRead(offset, size);
    const std::uint64_t most = std::min(bound.bytes, kLargestContentSum - content_bytes_);
    if (size > most) scan_.incomplete = true;
    // Room is made for what is there, not for what a broken size claims.
    const std::uint64_t there = input_size_ ? *input_size_ - std::min(offset, *input_size_) : size;
    const auto wanted = static_cast<std::size_t>(std::min<std::uint64_t>({size, most, there}));
    const auto bytes = ReadBytes(source_, offset, wanted);
    content_bytes_ += bytes.size();
    if (bound.id == kSeekHead) ReadSeekHead(bytes);
    if (bound.id == kInfo) ReadInfo(bytes);
    if (bound.id == kTracks) ReadTracks(bytes);
    if (bound.id == kTags) ReadTags(bytes);
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
      if (position && FindBound(static_cast<std::uint32_t>(sought_id))) {
        sought_.push_back(SaturatingAdd(segment_begin_, *position));
      }
    });
  }

  void ReadInfo(Bytes bytes) {
    constexpr std::int64_t kNanoseconds = 1'000'000'000;
    constexpr std::int64_t kFrom1970To2001 = 978'307'200;
    ForEachElement(bytes, [&](std::uint32_t id, Bytes content) {
      if (id == kTitle && content.size() <= kLargestValue) scan_.title = TextFromUtf8(content);
      if (id == kDateUtc && content.size() == 8) {
        scan_.date_unix_s = static_cast<std::int64_t>(Unsigned(content)) / kNanoseconds + kFrom1970To2001;
      }
    });
  }

  void ReadTracks(Bytes bytes) {
    ForEachElement(bytes, [&](std::uint32_t id, Bytes content) {
      if (id == kTrackEntry && scan_.tracks.size() < kMostTracks) scan_.tracks.push_back(ReadTrack(content));
    });
  }

  void ReadTags(Bytes bytes) {
    ForEachElement(bytes, [&](std::uint32_t id, Bytes content) {
      if (id == kTag) ReadTag(content);
    });
  }

  void ReadTag(Bytes bytes) {
    MatroskaTag target;
    ForEachElement(bytes, [&](std::uint32_t id, Bytes content) {
      if (id != kTargets) return;
      ForEachElement(content, [&](std::uint32_t field, Bytes value) {
        if (field == kTargetTypeValue) target.target_type = static_cast<std::uint32_t>(Unsigned(value));
        if (field == kTagTrackUid) target.track_uid = Unsigned(value);
      });
    });
    ForEachElement(bytes, [&](std::uint32_t id, Bytes content) {
      if (id == kSimpleTag) ReadSimpleTag(content, target, kDeepestSimpleTag);
    });
  }

  /// `parent` gives the target, and the name in front of nested ones.
  void ReadSimpleTag(Bytes bytes, const MatroskaTag& parent, int levels_left) {
    MatroskaTag tag = parent;
    tag.value.clear();
    tag.language.clear();
    ForEachElement(bytes, [&](std::uint32_t id, Bytes content) {
      if (content.size() > kLargestValue) {
        scan_.incomplete = true;
        return;
      }
      if (id == kTagName)
        tag.name += (parent.name.empty() ? "" : "/") + TextFromUtf8(content.first(LongestName(content)));
      if (id == kTagString) tag.value = TextFromUtf8(content);
      if (id == kTagLanguage) tag.language = TextFromUtf8(content.first(LongestName(content)));
    });
    if (!tag.name.empty() && !tag.value.empty()) AddTag(tag);
    ForEachElement(bytes, [&](std::uint32_t id, Bytes content) {
      if (id != kSimpleTag) return;
      if (levels_left > 0) {
        ReadSimpleTag(content, tag, levels_left - 1);
      } else {
        scan_.incomplete = true;
      }
    });
  }

  void AddTag(const MatroskaTag& tag) {
    const std::size_t size = tag.name.size() + tag.value.size() + tag.language.size();
    if (scan_.tags.size() >= kMostTags || size > kLargestTagSum - tag_bytes_) {
      scan_.incomplete = true;
      return;
    }
    tag_bytes_ += size;
    scan_.tags.push_back(tag);
  }

  static std::size_t LongestName(Bytes content) { return std::min<std::size_t>(content.size(), 1024); }

  IByteSource& source_;
  std::optional<std::uint64_t> input_size_;
  MatroskaScan scan_;
  std::uint64_t segment_begin_ = 0;
  std::size_t content_bytes_ = 0;
  std::size_t tag_bytes_ = 0;
  std::vector<std::uint64_t> sought_;
  std::vector<std::uint64_t> read_;
};

}  // namespace

MatroskaScan ScanMatroska(IByteSource& source) { return Scanner(source).Scan(); }

}  // namespace media_server

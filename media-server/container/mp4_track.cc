#include "media-server/container/mp4_track.h"

#include <algorithm>
#include <array>
#include <span>
#include <string_view>
#include <utility>

#include "media-server/container/byte_reader.h"
#include "media-server/container/text.h"

namespace media_server {
namespace {

using namespace std::string_view_literals;

std::optional<std::int64_t> UnixTime(std::uint64_t seconds_since_1904) {
  constexpr std::uint64_t kFrom1904To1970 = 2'082'844'800;
  constexpr std::uint64_t kLatest = std::uint64_t{1} << 40;  // some thirty thousand years: garbage beyond
  if (seconds_since_1904 == 0 || seconds_since_1904 > kLatest) return std::nullopt;
  const bool written_as_unix_time = seconds_since_1904 < kFrom1904To1970;
  return static_cast<std::int64_t>(seconds_since_1904 - (written_as_unix_time ? 0 : kFrom1904To1970));
}

/// Creation and modification time of a full box, whose fields are twice as wide from version 1 on.
Mp4HeaderTimes TakeTimes(ByteReader& reader, std::size_t width) {
  Mp4HeaderTimes times;
  times.creation_unix_s = UnixTime(reader.BigEndian(width));
  times.modification_unix_s = UnixTime(reader.BigEndian(width));
  return times;
}

/// A four-character code as text; an empty one where the bytes ended.
std::string TakeCode(ByteReader& reader) { return KeyFromFourCharacters(AsText(reader.Take(4))); }

std::string LanguageText(std::uint16_t packed) {
  constexpr std::uint16_t kFirstPacked = 0x400;
  if (packed < kFirstPacked || packed == 0x7FFF) return {};
  std::string language;
  for (const int shift : {10, 5, 0}) {
    const auto letter = static_cast<char>((packed >> shift & 0x1F) + 0x60);
    if (letter < 'a' || letter > 'z') return {};
    language += letter;
  }
  return language;
}

/// Reads one track box by box into `track_`.
class TrackReader {
 public:
  TrackReader(Mp4BoxReader& boxes, std::optional<std::uint64_t> input_size) : boxes_(boxes), input_size_(input_size) {}

  Mp4Track Read(const Mp4Box& trak) {
    ReadChildren(trak);
    if (more_samples_than_bytes_ && !IsUncompressedSound()) track_.plausible = false;
    if (MayCutIndex()) track_.index_cut = CutMp4Index(boxes_, tables_);
    return std::move(track_);
  }

 private:
  using BoxHandler = void (TrackReader::*)(const Mp4Box& box);
  struct Row {
    std::string_view type;
    BoxHandler handle;
  };
  static const std::array<Row, 18> kRows;

  static constexpr std::uint64_t kLongestRun = std::uint64_t{1} << 47;  // years at any timescale, and no sum overflows

  // The names are unique within a track, so one table serves all levels.
  void ReadChildren(const Mp4Box& box) {
    Mp4BoxRange range = boxes_.Children(box);
    while (const auto child = boxes_.Next(range)) {
      const auto row = std::ranges::find(kRows, child->Type(), &Row::type);
      if (row != kRows.end()) (this->*row->handle)(*child);
    }
  }

  void ReadTrackHeader(const Mp4Box& box) {
    const auto bytes = boxes_.Payload(box, 88);
    ByteReader reader(bytes);
    const std::size_t width = reader.U8() == 0 ? 4 : 8;
    reader.Skip(3);  // flags
    track_.times = TakeTimes(reader, width);
    track_.id = reader.Be32();
    reader.Skip(4 + width + 16);  // reserved, duration, layer, group, volume
    std::array<std::int32_t, 9> matrix{};
    for (std::int32_t& number : matrix) number = static_cast<std::int32_t>(reader.Be32());
    if (reader.Ok()) track_.turn = ReadDisplayMatrix(matrix);
  }

  void ReadEdits(const Mp4Box& box) {
    constexpr std::size_t kMostEntries = 1024;
    constexpr std::uint32_t kNormalSpeed = 0x10000;
    const auto head = boxes_.Payload(box, kTableHead);
    ByteReader head_reader(head);
    const std::size_t width = head_reader.U8() == 0 ? 4 : 8;
    head_reader.Skip(3);
    const std::uint32_t count = head_reader.Be32();
    const std::size_t entry_size = 2 * width + 4;
    const auto bytes = boxes_.Payload(box, kMostEntries * entry_size, kTableHead);
    ByteReader reader(bytes);
    const std::size_t entries =
        std::min<std::size_t>(bytes.size() / entry_size, count);  // room may be left behind them
    const std::uint64_t nowhere = width == 4 ? UINT32_MAX : UINT64_MAX;
    bool chooses_one_part = entries <= 1;
    std::uint64_t ticks = 0;
    for (std::size_t i = 0; i < entries; ++i) {
      ticks += std::min(reader.BigEndian(width), kLongestRun);
      const std::uint64_t begin = reader.BigEndian(width);
      if (begin == nowhere) {
        chooses_one_part = false;
      } else {
        latest_edit_ = std::max(latest_edit_, begin);
      }
      if (reader.Be32() != kNormalSpeed) chooses_one_part = false;
    }
    if (count > entries) latest_edit_ = kLongestRun;
    if (!chooses_one_part) track_.edited_movie_ticks = ticks;
  }

  void ReadMediaHeader(const Mp4Box& box) {
    const auto header = ReadMp4MediaHeader(boxes_, box);
    if (!header) return;
    if (header->times.creation_unix_s) track_.times.creation_unix_s = header->times.creation_unix_s;
    if (header->times.modification_unix_s) track_.times.modification_unix_s = header->times.modification_unix_s;
    track_.timescale = header->timescale;
    track_.duration = header->duration;
    if (track_.language.empty()) track_.language = LanguageText(header->packed_language);
  }

  void ReadExtendedLanguage(const Mp4Box& box) {
    const auto bytes = boxes_.Payload(box, 64, /*skip=*/4);
    if (IsPlainUtf8(std::span(bytes).first(bytes.empty() ? 0 : bytes.size() - 1)))
      track_.language = TextFromUtf8(bytes);
  }

  void ReadHandler(const Mp4Box& box) {
    // minf of QuickTime files holds a second one, which names the data handler.
    const auto bytes = boxes_.Payload(box, 12);
    ByteReader reader(bytes);
    reader.Skip(8);
    if (track_.handler.empty()) track_.handler = TakeCode(reader);
  }

  void ReadSampleDescriptions(const Mp4Box& box) {
    constexpr std::uint64_t kVersionAndCount = 8;
    Mp4BoxRange range = boxes_.Children(box, kVersionAndCount);
    const auto entry = boxes_.Next(range);
    if (!entry || !track_.sample_entry.empty()) return;
    track_.sample_entry = KeyFromFourCharacters(entry->Type());
    track_.is_protected = std::ranges::find(kEncryptedEntries, entry->Type()) != kEncryptedEntries.end();

    const auto bytes = boxes_.Payload(*entry, 64);
    if (track_.handler == "soun") {
      ReadChildrenBehind(*entry, SoundEntrySize(bytes));
    } else if (std::ranges::find(kPictureHandlers, track_.handler) != kPictureHandlers.end()) {
      constexpr std::uint64_t kPictureEntrySize = 78;
      ByteReader reader(bytes);
      reader.Skip(24);
      track_.width = reader.Be16();
      track_.height = reader.Be16();
      ReadChildrenBehind(*entry, kPictureEntrySize);
    } else if (track_.is_protected) {
      constexpr std::uint64_t kPlainEntrySize = 8;
      ReadChildrenBehind(*entry, kPlainEntrySize);
    }
  }

  /// Where the boxes of the sound sample entry begin: QuickTime's versions 1 and 2 are longer.
  static std::uint64_t SoundEntrySize(std::span<const std::uint8_t> bytes) {
    constexpr std::uint64_t kVersion0Size = 28;
    constexpr std::uint64_t kVersion1Size = kVersion0Size + 16;
    constexpr std::uint64_t kVersion2Size = kVersion0Size + 36;
    ByteReader reader(bytes);
    reader.Skip(8);
    const std::uint16_t version = reader.Be16();
    return version == 2 ? kVersion2Size : version == 1 ? kVersion1Size : kVersion0Size;
  }

  void ReadChildrenBehind(const Mp4Box& entry, std::uint64_t skip) {
    Mp4BoxRange range = boxes_.Children(entry, skip);
    while (const auto child = boxes_.Next(range)) {
      if (child->Is("clap")) ReadCleanAperture(*child);
      if (child->Is("auxi")) ReadAuxiliaryType(*child);
      if (child->Is("sinf") && track_.is_protected) ReadProtection(*child);
    }
  }

  void ReadAuxiliaryType(const Mp4Box& box) {
    constexpr std::uint64_t kVersionAndFlags = 4;
    constexpr std::size_t kLongest = 256;
    const auto bytes = boxes_.Payload(box, kLongest, kVersionAndFlags);
    track_.auxiliary_type = TextFromUtf8(bytes);
  }

  void ReadCleanAperture(const Mp4Box& box) {
    const auto bytes = boxes_.Payload(box, 32);
    ByteReader reader(bytes);
    Mp4CleanAperture aperture;
    aperture.width_n = reader.Be32();
    aperture.width_d = reader.Be32();
    aperture.height_n = reader.Be32();
    aperture.height_d = reader.Be32();
    aperture.horizontal_offset_n = static_cast<std::int32_t>(reader.Be32());
    aperture.horizontal_offset_d = reader.Be32();
    aperture.vertical_offset_n = static_cast<std::int32_t>(reader.Be32());
    aperture.vertical_offset_d = reader.Be32();
    aperture.box_offset = box.offset;
    if (reader.Ok()) track_.clean_aperture = aperture;
  }

  void ReadProtection(const Mp4Box& box) {
    Mp4BoxRange range = boxes_.Children(box);
    while (const auto child = boxes_.Next(range)) {
      if (child->Is("schi")) ReadProtection(*child);
      if (child->Is("tenc")) ReadTrackEncryption(*child);
    }
  }

  /// ISO/IEC 23001-7 8.2.
  void ReadTrackEncryption(const Mp4Box& box) {
    constexpr std::uint64_t kIsProtected = 6;  // behind version, flags, a reserved byte and the pattern
    const auto is_protected = boxes_.Payload(box, 1, kIsProtected);
    if (!is_protected.empty()) track_.is_protected = is_protected.front() != 0;
  }

  /// The entry count behind version and flags, checked against what the box can hold.
  std::uint32_t ReadCount(const Mp4Box& box, std::uint64_t head_size, std::uint64_t entry_bits) {
    const auto bytes = boxes_.Payload(box, 4, head_size - 4);
    const std::uint32_t count = ByteReader(bytes).Be32();
    const std::uint64_t room = box.payload_size - std::min(head_size, box.payload_size);
    if (std::uint64_t{count} * entry_bits > room * 8) track_.plausible = false;
    return count;
  }

  static constexpr std::uint64_t kTableHead = 8;  // version, flags, count
  static constexpr std::uint64_t kSizeTableHead = 12;

  void Keep(const Mp4Box& box, std::optional<Mp4Box>& table) {
    if (table) tables_.stand_twice = true;
    table = box;
  }

  /// Whether the first samples tell what a probe asks of all: where none of the edits begins behind them, and none has
  /// to be decrypted.
  bool MayCutIndex() const {
    const auto& times = track_.decoding_times;
    if (!track_.plausible || track_.is_protected || IsUncompressedSound() || !times || !times->complete) return false;
    if (track_.timescale == 0 || times->sample_count != track_.sample_count) return false;
    constexpr std::uint64_t kSamplesInFront = 4096;
    return latest_edit_ <= kSamplesInFront * times->smallest_delta;
  }

  void ReadSampleSizes(const Mp4Box& box) {
    Keep(box, tables_.sizes);
    const auto bytes = boxes_.Payload(box, 4, /*skip=*/4);
    const std::uint32_t common_size = ByteReader(bytes).Be32();
    const std::uint32_t count = ReadCount(box, kSizeTableHead, common_size == 0 ? 32 : 0);
    track_.sample_count = count;
    if (common_size == 0 || !input_size_) return;
    // Old sound codecs declare one byte a sample and pack several samples into one.
    const std::uint64_t most = common_size == 1 ? *input_size_ * 8 : *input_size_;
    more_samples_than_bytes_ = count > most;
  }

  /// Sound whose samples last one tick each is indexed by its chunks: a count of samples costs nothing there, and a
  /// file that was cut short keeps the count of the whole.
  bool IsUncompressedSound() const {
    const auto& times = track_.decoding_times;
    return track_.handler == "soun" && times && times->constant && times->smallest_delta == 1;
  }

  void ReadCompactSampleSizes(const Mp4Box& box) {
    const auto bytes = boxes_.Payload(box, 4, /*skip=*/4);
    const std::uint32_t field_bits = ByteReader(bytes).Be32() & 0xFF;
    track_.sample_count = ReadCount(box, kSizeTableHead, field_bits);
  }

  void ReadDecodingTimes(const Mp4Box& box) {
    constexpr std::uint32_t kMostEntries = 65536;
    const std::uint32_t count = ReadCount(box, kTableHead, 64);
    const auto bytes = boxes_.Payload(box, std::size_t{std::min(count, kMostEntries)} * 8, kTableHead);
    ByteReader reader(bytes);
    Mp4DecodingTimes times;
    const std::size_t entries = bytes.size() / 8;
    times.complete = entries == count;
    std::optional<std::uint32_t> first_delta;
    times.constant = true;
    for (std::size_t i = 0; i < entries; ++i) {
      const std::uint32_t samples = reader.Be32();
      const std::uint32_t delta = reader.Be32();
      times.sample_count += samples;
      times.ticks += std::min(std::uint64_t{samples} * delta, kLongestRun);
      const bool only_the_last_sample = i > 0 && i + 1 == entries && times.complete && samples == 1;
      if (samples == 0 || only_the_last_sample) continue;
      if (delta != 0 && (times.smallest_delta == 0 || delta < times.smallest_delta)) times.smallest_delta = delta;
      if (!first_delta) first_delta = delta;
      times.constant = times.constant && delta == *first_delta;
    }
    if (times.sample_count > 0) track_.decoding_times = times;
  }

  void ReadSyncSamples(const Mp4Box& box) { ReadCount(box, kTableHead, 32); }
  void ReadCompositionOffsets(const Mp4Box& box) {
    constexpr std::size_t kMostSamples = 512;
    Keep(box, tables_.time_offsets);
    const std::uint32_t count = ReadCount(box, kTableHead, 64);
    track_.has_composition_offsets = count > 0;
    const auto bytes = boxes_.Payload(box, std::min<std::size_t>(count, kMostSamples) * 8, kTableHead);
    ByteReader reader(bytes);
    auto& offsets = track_.first_composition_offsets;
    while (reader.Remaining() >= 8 && offsets.size() < kMostSamples) {
      const std::uint32_t samples = reader.Be32();
      const auto offset = static_cast<std::int32_t>(reader.Be32());
      offsets.insert(offsets.end(), std::min<std::size_t>(samples, kMostSamples - offsets.size()), offset);
    }
  }
  void ReadSampleToChunk(const Mp4Box& box) {
    Keep(box, tables_.samples_of_chunks);
    ReadCount(box, kTableHead, 96);
  }
  void ReadChunkOffsets(const Mp4Box& box) { ReadLastChunkOffset(box, 4); }
  void ReadLargeChunkOffsets(const Mp4Box& box) { ReadLastChunkOffset(box, 8); }

  void ReadLastChunkOffset(const Mp4Box& box, std::size_t width) {
    Keep(box, tables_.chunks);
    const std::uint32_t count = ReadCount(box, kTableHead, width * 8);
    if (count == 0) return;
    const auto bytes = boxes_.Payload(box, width, kTableHead + (std::uint64_t{count} - 1) * width);
    if (bytes.size() == width) track_.last_chunk_offset = ByteReader(bytes).BigEndian(width);
  }

  static constexpr std::array kPictureHandlers = {"vide"sv, "auxv"sv, "pict"sv};
  // The last two are those of the iTunes store, from before there was a common scheme.
  static constexpr std::array kEncryptedEntries = {"encv"sv, "enca"sv, "enct"sv, "encs"sv,
                                                   "encm"sv, "drms"sv, "drmi"sv};

  Mp4BoxReader& boxes_;
  std::optional<std::uint64_t> input_size_;
  Mp4Track track_;
  bool more_samples_than_bytes_ = false;  // of one size
  Mp4SampleTables tables_;
  std::uint64_t latest_edit_ = 0;  // where it begins in the track, in its ticks
};

constexpr std::array<TrackReader::Row, 18> TrackReader::kRows = {{
    {"edts", &TrackReader::ReadChildren},
    {"elst", &TrackReader::ReadEdits},
    {"mdia", &TrackReader::ReadChildren},
    {"minf", &TrackReader::ReadChildren},
    {"stbl", &TrackReader::ReadChildren},
    {"tkhd", &TrackReader::ReadTrackHeader},
    {"mdhd", &TrackReader::ReadMediaHeader},
    {"elng", &TrackReader::ReadExtendedLanguage},
    {"hdlr", &TrackReader::ReadHandler},
    {"stsd", &TrackReader::ReadSampleDescriptions},
    {"stsz", &TrackReader::ReadSampleSizes},
    {"stz2", &TrackReader::ReadCompactSampleSizes},
    {"stts", &TrackReader::ReadDecodingTimes},
    {"stss", &TrackReader::ReadSyncSamples},
    {"ctts", &TrackReader::ReadCompositionOffsets},
    {"stsc", &TrackReader::ReadSampleToChunk},
    {"stco", &TrackReader::ReadChunkOffsets},
    {"co64", &TrackReader::ReadLargeChunkOffsets},
}};

}  // namespace

std::optional<Mp4MediaHeader> ReadMp4MediaHeader(Mp4BoxReader& boxes, const Mp4Box& box) {
  const auto bytes = boxes.Payload(box, 40);
  ByteReader reader(bytes);
  const std::uint8_t version = reader.U8();
  reader.Skip(3);
  const std::size_t width = version == 0 ? 4 : 8;
  Mp4MediaHeader header;
  header.times = TakeTimes(reader, width);
  header.timescale = reader.Be32();
  const std::uint64_t duration = reader.BigEndian(width);
  if (!reader.Ok()) return std::nullopt;
  const std::uint64_t unknown = width == 4 ? UINT32_MAX : UINT64_MAX;
  if (header.timescale != 0 && duration != 0 && duration != unknown) {
    header.duration = Mp4Duration{duration, header.timescale};
  }
  header.packed_language = reader.Be16();  // mvhd has its rate here, which nobody asks for
  return header;
}

Mp4Track ReadMp4Track(Mp4BoxReader& boxes, const Mp4Box& trak, std::optional<std::uint64_t> input_size) {
  return TrackReader(boxes, input_size).Read(trak);
}

}  // namespace media_server

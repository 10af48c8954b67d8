#include "media-server/container/truncation.h"

#include <algorithm>
#include <array>
#include <cstdint>

#include "media-server/container/asf_properties.h"
#include "media-server/container/byte_reader.h"

namespace media_server {
namespace {

using namespace std::string_view_literals;

bool AsfEndsEarly(IByteSource& source, std::uint64_t input_size) {
  const auto properties = ReadAsfFileProperties(source);
  return properties && properties->file_size_bytes.value_or(0) > input_size;
}

/// Every FLV tag is followed by its own size (FLV specification E.3): the last one must lead back to a tag that ends
/// there.
bool FlvEndsEarly(IByteSource& source, std::uint64_t input_size) {
  constexpr std::uint64_t kFileHead = 9;
  constexpr std::uint32_t kTagHead = 11;
  if (input_size <= kFileHead + 4) return false;
  const std::uint32_t tag_size = ByteReader(ReadBytes(source, input_size - 4, 4)).Be32();
  if (tag_size < kTagHead || tag_size > input_size - kFileHead - 4) return true;
  const auto head = ReadBytes(source, input_size - 4 - tag_size, 4);
  ByteReader reader(head);
  const std::uint8_t type = reader.U8() & 0x1F;
  const std::uint32_t data_size = reader.Be24();
  constexpr std::array kTagTypes = {8, 9, 18};
  return std::ranges::find(kTagTypes, type) == kTagTypes.end() || data_size + kTagHead != tag_size;
}

/// A size at a fixed place of the file's head.
struct StatedSize {
  std::uint64_t offset;
  std::size_t width;
  bool big_endian;
  std::uint64_t not_counted;  // bytes in front of what it counts
};

bool StatesMore(IByteSource& source, std::uint64_t input_size, const StatedSize& place) {
  const auto bytes = ReadBytes(source, place.offset, place.width);
  ByteReader reader(bytes);
  const std::uint64_t stated = place.big_endian ? reader.BigEndian(place.width) : reader.LittleEndian(place.width);
  return reader.Ok() && input_size >= place.not_counted && stated > input_size - place.not_counted;
}

bool AiffEndsEarly(IByteSource& source, std::uint64_t input_size) {
  return StatesMore(source, input_size, {4, 4, true, 8});
}
bool IffEndsEarly(IByteSource& source, std::uint64_t input_size) {
  const bool is_large = AsText(ReadBytes(source, 0, 4)) == "FRM8";
  return is_large ? StatesMore(source, input_size, {4, 8, true, 12}) : AiffEndsEarly(source, input_size);
}
bool DsfEndsEarly(IByteSource& source, std::uint64_t input_size) {
  return StatesMore(source, input_size, {12, 8, false, 0});
}
bool Wave64EndsEarly(IByteSource& source, std::uint64_t input_size) {
  return StatesMore(source, input_size, {16, 8, false, 0});
}

struct Row {
  std::string_view demuxer;
  bool (*ends_early)(IByteSource& source, std::uint64_t input_size);
};
constexpr std::array kRows = {
    Row{"asf", AsfEndsEarly}, Row{"flv", FlvEndsEarly}, Row{"aiff", AiffEndsEarly},
    Row{"iff", IffEndsEarly}, Row{"dsf", DsfEndsEarly}, Row{"w64", Wave64EndsEarly},
};

}  // namespace

std::optional<bool> EndsEarly(IByteSource& source, std::string_view demuxer) {
  const auto input_size = source.Size();
  const auto row = std::ranges::find(kRows, demuxer, &Row::demuxer);
  if (!input_size || row == kRows.end()) return std::nullopt;
  return row->ends_early(source, *input_size);
}

}  // namespace media_server

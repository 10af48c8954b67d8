#include "media-server/container/ape_tag.h"

#include <cstddef>
#include <cstdint>
#include <optional>

#include "media-server/container/byte_reader.h"

namespace media_server {
namespace {

constexpr std::uint64_t kFooter = 32;
constexpr std::uint64_t kId3v1 = 128;
constexpr std::uint32_t kMostBytes = std::uint32_t{1} << 20;

/// The items of the tag that ends at `end`, without its footer.
std::vector<std::uint8_t> ItemsInFrontOf(IByteSource& source, std::uint64_t end) {
  if (end < kFooter) return {};
  const auto footer = ReadBytes(source, end - kFooter, kFooter);
  ByteReader reader(footer);
  const bool is_tag = AsText(reader.Take(8)) == "APETAGEX";
  reader.Skip(4);                            // version
  const std::uint32_t size = reader.Le32();  // of items and footer
  if (!reader.Ok() || !is_tag || size < kFooter || size > kMostBytes || size > end) return {};
  return ReadBytes(source, end - size, static_cast<std::size_t>(size - kFooter));
}

std::string_view TakeTerminated(ByteReader& reader) {
  ByteReader ahead = reader;
  std::size_t length = 0;
  while (ahead.Ok() && ahead.U8() != 0) ++length;
  const std::string_view text = AsText(reader.Take(length));
  reader.Skip(1);
  return text;
}

}  // namespace

std::vector<ApeText> ReadApeTag(IByteSource& source) {
  const std::uint64_t end = source.Size().value_or(0);
  auto items = ItemsInFrontOf(source, end);
  if (items.empty() && end > kId3v1 && AsText(ReadBytes(source, end - kId3v1, 3)) == "TAG") {
    items = ItemsInFrontOf(source, end - kId3v1);
  }
  std::vector<ApeText> texts;
  ByteReader reader(items);
  while (reader.Remaining() > 0) {
    constexpr std::uint32_t kKind = 6;  // of the flags; a text has none of these bits
    const std::uint32_t size = reader.Le32();
    const bool is_text = (reader.Le32() & kKind) == 0;
    const std::string_view key = TakeTerminated(reader);
    const std::string_view value = AsText(reader.Take(size));
    if (!reader.Ok()) break;
    if (is_text) texts.push_back({std::string(key), std::string(value.substr(0, value.find('\0')))});
  }
  return texts;
}

}  // namespace media_server

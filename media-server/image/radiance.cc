#include "media-server/image/radiance.h"

#include <algorithm>
#include <charconv>
#include <string_view>

#include "media-server/container/byte_reader.h"
#include "media-server/image/fourcc.h"
#include "media-server/image/scan_order.h"

namespace media_server::image {
namespace {

/// One half of the resolution line: a signed axis and how many pixels it has.
struct Axis {
  char sign = '\0';
  char name = '\0';
  std::uint32_t length = 0;
};

std::optional<Axis> TakeAxis(std::string_view& text) {
  text.remove_prefix(std::min(text.find_first_not_of(' '), text.size()));
  if (text.size() < 3 || (text[0] != '+' && text[0] != '-') || (text[1] != 'X' && text[1] != 'Y')) return std::nullopt;
  Axis axis{text[0], text[1], 0};
  text.remove_prefix(2);
  text.remove_prefix(std::min(text.find_first_not_of(' '), text.size()));
  const auto [end, error] = std::from_chars(text.data(), text.data() + text.size(), axis.length);
  if (error != std::errc()) return std::nullopt;
  text.remove_prefix(static_cast<std::size_t>(end - text.data()));
  return axis;
}

/// The first axis counts lines, the second one the pixels of each. X grows to the right, Y to the top.
bool ReadResolution(std::string_view line, PictureHeaders& headers) {
  const auto lines = TakeAxis(line);
  const auto pixels = TakeAxis(line);
  if (!lines || !pixels || lines->name == pixels->name) return false;
  const bool columns_first = lines->name == 'X';
  const Axis& x = columns_first ? *lines : *pixels;
  const Axis& y = columns_first ? *pixels : *lines;
  headers.size = PictureSize{pixels->length, lines->length};
  headers.orientation =
      OrientationOf({.columns_first = columns_first, .from_right = x.sign == '-', .from_bottom = y.sign == '+'});
  headers.fourcc = FourCC("HDR ");
  headers.alpha = imagecore::kAlphaNone;
  return true;
}

/// The line behind the empty one; empty when it is not whole.
std::string_view FindResolution(std::string_view text) {
  bool is_behind_header = false;
  while (true) {
    const auto end = text.find('\n');
    if (end == text.npos) return {};
    std::string_view line = text.substr(0, end);
    if (line.ends_with('\r')) line.remove_suffix(1);
    if (is_behind_header) return line;
    is_behind_header = line.empty();
    text.remove_prefix(end + 1);
  }
}

}  // namespace

bool ReadRadiance(IByteSource& source, PictureHeaders& headers) {
  constexpr std::size_t kUsualHeader = 1024;
  constexpr std::size_t kMostHeader = 64 * 1024;
  for (const std::size_t size : {kUsualHeader, kMostHeader}) {
    const auto bytes = ReadBytes(source, 0, size);
    if (const std::string_view line = FindResolution(AsText(bytes)); !line.empty()) {
      return ReadResolution(line, headers);
    }
  }
  return false;
}

}  // namespace media_server::image

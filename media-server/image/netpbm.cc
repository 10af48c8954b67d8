#include "media-server/image/netpbm.h"

#include <algorithm>
#include <array>
#include <charconv>
#include <string_view>

#include "media-server/container/byte_reader.h"
#include "media-server/image/fourcc.h"

namespace media_server::image {
namespace {

constexpr std::string_view kBlanks = " \t\r\n\v\f";

/// The formats by the letter behind their "P".
struct Kind {
  char letter;
  std::uint32_t fourcc;
};
constexpr std::array kKinds = {
    Kind{'1', FourCC("PBM ")}, Kind{'2', FourCC("PGM ")}, Kind{'3', FourCC("PPM ")},
    Kind{'4', FourCC("PBM ")}, Kind{'5', FourCC("PGM ")}, Kind{'6', FourCC("PPM ")},
    Kind{'7', FourCC("PAM ")}, Kind{'F', FourCC("PFM ")}, Kind{'f', FourCC("PFM ")},
};

/// The next word of a header and what follows it; comments run from '#' to the end of their line.
std::string_view TakeWord(std::string_view& text) {
  while (true) {
    text.remove_prefix(std::min(text.find_first_not_of(kBlanks), text.size()));
    if (!text.starts_with('#')) break;
    text.remove_prefix(std::min(text.find_first_of("\r\n"), text.size()));
  }
  const std::string_view word = text.substr(0, text.find_first_of(" \t\r\n\v\f#"));
  text.remove_prefix(word.size());
  return word;
}

std::optional<std::uint32_t> ParseNumber(std::string_view word) {
  std::uint32_t value = 0;
  const auto [end, error] = std::from_chars(word.data(), word.data() + word.size(), value);
  if (error != std::errc() || end != word.data() + word.size()) return std::nullopt;
  return value;
}

/// Width and height as the first two words. The second one must be ended by a blank: a number that is cut is none.
bool ReadPlain(std::string_view text, PictureHeaders& headers) {
  const auto width = ParseNumber(TakeWord(text));
  const auto height = ParseNumber(TakeWord(text));
  if (!width || !height || text.empty()) return false;
  headers.size = PictureSize{*width, *height};
  headers.alpha = imagecore::kAlphaNone;
  return true;
}

/// PAM: lines of a keyword and its value, the last one "ENDHDR".
bool ReadArbitraryMap(std::string_view text, PictureHeaders& headers) {
  std::optional<std::uint32_t> width;
  std::optional<std::uint32_t> height;
  headers.alpha = imagecore::kAlphaNone;
  while (!text.empty()) {
    const std::string_view keyword = TakeWord(text);
    if (keyword == "WIDTH") width = ParseNumber(TakeWord(text));
    if (keyword == "HEIGHT") height = ParseNumber(TakeWord(text));
    if (keyword == "TUPLTYPE" && TakeWord(text).ends_with("_ALPHA")) headers.alpha = imagecore::kAlphaStraight;
    if (keyword != "ENDHDR") continue;
    if (!width || !height) return false;
    headers.size = PictureSize{*width, *height};
    return true;
  }
  return false;
}

}  // namespace

bool ReadNetpbm(IByteSource& source, PictureHeaders& headers) {
  constexpr std::size_t kMostHeader = 64 * 1024;
  constexpr std::size_t kUsualHeader = 512;
  for (const std::size_t size : {kUsualHeader, kMostHeader}) {
    const auto bytes = ReadBytes(source, 0, size);
    std::string_view text = AsText(bytes);
    const auto kind = text.size() < 2 ? kKinds.end() : std::ranges::find(kKinds, text[1], &Kind::letter);
    if (kind == kKinds.end()) return false;
    headers.fourcc = kind->fourcc;
    text.remove_prefix(2);
    if (kind->letter == '7' ? ReadArbitraryMap(text, headers) : ReadPlain(text, headers)) return true;
  }
  return false;
}

}  // namespace media_server::image

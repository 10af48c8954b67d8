#include "service-mediainfo/image/image_url.h"

#include <array>
#include <limits>

namespace service::mediainfo::image {
namespace {

constexpr std::size_t kAbsent = std::u16string_view::npos;

struct Scheme {
  std::u16string_view prefix;
  bool is_sequence;
};

/// In the order in which they are tried.
constexpr std::array<Scheme, 4> kSchemes{{
    {u"file://", false},
    {u"files://", true},
    {u"file:/", false},
    {u"files:/", true},
}};

bool Fits(std::u16string_view url, std::u16string_view prefix) {
  if (!url.starts_with(prefix)) return false;
  const std::u16string_view rest = url.substr(prefix.size());
  return !rest.starts_with(u'/') || rest.starts_with(u"//");
}

bool IsDigit(char16_t unit) { return unit >= u'0' && unit <= u'9'; }

std::uint64_t ReadNumber(std::u16string_view text) {
  constexpr std::uint64_t kMost = std::numeric_limits<std::uint64_t>::max();
  std::uint64_t number = 0;
  for (const char16_t unit : text) {
    if (!IsDigit(unit)) break;
    const std::uint64_t digit = unit - u'0';
    if (number > (kMost - digit) / 10) return kMost;
    number = number * 10 + digit;
  }
  return number;
}

std::uint32_t CountPiece(std::u16string_view piece) {
  const std::size_t dash = piece.rfind(u'-');
  if (dash == kAbsent) return 1;
  const std::uint64_t start = ReadNumber(piece.substr(0, dash));
  const std::uint64_t end = ReadNumber(piece.substr(dash + 1));
  // All 2^64 numbers wrap to 0, which is their count modulo 2^32 as well.
  return start > end ? 0 : static_cast<std::uint32_t>(end - start + 1);
}

}  // namespace

ImageUrl ParseImageUrl(std::u16string_view url) {
  for (const Scheme& scheme : kSchemes) {
    if (Fits(url, scheme.prefix)) return {url.substr(scheme.prefix.size()), scheme.is_sequence};
  }
  return {};
}

std::u16string FirstFramePath(std::u16string_view path) {
  const std::size_t open = path.rfind(u'[');
  const std::size_t close = path.rfind(u']');
  // An absent bracket counts as the largest position.
  if (!(close > open)) return std::u16string(path);
  const std::u16string_view inner = path.substr(open + 1, close - open - 1);
  // One past an absent "]" is the path's first character.
  const std::u16string_view suffix = path.substr(close + 1, path.size() - 1);
  std::u16string frame(path.substr(0, open));
  frame += inner.substr(0, inner.rfind(u'-'));
  frame += suffix;
  return frame;
}

std::uint32_t CountFrames(std::u16string_view path) {
  const std::size_t open = path.rfind(u'[');
  const std::size_t close = path.rfind(u']');
  if (open == kAbsent || close == kAbsent || close < open) return 1;
  std::u16string_view pieces = path.substr(open + 1, close - open - 1);
  std::uint32_t count = 0;
  while (!pieces.empty()) {
    const std::u16string_view piece = pieces.substr(0, pieces.find(u','));
    if (!piece.empty()) count += CountPiece(piece);
    pieces.remove_prefix(piece.size() < pieces.size() ? piece.size() + 1 : piece.size());
  }
  return count;
}

}  // namespace service::mediainfo::image

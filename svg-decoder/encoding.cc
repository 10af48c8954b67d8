#include "svg-decoder/encoding.h"

#include <iconv.h>

#include <algorithm>
#include <array>
#include <cstdint>
#include <cstring>
#include <string>
#include <string_view>

#include "core/loading.h"

namespace svg_decoder {
namespace {

/// The document chooses the name, and what it is given to loads a library for it: only what is expected gets there.
constexpr std::array<std::string_view, 3> kFamilies{"WINDOWS-125", "ISO-8859-", "KOI8-"};

constexpr int kNoCharacter = -1;

constexpr char ToUpper(char letter) {
  return letter >= 'a' && letter <= 'z' ? static_cast<char>(letter - 'a' + 'A') : letter;
}

bool IsKnown(std::string_view upper_name) {
  return std::ranges::any_of(kFamilies, [&](std::string_view family) { return upper_name.starts_with(family); }) &&
         upper_name.find_first_not_of("ABCDEFGHIJKLMNOPQRSTUVWXYZ0123456789-") == std::string_view::npos;
}

int ToCharacter(iconv_t converter, unsigned char byte) {
  char* in = reinterpret_cast<char*>(&byte);
  std::size_t in_left = 1;
  std::uint32_t character = 0;
  char* out = reinterpret_cast<char*>(&character);
  std::size_t out_left = sizeof character;
  const std::size_t result = iconv(converter, &in, &in_left, &out, &out_left);
  return result == static_cast<std::size_t>(-1) || out_left != 0 ? kNoCharacter : static_cast<int>(character);
}

}  // namespace

int DescribeEncoding(void* /*user_data*/, const XML_Char* name, XML_Encoding* encoding) {
  std::string upper_name = name;
  std::ranges::transform(upper_name, upper_name.begin(), ToUpper);
  if (!IsKnown(upper_name)) return XML_STATUS_ERROR;

  CoreTellLoading(upper_name.c_str());
  // The byte order is named, because the plain name puts a mark before the first character.
  const iconv_t converter = iconv_open("UTF-32LE", upper_name.c_str());
  if (converter == reinterpret_cast<iconv_t>(-1)) return XML_STATUS_ERROR;
  for (std::size_t byte = 0; byte < std::size(encoding->map); ++byte) {
    encoding->map[byte] = ToCharacter(converter, static_cast<unsigned char>(byte));
  }
  iconv_close(converter);
  encoding->convert = nullptr;
  encoding->release = nullptr;
  encoding->data = nullptr;
  return XML_STATUS_OK;
}

}  // namespace svg_decoder

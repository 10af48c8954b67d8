#include "svg-decoder/encoding.h"

#include <algorithm>
#include <string>
#include <string_view>

namespace svg_decoder {
namespace {

/// How many bytes a character takes, by its first one.
using Length = int (*)(unsigned char first);

int OneByte(unsigned char /*first*/) { return 1; }
/// The four bytes of GB 18030 are two pairs as well.
int EastAsian(unsigned char first) { return first >= 0x81 && first <= 0xFE ? 2 : 1; }
int ShiftJis(unsigned char first) {
  return (first >= 0x81 && first <= 0x9F) || (first >= 0xE0 && first <= 0xFC) ? 2 : 1;
}
int EucJp(unsigned char first) { return first == 0x8F ? 3 : EastAsian(first); }
int Utf8(unsigned char first) {
  if (first < 0xC2 || first > 0xF4) return 1;
  return first < 0xE0 ? 2 : first < 0xF0 ? 3 : 4;
}

struct Family {
  std::string_view name_start;
  Length length;
};
constexpr Family kFamilies[] = {
    {"ASCII", OneByte},       {"CP125", OneByte},        {"CP437", OneByte},      {"CP85", OneByte},
    {"CP86", OneByte},        {"CP874", OneByte},        {"IBM437", OneByte},     {"IBM85", OneByte},
    {"IBM86", OneByte},       {"ISO-8859-", OneByte},    {"ISO8859-", OneByte},   {"ISO_8859-", OneByte},
    {"KOI8-", OneByte},       {"LATIN", OneByte},        {"MACINTOSH", OneByte},  {"TIS-620", OneByte},
    {"WINDOWS-125", OneByte}, {"WINDOWS-874", OneByte},  {"X-MAC-", OneByte},     {"BIG5", EastAsian},
    {"CP936", EastAsian},     {"CP949", EastAsian},      {"CP950", EastAsian},    {"EUC-CN", EastAsian},
    {"EUC-KR", EastAsian},    {"GB18030", EastAsian},    {"GB2312", EastAsian},   {"GBK", EastAsian},
    {"KS_C_5601", EastAsian}, {"CP932", ShiftJis},       {"SHIFT-JIS", ShiftJis}, {"SHIFT_JIS", ShiftJis},
    {"SJIS", ShiftJis},       {"WINDOWS-31J", ShiftJis}, {"X-SJIS", ShiftJis},    {"EUC-JP", EucJp},
    {"UTF8", Utf8},           {"UTF_8", Utf8},
};

constexpr char ToUpper(char letter) {
  return letter >= 'a' && letter <= 'z' ? static_cast<char>(letter - 'a' + 'A') : letter;
}

/// One of the ideographs, which may stand wherever a letter may. The same for the same bytes.
int LetterFor(std::string_view bytes) {
  constexpr unsigned kFirst = 0x4E00;
  constexpr unsigned kCount = 0x5000;
  unsigned number = 0;
  for (const char byte : bytes) number = number << 8 | static_cast<unsigned char>(byte);
  return static_cast<int>(kFirst + number % kCount);
}

int ConvertLonger(void* family, const char* bytes) {
  const Length length = static_cast<const Family*>(family)->length;
  return LetterFor({bytes, static_cast<std::size_t>(length(static_cast<unsigned char>(*bytes)))});
}

}  // namespace

int DescribeEncoding(void* /*user_data*/, const XML_Char* name, XML_Encoding* encoding) {
  std::string upper_name = name;
  std::ranges::transform(upper_name, upper_name.begin(), ToUpper);
  const auto* family =
      std::ranges::find_if(kFamilies, [&](const Family& row) { return upper_name.starts_with(row.name_start); });
  if (family == std::end(kFamilies)) return XML_STATUS_ERROR;

  for (int byte = 0; byte < 256; ++byte) {
    const char text = static_cast<char>(byte);
    const int length = byte < 0x80 ? 1 : family->length(static_cast<unsigned char>(byte));
    encoding->map[byte] = length > 1 ? -length : byte < 0x80 ? byte : LetterFor({&text, 1});
  }
  encoding->convert = ConvertLonger;
  encoding->release = nullptr;
  encoding->data = const_cast<Family*>(family);  // ConvertLonger does not write there
  return XML_STATUS_OK;
}

}  // namespace svg_decoder

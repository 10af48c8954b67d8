// Texts that come out of files, in both directions: dates, places, stream types and labels as they are read, and what
// the tool writes of any text. The first byte chooses.

#include <cmath>
#include <cstddef>
#include <cstdint>
#include <nlohmann/json.hpp>
#include <optional>
#include <string>
#include <string_view>

#include "fuzz/check.h"
#include "media-server/metadata/iso6709.h"
#include "media-server/metadata/timestamp.h"
#include "media-server/metadata/xmp_property.h"
#include "output/aigc_label.h"
#include "output/date_text.h"
#include "output/display_width.h"
#include "output/json_text.h"
#include "output/terminal_text.h"
#include "platform/text.h"
#include "service-mediainfo/image/image_url.h"
#include "service-mediainfo/media_info/stream_type_lookup.h"
#include "service-mediainfo/metadata/date_text.h"

namespace {

using namespace service::mediainfo;

/// A point in time survives the way through the combined text, as both dates and in either place.
void CheckDate(std::int64_t seconds) {
  const std::optional<std::string> text = media_server::ToLocalDateText(seconds);
  FUZZ_CHECK(mediaprobe::Iso8601Local(seconds).has_value() == text.has_value());
  if (!text) return;
  FUZZ_CHECK(media_server::CombinedDateText(seconds, std::nullopt) == *text + "," + *text);
  const auto one = ReadDates(text->c_str());
  FUZZ_CHECK(one && one->creation == seconds && one->modification == seconds);
  const std::string both = media_server::CombinedDateText(seconds, 0);
  const auto read = ReadDates(both.c_str());
  FUZZ_CHECK(read && read->creation == seconds && read->modification == 0);
}

void CheckTimestamps(const std::string& text) {
  const auto universal = media_server::ParseTimestamp(text);
  const auto local = media_server::ParseLocalTimestamp(text);
  FUZZ_CHECK(!universal || local);
  if (universal) CheckDate(*universal);
  if (local) CheckDate(*local);
}

void CheckCombinedDates(const std::string& text) {
  const auto dates = ReadDates(text.c_str());
  const FileDates anyhow = ReadDatesAsTheyCome(text.c_str());
  if (dates) FUZZ_CHECK(anyhow.creation == dates->creation);
}

void CheckPlace(const std::string& text) {
  const auto place = media_server::ParseIso6709(text);
  if (place) FUZZ_CHECK(std::abs(place->latitude) <= 90 && std::abs(place->longitude) <= 180);
}

void CheckStreamTypes(const std::string& text) {
  for (const std::uint32_t id : {0U, 1U, 2U, 4294967295U}) {
    const auto type = media_info::impl::FindStreamType(text, id);
    if (type) FUZZ_CHECK(text.find("StreamID_Type:") != std::string::npos);
  }
}

void CheckXmpLabel(const std::string& text) {
  const auto label = media_server::ReadXmpProperty(text, media_server::kXmpAigcLabel);
  if (label) FUZZ_CHECK(fuzz::IsTextOf(*label, text.size()));
}

void CheckJsonLabel(const std::string& text) {
  const auto label = mediaprobe::ParseAigcLabel(text);
  if (!label) return;
  FUZZ_CHECK(label->is_object());
  for (const std::string& written : {mediaprobe::CompactJson(*label), mediaprobe::IndentedJson(*label, 2)}) {
    FUZZ_CHECK(fuzz::IsUtf8(written));
    FUZZ_CHECK(nlohmann::ordered_json::accept(written));
  }
}

void CheckTerminal(const std::string& text) {
  const std::string shown = mediaprobe::TerminalText(text);
  FUZZ_CHECK(fuzz::IsUtf8(shown) && shown.size() <= 6 * text.size());
  for (const char c : shown) FUZZ_CHECK(static_cast<unsigned char>(c) >= 0x20 && c != 0x7F);
  FUZZ_CHECK(shown.find("\xC2\x9B") == std::string::npos && shown.find("\u202E") == std::string::npos);

  constexpr std::size_t kColumns = 20;
  const std::string brief = mediaprobe::ShortTerminalText(text, kColumns);
  FUZZ_CHECK(fuzz::IsUtf8(brief) && mediaprobe::DisplayWidth(brief) <= kColumns + 3);
  FUZZ_CHECK(mediaprobe::FittingBytes(shown, kColumns) <= shown.size());
  const char* end = shown.data();
  for (const std::string_view line : mediaprobe::WrappedLines(shown, kColumns)) {
    FUZZ_CHECK(fuzz::IsUtf8(line) && line.data() >= end && line.data() + line.size() <= shown.data() + shown.size());
    FUZZ_CHECK(mediaprobe::DisplayWidth(line) <= kColumns);
    end = line.data() + line.size();
  }
}

void CheckPaths(const std::string& text) {
  const std::u16string wide = platform::PathToUtf16(text);
  FUZZ_CHECK(platform::PathToUtf8(wide) == text);
  FUZZ_CHECK(fuzz::IsUtf8(platform::ToUtf8(wide)) && platform::ToUtf16(platform::ToUtf8(wide)).size() <= wide.size());
  const image::ImageUrl url = image::ParseImageUrl(wide);
  FUZZ_CHECK(url.is_sequence || url.path.empty());
  FUZZ_CHECK(image::FirstFramePath(wide).size() <= 2 * wide.size());
  image::CountFrames(wide);
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  constexpr void (*kChecks[])(const std::string&) = {CheckTimestamps,  CheckCombinedDates, CheckPlace,
                                                     CheckStreamTypes, CheckXmpLabel,      CheckJsonLabel,
                                                     CheckTerminal,    CheckPaths};
  if (size == 0) return 0;
  kChecks[data[0] % std::size(kChecks)]({reinterpret_cast<const char*>(data) + 1, size - 1});
  return 0;
}

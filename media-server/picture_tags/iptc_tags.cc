#include "media-server/picture_tags/iptc_tags.h"

#include <cstdint>
#include <exiv2/iptc.hpp>
#include <string>

#include "media-server/metadata/timestamp.h"

namespace media_server::picture_tags {
namespace {

struct Moment {
  std::uint16_t date;
  std::uint16_t time;
};

// As with Exif, the time of digitizing stands in where that of taking is missing.
constexpr Moment kMoments[] = {
    {Exiv2::IptcDataSets::DateCreated, Exiv2::IptcDataSets::TimeCreated},
    {Exiv2::IptcDataSets::DigitizationDate, Exiv2::IptcDataSets::DigitizationTime},
};

}  // namespace

void ReadIptcTags(std::span<const std::uint8_t> data_sets, image::PictureTags& tags) {
  if (tags.created || data_sets.empty()) return;
  Exiv2::IptcData data;
  Exiv2::IptcParser::decode(data, data_sets.data(), static_cast<std::uint32_t>(data_sets.size()));
  const auto text_of = [&](std::uint16_t data_set) {
    const auto found = data.findId(data_set, Exiv2::IptcDataSets::application2);
    return found != data.end() ? found->toString() : std::string();
  };
  // "2011-07-30" and "15:41:25+02:00", as Exiv2 writes them out of "20110730" and "154125+0200".
  for (const Moment& moment : kMoments) {
    tags.created = ParseLocalTimestamp(text_of(moment.date) + " " + text_of(moment.time));
    if (tags.created) return;
  }
}

}  // namespace media_server::picture_tags

#include "output/record_facts.h"

#include <algorithm>
#include <cmath>
#include <cstdint>
#include <optional>
#include <utility>

#include "mediainfo/metedata_keys.h"
#include "output/aigc_label.h"
#include "output/date_text.h"
#include "output/quantity_text.h"
#include "output/terminal_text.h"
#include "probe/metadata_reader.h"

namespace mediaprobe {
namespace {

namespace keys = service::mediainfo::metedata_keys;

constexpr std::size_t kMostCharacters = 240;  // of a tag: a few lines of a terminal
constexpr int kPlaceDecimals = 6;             // a tenth of a metre

struct TagLabel {
  std::string_view key;
  std::string_view label;
};

/// The tags that a summary shows. The actor is told as the artist.
constexpr TagLabel kTags[] = {
    {keys::kTitle, "title"},         {keys::kArtist, "artist"},
    {keys::kAlbum, "album"},         {keys::kTrackNumber, "track"},
    {keys::kGenre, "genre"},         {keys::kPublisher, "publisher"},
    {keys::kShow, "show"},           {keys::kReleaseDate, "released"},
    {keys::kDirector, "director"},   {keys::kProducer, "producer"},
    {keys::kScreenwriter, "writer"}, {keys::kTvnetwork, "network"},
    {keys::kTagline, "tagline"},     {keys::kDescription, "description"},
    {keys::kComment, "comment"},
};

std::string Shown(std::string_view tag) { return ShortTerminalText(tag, kMostCharacters); }

std::string LocalDate(std::int64_t seconds) {
  std::string text = Iso8601Local(seconds).value_or("");
  if (text.empty()) return text;
  text[text.find('T')] = ' ';
  text.insert(text.find_last_of("+-"), 1, ' ');
  return text;
}

std::string Place(const Location& location) {
  return DecimalText(std::abs(location.latitude), kPlaceDecimals) + (location.latitude < 0 ? " S, " : " N, ") +
         DecimalText(std::abs(location.longitude), kPlaceDecimals) + (location.longitude < 0 ? " W" : " E");
}

std::string FirstWord(std::string_view text) {
  std::string word(text.substr(0, text.find(' ')));
  std::transform(word.begin(), word.end(), word.begin(),
                 [](char c) { return c >= 'A' && c <= 'Z' ? static_cast<char>(c - 'A' + 'a') : c; });
  return word;
}

/// The maker is not repeated where the model starts with it, or with the name that it goes by: "NIKON CORPORATION",
/// "NIKON D300".
std::string Camera(const Metadata& metadata, const char* maker_key, const char* model_key) {
  const std::string maker = MetadataText(metadata, maker_key).value_or("");
  const std::string model = MetadataText(metadata, model_key).value_or("");
  if (model.empty()) return Shown(maker);
  if (model.starts_with(maker) || FirstWord(model) == FirstWord(maker)) return Shown(model);
  return Shown(maker + " " + model);
}

std::string CameraOf(const MediaRecord& media) { return Camera(media.metadata, keys::kMaker, keys::kModel); }

std::string CameraOf(const ImageRecord& image) {
  std::string text = Camera(image.metadata, keys::kImageCameraMaker, keys::kImageCameraModel);
  const std::string exposure = ExposureText(MetadataNumber(image.metadata, keys::kImageExposureTime).value_or(0));
  if (!text.empty() && !exposure.empty()) text += ", ";
  return text += exposure;
}

std::string CameraOf(const SvgRecord&) { return {}; }

/// "flipped horizontal, rotated 90": what shows the picture upright, in this order.
std::string Orientation(const ImageRecord& image) {
  std::string text;
  if (image.flip.value_or("none") != "none") text = "flipped " + std::string(*image.flip);
  if (image.rotation_degrees.value_or(0) == 0) return text;
  if (!text.empty()) text += ", ";
  return text += "rotated " + std::to_string(*image.rotation_degrees);
}

/// "Label 1, ContentProducer Studio": what is not empty in the label, also where it is wrapped in an object "AIGC".
std::string AigcSummary(const std::string& text) {
  auto label = ParseAigcLabel(text);
  if (!label) return Shown(text);
  if (const auto inner = label->find("AIGC"); inner != label->end() && inner->is_object()) {
    label = nlohmann::ordered_json(*inner);
  }
  std::string summary;
  for (const auto& [key, value] : label->items()) {
    const std::string shown = value.is_string() ? value.get<std::string>() : value.dump();
    if (shown.empty()) continue;
    if (!summary.empty()) summary += ", ";
    summary.append(key).append(" ").append(shown);
  }
  return Shown(summary);
}

struct ValueWriter {
  std::string operator()(std::int64_t value) const { return std::to_string(value); }
  std::string operator()(double value) const { return DecimalText(value, kPlaceDecimals); }
  std::string operator()(const std::string& value) const { return TerminalText(value); }
  std::string operator()(const core::Rational& value) const {
    return std::to_string(value.numerator) + "/" + std::to_string(value.denominator);
  }
};

std::string ValueText(const MetadataValue& value) { return std::visit(ValueWriter{}, value); }

}  // namespace

std::vector<Fact> FactsOf(const Record& record) {
  std::vector<Fact> facts;
  const auto add = [&facts](std::string_view label, std::string value) {
    if (!value.empty()) facts.push_back({std::string(label), std::move(value)});
  };
  if (const auto* media = std::get_if<MediaRecord>(&record.answer)) {
    for (const TagLabel& tag : kTags) add(tag.label, Shown(MetadataText(media->metadata, tag.key).value_or("")));
  }
  if (const auto* image = std::get_if<ImageRecord>(&record.answer)) add("orientation", Orientation(*image));
  if (record.created_s) add("created", LocalDate(*record.created_s));
  if (record.modified_s && record.modified_s != record.created_s) add("modified", LocalDate(*record.modified_s));
  if (record.location) add("place", Place(*record.location));
  add("camera", std::visit([](const auto& answer) { return CameraOf(answer); }, record.answer));
  if (record.aigc) add("AI label", AigcSummary(*record.aigc));
  add("UUID", record.uuid.value_or(""));
  if (record.truncated) add("note", "long texts were cut");
  return facts;
}

std::vector<FactGroup> MetadataOf(const Record& record) {
  std::vector<FactGroup> groups;
  const auto add = [&groups](std::string heading, const Metadata& metadata) {
    if (metadata.empty()) return;
    FactGroup& group = groups.emplace_back(FactGroup{std::move(heading), {}});
    for (const MetadataEntry& entry : metadata) group.facts.push_back({std::string(entry.key), ValueText(entry.value)});
  };
  if (const auto* media = std::get_if<MediaRecord>(&record.answer)) {
    add("metadata", media->metadata);
    for (const ProgramRecord& program : media->programs) {
      for (const VideoRecord& video : program.video) add("video " + std::to_string(video.index), video.metadata);
    }
  }
  if (const auto* image = std::get_if<ImageRecord>(&record.answer)) add("metadata", image->metadata);
  return groups;
}

}  // namespace mediaprobe

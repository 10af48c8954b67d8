#include "output/record_json.h"

#include <string_view>

#include "mediainfo/result.h"
#include "output/aigc_label.h"
#include "output/date_text.h"

namespace mediaprobe {
namespace {

using Json = nlohmann::ordered_json;
using service::mediainfo::kTicksPerSecond;

Json Value(const core::Rational& value) { return {{"num", value.numerator}, {"den", value.denominator}}; }

template <typename T>
Json Value(const T& value) {
  return value;
}

template <typename... Alternatives>
Json Value(const std::variant<Alternatives...>& value) {
  return std::visit([](const auto& held) { return Value(held); }, value);
}

template <typename T>
void Add(Json& object, const char* key, const std::optional<T>& value) {
  if (value) object[key] = Value(*value);
}

void AddSeconds(Json& object, const char* key, std::optional<std::uint64_t> ticks) {
  if (!ticks) return;
  // A whole number stays one, so that a long duration keeps every digit.
  if (*ticks % kTicksPerSecond == 0) {
    object[key] = *ticks / kTicksPerSecond;
  } else {
    object[key] = static_cast<double>(*ticks) / static_cast<double>(kTicksPerSecond);
  }
}

Json ToJson(const Metadata& metadata) {
  Json object = Json::object();
  for (const MetadataEntry& entry : metadata) object[std::string(entry.key)] = Value(entry.value);
  return object;
}

void AddCodedStreamHead(Json& object, const CodedStreamRecord& stream) {
  object["index"] = stream.index;
  object["id"] = stream.id;
  Add(object, "codec", stream.codec);
  Add(object, "codec_long", stream.codec_long);
  Add(object, "fourcc", stream.fourcc);
  Add(object, "profile", stream.profile);
}

void AddCodedStreamRest(Json& object, const CodedStreamRecord& stream) {
  Add(object, "language", stream.language);
  AddSeconds(object, "duration", stream.duration_100ns);
  Add(object, "bit_rate", stream.bit_rate_bps);
  object["disposition"] = stream.disposition;
}

Json ToJson(const VideoRecord& video) {
  Json object;
  AddCodedStreamHead(object, video);
  Add(object, "level", video.level);
  AddCodedStreamRest(object, video);
  Add(object, "width", video.width);
  Add(object, "height", video.height);
  Add(object, "display_width", video.display_width);
  Add(object, "display_height", video.display_height);
  Add(object, "frame_rate", video.frame_rate);
  Add(object, "frame_count", video.frame_count);
  object["rotation"] = video.rotation_degrees;
  object["flip"] = video.flip;
  Add(object, "field_order", video.field_order);
  Add(object, "chroma", video.chroma);
  Add(object, "bit_depth", video.bit_depth);
  Add(object, "color_primaries", video.color_primaries);
  Add(object, "color_range", video.color_range);
  object["flags"] = video.flags;
  object["metadata"] = ToJson(video.metadata);
  return object;
}

Json ToJson(const AudioRecord& audio) {
  Json object;
  AddCodedStreamHead(object, audio);
  AddCodedStreamRest(object, audio);
  Add(object, "sample_rate", audio.sample_rate_hz);
  Add(object, "channels", audio.channels);
  Add(object, "bits_per_sample", audio.bits_per_sample);
  object["flags"] = audio.flags;
  return object;
}

Json ToJson(const SubpictureRecord& subpicture) {
  Json object;
  object["index"] = subpicture.index;
  object["id"] = subpicture.id;
  Add(object, "codec", subpicture.codec);
  Add(object, "language", subpicture.language);
  object["disposition"] = subpicture.disposition;
  return object;
}

template <typename Item>
Json ArrayOf(const std::vector<Item>& items, Json (*to_json)(const Item&)) {
  Json array = Json::array();
  for (const Item& item : items) array.push_back(to_json(item));
  return array;
}

Json ToJson(const ProgramRecord& program) {
  Json object;
  object["id"] = program.id;
  AddSeconds(object, "duration", program.duration_100ns);
  Add(object, "bit_rate", program.bit_rate_bps);
  object["video"] = ArrayOf(program.video, ToJson);
  object["audio"] = ArrayOf(program.audio, ToJson);
  object["subpicture"] = ArrayOf(program.subpicture, ToJson);
  return object;
}

void AddAnswer(Json& object, const MediaRecord& media) {
  object["format"] = media.format;
  object["format_long"] = media.format_long;
  object["fourcc"] = media.fourcc;
  Add(object, "size", media.size_bytes);
  AddSeconds(object, "duration", media.duration_100ns);
  Add(object, "bit_rate", media.bit_rate_bps);
  object["programs"] = ArrayOf(media.programs, ToJson);
  object["metadata"] = ToJson(media.metadata);
}

void AddAnswer(Json& object, const ImageRecord& image) {
  Add(object, "width", image.width);
  Add(object, "height", image.height);
  AddSeconds(object, "duration", image.duration_100ns);
  Add(object, "frame_count", image.frame_count);
  Add(object, "rotation", image.rotation_degrees);
  Add(object, "flip", image.flip);
  object["metadata"] = ToJson(image.metadata);
}

void AddAnswer(Json& object, const SvgRecord& svg) {
  Add(object, "width", svg.width);
  Add(object, "height", svg.height);
  Add(object, "view_width", svg.view_width);
  Add(object, "view_height", svg.view_height);
}

std::string_view ServiceName(const MediaRecord&) { return "media"; }
std::string_view ServiceName(const ImageRecord&) { return "image"; }
std::string_view ServiceName(const SvgRecord&) { return "svg"; }

void AddDate(Json& object, const char* key, std::optional<std::int64_t> seconds) {
  if (seconds) Add(object, key, Iso8601Local(*seconds));
}

void AddLocation(Json& object, const std::optional<Location>& location) {
  if (location) object["location"] = {{"latitude", location->latitude}, {"longitude", location->longitude}};
}

void AddAigc(Json& object, const std::optional<std::string>& label) {
  if (!label) return;
  const std::optional<Json> parsed = ParseAigcLabel(*label);
  object["aigc"] = parsed ? *parsed : Json(*label);
}

}  // namespace

Json ToJson(const Record& record) {
  Json object;
  object["input"] = record.input;
  object["service"] = std::visit([](const auto& answer) { return ServiceName(answer); }, record.answer);
  object["status"] = record.error ? "error" : "ok";
  Add(object, "error", record.error);
  Add(object, "uuid", record.uuid);
  AddDate(object, "created", record.created_s);
  AddDate(object, "modified", record.modified_s);
  AddLocation(object, record.location);
  AddAigc(object, record.aigc);
  if (record.truncated) object["truncated"] = true;
  std::visit([&object](const auto& answer) { AddAnswer(object, answer); }, record.answer);
  return object;
}

}  // namespace mediaprobe

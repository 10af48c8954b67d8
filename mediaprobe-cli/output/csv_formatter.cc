#include "output/csv_formatter.h"

#include <nlohmann/json.hpp>
#include <string>
#include <utility>
#include <vector>

#include "mediainfo/metedata_keys.h"
#include "output/json_text.h"
#include "output/record_json.h"
#include "output/terminal_text.h"
#include "platform/text.h"

namespace mediaprobe {
namespace {

namespace keys = service::mediainfo::metedata_keys;

using Json = nlohmann::ordered_json;

/// Where a column's cell is found.
enum class Part {
  kRecord,    ///< the record itself
  kLocation,  ///< its "location"
  kMetadata,  ///< its "metadata", under the key of whichever service answered
  kRow,       ///< what the row is about: a stream, or the record of an image
};

struct Column {
  const char* name;
  Part part;
  const char* key;
  const char* image_key = nullptr;  ///< of kMetadata, where an image has another
};

constexpr Column kColumns[] = {
    {"input", Part::kRecord, "input"},
    {"service", Part::kRecord, "service"},
    {"status", Part::kRecord, "status"},
    {"error", Part::kRecord, "error"},
    {"uuid", Part::kRecord, "uuid"},
    {"created", Part::kRecord, "created"},
    {"modified", Part::kRecord, "modified"},
    {"latitude", Part::kLocation, "latitude"},
    {"longitude", Part::kLocation, "longitude"},
    {"maker", Part::kMetadata, keys::kMaker, keys::kImageCameraMaker},
    {"model", Part::kMetadata, keys::kModel, keys::kImageCameraModel},
    {"title", Part::kMetadata, keys::kTitle},
    {"artist", Part::kMetadata, keys::kArtist},
    {"format", Part::kRecord, "format"},
    {"size", Part::kRecord, "size"},
    {"duration", Part::kRecord, "duration"},
    {"bit_rate", Part::kRecord, "bit_rate"},
    {"program", Part::kRow, "program"},
    {"kind", Part::kRow, "kind"},
    {"index", Part::kRow, "index"},
    {"id", Part::kRow, "id"},
    {"codec", Part::kRow, "codec"},
    {"profile", Part::kRow, "profile"},
    {"level", Part::kRow, "level"},
    {"language", Part::kRow, "language"},
    {"stream_duration", Part::kRow, "stream_duration"},
    {"stream_bit_rate", Part::kRow, "stream_bit_rate"},
    {"disposition", Part::kRow, "disposition"},
    {"width", Part::kRow, "width"},
    {"height", Part::kRow, "height"},
    {"display_width", Part::kRow, "display_width"},
    {"display_height", Part::kRow, "display_height"},
    {"frame_rate", Part::kRow, "frame_rate"},
    {"frame_count", Part::kRow, "frame_count"},
    {"rotation", Part::kRow, "rotation"},
    {"flip", Part::kRow, "flip"},
    {"field_order", Part::kRow, "field_order"},
    {"chroma", Part::kRow, "chroma"},
    {"bit_depth", Part::kRow, "bit_depth"},
    {"color_primaries", Part::kRow, "color_primaries"},
    {"color_range", Part::kRow, "color_range"},
    {"sample_rate", Part::kRow, "sample_rate"},
    {"channels", Part::kRow, "channels"},
    {"bits_per_sample", Part::kRow, "bits_per_sample"},
    {"flags", Part::kRow, "flags"},
};

std::string Quoted(const std::string& cell) {
  if (cell.find_first_of(",\"\r\n") == std::string::npos) return cell;
  std::string quoted = "\"";
  for (const char c : cell) {
    if (c == '"') quoted += '"';
    quoted += c;
  }
  return quoted + '"';
}

std::string CellOf(const Json& value) {
  if (value.is_string()) return platform::ToValidUtf8(value.get_ref<const std::string&>());
  if (value.is_array()) {
    std::string list;
    for (const Json& item : value) list += (list.empty() ? "" : " ") + CellOf(item);
    return list;
  }
  if (value.is_object()) return CellOf(value.at("num")) + "/" + CellOf(value.at("den"));
  return CompactJson(value);
}

/// The member `key`, or null.
const Json* Find(const Json& object, const char* key) {
  if (!key || !object.is_object()) return nullptr;
  const auto member = object.find(key);
  return member == object.end() ? nullptr : &*member;
}

const Json* FindIn(const Json* object, const char* key) { return object ? Find(*object, key) : nullptr; }

const Json* Find(const Column& column, const Json& record, const Json& row) {
  switch (column.part) {
    case Part::kRecord:
      return Find(record, column.key);
    case Part::kLocation:
      return FindIn(Find(record, "location"), column.key);
    case Part::kMetadata: {
      const Json* metadata = Find(record, "metadata");
      const Json* value = FindIn(metadata, column.key);
      return value ? value : FindIn(metadata, column.image_key);
    }
    case Part::kRow:
      break;
  }
  return Find(row, column.key);
}

std::string RowText(const Json& record, const Json& row, bool is_for_terminal) {
  std::string text;
  for (const Column& column : kColumns) {
    if (&column != kColumns) text += ',';
    const Json* value = Find(column, record, row);
    if (!value) continue;
    const std::string cell = CellOf(*value);
    text += Quoted(is_for_terminal ? TerminalText(cell) : cell);
  }
  return text + '\n';
}

/// What a stream has in common with its file by name goes under names of its own.
void Rename(Json& row, const char* from, const char* to) {
  if (const Json* value = Find(row, from)) row[to] = *value;
}

std::vector<Json> StreamRows(const Json& programs) {
  std::vector<Json> rows;
  for (const Json& program : programs) {
    for (const char* kind : {"video", "audio", "subpicture"}) {
      for (Json row : program.at(kind)) {
        row["program"] = program.at("id");
        row["kind"] = kind;
        Rename(row, "duration", "stream_duration");
        Rename(row, "bit_rate", "stream_bit_rate");
        rows.push_back(std::move(row));
      }
    }
  }
  return rows;
}

}  // namespace

OutputFrame CsvFormatter::Frame() const {
  std::string header;
  for (const Column& column : kColumns) header += (header.empty() ? "" : ",") + std::string(column.name);
  return {header + '\n', {}, {}};
}

std::string CsvFormatter::Format(const Record& record) const {
  Json whole = ToJson(record);
  const Json* programs = Find(whole, "programs");
  if (!programs) {
    if (!record.error) whole["kind"] = whole.at("service");
    return RowText(whole, whole, is_for_terminal_);
  }
  std::string text;
  for (const Json& row : StreamRows(*programs)) text += RowText(whole, row, is_for_terminal_);
  return text.empty() ? RowText(whole, Json::object(), is_for_terminal_) : text;
}

}  // namespace mediaprobe

#include "service-mediainfo/metadata/metadata_store.h"

#include <array>
#include <cstdlib>
#include <new>
#include <optional>
#include <string_view>

#include "mediainfo/metedata_keys.h"
#include "service-mediainfo/metadata/date_text.h"

namespace service::mediainfo {
namespace {

namespace keys = metedata_keys;

/// A key that is answered from the combined date text under another key, whatever is stored under its own.
struct DateKey {
  std::string_view key;
  const char* text_key;
  std::int64_t FileDates::*part;
};

constexpr std::array<DateKey, 4> kDateKeys{{
    {keys::kCreateDate, keys::kDate, &FileDates::creation},
    {keys::kModifyDate, keys::kDate, &FileDates::modification},
    {keys::kImageCreateDate, keys::kImageDate, &FileDates::creation},
    {keys::kImageModifyDate, keys::kImageDate, &FileDates::modification},
}};

bool IsEmpty(const char* key) { return key == nullptr || *key == '\0'; }

const DateKey* FindDateKey(std::string_view key) {
  for (const DateKey& row : kDateKeys) {
    if (row.key == key) return &row;
  }
  return nullptr;
}

bool ReadDate(const core::ValAny& stored, std::int64_t FileDates::*part, core::ValAny* out) {
  const char* text = stored.AsBuffer();
  if (text == nullptr) return false;
  const std::optional<FileDates> dates = ReadDates(text);
  if (!dates) return false;
  *out = core::ValAny::FromInt64((*dates).*part);
  return true;
}

}  // namespace

MetadataInfoMPL::~MetadataInfoMPL() {
  for (void* buffer : buffers_) std::free(buffer);
}

const core::ValAny* MetadataInfoMPL::Find(const char* key) const {
  const auto found = entries_.find(key);
  return found == entries_.end() ? nullptr : &found->second;
}

bool MetadataInfoMPL::GetValue(const char* key, core::ValAny* out) {
  if (IsEmpty(key) || out == nullptr) return false;
  const DateKey* date_key = FindDateKey(key);
  const core::ValAny* stored = Find(date_key ? date_key->text_key : key);
  if (stored == nullptr) return false;
  if (date_key) return ReadDate(*stored, date_key->part, out);
  try {
    *out = *stored;
  } catch (const std::bad_alloc&) {
    return false;
  }
  return true;
}

bool MetadataInfoMPL::SetValue(const char* key, const core::ValAny* value) {
  if (IsEmpty(key) || value == nullptr) return false;
  try {
    // Everything that can fail comes first; a store that refuses a value is as it was and owns nothing of it.
    Entries fresh;
    fresh.emplace(key, *value);
    if (value->type() == core::ValType::kBuffer) buffers_.insert(value->AsBuffer<void>());
    if (const auto old = entries_.find(key); old != entries_.end()) entries_.erase(old);
    entries_.merge(fresh);
  } catch (const std::bad_alloc&) {
    return false;
  }
  return true;
}

}  // namespace service::mediainfo

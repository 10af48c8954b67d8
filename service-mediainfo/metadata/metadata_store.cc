#include "service-mediainfo/metadata/metadata_store.h"

#include <algorithm>
#include <array>
#include <cstdlib>
#include <cstring>
#include <functional>
#include <limits>
#include <new>
#include <optional>
#include <string_view>
#include <utility>

#include "core/error_text.h"
#include "framework/runtime/host_exception.h"
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

/// Room for all values of a file or a stream. From 1,024 bytes on glibc tidies up its free memory before it answers,
/// which would cost more than filling the store: a file's opening leaves much behind.
constexpr std::size_t kUsualEntries = 31;
/// The one that comes and the one that it replaces.
constexpr std::size_t kBuffersKeptAtOnce = 2;
constexpr std::size_t kMaxKeyBytes = std::numeric_limits<std::uint32_t>::max();

/// The last four bytes, or the whole of a shorter key. Keys begin alike, and few end alike.
std::uint32_t EndOf(std::string_view key) {
  std::uint32_t end = 0;
  if (key.size() < sizeof(end)) {
    std::memcpy(&end, key.data(), key.size());
  } else {
    std::memcpy(&end, key.data() + key.size() - sizeof(end), sizeof(end));
  }
  return end;
}

/// One of 64 bits, by the end of the key alone, multiplied to spread letters over the upper bits.
std::uint64_t BitOf(std::uint32_t key_end) { return std::uint64_t{1} << (key_end * 0x9E3779B1U >> 26); }

/// Null for other values. Throws nothing, as a destructor must not.
void* BufferIn(const core::ValAny& value) {
  if (value.type() != core::ValType::kBuffer) return nullptr;
  try {
    return value.AsBuffer<void>();
  } catch (const core::AnyBadAccess&) {
    return nullptr;
  }
}

bool IsEmpty(const char* key) { return key == nullptr || *key == '\0'; }

const DateKey* FindDateKey(std::string_view key) {
  for (const DateKey& row : kDateKeys) {
    if (row.key == key) return &row;
  }
  return nullptr;
}

bool ReadDate(const core::ValAny& stored, std::int64_t FileDates::*part, core::ValAny* out) {
  if (stored.type() != core::ValType::kBuffer) runtime::ThrowForHost(core::AnyBadAccess());
  const char* text = stored.AsBuffer();
  if (text == nullptr) return false;
  const std::optional<FileDates> dates = ReadDates(text);
  if (!dates) return false;
  *out = core::ValAny::FromInt64((*dates).*part);
  return true;
}

}  // namespace

MetadataInfoMPL::~MetadataInfoMPL() {
  std::ranges::sort(kept_buffers_, std::less<>());
  for (const Entry& entry : entries_) {
    void* const buffer = BufferIn(entry.value);
    if (!std::ranges::binary_search(kept_buffers_, buffer, std::less<>())) std::free(buffer);
  }
  std::for_each(kept_buffers_.begin(), std::unique(kept_buffers_.begin(), kept_buffers_.end()), std::free);
}

MetadataInfoMPL::Entry* MetadataInfoMPL::Find(std::string_view key) {
  const std::uint32_t end = EndOf(key);
  if ((key_bits_ & BitOf(end)) == 0) return nullptr;
  for (Entry& entry : entries_) {
    if (entry.key_end == end && entry.Key() == key) return &entry;
  }
  return nullptr;
}

bool MetadataInfoMPL::GetValue(const char* key, core::ValAny* out) {
  if (IsEmpty(key) || out == nullptr) return false;
  const DateKey* date_key = FindDateKey(key);
  const Entry* stored = Find(date_key ? date_key->text_key : key);
  if (stored == nullptr) return false;
  if (date_key) return ReadDate(stored->value, date_key->part, out);
  try {
    *out = stored->value;
  } catch (const std::bad_alloc&) {
    CoreSetErrorText("out of memory");
    return false;
  }
  return true;
}

bool MetadataInfoMPL::SetValue(const char* key, const core::ValAny* value) {
  if (IsEmpty(key) || value == nullptr) return false;
  try {
    core::ValAny copy(*value);
    const std::string_view text(key);
    Entry* const old = Find(text);
    Store(old, old ? text : copied_keys_.emplace_front(text), std::move(copy), /*may_repeat=*/true);
  } catch (const std::bad_alloc&) {
    CoreSetErrorText("out of memory");
    return false;
  }
  return true;
}

bool MetadataInfoMPL::Put(std::string_view key, core::ValAny value) {
  try {
    Store(Find(key), key, std::move(value), /*may_repeat=*/false);
  } catch (const std::bad_alloc&) {
    CoreSetErrorText("out of memory");
    return false;
  }
  return true;
}

bool MetadataInfoMPL::Put(std::string_view key, CBuffer buffer) {
  if (!Put(key, core::ValAny::FromBuffer(buffer.get()))) return false;
  static_cast<void>(buffer.release());
  return true;
}

bool MetadataInfoMPL::HoldsText(std::string_view key, std::string_view text) {
  const Entry* stored = Find(key);
  if (stored == nullptr || stored->value.type() != core::ValType::kBuffer) return false;
  const char* held = stored->value.AsBuffer();
  return held != nullptr && text == held;
}

void MetadataInfoMPL::Store(Entry* old, std::string_view key, core::ValAny&& value, bool may_repeat) {
  // Everything that can fail comes first.
  if (key.size() > kMaxKeyBytes) throw std::bad_alloc();
  if (!old && entries_.size() == entries_.capacity()) entries_.reserve(std::max(kUsualEntries, 2 * entries_.size()));
  if ((old || may_repeat) && kept_buffers_.capacity() - kept_buffers_.size() < kBuffersKeptAtOnce) {
    kept_buffers_.reserve(std::max(kUsualEntries, 2 * kept_buffers_.size()));
  }
  if (may_repeat) Keep(value);
  if (old) {
    Keep(old->value);
    old->value = std::move(value);
  } else {
    entries_.push_back({EndOf(key), static_cast<std::uint32_t>(key.size()), key.data(), std::move(value)});
    key_bits_ |= BitOf(EndOf(key));
  }
}

void MetadataInfoMPL::Keep(const core::ValAny& value) {
  if (value.type() == core::ValType::kBuffer) kept_buffers_.push_back(value.AsBuffer<void>());
}

}  // namespace service::mediainfo

#include "service-mediainfo/media_uuid/media_uuid_session.h"

#include <algorithm>
#include <cstring>
#include <new>
#include <string_view>

#include "core/error_text.h"
#include "media_server/imedia_server.h"
#include "service-mediainfo/media_uuid/media_path.h"

namespace service::mediainfo::media_uuid::impl {
namespace {

constexpr char kSequenceScheme[] = "files://";
constexpr std::size_t kSequenceSchemeLength = sizeof(kSequenceScheme) - 1;

constexpr std::size_t kDigits = 32;
constexpr std::array<std::size_t, 5> kGroups{8, 4, 4, 4, 12};

/// What is handed to GetMD5Uuid for a sequence; null when `url` is none. The scheme may stand anywhere in it, and it is
/// the first characters that are dropped all the same.
const char* PatternOfUrl(const char* url) {
  return std::strstr(url, kSequenceScheme) == nullptr ? nullptr : url + kSequenceSchemeLength;
}

/// The digits in groups set apart by hyphens. Of a text that is too short, what there is.
std::string Group(std::string_view text) {
  std::string_view digits = text.substr(0, kDigits);
  std::string grouped;
  for (const std::size_t size : kGroups) {
    if (!grouped.empty()) grouped += '-';
    grouped += digits.substr(0, size);
    digits.remove_prefix(std::min(size, digits.size()));
  }
  return grouped;
}

}  // namespace

bool MediaUuidSession::GetUuid(const char* url, core::Uuid* out) {
  if (url == nullptr || out == nullptr) return false;
  CoreSetErrorText(nullptr);
  try {
    const std::string path = FindRegularFile(url);
    const char* name = path.empty() ? PatternOfUrl(url) : path.c_str();
    if (name == nullptr) {
      CoreSetErrorText("not a regular file");
      return false;
    }
    UuidText text{};
    if (!GetMD5Uuid(name, text.data()) || text.front() == '\0') return false;
    out->FromString(Group({text.data(), strnlen(text.data(), text.size())}).c_str());
    return true;
  } catch (const std::bad_alloc&) {
    CoreSetErrorText("out of memory");
    return false;
  }
}

const char* MediaUuidSession::GetUuidText(const char* url) {
  if (url == nullptr) return nullptr;
  CoreSetErrorText(nullptr);
  try {
    if (const std::string path = FindRegularFile(url); !path.empty()) return GetFileText(path);
  } catch (const std::bad_alloc&) {
    CoreSetErrorText("out of memory");
    return nullptr;
  }
  if (const char* pattern = PatternOfUrl(url)) return GetSequenceText(pattern);
  CoreSetErrorText("not a regular file");
  return nullptr;
}

const char* MediaUuidSession::GetFileText(const std::string& path) {
  if (const char* known = service_.cache().Find(path)) return known;
  // Not under the cache's lock: a long digest must not keep others waiting for texts that are known.
  UuidText text{};
  if (!GetMD5Uuid(path.c_str(), text.data())) return nullptr;
  return service_.cache().Put(path, {text.data(), strnlen(text.data(), text.size())});
}

const char* MediaUuidSession::GetSequenceText(const char* pattern) {
  sequence_text_ = {};
  return GetMD5Uuid(pattern, sequence_text_.data()) ? sequence_text_.data() : "";
}

}  // namespace service::mediainfo::media_uuid::impl

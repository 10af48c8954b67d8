#include "service-mediainfo/media_uuid/uuid_cache.h"

namespace service::mediainfo::media_uuid::impl {

const char* UuidCache::Find(std::string_view path) const {
  const std::lock_guard lock(mutex_);
  const auto found = entries_.find(path);
  return found == entries_.end() ? nullptr : found->second->c_str();
}

const char* UuidCache::Put(std::string_view path, std::string_view text) {
  const std::lock_guard lock(mutex_);
  const std::string& kept = *texts_.emplace(text).first;
  entries_.insert_or_assign(std::string(path), &kept);
  return kept.c_str();
}

}  // namespace service::mediainfo::media_uuid::impl

#pragma once

#include <functional>
#include <map>
#include <mutex>
#include <set>
#include <string>
#include <string_view>

namespace service::mediainfo::media_uuid::impl {

/// UUID texts by path, for the life of the service: nothing is ever removed. Safe to call from any thread.
///
/// Texts stand apart from the paths, each once: while one thread reads the text that it was given, another may
/// overwrite the entry of the same path, for a file that changed between two digests.
class UuidCache {
 public:
  /// Null when `path` is not there. Valid as long as the cache.
  const char* Find(std::string_view path) const;
  /// Adds or overwrites the entry of `path` and returns its text, on the same terms. Throws std::bad_alloc and
  /// leaves the entry as it was.
  const char* Put(std::string_view path, std::string_view text);

 private:
  mutable std::mutex mutex_;
  std::set<std::string, std::less<>> texts_;
  std::map<std::string, const std::string*, std::less<>> entries_;
};

}  // namespace service::mediainfo::media_uuid::impl

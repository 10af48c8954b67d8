#pragma once

#include <cstddef>
#include <cstdint>
#include <string>
#include <string_view>
#include <vector>

#include "mediainfo/imetedata_info.h"

namespace service::mediainfo {

/// The store behind every metadata answer. Buffers live as long as the store, also when their key was given another
/// value: a pointer that GetValue handed out stays good.
///
/// A file has some thirty keys and each stream another store, filled at every opening: entries lie side by side and
/// their keys one after another in one text, since a tree's allocations cost more than all else that a session does.
class MetadataInfoMPL final : public IMetedataInfo {
 public:
  MetadataInfoMPL() = default;
  MetadataInfoMPL(const MetadataInfoMPL&) = delete;
  MetadataInfoMPL& operator=(const MetadataInfoMPL&) = delete;
  ~MetadataInfoMPL() override;

  bool GetValue(const char* key, core::ValAny* out) override;
  bool SetValue(const char* key, const core::ValAny* value) override;

 private:
  struct Entry {
    std::uint64_t key_end;    ///< the key's last bytes, which tell nearly all keys apart
    std::uint32_t key_begin;  ///< in keys_
    std::uint32_t key_length;
    core::ValAny value;
  };

  Entry* Find(std::string_view key);
  /// For one more entry, so that adding it cannot fail. Throws std::bad_alloc.
  void MakeRoom(std::size_t key_length);

  std::vector<Entry> entries_;
  std::string keys_;
  /// Every buffer ever stored, as often as it was.
  std::vector<void*> buffers_;
};

}  // namespace service::mediainfo

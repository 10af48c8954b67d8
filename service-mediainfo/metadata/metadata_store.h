#pragma once

#include <cstddef>
#include <cstdint>
#include <forward_list>
#include <string>
#include <string_view>
#include <vector>

#include "mediainfo/imetedata_info.h"
#include "service-mediainfo/metadata/c_buffer.h"

namespace service::mediainfo {

/// The store behind every metadata answer. Buffers live as long as the store, also when their key was given another
/// value: a pointer that GetValue handed out stays good.
///
/// A file has some thirty keys and each stream another store, filled at every opening: entries lie side by side, and
/// the module's own keys are not copied, since a tree's allocations cost more than all else that a session does.
class MetadataInfoMPL final : public IMetedataInfo {
 public:
  MetadataInfoMPL() = default;
  MetadataInfoMPL(const MetadataInfoMPL&) = delete;
  MetadataInfoMPL& operator=(const MetadataInfoMPL&) = delete;
  ~MetadataInfoMPL() override;

  bool GetValue(const char* key, core::ValAny* out) override;
  bool SetValue(const char* key, const core::ValAny* value) override;
  /// The same for the module's own keys, which are constants and not copied; nor is what `value` boxes. No buffer is
  /// given like this. False when memory runs out.
  bool Put(std::string_view key, core::ValAny value);
  /// The same for a buffer, which is freed when the store does not take it.
  bool Put(std::string_view key, CBuffer buffer);
  /// Whether this text stands under `key` already. A buffer that replaced it would be one more to keep.
  bool HoldsText(std::string_view key, std::string_view text);

 private:
  struct Entry {
    std::string_view Key() const { return {key, key_length}; }

    std::uint32_t key_end;  ///< the key's last bytes, which tell nearly all keys apart
    std::uint32_t key_length;
    const char* key;
    core::ValAny value;
  };

  Entry* Find(std::string_view key);
  /// Replaces the value of `old`, or adds an entry when that is null; `key` is not copied. `may_repeat` tells that a
  /// buffer in `value` may have been stored before. Throws std::bad_alloc, and then the store is as it was and owns
  /// nothing of `value`.
  void Store(Entry* old, std::string_view key, core::ValAny&& value, bool may_repeat);
  /// Remembers a buffer in `value`. There must be room.
  void Keep(const core::ValAny& value);

  std::vector<Entry> entries_;
  /// A bit for each key, which several may share: most keys are known as new without a search.
  std::uint64_t key_bits_ = 0;
  /// Keys of others, which may go after the call that brought them.
  std::forward_list<std::string> copied_keys_;
  /// Buffers that stand under no key any more, or may stand under several; the rest are found in their entries.
  std::vector<void*> kept_buffers_;
};

}  // namespace service::mediainfo

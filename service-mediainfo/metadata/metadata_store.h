#pragma once

#include <map>
#include <set>
#include <string>

#include "mediainfo/imetedata_info.h"

namespace service::mediainfo {

/// The store behind every metadata answer. Buffers live as long as the store, also when their key was given another
/// value: a pointer that GetValue handed out stays good.
class MetadataInfoMPL final : public IMetedataInfo {
 public:
  MetadataInfoMPL() = default;
  MetadataInfoMPL(const MetadataInfoMPL&) = delete;
  MetadataInfoMPL& operator=(const MetadataInfoMPL&) = delete;
  ~MetadataInfoMPL() override;

  bool GetValue(const char* key, core::ValAny* out) override;
  bool SetValue(const char* key, const core::ValAny* value) override;

 private:
  using Entries = std::map<std::string, core::ValAny, std::less<>>;

  const core::ValAny* Find(const char* key) const;

  Entries entries_;
  /// Every buffer ever stored, each once.
  std::set<void*> buffers_;
};

}  // namespace service::mediainfo

#pragma once

#include <array>
#include <string>

#include "mediauuid/imedia_uuid.h"
#include "service-mediainfo/media_uuid/media_uuid_service.h"
#include "service/isession.h"

namespace service::mediainfo::media_uuid::impl {

/// What GetMD5Uuid writes a text into.
using UuidText = std::array<char, 64>;

/// Identifies files. The service outlives its sessions and holds no count of them.
class MediaUuidSession final : public ISession, public mediauuid::IMediaUuid {
 public:
  explicit MediaUuidSession(MediaUuidService& service) : service_(service) {}

  bool GetUuid(const char* url, core::Uuid* out) override;
  const char* GetUuidText(const char* url) override;

 private:
  /// Null when the file cannot be read or memory runs out.
  const char* GetFileText(const std::string& path);
  /// Empty when the sequence cannot be read.
  const char* GetSequenceText(const char* pattern);

  MediaUuidService& service_;
  /// Text of the latest sequence, which the caller reads until the next one.
  UuidText sequence_text_{};
};

}  // namespace service::mediainfo::media_uuid::impl

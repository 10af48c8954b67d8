#pragma once

#include <atomic>
#include <cstdint>

#include "media_server/imedia_server.h"
#include "platform/com_ptr.h"

namespace com_support {

/// Opens media files through a media server of its own. Starts with one reference.
class CodecComponent final : public media_server::ICodecComponent {
 public:
  /// A component in `*out`, or null and the status with which no media server could be made.
  static platform::ComStatus Create(CodecComponent** out);

  platform::ComStatus QueryInterface(const platform::Guid& id, void** out) override;
  std::uint32_t AddRef() override;
  std::uint32_t Release() override;
  void Reserved3() override {}
  void Reserved4() override {}
  /// kInvalidPointer for a null `out`, kInvalidArgument for a null `path`, kFail when the file cannot be opened.
  std::int32_t OpenMediaInfo(const char16_t* path, std::uint32_t first, std::uint32_t second,
                             media_server::IMediaInfo** out) override;

 private:
  explicit CodecComponent(platform::ComPtr<media_server::IMediaServer> media_server);
  ~CodecComponent() = default;

  std::atomic<std::uint32_t> references_{1};
  const platform::ComPtr<media_server::IMediaServer> media_server_;
};

}  // namespace com_support

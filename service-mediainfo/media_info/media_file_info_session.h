#pragma once

#include <cstdint>
#include <memory>
#include <string>
#include <vector>

#include "core/ref_cnt.h"
#include "media_server/imedia_server.h"
#include "mediainfo/imedia_file_info.h"
#include "platform/com_ptr.h"
#include "service-mediainfo/media_info/program_info_impl.h"
#include "service-mediainfo/metadata/meta_data_info_impl.h"
#include "service-mediainfo/metadata/metadata_store.h"
#include "service/isession.h"

namespace service::mediainfo::media_info::impl {

/// One media file, opened once. Holds a reference on the media server's description of the file; the media server
/// itself belongs to the service, which outlives its sessions.
class MediaFileInfoSession final : public ISession, public core::RefCnt<MediaFileInfoSession>, public IMediaFileInfo {
 public:
  /// `media_server` is borrowed; null makes the session open files through the codec component.
  explicit MediaFileInfoSession(media_server::IMediaServer* media_server) : media_server_(media_server) {}

  std::uint32_t SetURL(char* url) override;
  std::uint32_t GetFormatFourCC() override { return media_info_->GetFormatFourCC(); }
  const char* GetFormatName() override { return format_name_.c_str(); }
  const char* GetFormatLongName() override { return format_long_name_.c_str(); }
  std::shared_ptr<IMetedataInfo> GetMetadata() override;
  std::uint64_t GetDuration() override;
  std::uint64_t GetBitRate() override { return media_info_->GetBitRate(); }
  std::uint64_t GetProgramCount() override { return programs_.size(); }
  std::uint32_t GetProgram(IProgramInfo** out, std::uint32_t index) override;
  std::uint64_t GetFileSize() override { return media_info_->GetFileSize(); }
  std::uint32_t Clone(IMediaFileInfo** out) override;
  void ClearKeepFlag(std::uint32_t value) override;
  std::uint32_t GetStreamType(std::uint32_t stream_id, std::int32_t* type_out) override;
  bool GetDates(std::int64_t* creation, std::int64_t* modification) override;
  void SetEncryptKey(const char* key) override;

 private:
  std::uint32_t Open(char* url);
  /// Takes over what `media_info` tells; kBadMediaInfo, and nothing taken, when it fails.
  std::uint32_t Init(media_server::IMediaInfo* media_info);
  /// Wraps the file's metadata object when that has not been done; stream_meta_ stays empty when the file has none.
  void EnsureStreamMeta();

  std::uint32_t keep_flag_ = 0;
  std::uint32_t opened_ = 0;
  std::vector<std::shared_ptr<ProgramInfoImpl>> programs_;
  std::string format_name_;
  std::string format_long_name_;
  std::string url_;
  std::string date_text_;
  std::shared_ptr<MetaDataInfoImpl> stream_meta_;
  std::shared_ptr<MetadataInfoMPL> metadata_;
  platform::ComPtr<media_server::IMediaInfo> media_info_;
  media_server::IMediaServer* media_server_;
};

}  // namespace service::mediainfo::media_info::impl

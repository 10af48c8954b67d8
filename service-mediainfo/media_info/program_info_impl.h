#pragma once

#include <memory>
#include <vector>

#include "media_server/imedia_info.h"
#include "mediainfo/iprogram_info.h"
#include "platform/com_ptr.h"
#include "service-mediainfo/media_info/stream_info_impl.h"
#include "service-mediainfo/media_info/subpic_stream_info_impl.h"

namespace service::mediainfo::media_info::impl {

/// A program: the descriptions of its streams in the media server's order, and the media server's program, on which it
/// holds a reference. Before Init succeeded the lists are empty and the operations that forward must not be called.
class ProgramInfoImpl final : public virtual IProgramInfo {
 public:
  /// Describes every stream of `program`; picture streams without a usable picture are logged and left out. `source`
  /// (not null) is the file. kInitFailed, and nothing kept, when `program` is null or one of its streams fails.
  std::uint32_t Init(media_server::IMediaInfo* source, media_server::IProgram* program);

  std::uint32_t GetProgramValue4() override { return program_->GetNumber(); }
  std::uint64_t GetDuration() override;
  std::uint32_t GetProgramValue6() override { return program_->GetBitRate(); }
  std::uint64_t GetVideoStreamCount() override { return video_streams_.size(); }
  std::uint64_t GetAudioStreamCount() override { return audio_streams_.size(); }
  std::uint32_t GetVideoStream(std::uint32_t index, IStreamInfo** out) override;
  std::uint32_t GetAudioStream(std::uint32_t index, IStreamInfo** out) override;
  std::uint32_t GetProgramValue7() override { return program_->GetStreamCount(); }
  std::uint64_t GetSubPicStreamCount() override { return subpic_streams_.size(); }
  std::uint32_t GetSubPicStream(std::uint32_t index, ISubPicStreamInfo** out) override;

 private:
  std::vector<std::shared_ptr<StreamInfoImpl>> video_streams_;
  std::vector<std::shared_ptr<StreamInfoImpl>> audio_streams_;
  std::vector<std::shared_ptr<SubPicStreamInfoImpl>> subpic_streams_;
  platform::ComPtr<media_server::IProgram> program_;
};

}  // namespace service::mediainfo::media_info::impl

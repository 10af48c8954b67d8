#pragma once

#include <cstdint>
#include <memory>
#include <optional>
#include <string>
#include <string_view>

#include "media-server/io/bounded_source.h"
#include "media-server/probe/av_handles.h"
#include "media-server/probe/av_io.h"

namespace media_server::probe {

/// How a file is opened.
struct DemuxerOptions {
  /// libavformat's name of the demuxer; empty lets it probe the content.
  std::string_view demuxer;
  /// Hex key of CENC-protected MP4 files; empty for none.
  std::string decryption_key;
  /// Most bytes that stream analysis takes.
  std::int64_t probe_size = 500'000;
};

/// One file opened by libavformat. It never opens anything but the source it was given.
class Demuxer {
 public:
  /// Reads the container's header. Null when the content is none that a demuxer knows for certain, or its header cannot
  /// be read;
  /// `*reason` then says why, in words. Borrows `source` for as long as the demuxer lives.
  static std::unique_ptr<Demuxer> Open(BoundedSource& source, const DemuxerOptions& options, std::string* reason);

  /// Reads packets until the streams' facts are known. Once only: libavformat 7.1 crashes when it analyses twice. False
  /// when nothing could be analysed; what the header told stays valid.
  bool Analyse();

  AVFormatContext& Context() const { return *context_; }

 private:
  explicit Demuxer(BoundedSource& source) : io_(source) {}

  AvIo io_;                      // read through until the context is gone
  FormatContextHandle context_;  // closed first
};

}  // namespace media_server::probe

#include "media-server/network/network_library.h"

#include <algorithm>
#include <chrono>
#include <limits>
#include <memory>
#include <new>
#include <string>

#include "platform/export.h"

extern "C" {
#include <libavformat/avio.h>
#include <libavutil/dict.h>
#include <libavutil/error.h>
#include <libavutil/log.h>
}

namespace media_server {
namespace {

using Clock = std::chrono::steady_clock;

constexpr int kMostSentAhead = 64 * 1024;
constexpr std::uint64_t kMostAtOnce = std::numeric_limits<int>::max();

const char* ReasonOf(int error) {
  switch (error) {
    case AVERROR_HTTP_BAD_REQUEST:
      return "the server answers: bad request";
    case AVERROR_HTTP_UNAUTHORIZED:
      return "the server asks for a login";
    case AVERROR_HTTP_FORBIDDEN:
      return "the server refuses access";
    case AVERROR_HTTP_NOT_FOUND:
      return "no such file on the server";
    case AVERROR_HTTP_SERVER_ERROR:
      return "the server has an error";
    case AVERROR_HTTP_OTHER_4XX:
      return "the server does not give it";
    case AVERROR_INVALIDDATA:
      return "the server's answer is not HTTP";
    case AVERROR(ENOSYS):  // a content encoding: none was asked for
      return "the server sends it compressed";
    case AVERROR_EXIT:
    case AVERROR(ETIMEDOUT):
      return "the server does not answer in time";
    default:
      return "cannot be reached";
  }
}

class NetworkSource final : public IByteSource {
 public:
  explicit NetworkSource(int timeout_seconds) : timeout_(timeout_seconds) {}
  NetworkSource(const NetworkSource&) = delete;
  NetworkSource& operator=(const NetworkSource&) = delete;
  ~NetworkSource() override { avio_closep(&context_); }

  /// An error of libavformat's, or 0.
  int Open(const char* url, const char* proxy) {
    AVDictionary* options = nullptr;
    // Also when it is empty: libavformat would take a proxy from the environment that the host did not ask for.
    av_dict_set(&options, "http_proxy", proxy, 0);
    // A redirection may lead to another server, never into the file system.
    av_dict_set(&options, "protocol_whitelist", "http,https,tcp,tls,httpproxy", 0);
    // What a server sends ahead is lost with the next jump.
    av_dict_set_int(&options, "recv_buffer_size", kMostSentAhead, 0);
    const AVIOInterruptCB interrupt{&NetworkSource::Interrupted, this};
    deadline_ = Clock::now() + timeout_;
    const int status = avio_open2(&context_, url, AVIO_FLAG_READ, &interrupt, &options);
    av_dict_free(&options);
    return status;
  }

  std::size_t ReadAt(std::uint64_t offset, std::span<std::uint8_t> out) override {
    const std::uint64_t end = Size().value_or(std::numeric_limits<std::int64_t>::max());
    if (offset >= end) return 0;
    deadline_ = Clock::now() + timeout_;
    const auto target = static_cast<std::int64_t>(offset);
    if (avio_tell(context_) != target) {
      const std::int64_t position = avio_seek(context_, target, SEEK_SET);
      if (position < 0) KeepFailure(static_cast<int>(position));
      if (position != target) return 0;
    }
    const int size = static_cast<int>(std::min<std::uint64_t>({out.size(), end - offset, kMostAtOnce}));
    const int got = avio_read(context_, out.data(), size);
    // After part of the bytes the error is the context's.
    if (got < size) KeepFailure(got < 0 ? got : context_->error);
    return static_cast<std::size_t>(std::max(got, 0));
  }

  const char* ReadFailure() const override { return failure_; }
  bool IsRemote() const override { return true; }

  std::optional<std::uint64_t> Size() const override {
    const std::int64_t size = avio_size(context_);
    if (size < 0) return std::nullopt;
    return static_cast<std::uint64_t>(size);
  }

 private:
  /// A server that only gives everything from the start on, and an end where the length is not known, are none.
  void KeepFailure(int error) {
    const bool is_none = error == 0 || error == AVERROR(ENOSYS) || (error == AVERROR_EOF && !Size());
    if (failure_ != nullptr || is_none) return;
    failure_ = error == AVERROR_EOF || error == AVERROR(EIO) ? "the server breaks off" : ReasonOf(error);
  }

  static int Interrupted(void* opaque) {
    return Clock::now() >= static_cast<const NetworkSource*>(opaque)->deadline_ ? 1 : 0;
  }

  std::chrono::seconds timeout_;
  Clock::time_point deadline_;
  AVIOContext* context_ = nullptr;
  const char* failure_ = nullptr;
};

}  // namespace
}  // namespace media_server

extern "C" PLATFORM_EXPORT media_server::IByteSource* OpenMediaServerNetworkSource(const char* url, const char* proxy,
                                                                                   int timeout_seconds,
                                                                                   const char** reason) {
  using media_server::NetworkSource;
  av_log_set_level(AV_LOG_QUIET);
  std::unique_ptr<NetworkSource> source(new (std::nothrow) NetworkSource(timeout_seconds));
  if (!source) return nullptr;
  const int status = source->Open(url, proxy);
  if (status < 0) {
    *reason = media_server::ReasonOf(status);
    return nullptr;
  }
  return source.release();
}

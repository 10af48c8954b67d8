#include "media-server/network/network_library.h"

#include <algorithm>
#include <chrono>
#include <limits>
#include <memory>
#include <new>
#include <optional>
#include <span>
#include <string>
#include <vector>

#include "media-server/network/server_trust.h"
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

// A request asks for this much at least: another one takes longer. Where reading goes on, the pieces grow.
constexpr std::size_t kFirstPiece = 64 * 1024;
constexpr std::size_t kLargestPiece = 256 * 1024;
// Of a server that only gives the whole from the start on so much is read, and kept, since readers go back.
constexpr std::uint64_t kMostFromStart = std::uint64_t{8} << 20;

// libavformat's error where the answer is not of the range that was asked for.
constexpr int kOtherBytes = -1;

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
#ifdef AVERROR_HTTP_TOO_MANY_REQUESTS  // FFmpeg 7.1
    case AVERROR_HTTP_TOO_MANY_REQUESTS:
      return "the server is asked too often";
#endif
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
    url_ = url;
    proxy_ = proxy;
    int status = Request(0, kFirstPiece);
    // An empty file has no range that could be given.
    if (status == AVERROR_HTTP_OTHER_4XX) status = Request(0, std::nullopt);
    if (status < 0) return status;
    const std::int64_t size = avio_size(context_);
    // A length that the server does not know ("*") is 0 to libavformat.
    if (size > 0 || (size == 0 && !HasBody())) size_ = static_cast<std::uint64_t>(size);
    gives_ranges_ = size_ && (context_->seekable & AVIO_SEEKABLE_NORMAL) != 0;
    // Such a server gives the whole from the start on, so as much is asked for as will be read.
    return gives_ranges_ || size_ == 0 ? 0 : Request(0, kMostFromStart);
  }

  std::size_t ReadAt(std::uint64_t offset, std::span<std::uint8_t> out) override {
    const std::uint64_t end = Size().value_or(std::numeric_limits<std::int64_t>::max());
    if (offset >= end || failure_ != nullptr) return 0;
    out = out.first(static_cast<std::size_t>(std::min<std::uint64_t>({out.size(), end - offset, kMostAtOnce})));
    std::size_t done = 0;
    while (gives_ranges_ && done < out.size()) {
      const auto rest = out.subspan(done);
      const std::size_t got = CopyPiece(offset + done, rest);
      if (got == 0 && !FetchPiece(offset + done, rest.size())) break;
      done += got;
    }
    return gives_ranges_ ? done : ReadFromStart(offset, out);
  }

  /// Why Open failed with that error.
  const char* Reason(int error) const { return trust_.Refusal() ? trust_.Refusal() : ReasonOf(error); }

  const char* ReadFailure() const override { return failure_; }
  bool IsRemote() const override { return true; }
  void WillReadAtMost(std::uint64_t bytes) override { most_ = bytes; }
  bool LeftOutOfReach() const override { return left_out_of_reach_; }

  std::optional<std::uint64_t> Size() const override { return size_; }

 private:
  struct Piece {
    std::uint64_t begin = 0;
    std::vector<std::uint8_t> bytes;

    std::uint64_t End() const { return begin + bytes.size(); }
  };

  /// Asks for the bytes from `begin` to `end`, or for the whole without a range; an error of libavformat's, or 0.
  int Request(std::uint64_t begin, std::optional<std::uint64_t> end) {
    avio_closep(&context_);
    AVDictionary* options = nullptr;
    // Also when it is empty: libavformat would take a proxy from the environment that the host did not ask for.
    av_dict_set(&options, "http_proxy", proxy_.c_str(), 0);
    // A redirection may lead to another server, never into the file system.
    av_dict_set(&options, "protocol_whitelist", "http,https,tcp,tls,httpproxy", 0);
    av_dict_set_int(&options, "offset", static_cast<std::int64_t>(begin), 0);
    if (end) av_dict_set_int(&options, "end_offset", static_cast<std::int64_t>(*end), 0);
    if (!end) av_dict_set_int(&options, "seekable", 0, 0);
    const AVIOInterruptCB interrupt{&NetworkSource::Interrupted, this};
    deadline_ = Clock::now() + timeout_;
    const int status = trust_.Open(&context_, url_.c_str(), interrupt, &options);
    av_dict_free(&options);
    return status;
  }

  bool HasBody() {
    std::uint8_t first = 0;
    return ReadNext({&first, 1}) > 0;
  }

  std::size_t CopyPiece(std::uint64_t offset, std::span<std::uint8_t> out) const {
    for (const Piece* piece : {&piece_, &earlier_piece_}) {
      if (offset < piece->begin || offset >= piece->End()) continue;
      const auto held = std::span(piece->bytes).subspan(static_cast<std::size_t>(offset - piece->begin));
      const std::size_t size = std::min(held.size(), out.size());
      std::copy_n(held.begin(), size, out.begin());
      return size;
    }
    return 0;
  }

  /// Reads a piece that begins at `offset`. Pieces that follow one another grow, since more of them will be wanted.
  /// False on failure, or when the server turns out to give no ranges.
  bool FetchPiece(std::uint64_t offset, std::size_t least) {
    // Of a look at the end one comes back.
    if (!earlier_piece_.bytes.empty() && offset == earlier_piece_.End()) std::swap(piece_, earlier_piece_);
    const bool follows = !piece_.bytes.empty() && offset == piece_.End();
    piece_size_ = follows ? std::min(piece_size_ * 2, kLargestPiece) : kFirstPiece;
    const std::uint64_t ahead = std::min<std::uint64_t>(piece_size_, most_);
    const std::uint64_t end = std::min(offset + std::max<std::uint64_t>(ahead, least), *size_);
    const bool is_open = piece_.bytes.empty() && offset == 0 && end <= kFirstPiece;  // the first request asked for it
    if (!follows && !piece_.bytes.empty()) std::swap(piece_, earlier_piece_);
    piece_.bytes.clear();
    piece_.begin = offset;
    int status = is_open ? 0 : Request(offset, end);
    if (status == kOtherBytes) {
      gives_ranges_ = false;
      piece_.begin = 0;
      earlier_piece_.bytes.clear();
      status = Request(0, kMostFromStart);
    }
    if (status < 0) KeepFailure(status);
    if (status < 0 || !gives_ranges_) return false;
    piece_.bytes.resize(static_cast<std::size_t>(end - offset));
    const std::size_t got = ReadNext(piece_.bytes);
    piece_.bytes.resize(got);
    return got > 0 && failure_ == nullptr;
  }

  /// Reads on to the end of `out`, as far as the bound allows; what comes before is kept for later.
  std::size_t ReadFromStart(std::uint64_t offset, std::span<std::uint8_t> out) {
    const std::uint64_t wanted = offset + out.size();
    if (size_ && wanted > kMostFromStart) left_out_of_reach_ = true;
    const auto end = static_cast<std::size_t>(std::min(wanted, kMostFromStart));
    std::vector<std::uint8_t>& bytes = piece_.bytes;
    if (offset < end && bytes.size() < end && context_ != nullptr) {
      const std::size_t begin = bytes.size();
      bytes.resize(end);
      bytes.resize(begin + ReadNext(std::span(bytes).subspan(begin)));
    }
    return CopyPiece(offset, out);
  }

  /// Reads what the server sends next. libavformat counts it from 0, whatever was asked for.
  std::size_t ReadNext(std::span<std::uint8_t> out) {
    deadline_ = Clock::now() + timeout_;
    const int size = static_cast<int>(out.size());
    const int got = avio_read(context_, out.data(), size);
    // After part of the bytes the error is the context's.
    if (got < size) KeepFailure(got < 0 ? got : context_->error);
    return static_cast<std::size_t>(std::max(got, 0));
  }

  /// An end where the length is not known is none. A body without a length ends where the connection does (RFC 9112,
  /// 6.3), which is an error to libavformat.
  void KeepFailure(int error) {
    const bool is_end = (error == AVERROR_EOF || error == AVERROR(EIO)) && trust_.Refusal() == nullptr;
    if (failure_ != nullptr || error == 0 || (is_end && !Size())) return;
    failure_ = is_end ? "the server breaks off" : Reason(error);
  }

  static int Interrupted(void* opaque) {
    return Clock::now() >= static_cast<const NetworkSource*>(opaque)->deadline_ ? 1 : 0;
  }

  std::chrono::seconds timeout_;
  Clock::time_point deadline_;
  std::string url_;
  std::string proxy_;
  ServerTrust trust_;
  AVIOContext* context_ = nullptr;
  std::optional<std::uint64_t> size_;
  bool gives_ranges_ = false;
  std::size_t piece_size_ = 0;
  std::uint64_t most_ = std::numeric_limits<std::uint64_t>::max();  // will be read
  Piece piece_;                                                     // read last
  Piece earlier_piece_;                                             // read before that jumped
  bool left_out_of_reach_ = false;
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
    *reason = source->Reason(status);
    return nullptr;
  }
  return source.release();
}

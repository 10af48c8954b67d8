#pragma once

#include <memory>

struct AVDictionary;
struct AVIOContext;
struct AVIOInterruptCB;
struct x509_store_st;

namespace media_server {

/// Opens URLs as avio_open2 does, save that over https nobody is asked for anything who has not proved to be the host
/// that the URL, or a redirection, names: with a certificate for that name or address, valid today, that the system's
/// authorities answer for, or those in SSL_CERT_FILE and SSL_CERT_DIR. Proxies in between have no part in it. Belongs
/// to one source, so to one thread at a time.
///
/// With the system's libavformat (MEDIAINFO_SYSTEM_FFMPEG) the check is the one that it makes by itself, and its
/// refusals are not told apart from other errors.
class ServerTrust {
 public:
  using Authorities = std::unique_ptr<x509_store_st, void (*)(x509_store_st*)>;

  /// For reading. Returns what avio_open2 does.
  int Open(AVIOContext** context, const char* url, const AVIOInterruptCB& interrupt, AVDictionary** options);

  /// In words (static text), what the last Open held against a server; null where nothing, whether it failed or not.
  const char* Refusal() const { return refusal_; }

 private:
  /// Read by the first https connection and kept, since it takes some 30 ms; null before.
  Authorities authorities_{nullptr, nullptr};
  const char* refusal_ = nullptr;
};

}  // namespace media_server

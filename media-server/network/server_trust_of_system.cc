#include <cstdlib>

#include "media-server/network/server_trust.h"

extern "C" {
#include <libavformat/avio.h>
#include <libavutil/dict.h>
}

namespace media_server {

int ServerTrust::Open(AVIOContext** context, const char* url, const AVIOInterruptCB& interrupt,
                      AVDictionary** options) {
  av_dict_set(options, "tls_verify", "1", 0);
  // With GnuTLS it takes the system's authorities where it is given none; with OpenSSL it then trusts nobody.
  if (const char* authorities = std::getenv("SSL_CERT_FILE")) av_dict_set(options, "ca_file", authorities, 0);
  return avio_open2(context, url, AVIO_FLAG_READ, &interrupt, options);
}

}  // namespace media_server

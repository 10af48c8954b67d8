// libavformat's TLS knows no authorities and looks at no name, so the linker hands two of its calls to ours (--wrap);
// the doubled names are the linker's.

#include "media-server/network/server_trust.h"

#include <openssl/ssl.h>
#include <openssl/x509_vfy.h>
#include <openssl/x509v3.h>

#include <algorithm>
#include <array>
#include <iterator>

extern "C" {
#include <libavformat/avformat.h>
#include <libavformat/avio.h>
#include <libavutil/dict.h>

// NOLINTNEXTLINE(bugprone-reserved-identifier,readability-identifier-naming)
int __real_SSL_connect(SSL* connection);
}

namespace media_server {
namespace {

constexpr char kNotTrusted[] = "the server's certificate is not trusted";
constexpr char kUnknownAuthority[] = "the server's certificate is not trusted: its authority is unknown";
constexpr char kForAnotherHost[] = "the server's certificate is for another host";
constexpr char kTooWeak[] = "the server's certificate is too weak";
constexpr char kCannotBeChecked[] = "the server's certificate cannot be checked";

struct Refusal {
  long result;  // of SSL_get_verify_result
  const char* words;
};
constexpr Refusal kRefusals[] = {
    {X509_V_ERR_DEPTH_ZERO_SELF_SIGNED_CERT, "the server's certificate is not trusted: it is self-signed"},
    {X509_V_ERR_SELF_SIGNED_CERT_IN_CHAIN, kUnknownAuthority},
    {X509_V_ERR_UNABLE_TO_GET_ISSUER_CERT, kUnknownAuthority},
    {X509_V_ERR_UNABLE_TO_GET_ISSUER_CERT_LOCALLY, kUnknownAuthority},
    {X509_V_ERR_UNABLE_TO_VERIFY_LEAF_SIGNATURE, kUnknownAuthority},
    {X509_V_ERR_HOSTNAME_MISMATCH, kForAnotherHost},
    {X509_V_ERR_IP_ADDRESS_MISMATCH, kForAnotherHost},
    {X509_V_ERR_CERT_HAS_EXPIRED, "the server's certificate has expired"},
    {X509_V_ERR_CERT_NOT_YET_VALID, "the server's certificate is not valid yet"},
    {X509_V_ERR_INVALID_PURPOSE, "the server's certificate is not one for servers"},
    {X509_V_ERR_EE_KEY_TOO_SMALL, kTooWeak},
    {X509_V_ERR_CA_KEY_TOO_SMALL, kTooWeak},
    {X509_V_ERR_CA_MD_TOO_WEAK, kTooWeak},
};

/// Null where nothing is held against the server: a handshake has other ways to fail.
const char* RefusalOf(long result) {
  if (result == X509_V_OK) return nullptr;
  const auto* found = std::ranges::find(kRefusals, result, &Refusal::result);
  return found != std::end(kRefusals) ? found->words : kNotTrusted;
}

/// One call of ServerTrust::Open.
struct Opening {
  ServerTrust::Authorities& authorities;
  const char*& refusal;
  std::array<char, 1024> host{};  // that the connection being made is to
};

/// libavformat's functions have nothing to carry it in.
thread_local Opening* opening = nullptr;

ServerTrust::Authorities ReadAuthorities() {
  ServerTrust::Authorities authorities(X509_STORE_new(), &X509_STORE_free);
  if (authorities && X509_STORE_set_default_paths(authorities.get()) != 1) authorities.reset();
  return authorities;
}

bool DemandHost(SSL* connection, const char* host) {
  // To OpenSSL no name is any name, and one that starts with a dot is every name that ends so.
  if (*host == '\0' || *host == '.') return false;
  // As browsers have it: "f*.example" is no name, and the subject, which may be anything, names no host. An address
  // is told from a name by SSL_set1_host.
  SSL_set_hostflags(connection, X509_CHECK_FLAG_NO_PARTIAL_WILDCARDS | X509_CHECK_FLAG_NEVER_CHECK_SUBJECT);
  return SSL_set1_host(connection, host) == 1;
}

/// Makes the handshake fail where the other side does not prove who it is. False where it cannot be made so.
bool DemandProof(SSL* connection) {
  if (!opening->authorities) opening->authorities = ReadAuthorities();
  if (!opening->authorities || !DemandHost(connection, opening->host.data())) return false;
  SSL_CTX_set1_cert_store(SSL_get_SSL_CTX(connection), opening->authorities.get());
  SSL_set_verify(connection, SSL_VERIFY_PEER, nullptr);
  return true;
}

int Connect(SSL* connection) {
  if (opening == nullptr) return -1;
  if (!DemandProof(connection)) {
    opening->refusal = kCannotBeChecked;
    return -1;
  }
  const int status = __real_SSL_connect(connection);
  if (status <= 0) opening->refusal = RefusalOf(SSL_get_verify_result(connection));
  return status;
}

}  // namespace

int ServerTrust::Open(AVIOContext** context, const char* url, const AVIOInterruptCB& interrupt,
                      AVDictionary** options) {
  refusal_ = nullptr;
  Opening current{authorities_, refusal_};
  // Should a later libavformat connect in another way, it trusts nobody.
  av_dict_set(options, "tls_verify", "1", 0);
  opening = &current;
  const int status = avio_open2(context, url, AVIO_FLAG_READ, &interrupt, options);
  opening = nullptr;
  return status;
}

}  // namespace media_server

extern "C" {

// NOLINTBEGIN(bugprone-reserved-identifier,readability-identifier-naming)
int __real_ff_tls_open_underlying(void* tls, void* parent, const char* url, AVDictionary** options);

int __wrap_ff_tls_open_underlying(void* tls, void* parent, const char* url, AVDictionary** options) {
  if (auto* current = media_server::opening) {
    av_url_split(nullptr, 0, nullptr, 0, current->host.data(), static_cast<int>(current->host.size()), nullptr, nullptr,
                 0, url);
  }
  return __real_ff_tls_open_underlying(tls, parent, url, options);
}

int __wrap_SSL_connect(SSL* connection) { return media_server::Connect(connection); }
// NOLINTEND(bugprone-reserved-identifier,readability-identifier-naming)

}  // extern "C"

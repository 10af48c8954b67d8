#pragma once

#include <array>
#include <cstdint>
#include <span>

namespace media_server {

/// One MD5 computation (RFC 1321).
class IMd5 {
 public:
  virtual ~IMd5() = default;
  /// Adds bytes. False when the cryptographic library fails; the computation is of no use then.
  virtual bool Update(std::span<const std::uint8_t> bytes) = 0;
  /// The digest of all bytes added; the last call on this object. False on the same terms.
  virtual bool Finish(std::array<std::uint8_t, 16>* digest) = 0;
};

/// File name of the digest library, which lies beside the media server library, and its one exported function: a new
/// computation, which the caller deletes; null when the cryptographic library offers no MD5. OpenSSL takes longer to
/// load than a probe to answer, so only a digest loads it.
inline constexpr char kDigestLibraryName[] = "libMediaServerDigest.so";
inline constexpr char kMakeMd5[] = "MakeMediaServerMd5";
using MakeMd5Function = IMd5* (*)();

}  // namespace media_server
